#include "velkport/commands_command.h"

#include <ostream>
#include <string>
#include <string_view>

#include "decode/json_string.h"
#include "decode/result_form_table.h"
#include "engine/command_catalogue.h"
#include "engine/command_table.h"

namespace velk::cli {
namespace {

constexpr const char* kCommandsHelp =
    "usage: velkport commands [--json]\n"
    "\n"
    "Lists every command of the catalogue: its id (what velkport decode --id\n"
    "takes), its AT text before any parameter, and the result forms the lines\n"
    "of its reply decode to. Ids marked \"(no text)\" send nothing of their own;\n"
    "their replies can still be decoded.\n"
    "\n"
    "  --json  one JSON array of {\"id\",\"text\",\"results\":[{\"resultId\",\"form\"}]}\n"
    "\n"
    "Exit status: 0 done; 2 bad arguments.\n";

// Every form an id is printed as, "/" between the variants of one id.
std::string FormNames(int32_t resultId) {
    std::string names;
    for (const ResultForm& form : FormsOf(resultId)) {
        if (names.find(form.name) != std::string::npos) continue;
        if (!names.empty()) names += '/';
        names += form.name;
    }
    return names;
}

void PrintTable(std::ostream& out) {
    out << "  ID  TEXT          DECODES TO\n";
    for (const CommandRow& row : CommandRows()) {
        std::string line = std::to_string(row.id);
        line.insert(0, 4 - std::min<std::size_t>(line.size(), 4), ' ');
        std::string text = row.text != nullptr ? row.text : "(no text)";
        if (text.size() < 12) text.resize(12, ' ');
        line += "  " + text + "  ";
        std::string results;
        for (const int32_t id : DecodedResults(row)) {
            if (!results.empty()) results += ", ";
            results += std::to_string(id) + ' ' + FormNames(id);
        }
        out << line << (results.empty() ? "the final reply alone" : results) << '\n';
    }
}

void PrintJson(std::ostream& out) {
    std::string json = "[";
    for (const CommandRow& row : CommandRows()) {
        if (json.size() > 1) json += ',';
        json += "{\"id\":" + std::to_string(row.id) + ",\"text\":";
        if (row.text != nullptr) {
            AppendJsonString(json, row.text);
        } else {
            json += "null";
        }
        json += ",\"results\":[";
        bool first = true;
        for (const int32_t id : DecodedResults(row)) {
            json += first ? "" : ",";
            json += "{\"resultId\":" + std::to_string(id) + ",\"form\":";
            AppendJsonString(json, FormNames(id));
            json += '}';
            first = false;
        }
        json += "]}";
    }
    out << json << "]\n";
}

}  // namespace

int RunCommands(CommandArgs args, const CommandIo& io) {
    bool json = false;
    for (const std::string& arg : args) {
        if (arg == "--help" || arg == "-h") {
            io.out << kCommandsHelp;
            return kExitDone;
        }
        if (arg != "--json") {
            io.err << "velkport commands: unknown option \"" << arg
                   << "\"; velkport commands --help tells the options.\n";
            return kExitUsage;
        }
        json = true;
    }
    if (json) {
        PrintJson(io.out);
    } else {
        PrintTable(io.out);
    }
    return kExitDone;
}

}  // namespace velk::cli
