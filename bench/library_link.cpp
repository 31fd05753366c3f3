#include "library_link.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <thread>

#include "child_program.h"
#include "velkport.h"

namespace velk::bench {
namespace {

// A final message goes out just before the link takes requests again: the
// next request is tried again after this pause.
constexpr auto kRequestRetryPause = std::chrono::microseconds(50);

bool EndsOperation(uint32_t message) {
    return message >= VELK_MSG_MID_INFO_REFUSED && message <= VELK_MSG_ANIM_READ_REFUSED;
}

int64_t Nanoseconds(const timeval& value) {
    return static_cast<int64_t>(value.tv_sec) * 1'000'000'000 +
           static_cast<int64_t>(value.tv_usec) * 1000;
}

}  // namespace

int64_t ProcessCpuNs() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return Nanoseconds(usage.ru_utime) + Nanoseconds(usage.ru_stime);
}

LibraryLink::LibraryLink() {
    int fds[2];
    if (pipe2(fds, O_CLOEXEC) == 0) {
        readFd_ = fds[0];
        writeFd_ = fds[1];
    }
}

LibraryLink::~LibraryLink() {
    if (linked_) End();
    if (readFd_ >= 0) close(readFd_);
    if (writeFd_ >= 0) close(writeFd_);
}

bool LibraryLink::Begin(const std::string& device, uint32_t baud, bool softwareFlow,
                        int64_t& wallNs) {
    if (velk_SetPortDevice(kPort, device.c_str()) != 1) return false;
    const int64_t start = MonotonicNs();
    linked_ = velk_BeginThread(writeFd_, kPort, baud, softwareFlow ? 1 : 0) == 1;
    wallNs = MonotonicNs() - start;
    return linked_;
}

int64_t LibraryLink::End() {
    const int64_t start = MonotonicNs();
    velk_EndThread();
    const int64_t wall = MonotonicNs() - start;
    linked_ = false;
    // Messages of the link that ended mean nothing to the next one.
    pollfd entry{readFd_, POLLIN, 0};
    VelkWindowMessage message{};
    while (poll(&entry, 1, 0) > 0 && read(readFd_, &message, sizeof message) > 0) {
    }
    return wall;
}

Operation LibraryLink::Run(const std::function<int32_t()>& request, int timeoutMs) {
    Operation operation;
    const int64_t deadline = MonotonicNs() + static_cast<int64_t>(timeoutMs) * 1'000'000;
    int64_t cpuBefore = ProcessCpuNs();
    for (;;) {
        operation.requestNs = MonotonicNs();
        if (request() == 1) break;
        if (operation.requestNs > deadline) return operation;
        std::this_thread::sleep_for(kRequestRetryPause);
        cpuBefore = ProcessCpuNs();
    }
    operation.final = NextFinal(timeoutMs);
    operation.wallNs = MonotonicNs() - operation.requestNs;
    operation.cpuNs = ProcessCpuNs() - cpuBefore;
    return operation;
}

uint32_t LibraryLink::NextFinal(int timeoutMs) {
    const int64_t deadline = MonotonicNs() + static_cast<int64_t>(timeoutMs) * 1'000'000;
    pollfd entry{readFd_, POLLIN, 0};
    for (;;) {
        const int64_t left = deadline - MonotonicNs();
        if (left <= 0) return 0;
        const int ready = poll(&entry, 1, static_cast<int>(left / 1'000'000) + 1);
        if (ready < 0 && errno == EINTR) continue;
        if (ready <= 0) return 0;
        VelkWindowMessage message{};
        if (read(readFd_, &message, sizeof message) != static_cast<ssize_t>(sizeof message)) {
            return 0;
        }
        if (EndsOperation(message.message)) return message.message;
    }
}

}  // namespace velk::bench
