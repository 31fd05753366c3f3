#include "child_program.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

extern char** environ;

namespace velk::bench {
namespace {

constexpr std::size_t kKeptErrors = 4096;

// Reads what is there; false at the end of the pipe.
bool Drain(int fd, std::string& into) {
    char buffer[4096];
    const ssize_t count = read(fd, buffer, sizeof buffer);
    if (count > 0) into.append(buffer, static_cast<std::size_t>(count));
    return count > 0 || (count < 0 && errno == EINTR);
}

}  // namespace

int64_t MonotonicNs() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<int64_t>(now.tv_sec) * 1'000'000'000 + now.tv_nsec;
}

ProgramOutcome RunProgram(const ProgramRun& run) {
    ProgramOutcome outcome;
    int out[2];
    int err[2];
    if (run.arguments.empty() || pipe2(out, O_CLOEXEC) != 0) return outcome;
    if (pipe2(err, O_CLOEXEC) != 0) {
        close(out[0]);
        close(out[1]);
        return outcome;
    }
    std::vector<std::string> arguments = run.arguments;
    std::vector<char*> argv;
    argv.reserve(arguments.size() + 1);
    for (std::string& argument : arguments) argv.push_back(argument.data());
    argv.push_back(nullptr);
    std::vector<std::string> variables = run.environment;
    std::vector<char*> envp;
    envp.reserve(variables.size());
    for (std::string& variable : variables) envp.push_back(variable.data());
    for (char** e = environ; *e != nullptr; ++e) envp.push_back(*e);
    envp.push_back(nullptr);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, out[1], STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, err[1], STDERR_FILENO);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    pid_t pid = -1;
    outcome.startNs = MonotonicNs();
    const int spawned = posix_spawnp(&pid, argv[0], &actions, nullptr, argv.data(), envp.data());
    posix_spawn_file_actions_destroy(&actions);
    close(out[1]);
    close(err[1]);
    if (spawned != 0) {
        close(out[0]);
        close(err[0]);
        outcome.errors = std::string("cannot start ") + argv[0];
        return outcome;
    }
    outcome.started = true;

    const int64_t deadline = outcome.startNs + static_cast<int64_t>(run.timeoutMs) * 1'000'000;
    pollfd entries[2] = {{out[0], POLLIN, 0}, {err[0], POLLIN, 0}};
    int open = 2;
    while (open > 0) {
        const int64_t left = deadline - MonotonicNs();
        if (left <= 0) {
            outcome.timedOut = true;
            kill(pid, SIGKILL);
            break;
        }
        if (poll(entries, 2, static_cast<int>(left / 1'000'000) + 1) < 0 && errno != EINTR) break;
        for (int i = 0; i < 2; ++i) {
            if (entries[i].fd < 0 || entries[i].revents == 0) continue;
            if (!Drain(entries[i].fd, i == 0 ? outcome.output : outcome.errors)) {
                entries[i].fd = -1;
                --open;
            }
        }
        if (outcome.errors.size() > 2 * kKeptErrors) {
            outcome.errors.erase(0, outcome.errors.size() - kKeptErrors);
        }
    }
    close(out[0]);
    close(err[0]);
    int status = 0;
    while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    outcome.endNs = MonotonicNs();
    if (!outcome.timedOut && WIFEXITED(status)) outcome.exitStatus = WEXITSTATUS(status);
    return outcome;
}

bool OnPath(const std::string& program) {
    const char* path = std::getenv("PATH");
    std::string directories = path != nullptr ? path : "/usr/bin:/bin";
    std::size_t from = 0;
    while (from <= directories.size()) {
        std::size_t to = directories.find(':', from);
        if (to == std::string::npos) to = directories.size();
        const std::string candidate = directories.substr(from, to - from) + "/" + program;
        if (access(candidate.c_str(), X_OK) == 0) return true;
        from = to + 1;
    }
    return false;
}

}  // namespace velk::bench
