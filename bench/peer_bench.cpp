// (f) the common AT tools side by side with the library: each reads a phone
// book from the same phone, and its gap per command is measured as ours is.
#include <unistd.h>

#include <cstdlib>
#include <fstream>

#include "child_program.h"
#include "link_bench.h"
#include "phone_process.h"

namespace velk::bench {
namespace {

constexpr int kPeerTimeoutMs = 120000;

struct Peer {
    const char* label;
    const char* program;
    bool needsModemShim;
};

constexpr Peer kPeers[] = {
    {"gammu", "gammu", false},
    {"gsmlib (gsmpb)", "gsmpb", true},
};

std::vector<std::string> PeerArguments(const BenchState& state, const Peer& peer,
                                       const std::string& device) {
    if (std::string(peer.program) == "gammu") {
        const std::string config = state.settings.workDir + "/gammurc";
        std::ofstream out(config, std::ios::trunc);
        out << "[gammu]\ndevice = " << device << "\nconnection = at" << state.settings.baud << "\n";
        return {"gammu", "-c", config, "getmemory", "SM", "1", "100"};
    }
    // gsmpb takes "-" as a file name: its copy of the phone book goes to the
    // work directory, not to wherever the benchmark was started.
    return {"gsmpb", "-s", device, "-d", state.settings.workDir + "/gsmpb-copy",
            "-c",    "-p", "SM",   "-b", std::to_string(state.settings.baud)};
}

struct PeerRun {
    ProgramOutcome outcome;
    PhoneRecord record;
    bool timestamps = false;
};

PeerRun RunPeer(const BenchState& state, const Peer& peer, bool withShim, const std::string& name) {
    PeerRun run;
    PhoneProcess phone(state.settings.phoneProgram, state.settings.workDir);
    std::string error;
    if (!phone.Start({0, name}, error)) {
        run.outcome.errors = error;
        return run;
    }
    ProgramRun program{PeerArguments(state, peer, phone.DevicePath()), {}, kPeerTimeoutMs};
    if (withShim) program.environment.push_back("LD_PRELOAD=" + state.settings.modemShim);
    run.outcome = RunProgram(program);
    phone.Stop();
    run.record.commands = phone.CommandLines();
    const auto spans = LoadSpans(phone.TimestampPath());
    run.timestamps = spans.has_value();
    if (spans) run.record.spans = *spans;
    return run;
}

std::string FirstErrorLine(const std::string& errors) {
    const std::size_t end = errors.find('\n');
    std::string line = errors.substr(0, end);
    for (char& c : line) {
        if (c == '|') c = '/';
    }
    return line.empty() ? "no message" : line;
}

}  // namespace

void MeasurePeers(BenchState& state) {
    BenchTable& table = state.table;
    for (const Peer& peer : kPeers) {
        const std::string label = std::string("(f) ") + peer.label;
        if (!OnPath(peer.program)) {
            table.Add({label, "not measured: not installed (scripts/bench.sh --peers)", "", {}});
            continue;
        }
        PeerRun run = RunPeer(state, peer, false, std::string(peer.program) + "-plain");
        if (peer.needsModemShim && run.outcome.exitStatus != 0) {
            table.Add({label + " on a pseudo-terminal as it is",
                       "cannot be measured: exits with \"" + FirstErrorLine(run.outcome.errors) +
                           "\" (it treats the failed DTR ioctl of a pseudo-terminal as fatal)",
                       "",
                       {}});
            run = RunPeer(state, peer, true, std::string(peer.program) + "-shim");
        }
        const std::string how = run.outcome.exitStatus == 0 && peer.needsModemShim
                                    ? label + " (DTR ioctl answered by a preload shim)"
                                    : label;
        if (run.outcome.exitStatus != 0 || !run.timestamps || run.record.spans.size() < 2) {
            table.Add(
                {how,
                 "cannot be measured: exits with \"" + FirstErrorLine(run.outcome.errors) + "\"",
                 "",
                 {}});
            continue;
        }
        const std::vector<CommandSpan>& spans = run.record.spans;
        const Summary gap = Summarise(GapsBetween(spans, 0, spans.size()));
        std::size_t firstBook = 0;
        while (firstBook < run.record.commands.size() &&
               run.record.commands[firstBook].rfind("AT+CPBR=", 0) != 0) {
            ++firstBook;
        }
        std::string detail = GapText(gap) + "; " + std::to_string(spans.size()) + " commands";
        if (firstBook < spans.size()) {
            detail += "; start to first AT+CPBR " +
                      Millis(static_cast<double>(spans[firstBook].start - run.outcome.startNs));
        }
        const bool ahead =
            state.ownGap && state.ownGap->count > 0 && state.ownGap->median < gap.median;
        table.Add({how + " gap per command: median / p99 / max", detail,
                   state.ownGap
                       ? "ours (" + Micros(static_cast<double>(state.ownGap->median)) + ") below"
                       : "",
                   state.ownGap ? std::optional<bool>(ahead) : std::nullopt});
        const auto floor =
            ReplayFloor(state, std::string(peer.program) + "-floor", {run.record.commands}, 0);
        if (floor) {
            const Summary bare =
                Summarise(GapsBetween(floor->record.spans, 0, floor->record.spans.size()));
            table.Add({label + " commands replayed by the floor: gap", GapText(bare), "", {}});
        }
    }
}

}  // namespace velk::bench
