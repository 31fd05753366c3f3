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
};

using CommandArgs = std::span<const std::string>;

inline constexpr int kExitDone = 0;
inline constexpr int kExitUsage = 2;

}  // namespace velk::cli
