#include "velkport/phonebook_session.h"

#include <algorithm>
#include <charconv>
#include <ostream>

#include "velkport.h"
#include "velkport/command_run.h"
#include "velkport/json_fields.h"
#include "velkport/ucs2_text.h"

namespace velk::cli {
namespace {

// The places one AT+CPBR= asks for. The library takes a reply of any
// length (its time-out counts from the last line), but a phone that
// gathers a whole answer before sending it may not hold more; 125 reads a
// full SIM of 250 in two commands.
constexpr int kLocationsPerRead = 125;

// The most commands of one operation, the library's bound.
constexpr std::size_t kMostCommands = 64;

// The widths of the command's fields in the library's request form: the
// number and the find text 31 bytes, the name 255.
constexpr std::size_t kNumberRoom = 31;
constexpr std::size_t kFindRoom = 31;
constexpr std::size_t kTextRoom = 255;

// "+CME ERROR: 22", not found: some phones answer a range without entries
// so, as others answer it with OK alone.
constexpr std::string_view kNotFound = "+CME ERROR: 22";

constexpr std::string_view kDialCharacters = "0123456789*#pPwW";

int NumberOf(std::string_view raw, int fallback) {
    int value = fallback;
    const auto [end, error] = std::from_chars(raw.data(), raw.data() + raw.size(), value);
    return error == std::errc() && end == raw.data() + raw.size() ? value : fallback;
}

std::string Field(std::string_view object, std::string_view key) {
    return JsonBytes(JsonField(object, key));
}

// "(1-250)" as 1 and 250.
bool ReadRange(std::string_view text, int& first, int& last) {
    if (text.starts_with('(')) text.remove_prefix(1);
    if (text.ends_with(')')) text.remove_suffix(1);
    const std::size_t dash = text.find('-');
    if (dash == std::string_view::npos) return false;
    first = NumberOf(text.substr(0, dash), -1);
    last = NumberOf(text.substr(dash + 1), -1);
    return first >= 0 && last >= first;
}

}  // namespace

int NumberType(const std::string& number) {
    return !number.empty() && number.front() == '+' ? 145 : 129;
}

int PhonebookSession::RunSteps(const std::vector<std::string>& texts, const Tolerance& tolerated,
                               std::vector<Block>& blocks, const char* doing, bool chooseSet) {
    std::vector<std::string> front;
    std::vector<std::string> back;
    if (chooseSet) {
        front = layout_.characterSet.Choosing();
        back = layout_.characterSet.Returning();
    }
    std::size_t next = 0;
    bool restored = true;  // the phone's former set chosen again after the last run
    while (next < texts.size()) {
        restored = true;
        std::vector<std::string> run = front;
        const std::size_t take =
            std::min(texts.size() - next, kMostCommands - front.size() - back.size());
        run.insert(run.end(), texts.begin() + static_cast<std::ptrdiff_t>(next),
                   texts.begin() + static_cast<std::ptrdiff_t>(next + take));
        const std::size_t backFrom = run.size();
        run.insert(run.end(), back.begin(), back.end());
        const OperationEnd end = RunList(t_, run);
        const bool done =
            end.kind == OperationEnd::Kind::kFinal &&
            (end.message == VELK_MSG_COMMAND_DONE || end.message == VELK_MSG_COMMAND_REFUSED);
        if (end.kind == OperationEnd::Kind::kNotTaken) {
            // A text the library's catalogue does not take is ours to
            // mend, not the link's fault.
            if (const LibraryFailure cause = LastFailure(); cause.code == VELK_ERR_COMMAND_TEXT) {
                return t_.Report(kExitInternal,
                                 "velkport made a command the library does not "
                                 "take (" +
                                     cause.text + ") while " + doing);
            }
        }
        if (!done) return t_.Report(end, {"", doing});
        const std::string result = CommandResult();
        std::size_t refused = run.size();
        std::string line;
        if (end.message == VELK_MSG_COMMAND_REFUSED) {
            Refusal refusal = ReadRefusal(end.failure);
            if (!refusal.named) {
                return t_.Report(kExitRefused, "the phone refused a command " + std::string(doing) +
                                                   ": " + end.failure.text);
            }
            refused = refusal.position;
            line = std::move(refusal.line);
        }
        for (const std::string_view object : JsonObjects(result)) {
            const std::size_t place = static_cast<std::size_t>(
                NumberOf(JsonField(object, "command"), static_cast<int>(run.size())));
            if (place < front.size() || place >= backFrom) continue;
            const std::size_t position = next + place - front.size();
            const bool error = JsonField(object, "form") == "\"ResultError\"";
            if (place == refused && error) continue;  // the refusal itself
            if (error) {
                // A line the library could not read amid the answer: what
                // it held is lost, the rest of the answer is not.
                t_.io.err << "velkport " << t_.command << ": a line of the answer to "
                          << texts[position] << " could not be read (" << Field(object, "message")
                          << "); what it held is left out.\n";
                continue;
            }
            blocks.push_back({position, std::string(object)});
        }
        // A phone that will not go back to its former set has still
        // answered all that was asked.
        if (end.message == VELK_MSG_COMMAND_DONE || refused >= backFrom) {
            next += take;
            continue;
        }
        const std::string& text = run[std::min(refused, run.size() - 1)];
        if (refused < front.size() || !tolerated(next + refused - front.size(), line)) {
            std::string why = "the phone refused " + text;
            why.append(" with \"").append(line).append("\" while ").append(doing);
            return t_.Report(kExitRefused, why);
        }
        next += refused - front.size() + 1;
        restored = back.empty();
    }
    if (!restored) {
        // The last text was refused, and the set with it was not chosen
        // again: one operation more, whatever its end.
        RunList(t_, back);
    }
    return kExitDone;
}

int PhonebookSession::Open(const std::string& memory) {
    layout_ = BookLayout{};
    layout_.memory = memory;
    // A phone without the list, the storage query or the range still has
    // a phone book: only the choice of the memory must be taken.
    const std::vector<std::string> texts = {"AT+CSCS=?", "AT+CSCS?", "AT+CPBS=\"" + memory + "\"",
                                            "AT+CPBS?", "AT+CPBR=?"};
    std::vector<Block> blocks;
    const int code = RunSteps(
        texts, [](std::size_t position, const std::string&) { return position != 2; }, blocks,
        ("choosing the phone book " + memory).c_str(), false);
    if (code != kExitDone) return code;
    int total = -1;
    bool ranged = false;
    for (const Block& block : blocks) {
        layout_.characterSet.Take(block.json);
        const std::string form = Field(block.json, "form");
        if (form == "ResultPhonebookStorage") {
            layout_.used = NumberOf(JsonField(block.json, "used"), -1);
            total = NumberOf(JsonField(block.json, "total"), -1);
        } else if (form == "ResultPhonebookReadRange") {
            ranged = ReadRange(Field(block.json, "indexRange"), layout_.first, layout_.last);
            layout_.numberLength = NumberOf(JsonField(block.json, "numberLength"), 0);
            layout_.textLength = NumberOf(JsonField(block.json, "textLength"), 0);
        }
    }
    layout_.characterSet.Choose("");
    if (!ranged && total > 0) {
        layout_.first = 1;
        layout_.last = total;
        ranged = true;
    }
    if (!ranged) {
        return t_.Report(kExitRefused, "the phone did not say which places its phone book " +
                                           memory + " has (AT+CPBR=? and AT+CPBS? told nothing)");
    }
    return kExitDone;
}

std::string PhonebookSession::LineText(const std::string& utf8) const {
    return layout_.characterSet.LineText(utf8);
}

ContactEntry PhonebookSession::EntryOf(const std::string& json) const {
    ContactEntry entry;
    entry.index = NumberOf(JsonField(json, "index"), 0);
    entry.type = NumberOf(JsonField(json, "numberType"), 0);
    entry.number = layout_.characterSet.NumberOf(Field(json, "number"));
    entry.name = layout_.characterSet.TextOf(Field(json, "text"));
    return entry;
}

int PhonebookSession::ReadAll(std::vector<ContactEntry>& entries) {
    entries.clear();
    if (layout_.used == 0) return kExitDone;  // nothing to read: no command needed
    std::vector<std::string> texts;
    for (int first = layout_.first; first <= layout_.last; first += kLocationsPerRead) {
        const int last = std::min(layout_.last, first + kLocationsPerRead - 1);
        texts.push_back("AT+CPBR=" + std::to_string(first) + "," + std::to_string(last));
    }
    std::vector<Block> blocks;
    const int code = RunSteps(
        texts, [](std::size_t, const std::string& line) { return line == kNotFound; }, blocks,
        ("reading the phone book " + layout_.memory).c_str());
    if (code != kExitDone) return code;
    for (const Block& block : blocks) {
        if (Field(block.json, "form") == "ResultPhonebookEntry")
            entries.push_back(EntryOf(block.json));
    }
    std::stable_sort(
        entries.begin(), entries.end(),
        [](const ContactEntry& a, const ContactEntry& b) { return a.index < b.index; });
    return kExitDone;
}

int PhonebookSession::Find(const std::string& text, std::vector<ContactEntry>& entries) {
    entries.clear();
    if (!layout_.characterSet.Ucs2() && (!FitsIra(text) || text.find('"') != std::string::npos)) {
        return t_.Report(kExitUsage,
                         "the phone offers no UCS2 character set, so only plain "
                         "ASCII without a double quote can be looked for, not \"" +
                             text + "\"");
    }
    // The command's field holds 31 bytes, seven UCS2 characters: a longer
    // text is looked for by its beginning, and the answer narrowed here.
    std::string asked = LineText(text);
    const bool narrowed = asked.size() > kFindRoom;
    if (narrowed) {
        std::size_t keep = layout_.characterSet.Ucs2() ? kFindRoom / 4 * 4 : kFindRoom;
        // Not between the halves of a surrogate pair.
        if (layout_.characterSet.Ucs2() && keep >= 4 && asked[keep - 4] == 'D' &&
            std::string_view("89AB").find(asked[keep - 3]) != std::string_view::npos) {
            keep -= 4;
        }
        asked.resize(keep);
    }
    std::vector<Block> blocks;
    const int code = RunSteps(
        {"AT+CPBF=\"" + asked + "\""},
        [](std::size_t, const std::string& line) { return line == kNotFound; }, blocks,
        ("looking for \"" + text + "\" in the phone book " + layout_.memory).c_str());
    if (code != kExitDone) return code;
    for (const Block& block : blocks) {
        if (Field(block.json, "form") != "ResultPhonebookFound") continue;
        ContactEntry entry = EntryOf(block.json);
        const auto same = [](char a, char b) {
            return std::tolower(static_cast<unsigned char>(a)) ==
                   std::tolower(static_cast<unsigned char>(b));
        };
        if (narrowed && (entry.name.size() < text.size() ||
                         !std::equal(text.begin(), text.end(), entry.name.begin(), same))) {
            continue;
        }
        entries.push_back(std::move(entry));
    }
    return kExitDone;
}

int PhonebookSession::Write(const std::vector<ContactEntry>& entries) {
    std::vector<std::string> texts;
    texts.reserve(entries.size());
    for (const ContactEntry& entry : entries) {
        std::string text = "AT+CPBW=" + std::to_string(entry.index);
        if (!entry.number.empty()) {
            text += ",\"" + entry.number + "\"," + std::to_string(NumberType(entry.number));
        }
        // An entry without a name leaves the name out: an empty text is no
        // text of the catalogue's.
        if (!entry.number.empty() && !entry.name.empty())
            text += ",\"" + LineText(entry.name) + "\"";
        texts.push_back(std::move(text));
    }
    std::vector<Block> blocks;
    return RunSteps(
        texts, [](std::size_t, const std::string&) { return false; }, blocks,
        ("writing to the phone book " + layout_.memory).c_str());
}

std::string PhonebookSession::IndexProblem(int index) const {
    if (index >= layout_.first && index <= layout_.last) return {};
    return "the phone book " + layout_.memory + " has the places " + std::to_string(layout_.first) +
           " to " + std::to_string(layout_.last) + ": " + std::to_string(index) +
           " is none of them";
}

std::string PhonebookSession::NumberProblem(const std::string& number) const {
    std::string_view digits = number;
    if (digits.starts_with('+')) digits.remove_prefix(1);
    if (digits.empty() || digits.find_first_not_of(kDialCharacters) != std::string_view::npos) {
        return "\"" + number +
               "\" is no number a phone book takes: digits, * # p w and a + in front only";
    }
    const std::size_t room = layout_.numberLength > 0
                                 ? std::min<std::size_t>(layout_.numberLength, kNumberRoom)
                                 : kNumberRoom;
    if (number.size() > room) {
        return "the number \"" + number + "\" has " + std::to_string(number.size()) +
               " characters, and the phone book " + layout_.memory + " has room for " +
               std::to_string(room);
    }
    return {};
}

std::string PhonebookSession::NameProblem(const std::string& name) const {
    const bool ucs2 = layout_.characterSet.Ucs2();
    if (!ucs2 && !FitsIra(name)) {
        return "the phone offers no UCS2 character set, so a name must be plain ASCII, and \"" +
               name + "\" is not";
    }
    if (!ucs2 && name.find('"') != std::string::npos) {
        return "a double quote cannot go into a name in the IRA character set (\"" + name + "\")";
    }
    // The phone counts a UCS2 name in UTF-16 units; the command's field
    // holds 255 bytes of its line text besides.
    const std::size_t length = ucs2 ? Utf16Units(name) : name.size();
    std::size_t room = ucs2 ? kTextRoom / 4 : kTextRoom;
    if (layout_.textLength > 0) room = std::min<std::size_t>(room, layout_.textLength);
    if (length > room) {
        return "the name \"" + name + "\" takes " + std::to_string(length) +
               (ucs2 ? " UTF-16 units" : " characters") + ", and names in the phone book " +
               layout_.memory + " have room for " + std::to_string(room);
    }
    return {};
}

}  // namespace velk::cli
