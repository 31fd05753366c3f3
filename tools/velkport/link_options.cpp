#include "velkport/link_options.h"

#include <cstdint>

namespace velk::cli {

const char* const kLinkOptionsHelp =
    "Which phone, and how (before or after the subcommand):\n"
    "  --device PATH     the phone's serial device, e.g. /dev/ttyACM0\n"
    "  --port N          serial port N (1 to 255), the device /dev/ttyS<N-1>\n"
    "  --baud RATE       the line's rate (default 115200)\n"
    "  --flow rtscts|xonxoff\n"
    "                    flow control (default rtscts)\n"
    "  --simulate        talk to the simulated phone built into this program;\n"
    "                    also what happens when neither --device nor --port is\n"
    "                    given. It holds three tones and three images and\n"
    "                    forgets what was written when the program ends.\n"
    "  --progress        draw the progress of image transfers on standard error\n"
    "                    even when it is no terminal\n"
    "  --no-probe        start the link without asking the phone AT first; a\n"
    "                    phone that does not answer then costs 30 s, not 3 s\n";

namespace {

struct LinkOption {
    std::string_view name;
    bool takesValue;
};

constexpr LinkOption kLinkOptions[] = {
    {"--device", true},    {"--port", true},      {"--baud", true},      {"--flow", true},
    {"--simulate", false}, {"--progress", false}, {"--no-probe", false},
};

const LinkOption* FindLinkOption(std::string_view name) {
    for (const LinkOption& option : kLinkOptions) {
        if (option.name == name) return &option;
    }
    return nullptr;
}

std::string_view NamePart(std::string_view arg) {
    return arg.substr(0, arg.find('='));
}

}  // namespace

bool IsLinkOption(std::string_view name) {
    return FindLinkOption(NamePart(name)) != nullptr;
}

bool LinkOptionTakesValue(std::string_view name) {
    const LinkOption* option = FindLinkOption(NamePart(name));
    return option != nullptr && option->takesValue && name.find('=') == std::string_view::npos;
}

OptionRead ReadLinkOption(CommandArgs args, std::size_t& i, LinkOptions& options,
                          std::string& problem) {
    std::string_view arg = args[i];
    const std::string_view name = NamePart(arg);
    const LinkOption* option = FindLinkOption(name);
    if (option == nullptr) return OptionRead::kNotMine;

    std::string_view value;
    const bool inlineValue = name.size() < arg.size();
    if (inlineValue) value = arg.substr(name.size() + 1);
    if (!option->takesValue) {
        if (inlineValue) {
            problem = std::string(name) + " takes no value";
            return OptionRead::kBad;
        }
    } else if (!inlineValue) {
        if (i + 1 == args.size()) {
            problem = std::string(name) + " needs a value";
            return OptionRead::kBad;
        }
        value = args[++i];
    }

    if (name == "--device") {
        if (value.empty()) {
            problem = "--device needs a device path";
            return OptionRead::kBad;
        }
        options.device = std::string(value);
    } else if (name == "--port") {
        if (!ReadWholeNumber(value, options.port) || options.port == 0) {
            problem =
                "--port needs a port number from 1 to 255, not \"" + std::string(value) + "\"";
            return OptionRead::kBad;
        }
    } else if (name == "--baud") {
        if (!ReadWholeNumber(value, options.baud) || options.baud == 0) {
            problem = "--baud needs a rate in bits per second, not \"" + std::string(value) + "\"";
            return OptionRead::kBad;
        }
    } else if (name == "--flow") {
        if (value == "rtscts") {
            options.flow = FlowControl::kRtsCts;
        } else if (value == "xonxoff") {
            options.flow = FlowControl::kXonXoff;
        } else {
            problem = "--flow is rtscts or xonxoff, not \"" + std::string(value) + "\"";
            return OptionRead::kBad;
        }
    } else if (name == "--simulate") {
        options.simulate = true;
    } else if (name == "--no-probe") {
        options.probe = false;
    } else {
        options.forceProgress = true;
    }
    return OptionRead::kTaken;
}

std::optional<std::string> LinkOptionConflict(const LinkOptions& options) {
    const bool deviceGiven = !options.device.empty();
    const bool portGiven = options.port != 0;
    if (deviceGiven && portGiven) return "give either --device or --port, not both";
    if (options.simulate && (deviceGiven || portGiven)) {
        return "--simulate talks to the built-in phone: it takes no --device or --port";
    }
    return std::nullopt;
}

}  // namespace velk::cli
