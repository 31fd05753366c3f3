// A forked child for the tests of the shared objects: it runs a function and
// talks with the parent in single-letter steps over a socket pair. It reports
// by its exit status only: the framework's assertions would land in its own
// copy of the test.
#pragma once

#include <poll.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <functional>
#include <string>

namespace velk::test {

// One end of the talk. Either side gives up on a step after kStepPatienceMs,
// so that a fault fails rather than hangs.
struct Channel {
    static constexpr int kStepPatienceMs = 10000;
    int fd = -1;
    bool Send(char step) const { return write(fd, &step, 1) == 1; }
    // The next step; '\0' when none came in time or the other side went.
    char Receive() const {
        pollfd p{fd, POLLIN, 0};
        char step = '\0';
        if (poll(&p, 1, kStepPatienceMs) != 1 || read(fd, &step, 1) != 1) return '\0';
        return step;
    }
};

class ChildProcess : public Channel {
  public:
    explicit ChildProcess(const std::function<int(const Channel&)>& body) {
        int ends[2] = {-1, -1};
        if (socketpair(AF_UNIX, SOCK_STREAM, 0, ends) != 0) return;
        pid_ = fork();
        if (pid_ == 0) {
            close(ends[0]);
            _exit(body(Channel{ends[1]}));
        }
        close(ends[1]);
        fd = ends[0];
    }
    ~ChildProcess() {
        Wait();
        close(fd);
    }
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    bool Started() const { return pid_ > 0; }
    pid_t Pid() const { return pid_; }
    // The child's exit status; -1 when it ended otherwise. The child sees the
    // parent's end closed.
    int Wait() {
        if (pid_ <= 0) return -1;
        shutdown(fd, SHUT_WR);
        int status = 0;
        const bool reaped = waitpid(pid_, &status, 0) == pid_;
        pid_ = -1;
        return reaped && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

  private:
    pid_t pid_ = -1;
};

// A name of shared objects that no other test, here or in a test program
// running beside this one, uses.
inline std::string UniqueName(const std::string& what) {
    static std::atomic<int> serial{0};
    return "vkt" + std::to_string(getpid()) + "_" + std::to_string(serial++) + "_" + what;
}

}  // namespace velk::test
