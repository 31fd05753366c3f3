#include "velkport/decode_command.h"

#include <charconv>
#include <istream>
#include <limits>
#include <ostream>
#include <string_view>

#include "decode/result_json.h"

namespace velk::cli {

const char* const kDecodeUsage =
    "usage: velkport decode --id N --command TEXT [--list-form N] [--read-form N]\n"
    "       velkport decode --unsolicited [--list-form N] [--read-form N]\n"
    "\n"
    "Reads the lines a phone sent, one per input line, and prints one JSON object\n"
    "for every result block the library makes of them, in order.\n"
    "\n"
    "  --id N          the command in progress, by its id (13 is AT+CPBR=)\n"
    "  --command TEXT  the command as sent, e.g. 'AT+CPBR=1'; its echo is\n"
    "                  recognised by it. After the final reply (OK, ERROR, an\n"
    "                  error line) later lines count as sent of the phone's own accord.\n"
    "  --unsolicited   no command in progress: every line is one the phone sent\n"
    "                  of its own accord\n"
    "  --list-form N   how +CMGL lines are read: 0 stored messages (the default),\n"
    "                  any other value broadcasts\n"
    "  --read-form N   how +CMGR lines are read: 0 delivered (the default),\n"
    "                  1 submitted, 2 broadcast\n"
    "\n"
    "The ids and the forms they decode to: velkport commands.\n"
    "\n"
    "Examples:\n"
    "  printf '+CPBR: 1,\"+4912345\",145,\"Mum\"\\nOK\\n' | velkport decode --id 13 --command "
    "'AT+CPBR=1'\n"
    "  printf '+RNGI: \"Tones\",3,10,253\\nOK\\n' | velkport decode --id 236 --command AT+RNGI\n"
    "  printf '+IMGR: 1,\"Anim\",1,2,3,4,\"250010\",\"AAAA\",5\\nOK\\n' |\n"
    "      velkport decode --id 157 --command 'AT+IMGR=1'\n";

namespace {

constexpr std::string_view kShortUsage =
    "usage: velkport decode --id N --command TEXT [--list-form N] [--read-form N]"
    " | --unsolicited; see velkport decode --help";

template <typename Number>
bool ReadNumber(std::string_view text, Number& value) {
    if (text.empty() || text.front() < '0' || text.front() > '9') return false;
    const char* end = text.data() + text.size();
    auto [stop, error] = std::from_chars(text.data(), end, value);
    return error == std::errc() && stop == end;
}

struct Option {
    std::string_view name;
    bool takesValue;
};

constexpr Option kOptions[] = {
    {"--help", false},   {"-h", false},         {"--unsolicited", false}, {"--id", true},
    {"--command", true}, {"--list-form", true}, {"--read-form", true},
};

const Option* FindOption(std::string_view name) {
    for (const Option& option : kOptions) {
        if (option.name == name) return &option;
    }
    return nullptr;
}

}  // namespace

std::optional<DecodeOptions> ParseDecodeOptions(CommandArgs args, std::string& problem) {
    DecodeOptions options;
    bool haveId = false;
    bool haveCommand = false;
    for (std::size_t i = 0; i < args.size(); ++i) {
        std::string_view arg = args[i];
        std::string_view value;
        bool inlineValue = false;
        if (std::size_t eq = arg.find('='); arg.starts_with("--") && eq != std::string_view::npos) {
            value = arg.substr(eq + 1);
            arg = arg.substr(0, eq);
            inlineValue = true;
        }
        const Option* option = FindOption(arg);
        if (option == nullptr) {
            problem = "unknown argument \"" + std::string(args[i]) + "\"";
            return std::nullopt;
        }
        if (option->takesValue && !inlineValue) {
            if (i + 1 == args.size()) {
                problem = std::string(arg) + " needs a value";
                return std::nullopt;
            }
            value = args[++i];
        } else if (!option->takesValue && inlineValue) {
            problem = std::string(arg) + " takes no value";
            return std::nullopt;
        }

        if (arg == "--help" || arg == "-h") {
            options.help = true;
        } else if (arg == "--unsolicited") {
            options.setup.unsolicited = true;
        } else if (arg == "--command") {
            options.setup.commandText = std::string(value);
            haveCommand = true;
        } else if (arg == "--id") {
            if (!ReadNumber(value, options.setup.commandId)) {
                problem = "--id needs a command id from 0 to " +
                          std::to_string(std::numeric_limits<int32_t>::max()) + ", not \"" +
                          std::string(value) + "\"";
                return std::nullopt;
            }
            haveId = true;
        } else {
            uint32_t& selector =
                arg == "--list-form" ? options.setup.listForm : options.setup.readForm;
            if (!ReadNumber(value, selector)) {
                problem = std::string(arg) + " needs a number, not \"" + std::string(value) + "\"";
                return std::nullopt;
            }
        }
    }
    if (options.help) return options;
    if (options.setup.unsolicited && (haveId || haveCommand)) {
        problem = "--unsolicited takes no --id or --command: no command is in progress";
        return std::nullopt;
    }
    if (!options.setup.unsolicited && (!haveId || !haveCommand)) {
        problem = "give the command in progress with both --id and --command, or --unsolicited";
        return std::nullopt;
    }
    return options;
}

int RunDecode(CommandArgs args, const CommandIo& io) {
    std::string problem;
    std::optional<DecodeOptions> options = ParseDecodeOptions(args, problem);
    if (!options) {
        io.err << "velkport decode: " << problem << ".\n" << kShortUsage << "\n";
        return kExitUsage;
    }
    if (options->help) {
        io.out << kDecodeUsage;
        return kExitDone;
    }

    DecodeSession session(options->setup,
                          [&io](const ATCommandBlock& block, const FormChoice& choice) {
                              io.out << ResultBlockToJson(block, choice) << '\n';
                          });
    std::string line;
    while (std::getline(io.in, line)) {
        if (!line.empty() && line.back() == '\r') line.pop_back();
        session.FeedLine(line);
    }
    io.out.flush();
    return kExitDone;
}

}  // namespace velk::cli
