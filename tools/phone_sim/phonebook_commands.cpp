// The phone books, as 27.007 phones answer for them. Names cross the line
// in the character set chosen with AT+CSCS; numbers always as they are.
#include <algorithm>
#include <cctype>

#include "phone_sim/character_set.h"
#include "phone_sim/command_arguments.h"
#include "phone_sim/phone_commands.h"

namespace velk::phonesim {
namespace {

constexpr int kNumberLength = 40;
constexpr int kTextLength = 16;  // in UTF-16 units
constexpr int kInternationalType = 145;
constexpr int kNationalType = 129;
constexpr std::string_view kDialCharacters = "0123456789*#pPwW";

Phonebook& Current(PhoneState& state) {
    return state.store.Phonebooks()[state.phonebook];
}

// <head> <index>,"<number>",<type>,"<text>"
std::string EntryLine(const PhoneState& state, const char* head, int index,
                      const PhonebookEntry& entry) {
    return head + std::to_string(index) + ",\"" + entry.number + "\"," +
           std::to_string(entry.type) + ",\"" + ToLineText(state.characterSet, entry.text, true) +
           '"';
}

bool ValidNumber(std::string_view number) {
    if (!number.empty() && number.front() == '+') number.remove_prefix(1);
    return std::all_of(number.begin(), number.end(),
                       [](char c) { return kDialCharacters.find(c) != std::string_view::npos; });
}

// Whether `name` begins with `start`, ASCII letters in any case.
bool BeginsWith(std::string_view name, std::string_view start) {
    return name.size() >= start.size() &&
           std::equal(start.begin(), start.end(), name.begin(), [](char a, char b) {
               return std::tolower(static_cast<unsigned char>(a)) ==
                      std::tolower(static_cast<unsigned char>(b));
           });
}

}  // namespace

// +CPBS: ("SM","ME")
void PhonebookStorageList(PhoneState& state, std::string_view, Reply& reply) {
    std::string line = "+CPBS: (";
    for (const auto& [name, book] : state.store.Phonebooks()) {
        if (line.back() != '(') line += ',';
        line += '"' + name + '"';
    }
    reply = {line + ")", kOk};
}

// +CPBS: "<storage>",<used>,<total>
void PhonebookStorageQuery(PhoneState& state, std::string_view, Reply& reply) {
    const Phonebook& book = Current(state);
    reply = {"+CPBS: \"" + state.phonebook + "\"," + std::to_string(book.entries.size()) + ',' +
                 std::to_string(book.size),
             kOk};
}

void PhonebookStorageChoose(PhoneState& state, std::string_view arguments, Reply& reply) {
    if (arguments.size() >= 2 && arguments.front() == '"' && arguments.back() == '"') {
        const std::string name(arguments.substr(1, arguments.size() - 2));
        if (state.store.Phonebooks().count(name) != 0) {
            state.phonebook = name;
            reply.push_back(kOk);
            return;
        }
    }
    reply.push_back(CmeError(kNotAllowed));
}

// +CPBR: (1-<size>),<number length>,<text length>
void PhonebookReadRange(PhoneState& state, std::string_view, Reply& reply) {
    reply = {"+CPBR: (1-" + std::to_string(Current(state).size) + ")," +
                 std::to_string(kNumberLength) + ',' + std::to_string(kTextLength),
             kOk};
}

// +CPBW: (1-<size>),<number length>,(129,145),<text length>
void PhonebookWriteRange(PhoneState& state, std::string_view, Reply& reply) {
    reply = {"+CPBW: (1-" + std::to_string(Current(state).size) + ")," +
                 std::to_string(kNumberLength) + ",(129,145)," + std::to_string(kTextLength),
             kOk};
}

// +CPBF: <number length>,<text length>
void PhonebookFindRange(PhoneState&, std::string_view, Reply& reply) {
    reply = {"+CPBF: " + std::to_string(kNumberLength) + ',' + std::to_string(kTextLength), kOk};
}

// AT+CPBR=<first>[,<last>], answered with one line per filled location:
// +CPBR: <index>,"<number>",<type>,"<text>"
void PhonebookRead(PhoneState& state, std::string_view arguments, Reply& reply) {
    const Phonebook& book = Current(state);
    const std::size_t comma = arguments.find(',');
    int first = 0;
    int last = 0;
    if (!ReadNumber(arguments.substr(0, comma), first) ||
        (comma != std::string_view::npos && !ReadNumber(arguments.substr(comma + 1), last))) {
        reply.push_back(kError);
        return;
    }
    if (comma == std::string_view::npos) last = first;
    if (first < 1 || last < first || last > book.size) {
        reply.push_back(CmeError(kInvalidIndex));
        return;
    }
    for (auto it = book.entries.lower_bound(first); it != book.entries.end() && it->first <= last;
         ++it) {
        reply.push_back(EntryLine(state, "+CPBR: ", it->first, it->second));
    }
    reply.push_back(kOk);
}

// AT+CPBF="<text>": every entry whose name begins with the text, one line
// each as +CPBR gives them (+CPBF: <index>,...); none found is no error.
void PhonebookFind(PhoneState& state, std::string_view arguments, Reply& reply) {
    const auto split = SplitArguments(arguments);
    if (!split || split->size() != 1 || !(*split)[0].quoted) {
        reply.push_back(kError);
        return;
    }
    const std::optional<std::string> start = FromLineText(state.characterSet, (*split)[0].text);
    if (!start) {
        reply.push_back(CmeError(kInvalidText));
        return;
    }
    for (const auto& [index, entry] : Current(state).entries) {
        if (BeginsWith(entry.text, *start))
            reply.push_back(EntryLine(state, "+CPBF: ", index, entry));
    }
    reply.push_back(kOk);
}

// AT+CPBW=[<index>][,"<number>"[,<type>[,"<text>"]]]: writes the entry, to
// the first free location when the index is left out; the index alone
// deletes it.
void PhonebookWrite(PhoneState& state, std::string_view arguments, Reply& reply) {
    Phonebook& book = Current(state);
    const auto split = SplitArguments(arguments);
    if (!split || split->empty() || split->size() > 4 || (*split)[0].quoted) {
        reply.push_back(kError);
        return;
    }
    const std::vector<Argument>& given = *split;
    const bool firstFree = given[0].text.empty();
    int index = 0;
    if (!firstFree && !NumberAt(given, 0, index)) {
        reply.push_back(kError);
        return;
    }
    if (!firstFree && (index < 1 || index > book.size)) {
        reply.push_back(CmeError(kInvalidIndex));
        return;
    }
    if (given.size() == 1) {
        if (firstFree) {
            reply.push_back(kError);
            return;
        }
        book.entries.erase(index);
        reply.push_back(kOk);
        return;
    }
    PhonebookEntry entry;
    entry.number = given[1].text;
    entry.type =
        !entry.number.empty() && entry.number.front() == '+' ? kInternationalType : kNationalType;
    const bool typeGiven = given.size() > 2 && !given[2].text.empty();
    const bool nameGiven = given.size() > 3 && !given[3].text.empty();
    if (!given[1].quoted || (typeGiven && !NumberAt(given, 2, entry.type)) || entry.type < 128 ||
        entry.type > 255 || (nameGiven && !given[3].quoted)) {
        reply.push_back(kError);
        return;
    }
    if (entry.number.size() > kNumberLength) {
        reply.push_back(CmeError(kNumberTooLong));
        return;
    }
    if (!ValidNumber(entry.number)) {
        reply.push_back(CmeError(kInvalidNumber));
        return;
    }
    const std::optional<std::string> name =
        nameGiven ? FromLineText(state.characterSet, given[3].text) : std::string();
    if (!name) {
        reply.push_back(CmeError(kInvalidText));
        return;
    }
    if (Utf16Length(*name) > kTextLength) {
        reply.push_back(CmeError(kTextTooLong));
        return;
    }
    entry.text = *name;
    if (firstFree) {
        for (index = 1; index <= book.size && book.entries.count(index) != 0; ++index) {
        }
        if (index > book.size) {
            reply.push_back(CmeError(kMemoryFull));
            return;
        }
    }
    book.entries[index] = std::move(entry);
    reply.push_back(kOk);
}

}  // namespace velk::phonesim
