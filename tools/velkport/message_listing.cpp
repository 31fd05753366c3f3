#include "velkport/message_listing.h"

#include <charconv>

#include "velkport/json_fields.h"
#include "velkport/ucs2_text.h"

namespace velk::cli {
namespace {

// The bytes of a text line the library's result block holds.
constexpr std::size_t kBodyRoom = 83;

std::string TrimCarriageReturns(std::string text) {
    while (!text.empty() && text.back() == '\r') text.pop_back();
    return text;
}

// The header's address: the sender of a received message, the recipient of
// a stored one, by the form the library read it with.
std::string AddressOf(std::string_view header) {
    for (const char* key : {"address", "originator", "destination"}) {
        const std::string_view raw = JsonField(header, key);
        if (!raw.empty()) return JsonBytes(raw);
    }
    return {};
}

// A UTF-8 text for a terminal: line ends as they are, every other control
// character as "?".
std::string Readable(std::string_view utf8) {
    std::string text(utf8);
    for (char& c : text) {
        if (c != '\n' && (static_cast<unsigned char>(c) < 0x20 || c == 0x7F)) c = '?';
    }
    return text;
}

}  // namespace

std::vector<Message> ReadMessages(std::string_view result, std::size_t position,
                                  const CharacterSetChoice& set, std::size_t& unread) {
    std::vector<Message> messages;
    for (const std::string_view block : JsonObjects(result)) {
        std::size_t place = 0;
        const std::string_view command = JsonField(block, "command");
        std::from_chars(command.data(), command.data() + command.size(), place);
        if (place != position) continue;
        const std::string form = JsonBytes(JsonField(block, "form"));
        if (form == "ResultError") {
            ++unread;
        } else if (form.ends_with("Body")) {
            if (messages.empty()) continue;
            Message& message = messages.back();
            if (message.lines++ != 0) message.text += '\n';
            const std::string line = JsonBytes(JsonField(block, "body"));
            // A whole line keeps its carriage return when it fits.
            message.cut |= line.size() >= kBodyRoom && !line.ends_with('\r');
            message.text += set.TextOf(TrimCarriageReturns(line));
        } else if (form.ends_with("Header")) {
            Message message;
            message.index = JsonField(block, "index");
            message.state = IraToUtf8(JsonBytes(JsonField(block, "state")));
            message.address = set.NumberOf(AddressOf(block));
            message.timestamp = IraToUtf8(JsonBytes(JsonField(block, "timestamp")));
            messages.push_back(std::move(message));
        }
    }
    return messages;
}

void PrintMessage(std::ostream& out, const Message& message, bool json) {
    if (json) {
        out << "{\"index\":" << (message.index.empty() ? "null" : message.index)
            << ",\"state\":" << JsonUtf8(message.state)
            << ",\"address\":" << JsonUtf8(message.address)
            << ",\"timestamp\":" << JsonUtf8(message.timestamp)
            << ",\"text\":" << JsonUtf8(message.text) << '}';
        return;
    }
    // 3  REC UNREAD  +15550100  26/11/25,15:30:00+00
    //    the text, each line indented
    out << message.index << "  " << Readable(message.state) << "  " << Readable(message.address);
    if (!message.timestamp.empty()) out << "  " << Readable(message.timestamp);
    out << "\n   ";
    for (const char c : Readable(message.text))
        out << (c == '\n' ? std::string("\n   ") : std::string(1, c));
    out << '\n';
}

}  // namespace velk::cli
