#include "phone_process.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <fstream>

extern char** environ;

namespace velk::bench {
namespace {

// The phone prints its device path as soon as its line is open.
constexpr int kStartTimeoutMs = 5000;

}  // namespace

PhoneProcess::PhoneProcess(std::string program, std::string workDir)
    : program_(std::move(program)), workDir_(std::move(workDir)) {}

PhoneProcess::~PhoneProcess() {
    Stop();
}

std::string PhoneProcess::LogPath() const {
    return workDir_ + "/" + run_.name + ".log";
}

std::string PhoneProcess::TimestampPath() const {
    return workDir_ + "/" + run_.name + ".ts";
}

bool PhoneProcess::Start(const PhoneRun& run, std::string& error) {
    Stop();
    run_ = run;
    int out[2];
    if (pipe2(out, O_CLOEXEC) != 0) {
        error = std::string("pipe: ") + std::strerror(errno);
        return false;
    }
    std::vector<std::string> arguments = {program_, "--log", LogPath(), "--timestamps",
                                          TimestampPath()};
    if (run.baud != 0) {
        arguments.push_back("--baud");
        arguments.push_back(std::to_string(run.baud));
    }
    std::vector<char*> argv;
    argv.reserve(arguments.size() + 1);
    for (std::string& argument : arguments) argv.push_back(argument.data());
    argv.push_back(nullptr);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, out[1], STDOUT_FILENO);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    const int spawned =
        posix_spawn(&pid_, program_.c_str(), &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    close(out[1]);
    if (spawned != 0) {
        pid_ = -1;
        close(out[0]);
        error = "cannot start " + program_ + ": " + std::strerror(spawned);
        return false;
    }

    std::string line;
    char c = 0;
    pollfd entry{out[0], POLLIN, 0};
    while (poll(&entry, 1, kStartTimeoutMs) > 0 && read(out[0], &c, 1) == 1 && c != '\n') {
        line += c;
    }
    close(out[0]);
    if (c != '\n' || line.empty()) {
        Stop();
        error = program_ + " printed no device path";
        return false;
    }
    device_ = line;
    return true;
}

void PhoneProcess::Stop() {
    if (pid_ <= 0) return;
    kill(pid_, SIGTERM);
    int status = 0;
    while (waitpid(pid_, &status, 0) < 0 && errno == EINTR) {
    }
    pid_ = -1;
    device_.clear();
}

std::vector<std::string> PhoneProcess::CommandLines() const {
    return ReadLines(LogPath());
}

std::vector<std::string> ReadLines(const std::string& path) {
    std::vector<std::string> lines;
    std::ifstream in(path);
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    return lines;
}

bool WriteLines(const std::string& path, const std::vector<std::string>& lines) {
    std::ofstream out(path, std::ios::trunc);
    for (const std::string& line : lines) out << line << '\n';
    out.flush();
    return static_cast<bool>(out);
}

}  // namespace velk::bench
