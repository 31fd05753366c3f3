// velk-bench-link: the library on a phone line, measured against the bare
// stop-and-wait client and, with --peers, the common AT tools. Prints the
// rows of the table (with its header unless --no-header). Exits with 3 when
// a part could not measure at all.
#include <stdlib.h>

#include <cstdio>
#include <cstring>
#include <string>

#include "link_bench.h"

namespace {

constexpr const char kUsage[] =
    "usage: velk-bench-link [--frames N] [--tone-bytes N] [--idle-seconds N] [--starts N]\n"
    "                       [--parts abcdfg] [--peers] [--xon-xoff] [--work DIR]\n"
    "                       [--book-rounds N] [--no-header]\n"
    "Parts: (a) own time per command, (b) the line rate, (c) start and stop,\n"
    "(d) idle CPU, (f) the peers (with --peers), (g) a phone book of 250\n"
    "read by velkport contacts (beside gammu with --peers). All by default.\n"
    "The library's line has RTS/CTS flow, or XON/XOFF with --xon-xoff.\n";

bool ReadInt(const char* text, int& value) {
    char* end = nullptr;
    const long parsed = std::strtol(text, &end, 10);
    if (end == text || *end != '\0' || parsed < 0 || parsed > 1'000'000) return false;
    value = static_cast<int>(parsed);
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    using namespace velk::bench;
    BenchState state;
    BenchSettings& settings = state.settings;
    settings.phoneProgram = VELK_PHONE_PROGRAM;
    settings.floorProgram = VELK_FLOOR_PROGRAM;
    settings.modemShim = VELK_MODEM_SHIM;
    settings.cliProgram = VELK_CLI_PROGRAM;
    bool header = true;
    std::string parts = "abcdfg";
    for (int i = 1; i < argc; ++i) {
        const std::string option = argv[i];
        const char* value = i + 1 < argc ? argv[i + 1] : nullptr;
        bool ok = true;
        if (option == "--peers") {
            settings.peers = true;
        } else if (option == "--xon-xoff") {
            settings.softwareFlow = true;
        } else if (option == "--no-header") {
            header = false;
        } else if (value != nullptr && option == "--parts") {
            parts = value;
            ++i;
        } else if (value != nullptr && option == "--work") {
            settings.workDir = value;
            ++i;
        } else if (value != nullptr && option == "--frames") {
            ok = ReadInt(value, settings.frames) && settings.frames >= 1 && settings.frames <= 42;
            ++i;
        } else if (value != nullptr && option == "--tone-bytes") {
            ok = ReadInt(value, settings.toneBytes) && settings.toneBytes < 32512;
            ++i;
        } else if (value != nullptr && option == "--idle-seconds") {
            ok = ReadInt(value, settings.idleSeconds);
            ++i;
        } else if (value != nullptr && option == "--book-rounds") {
            ok = ReadInt(value, settings.bookRounds) && settings.bookRounds >= 1;
            ++i;
        } else if (value != nullptr && option == "--starts") {
            ok = ReadInt(value, settings.starts) && settings.starts >= 1;
            ++i;
        } else {
            ok = false;
        }
        if (!ok) {
            std::fputs(kUsage, stderr);
            return 2;
        }
    }
    if (settings.workDir.empty()) {
        char pattern[] = "/tmp/velk-bench-XXXXXX";
        if (mkdtemp(pattern) == nullptr) {
            std::perror("velk-bench-link: mkdtemp");
            return 1;
        }
        settings.workDir = pattern;
    }

    const auto wanted = [&parts](char part) { return parts.find(part) != std::string::npos; };
    // The peers run right after our own time, so that both see the same
    // machine.
    if (wanted('a')) MeasureOwnTime(state);
    if (wanted('f') && settings.peers) MeasurePeers(state);
    if (wanted('b')) MeasureLineRate(state);
    if (wanted('c')) MeasureStartStop(state);
    if (wanted('d')) MeasureIdle(state);
    if (wanted('g')) MeasureContacts(state);
    state.table.Print(stdout, header);
    // A part that could not measure is a broken benchmark, not a slow library.
    for (const TableRow& row : state.table.Rows()) {
        if (row.met == false && row.value.rfind("not measured", 0) == 0) return 3;
    }
    return 0;
}
