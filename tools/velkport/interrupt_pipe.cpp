#include "velkport/interrupt_pipe.h"

#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <mutex>

namespace velk::cli {
namespace {

// One pipe for the whole process, never closed: a handler that runs on
// another thread while an InterruptPipe goes away must not write to a
// descriptor that was closed and perhaps handed out again. The handler may
// run on any thread, so the write end reaches it through an atomic
// (lock-free, hence safe in a handler), published once it is open.
int g_signalReadEnd = -1;
std::atomic<int> g_signalWriteEnd{-1};
std::once_flag g_signalPipeMade;
std::atomic<bool> g_signalled{false};  // lock-free like the write end

void WriteByte() {
    const int saved = errno;
    const char byte = 1;
    const int fd = g_signalWriteEnd.load(std::memory_order_acquire);
    if (fd >= 0) (void)!write(fd, &byte, 1);
    errno = saved;
}

void OnSignal(int) {
    g_signalled.store(true);
    WriteByte();
}

void ReadAway() {
    char leftover[64];
    while (read(g_signalReadEnd, leftover, sizeof leftover) > 0) {
    }
}

}  // namespace

InterruptPipe::InterruptPipe() {
    std::call_once(g_signalPipeMade, [] {
        int ends[2];
        if (pipe2(ends, O_CLOEXEC | O_NONBLOCK) != 0) return;
        g_signalReadEnd = ends[0];
        g_signalWriteEnd.store(ends[1], std::memory_order_release);
    });
    if (g_signalReadEnd < 0) return;
    // A signal of an earlier transfer is no reason to end this one.
    ReadAway();
    g_signalled.store(false);
    readFd_ = g_signalReadEnd;
    struct sigaction action {};
    action.sa_handler = &OnSignal;
    sigemptyset(&action.sa_mask);
    sigaction(SIGINT, &action, &oldInt_);
    sigaction(SIGTERM, &action, &oldTerm_);
}

void InterruptPipe::Wake() {
    WriteByte();
}

bool InterruptPipe::Signalled() const {
    return g_signalled.load();
}

void InterruptPipe::Drain() {
    if (readFd_ >= 0) ReadAway();
}

InterruptPipe::~InterruptPipe() {
    if (readFd_ < 0) return;
    sigaction(SIGINT, &oldInt_, nullptr);
    sigaction(SIGTERM, &oldTerm_, nullptr);
}

}  // namespace velk::cli
