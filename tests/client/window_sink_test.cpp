// The window post on its own: one 16-byte record per message, waiting for
// room only for final messages, and never left hanging by a full pipe.
#include "platform/window_sink.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <signal.h>

#include <algorithm>
#include <future>
#include <thread>
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

TEST(WindowSink, OpensOnlyWritableDescriptorsAndLeavesTheirFlags) {
    WindowReader reader;
    WindowSink sink;
    int fds[2];
    ASSERT_EQ(pipe(fds), 0);
    EXPECT_FALSE(sink.Open(fds[0]));
    EXPECT_FALSE(sink.IsOpen());
    close(fds[0]);
    close(fds[1]);
    EXPECT_FALSE(sink.Open(fds[1]));

    const int before = fcntl(reader.WriteEnd(), F_GETFL);
    ASSERT_TRUE(sink.Open(reader.WriteEnd()));
    EXPECT_TRUE(sink.PostFinal(VELK_MSG_MID_READ));
    EXPECT_EQ(fcntl(reader.WriteEnd(), F_GETFL), before);
    EXPECT_EQ(reader.Next(), VELK_MSG_MID_READ);
}

TEST(WindowSink, KeepsWritingAfterTheClientClosedItsDescriptor) {
    WindowReader reader;
    WindowSink sink;
    ASSERT_TRUE(sink.Open(reader.WriteEnd()));
    reader.CloseWriteEnd();
    EXPECT_TRUE(sink.PostProgress(VELK_MSG_ANIM_READ_PROGRESS));
    EXPECT_EQ(reader.Next(), VELK_MSG_ANIM_READ_PROGRESS);
}

TEST(WindowSink, ProgressIsDroppedWhenThePipeIsFull) {
    WindowReader reader;
    WindowSink sink;
    ASSERT_TRUE(sink.Open(reader.WriteEnd()));
    FillPipe(reader.WriteEnd());
    EXPECT_FALSE(sink.PostProgress(VELK_MSG_ANIM_WRITE_PROGRESS));
}

TEST(WindowSink, FinalMessageWaitsForRoomAndThenGoesOut) {
    WindowReader reader;
    WindowSink sink;
    ASSERT_TRUE(sink.Open(reader.WriteEnd()));
    const std::size_t filler = FillPipe(reader.WriteEnd());
    auto posted =
        std::async(std::launch::async, [&] { return sink.PostFinal(VELK_MSG_MID_WRITTEN); });
    EXPECT_EQ(posted.wait_for(std::chrono::milliseconds(100)), std::future_status::timeout);
    ReadExactly(reader.ReadEnd(), 8192);
    EXPECT_TRUE(posted.get());
    ReadExactly(reader.ReadEnd(), filler - 8192);
    EXPECT_EQ(reader.Next(), VELK_MSG_MID_WRITTEN);
}

TEST(WindowSink, InterruptEndsTheWaitAndRearmLetsPostsThrough) {
    WindowReader reader;
    WindowSink sink;
    ASSERT_TRUE(sink.Open(reader.WriteEnd()));
    const std::size_t filler = FillPipe(reader.WriteEnd());
    auto posted =
        std::async(std::launch::async, [&] { return sink.PostFinal(VELK_MSG_TIMED_OUT); });
    EXPECT_EQ(posted.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
    sink.Interrupt();
    EXPECT_FALSE(posted.get());
    EXPECT_FALSE(sink.PostFinal(VELK_MSG_TIMED_OUT)) << "still interrupted";
    ReadExactly(reader.ReadEnd(), filler);
    sink.Rearm();
    EXPECT_TRUE(sink.PostFinal(VELK_MSG_MID_READ));
    EXPECT_EQ(reader.Next(), VELK_MSG_MID_READ);
}

TEST(WindowSink, AReaderThatWentAwayDropsTheMessage) {
    WindowReader reader;
    WindowSink sink;
    ASSERT_TRUE(sink.Open(reader.WriteEnd()));
    reader.CloseReadEnd();
    std::promise<bool> result;
    // Library threads block signals, so the closed pipe shows as EPIPE.
    std::thread poster([&] {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_BLOCK, &all, nullptr);
        result.set_value(sink.PostFinal(VELK_MSG_MID_READ));
    });
    poster.join();
    EXPECT_FALSE(result.get_future().get());
}

}  // namespace
}  // namespace velk::test
