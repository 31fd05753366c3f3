// What every subcommand of `velkport` gets: its arguments (behind its name)
// and the three standard streams. It returns the program's exit code.
#pragma once

#include <iosfwd>
#include <span>
#include <string>

namespace velk::cli {

struct CommandIo {
    std::istream& in;
    std::ostream& out;
    std::ostream& err;
    // Standard error is a terminal: progress may be drawn on it.
    bool errIsTerminal = false;
    // Standard output is a terminal: a text printed there ends its line.
    bool outIsTerminal = false;
};

using CommandArgs = std::span<const std::string>;

// The exit codes: each class of outcome its own.
inline constexpr int kExitDone = 0;
inline constexpr int kExitFailure = 1;        // a file could not be written or removed
inline constexpr int kExitUsage = 2;          // bad arguments or an unusable input file
inline constexpr int kExitNoDevice = 3;       // the serial device cannot be opened
inline constexpr int kExitRefused = 4;        // the phone refused a command
inline constexpr int kExitNoAnswer = 5;       // the phone did not answer in time
inline constexpr int kExitLinkLost = 6;       // the link to the phone fell
inline constexpr int kExitInternal = 7;       // the library or the system failed us
inline constexpr int kExitInterrupted = 130;  // Ctrl-C

}  // namespace velk::cli
