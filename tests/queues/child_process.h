// A second process for the tests of the shared objects: a forked child that
// runs a function and talks with the parent in single-letter steps over two
// pipes. The child must not use the test framework's assertions (they would
// land in its own copy of the test); it reports by its exit status.
#pragma once

#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <functional>
#include <string>

namespace velk::test {

class ChildProcess {
  public:
    // How long either side waits for a step before it gives up, so that a
    // fault shows as a failure rather than a test that hangs.
    static constexpr int kStepPatienceMs = 10000;

    class Channel {
      public:
        Channel(int in, int out) : in_(in), out_(out) {}
        bool Send(char step) const { return write(out_, &step, 1) == 1; }
        // The next step, or '\0' when none came in time or the other side
        // has gone.
        char Receive() const {
            pollfd p{in_, POLLIN, 0};
            char step = '\0';
            if (poll(&p, 1, kStepPatienceMs) != 1 || read(in_, &step, 1) != 1) return '\0';
            return step;
        }

      private:
        int in_;
        int out_;
    };

    explicit ChildProcess(const std::function<int(const Channel&)>& body) {
        int down[2] = {-1, -1};
        int up[2] = {-1, -1};
        if (pipe(down) != 0 || pipe(up) != 0) return;
        pid_ = fork();
        if (pid_ == 0) {
            close(down[1]);
            close(up[0]);
            _exit(body(Channel(down[0], up[1])));
        }
        close(down[0]);
        close(up[1]);
        toChild_ = down[1];
        fromChild_ = up[0];
    }
    ~ChildProcess() {
        if (pid_ > 0 && !reaped_) Wait();
        if (toChild_ >= 0) close(toChild_);
        if (fromChild_ >= 0) close(fromChild_);
    }
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    bool Started() const { return pid_ > 0; }
    pid_t Pid() const { return pid_; }
    Channel ToChild() const { return Channel(fromChild_, toChild_); }
    bool Send(char step) const { return ToChild().Send(step); }
    char Receive() const { return ToChild().Receive(); }
    // The child's exit status; -1 when it ended otherwise.
    int Wait() {
        if (toChild_ >= 0) close(toChild_);
        toChild_ = -1;
        int status = 0;
        reaped_ = true;
        if (waitpid(pid_, &status, 0) != pid_ || !WIFEXITED(status)) return -1;
        return WEXITSTATUS(status);
    }

  private:
    pid_t pid_ = -1;
    bool reaped_ = false;
    int toChild_ = -1;
    int fromChild_ = -1;
};

// A name of shared objects that no other test, here or in a test program
// running beside this one, uses.
inline std::string UniqueName(const std::string& what) {
    static std::atomic<int> serial{0};
    return "vkt" + std::to_string(getpid()) + "_" + std::to_string(serial++) + "_" + what;
}

}  // namespace velk::test
