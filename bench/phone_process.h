// velkport-phone as a child process: the phone every client of a benchmark
// talks to, with its command log and its timestamps in files of a work
// directory. The phone runs in a process of its own, so that the CPU time of
// the process under measurement is the client's alone.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <string>
#include <vector>

namespace velk::bench {

struct PhoneRun {
    uint32_t baud = 0;  // 0: the phone answers at once
    std::string name;   // names the files: <workDir>/<name>.log and .ts
};

class PhoneProcess {
  public:
    PhoneProcess(std::string program, std::string workDir);
    ~PhoneProcess();
    PhoneProcess(const PhoneProcess&) = delete;
    PhoneProcess& operator=(const PhoneProcess&) = delete;

    // Starts the phone and reads the device path it prints. False with
    // `error` set when the program cannot be started or prints no path.
    bool Start(const PhoneRun& run, std::string& error);
    const std::string& DevicePath() const { return device_; }
    // Ends the phone (SIGTERM) and waits for it: its files are complete
    // afterwards. Nothing happens when it does not run.
    void Stop();

    std::string LogPath() const;
    std::string TimestampPath() const;
    // The command lines the phone has received so far, in order.
    std::vector<std::string> CommandLines() const;

  private:
    std::string program_;
    std::string workDir_;
    PhoneRun run_;
    pid_t pid_ = -1;
    std::string device_;
};

// The command lines of a file, one a line, without line ends.
std::vector<std::string> ReadLines(const std::string& path);
// Writes the lines, each ended by a newline. False when the file cannot be
// written.
bool WriteLines(const std::string& path, const std::vector<std::string>& lines);

}  // namespace velk::bench
