// Runs another program to its end: the bare stop-and-wait client and the
// peers, each against a phone of its own.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace velk::bench {

struct ProgramRun {
    std::vector<std::string> arguments;    // the program first
    std::vector<std::string> environment;  // NAME=VALUE added to this process's
    int timeoutMs = 120000;
};

struct ProgramOutcome {
    bool started = false;
    bool timedOut = false;
    int exitStatus = -1;  // -1 unless it exited by itself
    std::string output;   // what it wrote to stdout
    std::string errors;   // what it wrote to stderr (the last 4 KiB)
    int64_t startNs = 0;  // monotonic clock just before the start
    int64_t endNs = 0;    // when its end was seen
};

ProgramOutcome RunProgram(const ProgramRun& run);

// Whether `program` is an executable file in a directory of $PATH.
bool OnPath(const std::string& program);

// The monotonic clock in ns, the clock of the phone's timestamps.
int64_t MonotonicNs();

}  // namespace velk::bench
