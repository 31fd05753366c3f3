#include "velkport/transfer_arguments.h"

#include <algorithm>
#include <cctype>
#include <string_view>

namespace velk::cli {
namespace {

struct ExtraOption {
    std::string_view name;
    TransferExtra extra;
};

constexpr ExtraOption kExtraOptions[] = {
    {"-o", kExtraOutput},           {"--output", kExtraOutput}, {"--param-first", kExtraParams},
    {"--param-last", kExtraParams}, {"--slots", kExtraSlots},   {"--json", kExtraJson},
    {"--width", kExtraSize},        {"--height", kExtraSize},   {"--frame", kExtraFrame},
    {"--frame-ms", kExtraFrameMs},  {"--memory", kExtraMemory}, {"--vcard", kExtraVcard},
    {"--find", kExtraFind},
};

// The options with a wider number than a byte: their target and range.
struct WideNumber {
    std::string_view name;
    unsigned TransferArgs::*target;
    unsigned least;
    unsigned most;
};

constexpr WideNumber kWideNumbers[] = {
    {"--width", &TransferArgs::width, 1, 4096},
    {"--height", &TransferArgs::height, 1, 4096},
    {"--frame", &TransferArgs::frame, 1, 255},
    // A GIF counts in hundredths of a second, up to 65535 of them.
    {"--frame-ms", &TransferArgs::frameMs, 10, 655350},
};

const ExtraOption* FindExtra(std::string_view name) {
    for (const ExtraOption& option : kExtraOptions) {
        if (option.name == name) return &option;
    }
    return nullptr;
}

bool ReadExtra(std::string_view name, std::string_view value, TransferArgs& parsed,
               std::string& problem) {
    if (name == "-o" || name == "--output") {
        if (value.empty()) {
            problem = std::string(name) + " needs a file name";
            return false;
        }
        parsed.output = std::string(value);
        return true;
    }
    if (name == "--memory") {
        // Two letters, as 27.007 names the memories: SM, ME, FD, ON, ...
        std::string memory;
        for (const char c : value)
            memory += static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
        if (memory.size() != 2 || !std::isupper(static_cast<unsigned char>(memory[0])) ||
            !std::isupper(static_cast<unsigned char>(memory[1]))) {
            problem = "--memory needs a phone book's two letters, such as SM or ME, not \"" +
                      std::string(value) + "\"";
            return false;
        }
        parsed.memory = memory;
        return true;
    }
    if (name == "--find") {
        if (value.empty()) {
            problem = "--find needs a text to look for";
            return false;
        }
        parsed.find = std::string(value);
        return true;
    }
    for (const WideNumber& wide : kWideNumbers) {
        if (wide.name != name) continue;
        unsigned& target = parsed.*wide.target;
        if (!ReadWholeNumber(value, target) || target < wide.least || target > wide.most) {
            problem = std::string(name) + " needs a number from " + std::to_string(wide.least) +
                      " to " + std::to_string(wide.most) + ", not \"" + std::string(value) + "\"";
            return false;
        }
        return true;
    }
    uint8_t& target = name == "--param-first"  ? parsed.paramFirst
                      : name == "--param-last" ? parsed.paramLast
                                               : parsed.slots;
    if (!ReadWholeNumber(value, target) || (name == "--slots" && target == 0)) {
        problem = std::string(name) + " needs a number from " + (name == "--slots" ? "1" : "0") +
                  " to 255, not \"" + std::string(value) + "\"";
        return false;
    }
    return true;
}

std::vector<std::string_view> Words(std::string_view text) {
    std::vector<std::string_view> words;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find(' '), text.size());
        if (end > 0) words.push_back(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return words;
}

// "the argument FILE is missing", "one argument too many: \"x\"".
std::string CountProblem(const std::vector<std::string_view>& names,
                         const std::vector<std::string>& given) {
    if (given.size() < names.size()) {
        const std::size_t missing = names.size() - given.size();
        std::string list;
        for (std::size_t i = given.size(); i < names.size(); ++i) {
            if (i > given.size()) list += i + 1 == names.size() ? " and " : ", ";
            list += names[i];
        }
        return missing == 1 ? "the argument " + list + " is missing"
                            : "the arguments " + list + " are missing";
    }
    const std::size_t extra = given.size() - names.size();
    std::string list;
    for (std::size_t i = names.size(); i < given.size(); ++i) list += " \"" + given[i] + "\"";
    return (extra == 1 ? std::string("one argument") : std::to_string(extra) + " arguments") +
           " too many:" + list;
}

}  // namespace

// NOLINTNEXTLINE(bugprone-easily-swappable-parameters): arguments, then what they must hold
std::optional<TransferArgs> ParseTransferArgs(CommandArgs args, std::string_view positionals,
                                              unsigned extras, std::string& problem) {
    TransferArgs parsed;
    bool optionsEnded = false;
    for (std::size_t i = 0; i < args.size(); ++i) {
        const std::string_view arg = args[i];
        if (optionsEnded || arg.size() < 2 || arg.front() != '-') {
            parsed.positionals.emplace_back(arg);
            continue;
        }
        if (arg == "--") {
            optionsEnded = true;
            continue;
        }
        if (arg == "--help" || arg == "-h") {
            parsed.help = true;
            continue;
        }
        switch (ReadLinkOption(args, i, parsed.link, problem)) {
            case OptionRead::kTaken:
                continue;
            case OptionRead::kBad:
                return std::nullopt;
            case OptionRead::kNotMine:
                break;
        }
        const std::size_t eq = arg.starts_with("--") ? arg.find('=') : std::string_view::npos;
        const std::string_view name = arg.substr(0, eq);
        const ExtraOption* extra = FindExtra(name);
        if (extra == nullptr || (extras & extra->extra) == 0) {
            problem = "unknown option \"" + std::string(arg) + "\"";
            return std::nullopt;
        }
        if (extra->extra == kExtraJson || extra->extra == kExtraVcard) {
            if (eq != std::string_view::npos) {
                problem = std::string(name) + " takes no value";
                return std::nullopt;
            }
            (extra->extra == kExtraJson ? parsed.json : parsed.vcard) = true;
            continue;
        }
        std::string_view value;
        if (eq != std::string_view::npos) {
            value = arg.substr(eq + 1);
        } else if (i + 1 < args.size()) {
            value = args[++i];
        } else {
            problem = std::string(name) + " needs a value";
            return std::nullopt;
        }
        if (!ReadExtra(name, value, parsed, problem)) return std::nullopt;
    }
    if (parsed.help) return parsed;
    // "TEXT..." as the last name takes one argument or more.
    if (const std::vector<std::string_view> names = Words(positionals);
        names.empty() || !names.back().ends_with("...") || parsed.positionals.empty()
            ? parsed.positionals.size() != names.size()
            : parsed.positionals.size() < names.size()) {
        problem = CountProblem(names, parsed.positionals);
        return std::nullopt;
    }
    if (std::optional<std::string> conflict = LinkOptionConflict(parsed.link)) {
        problem = *conflict;
        return std::nullopt;
    }
    return parsed;
}

}  // namespace velk::cli
