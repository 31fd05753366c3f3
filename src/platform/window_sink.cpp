#include "platform/window_sink.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>

#include "velkport.h"

namespace velk {

static_assert(sizeof(VelkWindowMessage) == 16, "a window message is 16 bytes on the wire");

WindowSink::WindowSink() = default;

WindowSink::~WindowSink() {
    Close();
}

bool WindowSink::Open(int clientFd) {
    Close();
    const int flags = fcntl(clientFd, F_GETFL);
    if (flags < 0) return false;
    const int access = flags & O_ACCMODE;
    if (access != O_WRONLY && access != O_RDWR) return false;
    const int dup = fcntl(clientFd, F_DUPFD_CLOEXEC, 0);
    if (dup < 0) return false;
    // The stop descriptor lives as long as the window, so that a process
    // whose link has ended holds nothing of the library.
    const int stop = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (stop < 0) {
        close(dup);
        return false;
    }
    std::lock_guard<std::mutex> hold(fdMutex_);
    fd_ = dup;
    stopFd_ = stop;
    return true;
}

void WindowSink::Close() {
    std::lock_guard<std::mutex> hold(fdMutex_);
    if (fd_ >= 0) close(fd_);
    if (stopFd_ >= 0) close(stopFd_);
    fd_ = -1;
    stopFd_ = -1;
}

bool WindowSink::IsOpen() const {
    std::lock_guard<std::mutex> hold(fdMutex_);
    return fd_ >= 0;
}

void WindowSink::Interrupt() {
    const uint64_t one = 1;
    // An eventfd counter cannot overflow from a handful of stops.
    (void)!write(stopFd_, &one, sizeof one);
}

void WindowSink::Rearm() {
    uint64_t count = 0;
    (void)!read(stopFd_, &count, sizeof count);
}

bool WindowSink::PostFinal(uint32_t message) {
    return Post(message, true);
}

bool WindowSink::PostProgress(uint32_t message) {
    return Post(message, false);
}

// Waiting before the write keeps a descriptor in blocking mode from blocking
// the writer: a pipe that polls writable takes one record of 16 bytes.
// NOLINTNEXTLINE(bugprone-easily-swappable-parameters): descriptor first, as poll
WindowSink::Room WindowSink::WaitForRoom(int fd, int timeoutMs) const {
    pollfd fds[2] = {{fd, POLLOUT, 0}, {stopFd_, POLLIN, 0}};
    for (;;) {
        const int n = poll(fds, 2, timeoutMs);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return Room::kNone;
        if (fds[1].revents & POLLIN) return Room::kStopped;
        // POLLERR or POLLHUP also count: the write then reports what is wrong.
        return Room::kWritable;
    }
}

bool WindowSink::Post(uint32_t message, bool final) {
    std::lock_guard<std::mutex> hold(fdMutex_);
    if (fd_ < 0) return false;
    const VelkWindowMessage record{message, 0, 0};
    for (;;) {
        const Room room = WaitForRoom(fd_, final ? -1 : 0);
        if (room != Room::kWritable) return false;
        const ssize_t written = write(fd_, &record, sizeof record);
        if (written == static_cast<ssize_t>(sizeof record)) return true;
        if (!final) return false;
        if (written < 0 && (errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR)) continue;
        // The reader is gone (EPIPE) or the descriptor is no use: drop it.
        return false;
    }
}

}  // namespace velk
