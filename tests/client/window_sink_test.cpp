// The window post on a full pipe: final messages wait for room, progress
// messages are dropped.
#include "platform/window_sink.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <future>
#include <vector>

#include "support/window_reader.h"
#include "velkport.h"

namespace velk::test {
namespace {

// Fills the pipe behind `fd` to the last byte, leaving its flags as they
// were; answers the number of bytes written.
std::size_t FillPipe(int fd) {
    const int flags = fcntl(fd, F_GETFL);
    fcntl(fd, F_SETFL, flags | O_NONBLOCK);
    const char page[4096] = {};
    std::size_t total = 0;
    for (std::size_t chunk = sizeof page; chunk != 0; chunk /= 2) {
        ssize_t n;
        while ((n = write(fd, page, chunk)) > 0) total += static_cast<std::size_t>(n);
    }
    fcntl(fd, F_SETFL, flags);
    return total;
}

void ReadExactly(int fd, std::size_t count) {
    char buffer[4096];
    while (count != 0) {
        const ssize_t n = read(fd, buffer, std::min(count, sizeof buffer));
        ASSERT_GT(n, 0);
        count -= static_cast<std::size_t>(n);
    }
}

TEST(WindowSink, OnAFullPipeProgressIsDroppedAndAFinalMessageWaitsForRoom) {
    WindowReader reader;
    WindowSink sink;
    ASSERT_TRUE(sink.Open(reader.WriteEnd()));
    const int flags = fcntl(reader.WriteEnd(), F_GETFL);
    const std::size_t filler = FillPipe(reader.WriteEnd());
    EXPECT_FALSE(sink.PostProgress(VELK_MSG_ANIM_WRITE_PROGRESS));
    auto posted =
        std::async(std::launch::async, [&] { return sink.PostFinal(VELK_MSG_MID_WRITTEN); });
    EXPECT_EQ(posted.wait_for(std::chrono::milliseconds(100)), std::future_status::timeout);
    ReadExactly(reader.ReadEnd(), 8192);
    EXPECT_TRUE(posted.get());
    ReadExactly(reader.ReadEnd(), filler - 8192);
    EXPECT_EQ(reader.Next(), VELK_MSG_MID_WRITTEN);
    EXPECT_EQ(fcntl(reader.WriteEnd(), F_GETFL), flags) << "the client's flags stay";
}

}  // namespace
}  // namespace velk::test
