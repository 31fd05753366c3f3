// messages, message-get, message-delete and message-send: the short
// messages the phone stores, read and written in text mode through
// velk_RunCommands and velk_RunCommandWithBody, as an application does.
//
// The texts cross the line in the phone's IRA character set, which is
// ASCII: every read and send sets it (with AT+CMGF=1) in its own operation,
// since a phone that starts in "GSM" gives a few ASCII characters other
// bytes there. A text to send with a character ASCII has not is refused
// before the link opens; a byte above 127 that a phone sends anyway goes
// out in JSON as \u00XX and in the readable form as "?".
#include <charconv>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "velkport.h"
#include "velkport/command_run.h"
#include "velkport/json_fields.h"
#include "velkport/json_text.h"
#include "velkport/transfer_context.h"

namespace velk::cli {
namespace {

// What each operation on messages begins with: text mode, ASCII.
const std::vector<std::string> kTextMode = {"AT+CMGF=1", "AT+CSCS=\"IRA\""};

// A message text in text mode fills one message of 160 characters.
constexpr std::size_t kMostCharacters = 160;
constexpr std::size_t kMostAddressDigits = 20;
constexpr unsigned kLargestIndex = 65534;

// The +CMS ERROR numbers a user meets with messages, said in words.
struct MessageError {
    std::string_view line;
    const char* meaning;
};
constexpr MessageError kMessageErrors[] = {
    {"+CMS ERROR: 302", "the phone does not allow this now"},
    {"+CMS ERROR: 305", "the phone did not take the text or the number"},
    {"+CMS ERROR: 321", "there is no message at that index"},
    {"+CMS ERROR: 322", "the phone's message memory is full"},
    {"+CMS ERROR: 330", "the phone knows no service centre to send through"},
    {"+CMS ERROR: 331", "the phone has no network"},
    {"+CMS ERROR: 332", "the network did not answer in time"},
};

// One stored message, as the keys of --json name its parts.
struct Message {
    std::string index;  // raw JSON: a number
    std::string state;
    std::string address;
    std::string timestamp;
    std::string text;
    std::size_t lines = 0;  // of the text, as they came
};

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

// The messages in the blocks of the command at `position`: a header starts
// one (+CMGL: or +CMGR:), the lines of its text follow it one block each.
// `unread` counts the lines the library could not read.
std::vector<Message> ReadMessages(std::string_view result, std::size_t position,
                                  std::size_t& unread) {
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
            message.text += TrimCarriageReturns(JsonBytes(JsonField(block, "body")));
        } else if (form.ends_with("Header")) {
            Message message;
            message.index = JsonField(block, "index");
            message.state = JsonBytes(JsonField(block, "state"));
            message.address = AddressOf(block);
            message.timestamp = JsonBytes(JsonField(block, "timestamp"));
            messages.push_back(std::move(message));
        }
    }
    return messages;
}

// The phone's bytes for a terminal: printable ASCII and line ends as they
// are, every other byte as "?".
std::string Readable(std::string_view bytes) {
    std::string text(bytes);
    for (char& c : text) {
        if (c != '\n' && (c < 0x20 || c > 0x7E)) c = '?';
    }
    return text;
}

void PrintMessage(std::ostream& out, const Message& message, bool json) {
    if (json) {
        out << "{\"index\":" << (message.index.empty() ? "null" : message.index)
            << ",\"state\":" << JsonString(message.state)
            << ",\"address\":" << JsonString(message.address)
            << ",\"timestamp\":" << JsonString(message.timestamp)
            << ",\"text\":" << JsonString(message.text) << '}';
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

// The opening commands, then `command`.
std::vector<std::string> InTextMode(const std::string& command) {
    std::vector<std::string> texts = kTextMode;
    texts.push_back(command);
    return texts;
}

// The end of an operation that did not bring its result: the phone's
// refusal in words where they are known, else what the end means.
int ReportEnd(const Transfer& t, const OperationEnd& end, const std::vector<std::string>& texts,
              const std::string& doing) {
    if (end.kind == OperationEnd::Kind::kFinal && end.message == VELK_MSG_COMMAND_REFUSED) {
        const Refusal refusal = ReadRefusal(end.failure);
        const std::string& text =
            refusal.position < texts.size() ? texts[refusal.position] : texts.back();
        std::string sentence = "the phone refused " + text + " with \"" + refusal.line + "\"";
        for (const MessageError& error : kMessageErrors) {
            if (refusal.line == error.line) sentence += std::string(": ") + error.meaning;
        }
        return t.Report(kExitRefused, sentence);
    }
    return t.Report(end, {"", doing});
}

bool Done(const OperationEnd& end) {
    return end.kind == OperationEnd::Kind::kFinal && end.message == VELK_MSG_COMMAND_DONE;
}

void NoteUnread(const Transfer& t, std::size_t unread) {
    if (unread == 0) return;
    t.io.err << "velkport " << t.command << ": " << Counted(unread, "line")
             << " of the phone's answer could not be read and " << (unread == 1 ? "is" : "are")
             << " left out.\n";
}

// INDEX: a stored message's place, from 0 (some phones count from there).
std::optional<std::string> IndexProblem(const std::string& text) {
    unsigned index = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), index);
    if (text.empty() || error != std::errc() || end != text.data() + text.size() ||
        index > kLargestIndex) {
        return "INDEX is a message's number from 0 to " + std::to_string(kLargestIndex) +
               ", not \"" + text + "\"";
    }
    return std::nullopt;
}

std::optional<std::string> NumberProblem(const std::string& number) {
    const std::size_t digits = number.starts_with('+') ? 1 : 0;
    if (number.size() <= digits || number.size() - digits > kMostAddressDigits ||
        number.find_first_not_of("0123456789", digits) != std::string::npos) {
        return "NUMBER is a phone number of 1 to " + std::to_string(kMostAddressDigits) +
               " digits, with or without a + in front, not \"" + number + "\"";
    }
    return std::nullopt;
}

// The text of a message to send: ASCII, as the phone's IRA set carries it,
// and line ends; 160 characters at most.
std::optional<std::string> TextProblem(const std::string& text) {
    if (text.empty()) return std::string("the message text is empty");
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto byte = static_cast<unsigned char>(text[i]);
        if (byte >= 0x80) {
            // The whole character, for the sentence: the byte and the
            // continuation bytes of its UTF-8 form after it.
            std::size_t last = i + 1;
            while (last < text.size() && (static_cast<unsigned char>(text[last]) & 0xC0) == 0x80)
                ++last;
            return "the text holds \"" + text.substr(i, last - i) +
                   "\", which the phone's IRA character set cannot carry: velkport sends "
                   "messages in plain ASCII; write the text without it";
        }
        if (byte != '\n' && (byte < 0x20 || byte == 0x7F)) {
            return "the text holds the control character " + std::to_string(byte) +
                   " at character " + std::to_string(i + 1) + "; only line ends may be in it";
        }
    }
    if (text.size() > kMostCharacters) {
        return "a message holds at most " + std::to_string(kMostCharacters) +
               " characters, this one " + std::to_string(text.size());
    }
    return std::nullopt;
}

int Refuse(std::optional<std::string> bad, std::string& problem) {
    if (!bad) return kExitDone;
    problem = std::move(*bad);
    return kExitUsage;
}

}  // namespace

int PrepareMessageIndex(const TransferArgs& args, TransferPlan&, std::string& problem) {
    return Refuse(IndexProblem(args.positionals[0]), problem);
}

int PrepareMessageSend(const TransferArgs& args, TransferPlan&, std::string& problem) {
    if (int code = Refuse(NumberProblem(args.positionals[0]), problem); code != kExitDone) {
        return code;
    }
    return Refuse(TextProblem(args.positionals[1]), problem);
}

int ListMessages(const Transfer& t) {
    const std::vector<std::string> texts = InTextMode("AT+CMGL=\"ALL\"");
    const OperationEnd end = RunList(t, texts);
    if (!Done(end)) return ReportEnd(t, end, texts, "listing the messages");
    std::size_t unread = 0;
    const std::vector<Message> messages = ReadMessages(CommandResult(), texts.size() - 1, unread);
    if (t.args.json) t.io.out << '[';
    for (std::size_t i = 0; i < messages.size(); ++i) {
        if (t.args.json && i != 0) t.io.out << ',';
        if (!t.args.json && i != 0) t.io.out << '\n';
        PrintMessage(t.io.out, messages[i], t.args.json);
    }
    if (t.args.json) t.io.out << "]\n";
    if (!t.args.json && messages.empty()) t.io.err << "The phone holds no messages.\n";
    NoteUnread(t, unread);
    return kExitDone;
}

int GetMessage(const Transfer& t) {
    const std::string& index = t.args.positionals[0];
    const std::vector<std::string> texts = InTextMode("AT+CMGR=" + index);
    const OperationEnd end = RunList(t, texts);
    if (!Done(end)) return ReportEnd(t, end, texts, "reading message " + index);
    std::size_t unread = 0;
    std::vector<Message> messages = ReadMessages(CommandResult(), texts.size() - 1, unread);
    NoteUnread(t, unread);
    if (messages.empty()) {
        return t.Report(kExitRefused, "the phone's answer to AT+CMGR=" + index +
                                          " held no message it could read");
    }
    // +CMGR: leaves the index out: it is the one asked for.
    messages.front().index = std::to_string(std::stoul(index));
    PrintMessage(t.io.out, messages.front(), t.args.json);
    if (t.args.json) t.io.out << '\n';
    return kExitDone;
}

int DeleteMessage(const Transfer& t) {
    const std::string& index = t.args.positionals[0];
    const std::vector<std::string> texts = {"AT+CMGD=" + index};
    const OperationEnd end = RunList(t, texts);
    if (!Done(end)) return ReportEnd(t, end, texts, "deleting message " + index);
    t.io.out << "Deleted message " << index << ".\n";
    return kExitDone;
}

int SendMessage(const Transfer& t) {
    const std::string& number = t.args.positionals[0];
    const OperationEnd opened = RunList(t, kTextMode);
    if (!Done(opened)) return ReportEnd(t, opened, kTextMode, "setting text mode");
    const std::string command = "AT+CMGS=\"" + number + "\"";
    const OperationEnd end = RunWithBody(t, command, t.args.positionals[1]);
    if (!Done(end)) return ReportEnd(t, end, {command}, "sending the message to " + number);
    std::string reference;
    // The views point into `result`, which must outlive the loop.
    const std::string result = CommandResult();
    for (const std::string_view block : JsonObjects(result)) {
        const std::string_view value = JsonField(block, "reference");
        if (!value.empty()) reference = value;
    }
    if (t.args.json) {
        t.io.out << "{\"number\":" << JsonString(number)
                 << ",\"reference\":" << (reference.empty() ? "null" : reference) << "}\n";
    } else if (!reference.empty()) {
        t.io.out << "Sent the message to " << number << ", reference " << reference << ".\n";
    }
    // 27.005 phones name every message they send by its reference.
    if (reference.empty()) {
        t.io.err << "velkport message-send: the phone answered OK but gave no message "
                    "reference: whether the message went out is not known.\n";
    }
    return kExitDone;
}

}  // namespace velk::cli
