// (g) A full SIM of 250 entries read through `velkport contacts --json`, the
// phone answering at once, beside `gammu getmemory SM 1 250` (with --peers)
// against the same phone program in the same run, the rounds interleaved so
// that both see the same machine; then the same read paced at the line rate.
// Each is measured from outside, as a user meets it: the program's wall
// time, from its start to its end; the reading, from the phone's receipt of
// the first AT+CPBR=<index> to its last reply; the commands the phone got.
#include <algorithm>
#include <cstdio>
#include <fstream>

#include "child_program.h"
#include "link_bench.h"
#include "phone_process.h"

namespace velk::bench {
namespace {

constexpr double kBitsPerByte = 10;
constexpr int kBookEntries = 250;  // what velkport-phone's SIM holds
constexpr int kRunTimeoutMs = 120000;

struct BookRead {
    std::string fault;  // empty: measured
    int64_t wallNs = 0;
    int64_t readNs = 0;
    std::size_t commands = 0;
    std::vector<std::string> reads;  // the AT+CPBR=<index> lines, in order
};

// A read of entries, not the question of the range.
bool IsEntryRead(const std::string& line) {
    return line.rfind("AT+CPBR=", 0) == 0 && line.size() > 8 && line[8] >= '0' && line[8] <= '9';
}

std::vector<std::string> ClientArguments(const BenchState& state, bool gammu,
                                         const std::string& device) {
    if (!gammu) return {state.settings.cliProgram, "--device", device, "contacts", "--json"};
    const std::string config = state.settings.workDir + "/gammurc-book";
    std::ofstream out(config, std::ios::trunc);
    out << "[gammu]\ndevice = " << device << "\nconnection = at" << state.settings.baud << "\n";
    return {"gammu", "-c", config, "getmemory", "SM", "1", std::to_string(kBookEntries)};
}

// How many entries the program printed: JSON objects or gammu's records.
std::size_t EntriesPrinted(const std::string& output, bool gammu) {
    const std::string mark = gammu ? "Memory SM, Location " : "{\"index\":";
    std::size_t count = 0;
    for (std::size_t at = output.find(mark); at != std::string::npos;
         at = output.find(mark, at + 1)) {
        ++count;
    }
    return count;
}

BookRead ReadBook(const BenchState& state, bool gammu, uint32_t baud, const std::string& name) {
    BookRead read;
    PhoneProcess phone(state.settings.phoneProgram, state.settings.workDir);
    if (!phone.Start({baud, name}, read.fault)) return read;
    const ProgramOutcome outcome =
        RunProgram({ClientArguments(state, gammu, phone.DevicePath()), {}, kRunTimeoutMs});
    phone.Stop();
    if (outcome.exitStatus != 0) {
        read.fault = "exit " + std::to_string(outcome.exitStatus) + ": " +
                     outcome.errors.substr(0, outcome.errors.find('\n'));
        return read;
    }
    if (EntriesPrinted(outcome.output, gammu) != kBookEntries) {
        read.fault = "printed " + std::to_string(EntriesPrinted(outcome.output, gammu)) +
                     " entries, not " + std::to_string(kBookEntries);
        return read;
    }
    const std::vector<std::string> commands = phone.CommandLines();
    const auto spans = LoadSpans(phone.TimestampPath());
    if (!spans || spans->size() != commands.size()) {
        read.fault = "the phone's timestamps do not match its log";
        return read;
    }
    std::size_t first = commands.size();
    std::size_t last = 0;
    for (std::size_t i = 0; i < commands.size(); ++i) {
        if (!IsEntryRead(commands[i])) continue;
        first = std::min(first, i);
        last = i;
        read.reads.push_back(commands[i]);
    }
    if (first == commands.size() || !(*spans)[last].end) {
        read.fault = "no AT+CPBR= read came, or its reply did not";
        return read;
    }
    read.wallNs = outcome.endNs - outcome.startNs;
    read.readNs = *(*spans)[last].end - (*spans)[first].start;
    read.commands = commands.size();
    return read;
}

// "book-gammu-3": the files of a run. (Built by appending: GCC 12 warns
// falsely of overlapping copies in "literal" + string here.)
std::string RunName(const char* side, int round) {
    std::string name = "book-";
    name.append(side).append("-").append(std::to_string(round));
    return name;
}

int64_t Median(std::vector<int64_t> values) {
    std::sort(values.begin(), values.end());
    return values.empty() ? 0 : values[values.size() / 2];
}

struct Medians {
    int64_t wallNs = 0;
    int64_t readNs = 0;
    std::size_t commands = 0;
};

Medians MedianOf(const std::vector<BookRead>& reads) {
    std::vector<int64_t> walls;
    std::vector<int64_t> spans;
    std::size_t commands = 0;
    for (const BookRead& read : reads) {
        walls.push_back(read.wallNs);
        spans.push_back(read.readNs);
        commands = std::max(commands, read.commands);
    }
    return {Median(walls), Median(spans), commands};
}

std::string Detail(const Medians& m, std::size_t rounds) {
    return "wall " + Millis(static_cast<double>(m.wallNs)) + ", reading " +
           Millis(static_cast<double>(m.readNs)) + ", " + std::to_string(m.commands) +
           " commands (medians of " + std::to_string(rounds) + ")";
}

}  // namespace

void MeasureContacts(BenchState& state) {
    BenchTable& table = state.table;
    const BenchSettings& settings = state.settings;
    const std::string what = std::to_string(kBookEntries) + "-entry phone book";
    const bool withGammu = settings.peers && OnPath("gammu");
    std::vector<BookRead> ours;
    std::vector<BookRead> theirs;
    for (int round = 0; round < settings.bookRounds; ++round) {
        ours.push_back(ReadBook(state, false, 0, RunName("velkport", round)));
        if (!ours.back().fault.empty()) {
            table.Add({"(g) " + what + ", velkport contacts --json",
                       "not measured: " + ours.back().fault, "", false});
            return;
        }
        if (!withGammu) continue;
        theirs.push_back(ReadBook(state, true, 0, RunName("gammu", round)));
        if (!theirs.back().fault.empty()) {
            table.Add({"(g) " + what + ", gammu getmemory",
                       "cannot be measured: " + theirs.back().fault,
                       "",
                       {}});
            theirs.clear();
            break;
        }
    }
    const Medians own = MedianOf(ours);
    table.Add({"(g) " + what + ", velkport contacts --json: commands on the line",
               Detail(own, ours.size()), "≤ 20", own.commands <= 20});
    if (!theirs.empty()) {
        const Medians peer = MedianOf(theirs);
        table.Add(
            {"(g) " + what + ", gammu getmemory SM 1 250", Detail(peer, theirs.size()), "", {}});
        char ratio[96];
        std::snprintf(ratio, sizeof ratio, "%.4f (%s / %s)",
                      static_cast<double>(own.wallNs) / static_cast<double>(peer.wallNs),
                      Millis(static_cast<double>(own.wallNs)).c_str(),
                      Millis(static_cast<double>(peer.wallNs)).c_str());
        table.Add({"(g) " + what + ": wall, velkport / gammu", ratio, "≤ 0.1",
                   own.wallNs * 10 <= peer.wallNs});
        std::snprintf(ratio, sizeof ratio, "%.4f (%s / %s)",
                      static_cast<double>(own.readNs) / static_cast<double>(peer.readNs),
                      Millis(static_cast<double>(own.readNs)).c_str(),
                      Millis(static_cast<double>(peer.readNs)).c_str());
        table.Add({"(g) " + what + ": first AT+CPBR= to its last reply, velkport / gammu", ratio,
                   "< 1", own.readNs < peer.readNs});
    } else if (settings.peers) {
        table.Add({"(g) " + what + ", gammu getmemory",
                   "not measured: gammu is not installed (scripts/bench.sh --peers)",
                   "",
                   {}});
    }

    // Paced: the bytes of the reading, counted by the bare client replaying
    // the same commands in the same character set, against its time.
    const std::string rate = std::to_string(settings.baud) + " Bd";
    std::vector<BookRead> paced;
    for (int round = 0; round < std::max(1, settings.bookRounds / 2); ++round) {
        paced.push_back(ReadBook(state, false, settings.baud, RunName("paced", round)));
        if (!paced.back().fault.empty()) {
            table.Add(
                {"(g) " + what + " at " + rate, "not measured: " + paced.back().fault, "", false});
            return;
        }
    }
    const std::optional<FloorReplay> floor =
        ReplayFloor(state, "book-floor",
                    {{"ATE0", "AT+CSCS=\"UCS2\"", "AT+CPBS=\"SM\""}, paced.front().reads}, 0);
    if (!floor) {
        table.Add({"(g) " + what + " at " + rate, "not measured: the stop-and-wait client failed",
                   "", false});
        return;
    }
    const Medians m = MedianOf(paced);
    const double lineTime = static_cast<double>(floor->bytes[1]) / (settings.baud / kBitsPerByte);
    const double share = lineTime / (static_cast<double>(m.readNs) / 1e9);
    char detail[160];
    std::snprintf(detail, sizeof detail, "%s (%ld bytes both ways in %s; wall %s)",
                  Percent(share).c_str(), floor->bytes[1],
                  Millis(static_cast<double>(m.readNs)).c_str(),
                  Millis(static_cast<double>(m.wallNs)).c_str());
    table.Add({"(g) " + what + " at " + rate + ": reading as a share of the line's rate", detail,
               "≥ 98 %", share >= 0.98});
}

}  // namespace velk::bench
