#include "client/command_list.h"

#include <string>
#include <string_view>

#include "engine/command_parser.h"
#include "engine/command_table.h"
#include "engine/request_forms.h"

namespace velk {
namespace {

// Enough of a refused text to know it by; velk_GetLastError's text is one
// line, so a control byte shows as '?'.
constexpr std::size_t kQuotedBytes = 60;

std::string Quoted(std::string_view text) {
    std::string out = "\"";
    for (char c : text.substr(0, kQuotedBytes)) {
        out += static_cast<unsigned char>(c) < 0x20 || c == 0x7F ? '?' : c;
    }
    if (text.size() > kQuotedBytes) out += "...";
    return out + "\"";
}

FailureCause TextRefusal(int position, std::string_view text, std::string_view why) {
    return {kTextRefused,
            "command " + std::to_string(position) + " " + Quoted(text) + ": " + std::string(why)};
}

}  // namespace

std::optional<FailureCause> ReadCommandList(const char* const* texts, int count, bool withBody,
                                            CommandList& out) {
    out.clear();
    if (texts == nullptr || count < 1 || count > kMostCommands) {
        return FailureCause{kListRefused, "a list of 1 to " + std::to_string(kMostCommands) +
                                              " commands is taken, not " +
                                              std::to_string(texts == nullptr ? 0 : count)};
    }
    for (int i = 0; i < count; ++i) {
        if (texts[i] == nullptr) {
            return FailureCause{kListRefused, "command " + std::to_string(i) + " is NULL"};
        }
        const std::string_view text(texts[i]);
        ParsedCommand parsed = ParseCommandText(text);
        if (!parsed.Accepted()) return TextRefusal(i, text, parsed.refusal);
        if (SendsBodyAfterPrompt(parsed.id) != withBody) {
            return TextRefusal(i, text,
                               withBody ? "only AT+CMGS= and AT+CMGW= send a message text"
                                        : "it sends a message text: use velk_RunCommandWithBody");
        }
        CommandBlockPtr block(AllocCommandBlock());
        if (!block) return FailureCause{kNoPhoneError, std::string(kOutOfMemoryText)};
        block->commandId = parsed.id;
        block->request = parsed.request;
        out.push_back(std::move(block));
    }
    return std::nullopt;
}

std::optional<FailureCause> AttachBody(ATCommandBlock& block, const char* body) {
    if (body == nullptr) return FailureCause{kListRefused, "the message text is NULL"};
    switch (SetMessageBody(block, body)) {
        case BodyFault::kNone:
            return std::nullopt;
        case BodyFault::kNoBody:
            return FailureCause{kBodyRefused, "the command sends no message text"};
        case BodyFault::kTooLong:
            return FailureCause{kBodyRefused, "the message text is longer than " +
                                                  std::to_string(kMessageBodyWidth) + " bytes"};
        case BodyFault::kEndingByte:
            return FailureCause{kBodyRefused,
                                "the message text holds a Ctrl-Z or an Esc, which would end it"};
    }
    return FailureCause{kBodyRefused, "the message text cannot be sent"};
}

FailureCause CauseOfBusyLink() {
    return {kLinkBusy, "no link stands, or another operation runs"};
}

}  // namespace velk
