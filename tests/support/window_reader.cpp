#include "support/window_reader.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <unistd.h>

#include "velkport.h"

namespace velk::test {

WindowReader::WindowReader() {
    int fds[2];
    if (pipe2(fds, O_CLOEXEC) == 0) {
        readFd_ = fds[0];
        writeFd_ = fds[1];
    }
}

WindowReader::~WindowReader() {
    CloseReadEnd();
    CloseWriteEnd();
}

void WindowReader::CloseWriteEnd() {
    if (writeFd_ >= 0) close(writeFd_);
    writeFd_ = -1;
}

void WindowReader::CloseReadEnd() {
    if (readFd_ >= 0) close(readFd_);
    readFd_ = -1;
}

std::optional<uint32_t> WindowReader::Next(int timeoutMs) {
    pollfd p{readFd_, POLLIN, 0};
    if (poll(&p, 1, timeoutMs) <= 0 || !(p.revents & POLLIN)) return std::nullopt;
    VelkWindowMessage m{};
    const ssize_t n = read(readFd_, &m, sizeof m);
    EXPECT_EQ(n, static_cast<ssize_t>(sizeof m)) << "a window message is one 16-byte record";
    if (n != static_cast<ssize_t>(sizeof m)) return std::nullopt;
    EXPECT_EQ(m.wParam, 0u);
    EXPECT_EQ(m.lParam, 0);
    return m.message;
}

std::vector<uint32_t> WindowReader::UntilFinal(int timeoutMs) {
    std::vector<uint32_t> seen;
    while (auto m = Next(timeoutMs)) {
        seen.push_back(*m);
        if (*m >= VELK_MSG_MID_INFO_REFUSED && *m <= VELK_MSG_ANIM_READ_REFUSED) break;
    }
    return seen;
}

bool WindowReader::Quiet(int ms) {
    return !Next(ms).has_value();
}

}  // namespace velk::test
