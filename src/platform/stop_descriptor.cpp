#include "platform/stop_descriptor.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>

namespace velk {

StopDescriptor::~StopDescriptor() {
    Close();
}

bool StopDescriptor::Open() {
    Close();
    const int fd = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (fd < 0) return false;
    fd_.store(fd);
    return true;
}

void StopDescriptor::Close() {
    const int fd = fd_.exchange(-1);
    if (fd >= 0) close(fd);
}

void StopDescriptor::Set() {
    const int fd = fd_.load();
    if (fd < 0) return;
    // The counter only grows, and nobody reads it, so the descriptor stays
    // readable; a full counter (EAGAIN) is readable already.
    const uint64_t one = 1;
    ssize_t written;
    do {
        written = write(fd, &one, sizeof one);
    } while (written < 0 && errno == EINTR);
}

bool StopDescriptor::WaitFor(uint32_t timeoutMs) const {
    pollfd entry{fd_.load(), POLLIN, 0};
    if (entry.fd < 0) return false;
    int ready;
    do {
        ready = poll(&entry, 1, static_cast<int>(timeoutMs));
    } while (ready < 0 && errno == EINTR);
    return ready > 0 && (entry.revents & POLLIN) != 0;
}

}  // namespace velk
