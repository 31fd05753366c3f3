// The parts of velk-bench-link, the benchmark of the whole library on a
// phone line: each part measures, adds its rows to the table and leaves what
// later parts compare with in the shared state.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "bench_table.h"
#include "gap_stats.h"

namespace velk::bench {

struct BenchSettings {
    std::string phoneProgram;  // velkport-phone
    std::string floorProgram;  // velk-stop-and-wait
    std::string modemShim;     // the preload library for the peers
    std::string cliProgram;    // velkport, for the phone-book read
    std::string workDir;
    int frames = 42;
    int toneBytes = 32000;
    int idleSeconds = 30;
    int starts = 10;
    uint32_t baud = 115200;
    bool peers = false;
    int bookRounds = 5;  // of the phone-book read, each side
    // RTS/CTS by default: the kernel then hands the bytes of the line on as
    // they come, as it does for the floor's raw line. With XON/XOFF its line
    // discipline looks at every byte received for the flow characters, which
    // the floor does not pay.
    bool softwareFlow = false;
};

struct BenchState {
    BenchSettings settings;
    BenchTable table;
    // Our gap per command in the same run, for the side by side with peers.
    std::optional<Summary> ownGap;
};

// The command lines and timestamps of one phone run.
struct PhoneRecord {
    std::vector<std::string> commands;
    std::vector<CommandSpan> spans;
};

// (a) own time per command against the floor, the phone answering at once.
void MeasureOwnTime(BenchState& state);
// (b) efficiency at the line rate and (d) the library's CPU meanwhile.
void MeasureLineRate(BenchState& state);
// (c) start, stop, and a request to the first byte of its command.
void MeasureStartStop(BenchState& state);
// (d) CPU of an idle link.
void MeasureIdle(BenchState& state);
// (f) the peers against the same phone.
void MeasurePeers(BenchState& state);
// (g) a full phone book read through velkport contacts, beside gammu with
// peers, and paced at the line rate.
void MeasureContacts(BenchState& state);

// What the bare stop-and-wait client did with groups of command lines, one
// run of the client per group, all on one fresh phone (so that a read finds
// what the write before it left).
struct FloorReplay {
    PhoneRecord record;
    std::vector<long> bytes;      // both ways, per group
    std::vector<int64_t> wallNs;  // per group, the client's start to its end
};
// Empty when the phone or the client failed.
std::optional<FloorReplay> ReplayFloor(const BenchState& state, const std::string& name,
                                       const std::vector<std::vector<std::string>>& groups,
                                       uint32_t baud);
// Reads a phone's timestamps; empty when the file is missing or malformed.
std::optional<std::vector<CommandSpan>> LoadSpans(const std::string& path);
// "median / p99 / max (n)"
std::string GapText(const Summary& summary);

}  // namespace velk::bench
