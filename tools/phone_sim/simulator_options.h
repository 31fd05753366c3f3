// How the simulated phone behaves, as the velkport-phone program's options
// set it or a program that embeds the simulator fills it in.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

namespace velk::phonesim {

// A command whose text begins with `prefix` (in any case) is answered with
// the one line `final` alone and not carried out.
struct Refusal {
    std::string prefix;
    std::string final = "ERROR";
};

struct SimulatorOptions {
    std::string storeDir;  // empty: the sample set in memory
    bool silent = false;   // answers nothing, echoes nothing
    std::vector<Refusal> refusals;
    bool noise = false;         // a RING line before every reply line
    bool split = false;         // replies in small random pieces
    unsigned hangupAfter = 0;   // the line closes as this command line comes; 0: never
    uint32_t baud = 0;          // paces both directions at 10 bits a byte; 0: unpaced
    std::string logFile;        // every command line received, one a line
    std::string timestampFile;  // "C <ns>" per command, "R <ns>" per reply
    uint32_t seed = 0;          // of the split pieces; 0 takes one from the clock
    uint32_t entries = 250;     // names in the SIM's phone book
    bool notify = false;        // +CREG reports between commands
    std::chrono::milliseconds notifyEvery{2000};
    // The reports that follow a reply (the +CMTI of a message to the phone's
    // own number) go out this much later, between commands; 0: right behind it.
    std::chrono::milliseconds noticeDelay{0};
};

enum class ParseOutcome { kRun, kHelp, kUsageError };

// Reads the program's arguments (without the program's name).
ParseOutcome ParseSimulatorArguments(const std::vector<std::string>& arguments,
                                     SimulatorOptions& options, std::string& error);

// The text of --help.
const char* SimulatorHelpText();

}  // namespace velk::phonesim
