// The phone's timestamps turned into what the benchmarks report: the time a
// client takes between the end of one reply and the start of its next
// command (its gap), and the whole time per command.
//
// The phone writes one line per event, with the monotonic clock in ns:
//   C <ns>   the first byte of a command line arrived
//   R <ns>   the last byte of the reply to it went out
#pragma once

#include <cstddef>
#include <cstdint>
#include <istream>
#include <optional>
#include <vector>

namespace velk::bench {

// One command as the phone saw it; `end` is absent when it got no reply.
struct CommandSpan {
    int64_t start = 0;
    std::optional<int64_t> end;
};

// The commands in the order they came. Nothing for a malformed file (an
// unknown kind, a missing number, a reply before any command, two replies to
// one command).
std::optional<std::vector<CommandSpan>> ReadCommandSpans(std::istream& in);

// Start of command i+1 less end of the reply to command i, for every i in
// [first, last - 1) whose reply came. Commands are [first, last).
std::vector<int64_t> GapsBetween(const std::vector<CommandSpan>& spans, std::size_t first,
                                 std::size_t last);

struct Summary {
    std::size_t count = 0;
    int64_t median = 0;
    int64_t p99 = 0;  // nearest rank
    int64_t max = 0;
};
// All zero for no samples.
Summary Summarise(std::vector<int64_t> samples);

// The cycle of each command: start of command i+1 less start of command i,
// for every i in [first, last - 1). It holds the whole stack's time per
// command: the command and its reply on the line, the phone's turnaround and
// the client's gap.
std::vector<int64_t> CyclesBetween(const std::vector<CommandSpan>& spans, std::size_t first,
                                   std::size_t last);

}  // namespace velk::bench
