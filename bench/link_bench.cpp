// (a) and (b): the library's image and tone transfers against the phone, and
// the same command lines replayed by the bare stop-and-wait client.
#include "link_bench.h"

#include <cstdio>
#include <cstring>
#include <fstream>

#include "child_program.h"
#include "library_link.h"
#include "phone_process.h"
#include "velkport.h"

namespace velk::bench {
namespace {

constexpr std::size_t kFrameChars = 1536;
constexpr uint8_t kImageId = 1;
constexpr uint8_t kToneSlot = 4;
constexpr int kOperationTimeoutMs = 300000;
// A line at 10 bits a byte carries a tenth of its rate in bytes.
constexpr double kBitsPerByte = 10;

enum TransferIndex : std::size_t { kImageWrite = 0, kImageRead = 1, kToneWrite = 2 };
constexpr const char* kTransferNames[] = {"image write", "image read", "tone write"};

// Characters as a picture's dots are written: hexadecimal digits, from
// `first` on.
std::string PatternText(std::size_t size, char first) {
    static constexpr char kDigits[] = "0123456789ABCDEF";
    const auto shift = static_cast<std::size_t>(first - '0');
    std::string text(size, '0');
    for (std::size_t i = 0; i < size; ++i) text[i] = kDigits[(i * 7 + shift + i / 97) % 16];
    return text;
}

// What one link carries: an image of `frames` frames written and read back,
// then a ring tone of `toneBytes` (none for 0), on a line paced at `baud`
// (0: the phone answers at once).
struct TransferPlan {
    uint32_t baud = 0;
    int frames = 0;
    int toneBytes = 0;
};

struct TransferRun {
    PhoneRecord record;
    std::vector<std::size_t> ends;  // commands on the line once each transfer ended
    std::vector<Operation> operations;
    std::string fault;  // empty when every transfer ended as it should
};

// The library carries out `plan` on one link to a fresh phone.
TransferRun RunTransfers(const BenchState& state, const std::string& name,
                         const TransferPlan& plan) {
    const int frames = plan.frames;
    const int toneBytes = plan.toneBytes;
    TransferRun run;
    PhoneProcess phone(state.settings.phoneProgram, state.settings.workDir);
    std::string error;
    if (!phone.Start({plan.baud, name}, error)) {
        run.fault = error;
        return run;
    }
    LibraryLink link;
    int64_t beginNs = 0;
    if (!link.Begin(phone.DevicePath(), state.settings.baud, state.settings.softwareFlow,
                    beginNs)) {
        run.fault = "velk_BeginThread refused " + phone.DevicePath();
        return run;
    }
    std::string image = PatternText(kFrameChars * static_cast<std::size_t>(frames), '1');
    AnimRecord written{};
    written.id = kImageId;
    written.nameLength = 5;
    std::memcpy(written.name, "Bench", 5);
    written.size = static_cast<uint16_t>(image.size());
    written.data = reinterpret_cast<uint8_t*>(image.data());
    written.animParamFirst = 25;
    written.animParamLast = 4;
    std::string tone = PatternText(static_cast<std::size_t>(toneBytes), '2');
    MidRecord toneRecord{};
    toneRecord.id = kToneSlot;
    toneRecord.nameLength = 5;
    std::memcpy(toneRecord.name, "Bench", 5);
    toneRecord.size = static_cast<uint16_t>(tone.size());
    toneRecord.data = reinterpret_cast<uint8_t*>(tone.data());

    struct Step {
        std::function<int32_t()> request;
        uint32_t expected;
    };
    std::vector<Step> steps = {
        {[&] { return velk_WriteAnim(written); }, VELK_MSG_ANIM_WRITTEN},
        {[&] { return velk_ReadAnim(kImageId); }, VELK_MSG_ANIM_READ},
    };
    if (toneBytes > 0)
        steps.push_back({[&] { return velk_WriteMid(toneRecord); }, VELK_MSG_MID_WRITTEN});
    for (std::size_t i = 0; i < steps.size() && run.fault.empty(); ++i) {
        const Operation operation = link.Run(steps[i].request, kOperationTimeoutMs);
        run.operations.push_back(operation);
        run.ends.push_back(phone.CommandLines().size());
        if (operation.final != steps[i].expected) {
            run.fault = std::string(kTransferNames[i]) + " ended with message " +
                        std::to_string(operation.final);
        }
        // The record read is held only until the next operation starts.
        AnimRecord* read = nullptr;
        if (i == kImageRead && run.fault.empty() &&
            (velk_GetAnimData(&read) != 1 || read->size != image.size() ||
             std::memcmp(read->data, image.data(), image.size()) != 0)) {
            run.fault = "the image read back differs from the one written";
        }
    }
    link.End();
    phone.Stop();
    run.record.commands = phone.CommandLines();
    const auto spans = LoadSpans(phone.TimestampPath());
    if (!spans && run.fault.empty()) run.fault = "the phone's timestamps are malformed";
    if (spans) run.record.spans = *spans;
    return run;
}

std::vector<std::vector<std::string>> GroupsOf(const TransferRun& run) {
    std::vector<std::vector<std::string>> groups;
    std::size_t from = 0;
    for (std::size_t end : run.ends) {
        groups.emplace_back(run.record.commands.begin() + static_cast<std::ptrdiff_t>(from),
                            run.record.commands.begin() + static_cast<std::ptrdiff_t>(end));
        from = end;
    }
    return groups;
}

}  // namespace

std::optional<std::vector<CommandSpan>> LoadSpans(const std::string& path) {
    std::ifstream in(path);
    if (!in) return std::nullopt;
    return ReadCommandSpans(in);
}

std::string GapText(const Summary& summary) {
    return Triple(Micros(static_cast<double>(summary.median)),
                  Micros(static_cast<double>(summary.p99)),
                  Micros(static_cast<double>(summary.max))) +
           " (" + std::to_string(summary.count) + " gaps)";
}

std::optional<FloorReplay> ReplayFloor(const BenchState& state, const std::string& name,
                                       const std::vector<std::vector<std::string>>& groups,
                                       uint32_t baud) {
    PhoneProcess phone(state.settings.phoneProgram, state.settings.workDir);
    std::string error;
    if (!phone.Start({baud, name}, error)) return std::nullopt;
    FloorReplay replay;
    for (std::size_t i = 0; i < groups.size(); ++i) {
        const std::string file =
            state.settings.workDir + "/" + name + "-" + std::to_string(i) + ".commands";
        if (!WriteLines(file, groups[i])) return std::nullopt;
        const ProgramOutcome outcome =
            RunProgram({{state.settings.floorProgram, phone.DevicePath(), file}, {}, 600000});
        long commands = 0;
        long out = 0;
        long in = 0;
        if (outcome.exitStatus != 0 ||
            std::sscanf(outcome.output.c_str(), "commands=%ld out=%ld in=%ld", &commands, &out,
                        &in) != 3) {
            std::fprintf(stderr, "velk-bench-link: the stop-and-wait client failed: %s\n",
                         outcome.errors.c_str());
            return std::nullopt;
        }
        replay.bytes.push_back(out + in);
        replay.wallNs.push_back(outcome.endNs - outcome.startNs);
    }
    phone.Stop();
    replay.record.commands = phone.CommandLines();
    const auto spans = LoadSpans(phone.TimestampPath());
    if (!spans) return std::nullopt;
    replay.record.spans = *spans;
    return replay;
}

void MeasureOwnTime(BenchState& state) {
    BenchTable& table = state.table;
    const BenchSettings& settings = state.settings;
    const TransferRun run = RunTransfers(state, "own-time", {0, settings.frames, 0});
    if (!run.fault.empty()) {
        table.Add({"(a) own time per command", "not measured: " + run.fault, "", false});
        return;
    }
    const std::optional<FloorReplay> floor = ReplayFloor(state, "own-time-floor", GroupsOf(run), 0);
    std::vector<int64_t> allGaps;
    std::size_t from = 0;
    for (std::size_t i = 0; i < run.ends.size(); ++i) {
        const std::size_t to = run.ends[i];
        const std::string what = std::string(kTransferNames[i]) + ", " +
                                 std::to_string(settings.frames) + " frames, " +
                                 std::to_string(to - from) + " commands";
        const std::vector<int64_t> gaps = GapsBetween(run.record.spans, from, to);
        allGaps.insert(allGaps.end(), gaps.begin(), gaps.end());
        const Summary own = Summarise(gaps);
        table.Add({"(a) own gap per command, " + what + ": median / p99 / max", GapText(own),
                   "≤ 50 µs / ≤ 500 µs", own.median <= 50'000 && own.p99 <= 500'000});
        if (!floor) {
            table.Add({"(a) floor, " + what, "not measured: the stop-and-wait client failed", "",
                       std::nullopt});
        } else {
            const Summary bare = Summarise(GapsBetween(floor->record.spans, from, to));
            table.Add({"(a) floor (bare stop-and-wait) gap, " + what, GapText(bare), "", {}});
            const auto ours =
                static_cast<double>(Summarise(CyclesBetween(run.record.spans, from, to)).median);
            const auto theirs =
                static_cast<double>(Summarise(CyclesBetween(floor->record.spans, from, to)).median);
            const double ratio = theirs > 0 ? ours / theirs : 0;
            char text[64];
            std::snprintf(text, sizeof text, "%.2f", ratio);
            table.Add({"(a) whole-stack time per command (median cycle), " + what +
                           ": ours / floor = ratio",
                       Micros(ours) + " / " + Micros(theirs) + " = " + text, "≤ 1.5",
                       ratio > 0 && ratio <= 1.5});
        }
        from = to;
    }
    state.ownGap = Summarise(allGaps);
}

void MeasureLineRate(BenchState& state) {
    BenchTable& table = state.table;
    const BenchSettings& settings = state.settings;
    const std::string rate = std::to_string(settings.baud) + " Bd";
    const TransferRun run =
        RunTransfers(state, "line-rate", {settings.baud, settings.frames, settings.toneBytes});
    if (!run.fault.empty()) {
        table.Add({"(b) efficiency at " + rate, "not measured: " + run.fault, "", false});
        return;
    }
    const std::optional<FloorReplay> floor =
        ReplayFloor(state, "line-rate-floor", GroupsOf(run), settings.baud);
    if (!floor) {
        table.Add({"(b) efficiency at " + rate, "not measured: the stop-and-wait client failed", "",
                   false});
        return;
    }
    const double bytesPerSecond = settings.baud / kBitsPerByte;
    for (std::size_t i = 0; i < run.operations.size(); ++i) {
        const Operation& operation = run.operations[i];
        const double lineTime = static_cast<double>(floor->bytes[i]) / bytesPerSecond;
        const double ours = lineTime / (static_cast<double>(operation.wallNs) / 1e9);
        const double bare = lineTime / (static_cast<double>(floor->wallNs[i]) / 1e9);
        std::string what = kTransferNames[i];
        what += ", ";
        what += i == kToneWrite ? std::to_string(settings.toneBytes) + " bytes"
                                : std::to_string(settings.frames) + " frames";
        char detail[160];
        std::snprintf(detail, sizeof detail, "%s (%ld bytes in %.2f s; floor %s)",
                      Percent(ours).c_str(), floor->bytes[i],
                      static_cast<double>(operation.wallNs) / 1e9, Percent(bare).c_str());
        std::string where = rate;
        where += ", ";
        where += what;
        table.Add({"(b) efficiency at " + where, detail, "≥ 98 %", ours >= 0.98});
        const std::size_t from = i == 0 ? 0 : run.ends[i - 1];
        table.Add({"(b) own gap per command at " + where,
                   GapText(Summarise(GapsBetween(run.record.spans, from, run.ends[i]))),
                   "",
                   {}});
        const double cpu =
            static_cast<double>(operation.cpuNs) / static_cast<double>(operation.wallNs);
        table.Add({"(d) library CPU during (b), " + what, Percent(cpu) + " of a core", "", {}});
    }
}

}  // namespace velk::bench
