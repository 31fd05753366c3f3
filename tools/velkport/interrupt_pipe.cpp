#include "velkport/interrupt_pipe.h"

#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>

namespace velk::cli {
namespace {

// One program runs one transfer at a time: a single pipe serves it.
std::atomic<int> g_signalWriteFd{-1};
std::atomic<int> g_receivedSignal{0};

void OnSignal(int signal) {
    const int saved = errno;
    g_receivedSignal.store(signal);
    const int fd = g_signalWriteFd.load();
    const char byte = 1;
    if (fd >= 0) (void)!write(fd, &byte, 1);
    errno = saved;
}

}  // namespace

InterruptPipe::InterruptPipe() {
    int fds[2];
    if (pipe2(fds, O_CLOEXEC | O_NONBLOCK) != 0) return;
    readFd_ = fds[0];
    g_receivedSignal.store(0);
    g_signalWriteFd.store(fds[1]);
    struct sigaction action {};
    action.sa_handler = &OnSignal;
    sigemptyset(&action.sa_mask);
    sigaction(SIGINT, &action, &oldInt_);
    sigaction(SIGTERM, &action, &oldTerm_);
}

InterruptPipe::~InterruptPipe() {
    if (readFd_ < 0) return;
    sigaction(SIGINT, &oldInt_, nullptr);
    sigaction(SIGTERM, &oldTerm_, nullptr);
    const int writeFd = g_signalWriteFd.exchange(-1);
    close(writeFd);
    close(readFd_);
}

int InterruptPipe::Received() const {
    return g_receivedSignal.load();
}

}  // namespace velk::cli
