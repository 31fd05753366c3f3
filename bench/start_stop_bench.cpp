// (c) and (d): how long the link takes to stand and to end, how soon a
// request's first command is on the line, and what an idle link costs.
#include <algorithm>
#include <chrono>
#include <thread>

#include "child_program.h"
#include "library_link.h"
#include "link_bench.h"
#include "phone_process.h"
#include "velkport.h"

namespace velk::bench {
namespace {

constexpr int kOperationTimeoutMs = 30000;
// Before a request the link is left alone this long, so that every thread of
// it waits as it does between an application's requests.
constexpr auto kSettle = std::chrono::milliseconds(20);

std::string MedianMax(std::vector<int64_t> samples, std::string (*format)(double)) {
    const Summary summary = Summarise(std::move(samples));
    return format(static_cast<double>(summary.median)) + " / " +
           format(static_cast<double>(summary.max)) + " (" + std::to_string(summary.count) + ")";
}

}  // namespace

void MeasureStartStop(BenchState& state) {
    BenchTable& table = state.table;
    PhoneProcess phone(state.settings.phoneProgram, state.settings.workDir);
    std::string error;
    if (!phone.Start({0, "start-stop"}, error)) {
        table.Add({"(c) start and stop", "not measured: " + error, "", false});
        return;
    }
    std::vector<int64_t> begins;
    std::vector<int64_t> ends;
    std::vector<std::pair<std::size_t, int64_t>> requests;  // first command, request time
    std::string fault;
    for (int i = 0; i < state.settings.starts && fault.empty(); ++i) {
        LibraryLink link;
        int64_t beginNs = 0;
        if (!link.Begin(phone.DevicePath(), state.settings.baud, state.settings.softwareFlow,
                        beginNs)) {
            fault = "velk_BeginThread refused";
            break;
        }
        begins.push_back(beginNs);
        std::this_thread::sleep_for(kSettle);
        const std::size_t before = phone.CommandLines().size();
        const Operation operation = link.Run(&velk_ReadMidInfo, kOperationTimeoutMs);
        if (operation.final != VELK_MSG_MID_INFO_READ) fault = "the tone information read failed";
        requests.emplace_back(before, operation.requestNs);
        ends.push_back(link.End());
    }
    phone.Stop();
    const auto spans = LoadSpans(phone.TimestampPath());
    if (!fault.empty() || !spans) {
        table.Add({"(c) start and stop",
                   "not measured: " + (fault.empty() ? "no timestamps" : fault), "", false});
        return;
    }
    std::vector<int64_t> firstBytes;
    for (const auto& [index, requestNs] : requests) {
        if (index < spans->size()) firstBytes.push_back((*spans)[index].start - requestNs);
    }
    const auto within = [](const std::vector<int64_t>& samples, int64_t limit) {
        return !samples.empty() && *std::max_element(samples.begin(), samples.end()) <= limit;
    };
    table.Add({"(c) velk_BeginThread wall time: median / max (runs)", MedianMax(begins, Millis),
               "≤ 100 ms", within(begins, 100'000'000)});
    table.Add({"(c) velk_EndThread wall time: median / max (runs)", MedianMax(ends, Millis),
               "≤ 100 ms", within(ends, 100'000'000)});
    table.Add({"(c) request export to first byte of its AT: median / max (runs)",
               MedianMax(firstBytes, Micros), "≤ 1 ms", within(firstBytes, 1'000'000)});
}

void MeasureIdle(BenchState& state) {
    BenchTable& table = state.table;
    PhoneProcess phone(state.settings.phoneProgram, state.settings.workDir);
    std::string error;
    LibraryLink link;
    int64_t beginNs = 0;
    if (!phone.Start({0, "idle"}, error) || !link.Begin(phone.DevicePath(), state.settings.baud,
                                                        state.settings.softwareFlow, beginNs)) {
        table.Add({"(d) idle CPU", "not measured: " + error, "", false});
        return;
    }
    std::this_thread::sleep_for(kSettle);
    const int64_t cpuBefore = ProcessCpuNs();
    const int64_t wallBefore = MonotonicNs();
    std::this_thread::sleep_for(std::chrono::seconds(state.settings.idleSeconds));
    const double cpu = static_cast<double>(ProcessCpuNs() - cpuBefore);
    const double wall = static_cast<double>(MonotonicNs() - wallBefore);
    link.End();
    phone.Stop();
    char value[96];
    std::snprintf(value, sizeof value, "%.4f %% of a core (%.1f ms CPU in %d s)", 100 * cpu / wall,
                  cpu / 1e6, state.settings.idleSeconds);
    table.Add({"(d) idle link, process CPU (getrusage)", value, "< 0.1 %", cpu / wall < 0.001});
}

}  // namespace velk::bench
