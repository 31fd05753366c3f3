// at, status and watch: the library's catalogue of commands and its notices,
// reached through velk_RunCommands and velk_GetNotices as an application
// reaches them.
#include <algorithm>
#include <charconv>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "engine/command_parser.h"
#include "velkport.h"
#include "velkport/command_run.h"
#include "velkport/json_fields.h"
#include "velkport/json_text.h"
#include "velkport/transfer_context.h"

namespace velk::cli {
namespace {

// The most commands one operation runs.
constexpr std::size_t kMostCommands = 64;

// ---- status

struct StatusItem {
    const char* command;
    const char* key;
    const char* field;  // the field of the result block that holds the value
};

// The library reads the operator of a +COPS? answer only in its numeric
// form ("00101"); many phones answer with the long name unless told
// otherwise. AT+COPS=3,2 sets the form without touching the registration;
// the catalogue's AT+COPS= always writes an operator, which 27.007 has the
// phone pass over in mode 3. An item without a key only prepares the next.
constexpr StatusItem kStatusItems[] = {
    {"AT+CGMI", "manufacturer", "text"},
    {"AT+CGMM", "model", "text"},
    {"AT+CGMR", "revision", "text"},
    {"AT+CGSN", "imei", "text"},
    {"AT+CIMI", "imsi", "imsi"},
    {"AT+CSQ", "signal", "rssi"},
    {"AT+CBC", "battery", "chargeLevel"},
    {"AT+CREG?", "registration", "state"},
    {"AT+COPS=3,2,\"\"", nullptr, nullptr},
    {"AT+COPS?", "operator", "operatorName"},
};
constexpr std::size_t kStatusCount = std::size(kStatusItems);

// The +CREG <stat> as a word.
constexpr const char* kRegistrationWords[] = {
    "not registered", "home", "searching", "denied", "unknown", "roaming",
};

// The rssi of +CSQ in dBm: 0 is -113 dBm or less, 31 is -51 or more, 99
// is not known (an empty text).
std::string SignalDbm(std::string_view rssi) {
    int value = 0;
    if (std::from_chars(rssi.data(), rssi.data() + rssi.size(), value).ptr !=
            rssi.data() + rssi.size() ||
        value < 0 || value > 31) {
        return {};
    }
    return std::to_string(-113 + 2 * value);
}

std::string TrimLineEnds(std::string text) {
    while (!text.empty() && (text.back() == '\r' || text.back() == '\n')) text.pop_back();
    while (!text.empty() && (text.front() == '\r' || text.front() == '\n')) text.erase(0, 1);
    return text;
}

// One key of the status, as JSON and as text; nothing when the phone gave
// no value.
struct StatusValue {
    std::string json = "null";
    std::string text;
};

// NOLINTNEXTLINE(bugprone-easily-swappable-parameters): the key, then its raw value
StatusValue ValueOf(std::string_view key, std::string_view raw) {
    if (raw.empty()) return {};
    if (raw.front() == '"') {
        const std::string bytes = TrimLineEnds(JsonBytes(raw));
        return {JsonString(bytes), bytes};
    }
    if (key == "registration") {
        int state = -1;
        std::from_chars(raw.data(), raw.data() + raw.size(), state);
        if (state >= 0 && state < static_cast<int>(std::size(kRegistrationWords))) {
            return {JsonString(kRegistrationWords[state]), kRegistrationWords[state]};
        }
    }
    return {std::string(raw), std::string(raw)};
}

void PrintStatus(const Transfer& t, const std::vector<std::string>& raws) {
    std::ostream& out = t.io.out;
    bool first = true;
    if (t.args.json) out << '{';
    for (std::size_t i = 0; i < kStatusCount; ++i) {
        const char* key = kStatusItems[i].key;
        if (key == nullptr) continue;
        const StatusValue value = ValueOf(key, raws[i]);
        const bool isSignal = std::string_view(key) == "signal";
        const std::string dbm = isSignal ? SignalDbm(raws[i]) : std::string();
        if (t.args.json) {
            out << (first ? "" : ",") << '"' << key << "\":" << value.json;
            if (isSignal) out << ",\"signal_dbm\":" << (dbm.empty() ? "null" : dbm);
        } else if (!value.text.empty()) {
            out << key << ": " << value.text;
            if (!dbm.empty()) out << " (" << dbm << " dBm)";
            out << '\n';
        }
        first = false;
    }
    if (t.args.json) out << "}\n";
}

// ---- watch

// A notice as a short line: its form, then its fields.
std::string NoticeLine(std::string_view notice) {
    std::string line;
    for (const auto& [key, value] : JsonMembers(notice)) {
        if (key == "resultId") continue;
        if (key == "form") {
            line.insert(0, JsonBytes(value) + ":");
        } else {
            line += ' ';
            line += key;
            line += '=';
            line += value;
        }
    }
    return line;
}

void PrintNotices(const Transfer& t) {
    const char* json = nullptr;
    if (velk_GetNotices(&json) != 1 || json == nullptr) return;
    const std::string_view all = json;
    const std::string_view dropped = JsonField(all, "dropped");
    if (!dropped.empty() && dropped != "0") {
        t.io.err << "velkport watch: " << dropped << " notices came too fast and were dropped.\n";
    }
    for (const std::string_view notice : JsonObjects(JsonField(all, "notices"))) {
        if (t.args.json) {
            t.io.out << notice << '\n';
        } else {
            t.io.out << NoticeLine(notice) << '\n';
        }
    }
    t.io.out.flush();
}

}  // namespace

int PrepareAt(const TransferArgs& args, TransferPlan&, std::string& problem) {
    if (args.positionals.size() > kMostCommands) {
        problem = "at most " + std::to_string(kMostCommands) + " commands go in one run, not " +
                  std::to_string(args.positionals.size());
        return kExitUsage;
    }
    for (const std::string& text : args.positionals) {
        const ParsedCommand parsed = ParseCommandText(text);
        if (!parsed.Accepted()) {
            problem = parsed.refusal;
            return kExitUsage;
        }
    }
    return kExitDone;
}

int RunAtCommands(const Transfer& t) {
    const std::vector<std::string>& texts = t.args.positionals;
    const OperationEnd end = RunList(t, texts);
    if (HasResult(end)) t.io.out << CommandResult() << '\n';
    if (end.kind == OperationEnd::Kind::kFinal && end.message == VELK_MSG_COMMAND_DONE) {
        return kExitDone;
    }
    // A text the library takes for no command of its own (AT+CMGS=, which
    // needs a body) is the user's, not the link's.
    if (end.kind == OperationEnd::Kind::kNotTaken) {
        if (const LibraryFailure cause = LastFailure(); cause.code == VELK_ERR_COMMAND_TEXT) {
            return t.Report(kExitUsage, cause.text);
        }
    }
    if (end.kind == OperationEnd::Kind::kFinal && end.message == VELK_MSG_COMMAND_REFUSED) {
        const Refusal refusal = ReadRefusal(end.failure);
        const std::string& text =
            refusal.position < texts.size() ? texts[refusal.position] : texts.front();
        return t.Report(kExitRefused,
                        "the phone refused " + text + " with \"" + refusal.line + "\"");
    }
    return t.Report(end, {"", "running the commands"});
}

int ShowStatus(const Transfer& t) {
    std::vector<std::string> raws(kStatusCount);
    std::vector<bool> unread(kStatusCount, false);  // a reply the library could not read
    std::size_t start = 0;
    while (start < kStatusCount) {
        std::vector<std::string> texts;
        for (std::size_t i = start; i < kStatusCount; ++i)
            texts.emplace_back(kStatusItems[i].command);
        const OperationEnd end = RunList(t, texts);
        if (!HasResult(end) || end.message == VELK_MSG_TIMED_OUT) {
            return t.Report(end, {"", "reading the phone's status"});
        }
        const std::string result = CommandResult();
        for (const std::string_view block : JsonObjects(result)) {
            std::size_t position = 0;
            const std::string_view place = JsonField(block, "command");
            std::from_chars(place.data(), place.data() + place.size(), position);
            const std::size_t item = start + position;
            if (item >= kStatusCount || kStatusItems[item].key == nullptr || !raws[item].empty())
                continue;
            raws[item] = JsonField(block, kStatusItems[item].field);
            unread[item] = raws[item].empty() && JsonField(block, "form") == "\"ResultError\"";
        }
        if (end.message == VELK_MSG_COMMAND_DONE) break;
        // A phone without one of the commands: its key stays empty, the rest
        // are read in an operation of their own.
        const Refusal refusal = ReadRefusal(end.failure);
        start = std::min(start + refusal.position + 1, kStatusCount);
        unread[start - 1] = false;
        t.io.err << "velkport status: the phone refused " << kStatusItems[start - 1].command
                 << " with \"" << refusal.line << "\".\n";
    }
    for (std::size_t i = 0; i < kStatusCount; ++i) {
        if (!unread[i]) continue;
        t.io.err << "velkport status: the answer to " << kStatusItems[i].command
                 << " could not be read: " << kStatusItems[i].key << " is left out.\n";
    }
    PrintStatus(t, raws);
    return kExitDone;
}

int WatchNotices(const Transfer& t) {
    velk_EnableNotices(1);
    const OperationEnd end = t.link.Listen([&](uint32_t message) {
        if (message == VELK_MSG_NOTICE) PrintNotices(t);
    });
    // What came just before the end still goes out.
    PrintNotices(t);
    velk_EnableNotices(0);
    if (end.kind == OperationEnd::Kind::kInterrupted) {
        return t.Report(kExitInterrupted, "interrupted: the link closed");
    }
    return t.Report(end, {"", "waiting for notices"});
}

}  // namespace velk::cli
