// A forked child for the tests of the shared objects: it runs a function and
// talks with the parent in single-letter steps over two pipes. It reports by
// its exit status only: the framework's assertions would land in its own copy
// of the test.
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
    // Either side gives up on a step after this, so a fault fails, not hangs.
    static constexpr int kStepPatienceMs = 10000;

    class Channel {
      public:
        Channel(int in, int out) : in_(in), out_(out) {}
        bool Send(char step) const { return write(out_, &step, 1) == 1; }
        // The next step; '\0' when none came in time or the other side went.
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
        if (pid_ > 0) Wait();
        close(fromChild_);
    }
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    bool Started() const { return pid_ > 0; }
    pid_t Pid() const { return pid_; }
    bool Send(char step) const { return Channel(fromChild_, toChild_).Send(step); }
    char Receive() const { return Channel(fromChild_, toChild_).Receive(); }
    // The child's exit status; -1 when it ended otherwise.
    int Wait() {
        close(toChild_);
        toChild_ = -1;
        int status = 0;
        const bool reaped = pid_ > 0 && waitpid(pid_, &status, 0) == pid_;
        pid_ = -1;
        return reaped && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

  private:
    pid_t pid_ = -1;
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
