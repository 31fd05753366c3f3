#include "velkport/transfer_arguments.h"

#include <string_view>

namespace velk::cli {
namespace {

struct ExtraOption {
    std::string_view name;
    TransferExtra extra;
};

constexpr ExtraOption kExtraOptions[] = {
    {"-o", kExtraOutput},           {"--output", kExtraOutput}, {"--param-first", kExtraParams},
    {"--param-last", kExtraParams}, {"--slots", kExtraSlots},
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

}  // namespace

// NOLINTNEXTLINE(bugprone-easily-swappable-parameters): arguments, then what they must hold
std::optional<TransferArgs> ParseTransferArgs(CommandArgs args, std::size_t positionals,
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
    if (parsed.positionals.size() != positionals) {
        problem = parsed.positionals.size() < positionals ? "an argument is missing"
                                                          : "there are arguments too many";
        return std::nullopt;
    }
    if (std::optional<std::string> conflict = LinkOptionConflict(parsed.link)) {
        problem = *conflict;
        return std::nullopt;
    }
    return parsed;
}

}  // namespace velk::cli
