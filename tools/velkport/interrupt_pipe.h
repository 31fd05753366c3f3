// Ctrl-C as something to poll: while an InterruptPipe lives, SIGINT and
// SIGTERM write one byte to a pipe instead of ending the program, so that the
// waiting loop can cancel the running operation and close the link cleanly.
// The handler does nothing but that write, which is safe in a signal handler.
#pragma once

#include <signal.h>

namespace velk::cli {

class InterruptPipe {
  public:
    InterruptPipe();
    ~InterruptPipe();  // puts the signals' former handlers back
    InterruptPipe(const InterruptPipe&) = delete;
    InterruptPipe& operator=(const InterruptPipe&) = delete;

    // Readable once a signal came; -1 when the pipe could not be made.
    int Descriptor() const { return readFd_; }

    // Makes the descriptor readable without a signal, so that a wait on it
    // ends for a reason of the program's own (a time limit).
    void Wake();
    // Whether a signal came since this InterruptPipe was made.
    bool Signalled() const;
    // Reads away what Wake wrote (and any signal's byte with it).
    void Drain();

  private:
    int readFd_ = -1;
    struct sigaction oldInt_ {};
    struct sigaction oldTerm_ {};
};

}  // namespace velk::cli
