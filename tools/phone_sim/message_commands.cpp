// Short messages in text mode, as 27.005 phones answer for them, in one
// store, the SIM's ("SM"). A text and an address cross the line in the
// character set of AT+CSCS, a UCS2 address as the hexadecimal units of its
// digits; states and timestamps always as they are.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <iterator>

#include "phone_sim/character_set.h"
#include "phone_sim/command_arguments.h"
#include "phone_sim/phone_commands.h"

namespace velk::phonesim {
namespace {

constexpr const char* kStorage = "SM";
constexpr const char* kUnread = "REC UNREAD";
constexpr const char* kRead = "REC READ";
constexpr const char* kUnsent = "STO UNSENT";
constexpr const char* kSent = "STO SENT";
constexpr const char* kStates[] = {kUnread, kRead, kUnsent, kSent};
constexpr std::size_t kMaxTextLength = 160;  // in UTF-16 units
constexpr std::size_t kMaxAddressLength = 20;
constexpr int kLargestReference = 255;

// AT+CMGD=<index>,<flag>: the states each flag deletes besides the index.
constexpr const char* kDeletedByFlag[][4] = {
    {}, {kRead}, {kRead, kSent}, {kRead, kSent, kUnsent}, {kRead, kSent, kUnsent, kUnread},
};

bool IsState(std::string_view name) {
    return std::find(std::begin(kStates), std::end(kStates), name) != std::end(kStates);
}

bool InTextMode(const PhoneState& state, Reply& reply) {
    if (!state.textMode) reply.push_back(CmsError(kMessageNotSupported));
    return state.textMode;
}

std::string Quoted(const std::string& text) {
    return '"' + text + '"';
}

// "<stat>","<address>",,"<timestamp>" (a stored message has no timestamp)
std::string HeaderFields(const PhoneState& state, const ShortMessage& message) {
    return Quoted(message.state) + ',' +
           Quoted(ToLineText(state.characterSet, message.address, true)) + ",," +
           (message.timestamp.empty() ? std::string() : Quoted(message.timestamp));
}

std::string StorageCounts(const PhoneState& state) {
    return std::to_string(state.store.Messages().size()) + ',' +
           std::to_string(PhoneStore::kMessageSlots);
}

// The message at the command's index, or an error line in `reply`.
ShortMessage* MessageAt(PhoneState& state, std::string_view arguments, Reply& reply) {
    int index = 0;
    if (!ReadNumber(arguments, index)) {
        reply.push_back(kError);
        return nullptr;
    }
    const auto found = state.store.Messages().find(index);
    if (found == state.store.Messages().end()) {
        reply.push_back(CmsError(kInvalidMemoryIndex));
        return nullptr;
    }
    return &found->second;
}

int FirstFreeIndex(const PhoneState& state) {
    for (int index = 1; index <= PhoneStore::kMessageSlots; ++index) {
        if (state.store.Messages().count(index) == 0) return index;
    }
    return 0;
}

// An address as the computer wrote it: its digits, or in UCS2 the digits
// as hexadecimal units, which some programs send in that set.
std::optional<std::string> AddressOf(const PhoneState& state, const Argument& given) {
    std::string address = given.text;
    if (state.characterSet == std::string_view("UCS2")) {
        const std::optional<std::string> decoded = FromLineText("UCS2", address);
        if (decoded && !decoded->empty() &&
            decoded->find_first_not_of("+0123456789") == std::string::npos) {
            address = *decoded;
        }
    }
    const std::size_t digits = address.rfind('+', 0) == 0 ? 1 : 0;
    if (!given.quoted || address.size() > kMaxAddressLength ||
        address.find_first_not_of("0123456789", digits) != std::string::npos) {
        return std::nullopt;
    }
    return address;
}

std::string Digits(std::string_view number) {
    return std::string(number.substr(number.rfind('+', 0) == 0 ? 1 : 0));
}

// The network's time of a message that arrives now, in UTC.
std::string TimestampNow() {
    using namespace std::chrono;
    const auto now = floor<seconds>(system_clock::now());
    const auto day = floor<days>(now);
    const year_month_day date(day);
    const hh_mm_ss time(now - day);
    char text[32];
    std::snprintf(text, sizeof text, "%02d/%02u/%02u,%02d:%02d:%02d+00",
                  static_cast<int>(date.year()) % 100, static_cast<unsigned>(date.month()),
                  static_cast<unsigned>(date.day()), static_cast<int>(time.hours().count()),
                  static_cast<int>(time.minutes().count()),
                  static_cast<int>(time.seconds().count()));
    return text;
}

}  // namespace

void MessageFormat(PhoneState& state, std::string_view arguments, Reply& reply) {
    if (arguments != "0" && arguments != "1") {
        reply.push_back(kError);
        return;
    }
    state.textMode = arguments == "1";
    reply.push_back(kOk);
}

// +CMGF: <mode>
void MessageFormatQuery(PhoneState& state, std::string_view, Reply& reply) {
    reply = {std::string("+CMGF: ") + (state.textMode ? "1" : "0"), kOk};
}

void MessageFormatList(PhoneState&, std::string_view, Reply& reply) {
    reply = {"+CMGF: (0,1)", kOk};
}

// +CPMS: "SM",<used>,<total>,"SM",<used>,<total>,"SM",<used>,<total>
void MessageStorageQuery(PhoneState& state, std::string_view, Reply& reply) {
    const std::string one = Quoted(kStorage) + ',' + StorageCounts(state);
    reply = {"+CPMS: " + one + ',' + one + ',' + one, kOk};
}

void MessageStorageList(PhoneState&, std::string_view, Reply& reply) {
    const std::string one = "(" + Quoted(kStorage) + ")";
    reply = {"+CPMS: " + one + ',' + one + ',' + one, kOk};
}

// AT+CPMS="SM"[,"SM"[,"SM"]]: +CPMS: <used>,<total>, once for each store
void MessageStorageChoose(PhoneState& state, std::string_view arguments, Reply& reply) {
    const auto split = SplitArguments(arguments);
    if (!split || split->empty() || split->size() > 3) {
        reply.push_back(kError);
        return;
    }
    for (const Argument& memory : *split) {
        if (!memory.quoted || memory.text != kStorage) {
            reply.push_back(CmsError(kMessageNotAllowed));
            return;
        }
    }
    const std::string counts = StorageCounts(state);
    reply = {"+CPMS: " + counts + ',' + counts + ',' + counts, kOk};
}

// AT+CMGL[="<stat>"], "ALL" for all: for each message
//   +CMGL: <index>,"<stat>","<address>",,"<timestamp>"
//   <text>
// An unread message listed is read from then on.
void MessageList(PhoneState& state, std::string_view arguments, Reply& reply) {
    if (!InTextMode(state, reply)) return;
    const auto split = SplitArguments(arguments);
    if (!split || split->size() > 1 || (split->size() == 1 && !(*split)[0].quoted)) {
        reply.push_back(CmsError(kInvalidTextParameter));
        return;
    }
    const std::string wanted = split->empty() ? kUnread : (*split)[0].text;
    if (wanted != "ALL" && !IsState(wanted)) {
        reply.push_back(CmsError(kInvalidTextParameter));
        return;
    }
    for (auto& [index, message] : state.store.Messages()) {
        if (wanted != "ALL" && message.state != wanted) continue;
        reply.push_back("+CMGL: " + std::to_string(index) + ',' + HeaderFields(state, message));
        reply.push_back(ToLineText(state.characterSet, message.text, false));
        if (message.state == kUnread) message.state = kRead;
    }
    reply.push_back(kOk);
}

void MessageListStates(PhoneState&, std::string_view, Reply& reply) {
    std::string line = "+CMGL: (";
    for (const char* stateName : kStates) line += Quoted(stateName) + ',';
    reply = {line + "\"ALL\")", kOk};
}

// AT+CMGR=<index>: +CMGR: "<stat>","<address>",,"<timestamp>", then <text>
void MessageRead(PhoneState& state, std::string_view arguments, Reply& reply) {
    if (!InTextMode(state, reply)) return;
    ShortMessage* message = MessageAt(state, arguments, reply);
    if (message == nullptr) return;
    reply = {"+CMGR: " + HeaderFields(state, *message),
             ToLineText(state.characterSet, message->text, false), kOk};
    if (message->state == kUnread) message->state = kRead;
}

// AT+CMGD=<index>[,<flag>]: the message at the index (an empty one is no
// error), or with a flag of 1 to 4 every message in the states the flag
// names, whatever the index.
void MessageDelete(PhoneState& state, std::string_view arguments, Reply& reply) {
    const auto split = SplitArguments(arguments);
    int index = 0;
    int flag = 0;
    if (!split || split->empty() || split->size() > 2 || !NumberAt(*split, 0, index) ||
        (split->size() == 2 && !NumberAt(*split, 1, flag)) || flag < 0 ||
        flag >= static_cast<int>(std::size(kDeletedByFlag))) {
        reply.push_back(kError);
        return;
    }
    if (flag == 0 && (index < 1 || index > PhoneStore::kMessageSlots)) {
        reply.push_back(CmsError(kInvalidMemoryIndex));
        return;
    }
    auto& messages = state.store.Messages();
    if (flag == 0) messages.erase(index);
    std::erase_if(messages, [&](const auto& held) {
        for (const char* stateName : kDeletedByFlag[flag]) {
            if (stateName != nullptr && held.second.state == stateName) return true;
        }
        return false;
    });
    reply.push_back(kOk);
}

// AT+CMGW[="<address>"[,<type>[,"<stat>"]]]: the phone answers with its
// prompt and takes the text (TakeMessageText).
void MessageWrite(PhoneState& state, std::string_view arguments, Reply& reply) {
    if (!InTextMode(state, reply)) return;
    const auto split = SplitArguments(arguments);
    PendingMessage pending{false, "", kUnsent};
    int type = 0;
    if (!split || split->size() > 3 ||
        (split->size() > 1 && !(*split)[1].text.empty() && !NumberAt(*split, 1, type))) {
        reply.push_back(kError);
        return;
    }
    if (!split->empty()) {
        const std::optional<std::string> address = AddressOf(state, (*split)[0]);
        if (!address) {
            reply.push_back(CmsError(kInvalidTextParameter));
            return;
        }
        pending.address = *address;
    }
    if (split->size() == 3) {
        pending.state = (*split)[2].text;
        if (!(*split)[2].quoted || !IsState(pending.state)) {
            reply.push_back(CmsError(kInvalidTextParameter));
            return;
        }
    }
    if (FirstFreeIndex(state) == 0) {
        reply.push_back(CmsError(kMessageMemoryFull));
        return;
    }
    state.pendingMessage = std::move(pending);
}

// AT+CMGS="<address>"[,<type>]: the prompt, then the text (TakeMessageText).
void MessageSend(PhoneState& state, std::string_view arguments, Reply& reply) {
    if (!InTextMode(state, reply)) return;
    const auto split = SplitArguments(arguments);
    int type = 0;
    if (!split || split->empty() || split->size() > 2 ||
        (split->size() == 2 && !NumberAt(*split, 1, type))) {
        reply.push_back(kError);
        return;
    }
    const std::optional<std::string> address = AddressOf(state, (*split)[0]);
    if (!address) {
        reply.push_back(CmsError(kInvalidTextParameter));
        return;
    }
    state.pendingMessage = PendingMessage{true, *address, ""};
}

// The text after the prompt, up to Ctrl-Z: +CMGW: <index> or +CMGS: <mr>.
// A message sent to the phone's own number comes back at once: stored as
// unread and, unless AT+CNMI turned it off, announced with
// +CMTI: "SM",<index> after the reply.
void TakeMessageText(PhoneState& state, std::string_view text, bool cancelled, Reply& reply) {
    if (!state.pendingMessage) {
        reply.push_back(kError);
        return;
    }
    const PendingMessage pending = std::move(*state.pendingMessage);
    state.pendingMessage.reset();
    if (cancelled) {
        reply.push_back(kOk);
        return;
    }
    const std::optional<std::string> body = FromLineText(state.characterSet, text);
    if (!body || Utf16Length(*body) > kMaxTextLength) {
        reply.push_back(CmsError(kInvalidTextParameter));
        return;
    }
    const int index = FirstFreeIndex(state);
    if (!pending.send) {
        if (index == 0) {
            reply.push_back(CmsError(kMessageMemoryFull));
            return;
        }
        state.store.Messages()[index] = {pending.state, pending.address, "", *body};
        reply = {"+CMGW: " + std::to_string(index), kOk};
        return;
    }
    const int reference = state.nextReference;
    state.nextReference = reference % kLargestReference + 1;
    reply = {"+CMGS: " + std::to_string(reference), kOk};
    if (Digits(pending.address) != Digits(kOwnNumber) || index == 0) return;
    state.store.Messages()[index] = {kUnread, kOwnNumber, TimestampNow(), *body};
    if (state.indications[1] != 0) {
        state.notices.push_back("+CMTI: " + Quoted(kStorage) + ',' + std::to_string(index));
    }
}

// AT+CNMI=[<mode>[,<mt>[,<bm>[,<ds>[,<bfr>]]]]]: a value left out stays.
void IndicationsChoose(PhoneState& state, std::string_view arguments, Reply& reply) {
    const auto split = SplitArguments(arguments);
    std::array<int, 5> values = state.indications;
    bool good = split && split->size() <= values.size();
    for (std::size_t i = 0; good && i < split->size(); ++i) {
        good = (*split)[i].text.empty() ||
               (NumberAt(*split, i, values[i]) && values[i] >= 0 && values[i] <= 3);
    }
    if (!good) {
        reply.push_back(kError);
        return;
    }
    state.indications = values;
    reply.push_back(kOk);
}

// +CNMI: <mode>,<mt>,<bm>,<ds>,<bfr>
void IndicationsQuery(PhoneState& state, std::string_view, Reply& reply) {
    std::string line = "+CNMI: ";
    for (const int value : state.indications) line += std::to_string(value) + ',';
    line.pop_back();
    reply = {line, kOk};
}

void IndicationsList(PhoneState&, std::string_view, Reply& reply) {
    reply = {"+CNMI: (0-2),(0-3),(0,2),(0-2),(0,1)", kOk};
}

}  // namespace velk::phonesim
