// The phone books, as 27.007 phones answer for them.
#include "phone_sim/phone_commands.h"

namespace velk::phonesim {
namespace {

constexpr int kNumberLength = 40;
constexpr int kTextLength = 16;

const Phonebook& Current(PhoneState& state) {
    return state.store.Phonebooks()[state.phonebook];
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
        const PhonebookEntry& entry = it->second;
        reply.push_back("+CPBR: " + std::to_string(it->first) + ",\"" + entry.number + "\"," +
                        std::to_string(entry.type) + ",\"" + entry.text + "\"");
    }
    reply.push_back(kOk);
}

}  // namespace velk::phonesim
