// messages, message-get, message-delete and message-send: the short
// messages the phone stores, read and written in text mode through
// velk_RunCommands and velk_RunCommandWithBody, as an application does.
//
// Each read and send first sets text mode and asks the phone's character
// sets (AT+CMGF=1, AT+CSCS?, AT+CSCS=?), and puts the phone back in its
// former set after each operation. A send goes in UCS2 where the phone
// offers it, so that a text in any script crosses the line whole, and in
// IRA (ASCII) where it does not, as also for a phone that lists no sets (a
// phone that starts in "GSM" gives a few ASCII characters other bytes
// there). A text with a character ASCII has not goes only to a phone with
// UCS2, and then holds 70 UTF-16 units, one message's room, not 160.
//
// A read goes in IRA first, and again in UCS2 only for texts that may have
// lost characters there (see ReadStored): the library's fields hold 83
// bytes of a text line and 31 of an address, which in UCS2 hex is 20
// characters of text and seven digits. Texts and addresses come out as
// UTF-8.
#include <algorithm>
#include <charconv>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "velkport.h"
#include "velkport/character_set_choice.h"
#include "velkport/command_run.h"
#include "velkport/json_fields.h"
#include "velkport/json_text.h"
#include "velkport/message_listing.h"
#include "velkport/transfer_context.h"
#include "velkport/ucs2_text.h"

namespace velk::cli {
namespace {

// What each read and send begins with: text mode, then the set the phone
// has and the sets it offers, in that order, so that a phone that will not
// list its sets has still said which one to return to.
const std::vector<std::string> kOpening = {"AT+CMGF=1", "AT+CSCS?", "AT+CSCS=?"};
constexpr std::size_t kFirstQuestion = 1;

// A message text in text mode fills one message of 160 characters in the
// GSM alphabet, or of 70 UTF-16 units in UCS2.
constexpr std::size_t kMostCharacters = 160;
constexpr std::size_t kMostUcs2Units = 70;
constexpr std::size_t kMostAddressDigits = 20;
// The UTF-16 units of a text line the library's field holds in UCS2 hex.
constexpr std::size_t kUcs2UnitsRead = 20;
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

bool Refused(const OperationEnd& end) {
    return end.kind == OperationEnd::Kind::kFinal && end.message == VELK_MSG_COMMAND_REFUSED;
}

// Takes the answers about the character sets among the last operation's
// blocks.
void TakeAnswers(CharacterSetChoice& set) {
    const std::string result = CommandResult();
    for (const std::string_view block : JsonObjects(result)) set.Take(block);
}

// Text mode, and the character set chosen from the phone's answers. A
// phone that refuses a question still takes messages: the set it has is
// then not returned to, or its sets are not known and IRA is chosen.
int OpenTextMode(const Transfer& t, CharacterSetChoice& set, const std::string& doing) {
    const OperationEnd end = RunList(t, kOpening);
    if (Refused(end) && ReadRefusal(end.failure).position >= kFirstQuestion) {
        TakeAnswers(set);
        if (ReadRefusal(end.failure).position == kFirstQuestion) {
            const std::vector<std::string> list = {kOpening.back()};
            const OperationEnd listed = RunList(t, list);
            if (Done(listed)) TakeAnswers(set);
            if (!Done(listed) && !Refused(listed)) return ReportEnd(t, listed, list, doing);
        }
    } else if (!Done(end)) {
        return ReportEnd(t, end, kOpening, doing);
    } else {
        TakeAnswers(set);
    }
    set.Choose("IRA");
    return kExitDone;
}

// Chooses the phone's former set again, after an operation that ended
// before it could; whatever the phone answers, the operation's end stands.
void ReturnToFormerSet(const Transfer& t, const CharacterSetChoice& set) {
    if (!set.Returning().empty()) RunList(t, set.Returning());
}

// `command` as one operation in the chosen set, the former set chosen again
// after it. Done also when only the return was refused: the phone has
// answered all that was asked.
struct SetRun {
    std::vector<std::string> texts;
    std::size_t position = 0;  // of the command in `texts`
    OperationEnd end;
    bool done = false;
};

SetRun RunInSet(const Transfer& t, const CharacterSetChoice& set, const std::string& command) {
    SetRun run;
    run.texts = set.Choosing();
    run.position = run.texts.size();
    run.texts.push_back(command);
    for (std::string& text : set.Returning()) run.texts.push_back(std::move(text));
    run.end = RunList(t, run.texts);
    const bool returnRefused =
        Refused(run.end) && ReadRefusal(run.end.failure).position > run.position;
    run.done = Done(run.end) || returnRefused;
    if (Refused(run.end) && !returnRefused) ReturnToFormerSet(t, set);
    return run;
}

// Whether a text read in IRA may have lost a character to the phone's
// stand-in for it: "?", or a byte IRA has no meaning for (now U+FFFD).
bool MayHaveLost(const Message& message) {
    return message.text.find('?') != std::string::npos ||
           message.text.find("\xEF\xBF\xBD") != std::string::npos;
}

void NoteUnread(const Transfer& t, std::size_t unread) {
    if (unread == 0) return;
    t.io.err << "velkport " << t.command << ": " << Counted(unread, "line")
             << " of the phone's answer could not be read and " << (unread == 1 ? "is" : "are")
             << " left out.\n";
}

// A text that filled the library's field may go on in the phone: a text
// message holds up to 160 characters, the field 83 of each line.
void NoteCut(const Transfer& t, const std::vector<Message>& messages) {
    for (const Message& message : messages) {
        if (!message.cut) continue;
        t.io.err << "velkport " << t.command << ": the text of "
                 << (message.index.empty() ? "the message" : "message " + message.index)
                 << " fills the 83 characters velkport reads of a line; the phone may hold "
                    "more of it.\n";
    }
}

// The stored messages `command` (AT+CMGL= or AT+CMGR=) reads. First in
// IRA, of which the library's fields hold the most: 83 characters of each
// line of a text, and the whole address, which in UCS2 hex would overfill
// its field of 31 bytes after seven digits. Then, where
// the phone offers UCS2 and a text may have lost characters, once more in
// UCS2: its texts replace those they carry whole (20 UTF-16 units a line).
// NOLINTNEXTLINE(bugprone-easily-swappable-parameters): the command, then what it is for
int ReadStored(const Transfer& t, const std::string& command, const std::string& doing,
               std::vector<Message>& messages) {
    CharacterSetChoice set;
    if (int code = OpenTextMode(t, set, doing); code != kExitDone) return code;
    const CharacterSetChoice ira = set.InSet("IRA");
    const SetRun first = RunInSet(t, ira, command);
    if (!first.done) return ReportEnd(t, first.end, first.texts, doing);
    std::size_t unread = 0;
    messages = ReadMessages(CommandResult(), first.position, ira, unread);
    NoteUnread(t, unread);
    NoteCut(t, messages);
    if (!set.Ucs2() || std::none_of(messages.begin(), messages.end(), MayHaveLost)) {
        return kExitDone;
    }
    const SetRun again = RunInSet(t, set, command);
    std::size_t ignored = 0;
    const std::vector<Message> whole =
        again.done ? ReadMessages(CommandResult(), again.position, set, ignored)
                   : std::vector<Message>();
    if (!again.done) {
        t.io.err << "velkport " << t.command << ": the phone did not answer " << command
                 << " in UCS2, so the texts are shown as IRA carries them, \"?\" for a "
                    "character beyond ASCII.\n";
    }
    for (Message& message : messages) {
        if (!MayHaveLost(message)) continue;
        for (const Message& other : whole) {
            if (other.index != message.index) continue;
            if (!other.cut) {
                message.text = other.text;
            } else {
                t.io.err << "velkport " << t.command << ": the text of "
                         << (message.index.empty() ? "the message" : "message " + message.index)
                         << " is longer than the " << kUcs2UnitsRead
                         << " characters velkport reads in UCS2, so it is shown as IRA "
                            "carries it, \"?\" for a character beyond ASCII.\n";
            }
        }
    }
    return kExitDone;
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

// The first character of `text` that ASCII has not, whole; empty when
// there is none.
std::string FirstBeyondAscii(const std::string& text) {
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (static_cast<unsigned char>(text[i]) < 0x80) continue;
        // The byte and the continuation bytes of its UTF-8 form after it.
        std::size_t last = i + 1;
        while (last < text.size() && (static_cast<unsigned char>(text[last]) & 0xC0) == 0x80)
            ++last;
        return text.substr(i, last - i);
    }
    return {};
}

// The text of a message to send: UTF-8 and line ends, no other control
// character; 160 characters at most in ASCII, 70 UTF-16 units with any
// other character, which only UCS2 carries. Whether the phone has UCS2 is
// asked later.
std::optional<std::string> TextProblem(const std::string& text) {
    if (text.empty()) return std::string("the message text is empty");
    if (!IsUtf8(text))
        return std::string("the message text is no UTF-8: write it as the terminal does");
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto byte = static_cast<unsigned char>(text[i]);
        if (byte != '\n' && (byte < 0x20 || byte == 0x7F)) {
            return "the text holds the control character " + std::to_string(byte) +
                   " at character " + std::to_string(i + 1) + "; only line ends may be in it";
        }
    }
    if (FirstBeyondAscii(text).empty() && text.size() > kMostCharacters) {
        return "a message holds at most " + std::to_string(kMostCharacters) +
               " characters, this one " + std::to_string(text.size());
    }
    if (const std::size_t units = Utf16Units(text);
        !FirstBeyondAscii(text).empty() && units > kMostUcs2Units) {
        return "a message with characters beyond ASCII goes in UCS2 and holds at most " +
               std::to_string(kMostUcs2Units) + " UTF-16 units, this one " + std::to_string(units);
    }
    return std::nullopt;
}

// A text beyond ASCII for a phone without UCS2.
std::string IraProblem(const std::string& text) {
    return "the text holds \"" + FirstBeyondAscii(text) +
           "\", which the phone's IRA character set cannot carry: velkport sends "
           "messages in plain ASCII; write the text without it";
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
    std::vector<Message> messages;
    if (int code = ReadStored(t, "AT+CMGL=\"ALL\"", "listing the messages", messages);
        code != kExitDone) {
        return code;
    }
    if (t.args.json) t.io.out << '[';
    for (std::size_t i = 0; i < messages.size(); ++i) {
        if (t.args.json && i != 0) t.io.out << ',';
        if (!t.args.json && i != 0) t.io.out << '\n';
        PrintMessage(t.io.out, messages[i], t.args.json);
    }
    if (t.args.json) t.io.out << "]\n";
    if (!t.args.json && messages.empty()) t.io.err << "The phone holds no messages.\n";
    return kExitDone;
}

int GetMessage(const Transfer& t) {
    const std::string& index = t.args.positionals[0];
    const std::string doing = "reading message " + index;
    std::vector<Message> messages;
    if (int code = ReadStored(t, "AT+CMGR=" + index, doing, messages); code != kExitDone) {
        return code;
    }
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
    const std::string& text = t.args.positionals[1];
    CharacterSetChoice set;
    if (int code = OpenTextMode(t, set, "setting text mode"); code != kExitDone) return code;
    if (!set.Ucs2() && !FirstBeyondAscii(text).empty())
        return t.Report(kExitUsage, IraProblem(text));
    if (!set.Choosing().empty()) {
        const OperationEnd chosen = RunList(t, set.Choosing());
        if (!Done(chosen)) return ReportEnd(t, chosen, set.Choosing(), "setting text mode");
    }
    // The number goes as digits in every set: the library's address field
    // holds 31 bytes, seven characters in UCS2 hex, and phones in UCS2
    // take a number in digits as well.
    const std::string command = "AT+CMGS=\"" + number + "\"";
    const OperationEnd end = RunWithBody(t, command, set.LineText(text));
    // The views point into `result`, which must outlive the loop; it is
    // taken before the return to the former set, an operation of its own.
    const std::string result = Done(end) ? CommandResult() : std::string();
    ReturnToFormerSet(t, set);
    if (!Done(end)) return ReportEnd(t, end, {command}, "sending the message to " + number);
    std::string reference;
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
