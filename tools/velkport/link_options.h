// The options that say which phone a transfer talks to and how: a device or
// a port number, the line's rate and flow control, or the simulated phone
// built into the program.
#pragma once

#include <charconv>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "phone_sim/simulator_options.h"
#include "velkport/command_io.h"

namespace velk::cli {

enum class FlowControl { kRtsCts, kXonXoff };

struct LinkOptions {
    std::string device;  // --device PATH
    uint8_t port = 0;    // --port N; 0 when not given
    uint32_t baud = 115200;
    FlowControl flow = FlowControl::kRtsCts;
    bool simulate = false;       // --simulate
    bool forceProgress = false;  // --progress: draw it even when stderr is no terminal
    bool probe = true;           // --no-probe clears it: no AT of the program's own first
    // How the built-in phone behaves; only tests change it.
    phonesim::SimulatorOptions simulator;

    // No device and no port: the built-in phone serves.
    bool UsesSimulator() const { return simulate || (device.empty() && port == 0); }
};

// Reads the link option at args[i] (moving i past its value). kNotMine when
// args[i] is no link option, kBad with `problem` set when it is one but wrong.
enum class OptionRead { kTaken, kNotMine, kBad };
OptionRead ReadLinkOption(CommandArgs args, std::size_t& i, LinkOptions& options,
                          std::string& problem);

// Whether `name` (up to a '=') is a link option that takes a value.
bool LinkOptionTakesValue(std::string_view name);
bool IsLinkOption(std::string_view name);

// Options given together that cannot go together, as a sentence.
std::optional<std::string> LinkOptionConflict(const LinkOptions& options);

// The text of the link options for every --help.
extern const char* const kLinkOptionsHelp;

// Reads a whole decimal number of the type's range.
template <typename Number>
bool ReadWholeNumber(std::string_view text, Number& value) {
    if (text.empty() || text.front() < '0' || text.front() > '9') return false;
    const char* end = text.data() + text.size();
    auto [stop, error] = std::from_chars(text.data(), end, value);
    return error == std::errc() && stop == end;
}

}  // namespace velk::cli
