// The command table: one row per command id, with everything the engine knows
// about the command: the AT text it sends, how the builder writes its
// parameters, which reply lines the matcher lets through, and how the
// solicited decoder reads its information lines. The rows are in
// command_table.cpp.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace velk {

// Command ids run from 13 to 241; ids in between without a row, or with a row
// but no text, send only the line end.
inline constexpr int32_t kFirstCommandId = 13;
inline constexpr int32_t kLastCommandId = 241;

// The parameter writer of a command, behind its AT text. Each names one writer
// of the builder and, mostly, one request form of request_forms.h.
enum class RequestForm : uint8_t {
    kBare,  // the AT text alone, whatever the block holds
    kPhonebookRead,
    kPhonebookStorage,
    kPhonebookFind,
    kPhonebookWrite,
    kPhonebookDelete,
    kMessageService,
    kMessageMemories,
    kBroadcastSelect,
    kProfile,  // "=<profile>", or nothing
    kMessageCommand,
    kOptionalMode,  // RequestMode, the mode may be left out
    kAddress,
    kMessageParameters,
    kShowHeader,
    kIndications,
    kIndex,
    kStoredSend,
    kMessageWrite,
    kMode,  // RequestMode, the mode always sent
    kOperator,
    kPin,
    kMeterReset,
    kMeterMaximum,
    kPricePerUnit,
    kCharacterSet,
    kMessageList,  // "=<status>", or nothing
    kMemory,
    kValue,
    kTextValue,
    kTwoTextValues,
    kTenValues,
    kValuePair,
    kValueText,
    kThreeIndications,  // RequestIndications, its first three fields only
    kSlot,
    kToneChunk,
    kImageChunk,
    kPlayChunk,
    kLogoChunk,
};
inline constexpr size_t kRequestFormCount = static_cast<size_t>(RequestForm::kLogoChunk) + 1;

// Which lines the matcher takes as the reply while the command waits.
enum class ReplyHeads : uint8_t {
    // Lines with the command's own head, plain text lines; a well-formed line
    // with another head is a line out of turn.
    kOwnHead,
    // Only a line with the command's own head: any other line, even a genuine
    // unsolicited one, is an error. The phone answers these queries at once.
    kFixedHead,
    // A chunk of tone, image or logo data: a line without a head, or with
    // another head, is an error.
    kDataRead,
    // The opening commands: no information line at all, only the echo and
    // the final result.
    kOpening,
};
// No command of the table sends a dial or a hang-up, so none takes the call
// and service lines that answer those.

// How the solicited decoder reads an information line of the reply.
enum class DecodeStyle : uint8_t {
    kNone,          // the final reply alone: nothing is decoded
    kFields,        // one form, its fields in reply order
    kMessageRead,   // the +CMGR header and body forms, by the read selector
    kMessageList,   // the +CMGL header and body forms, by the list selector
    kServiceReply,  // the service-line forms, by the last service line seen
    kPart,          // a tone, image or logo part
};

struct DecodeCase {
    DecodeStyle style = DecodeStyle::kNone;
    // The result id of kFields and kPart; 0 for the others, whose result id
    // depends on the line and the selectors.
    int32_t resultId = 0;
};

struct CommandRow {
    int32_t id;
    // The AT text before any parameter; nullptr for the ids that have a
    // decoder case but nothing to send.
    const char* text;
    RequestForm form;
    DecodeCase decode = {};
    ReplyHeads heads = ReplyHeads::kOwnHead;
    // The command line is answered by the prompt "> ", after which the
    // command sends the message text of its block (MessageBodyOf) ended by
    // Ctrl-Z; only then comes the reply.
    bool bodyAfterPrompt = false;
};

// All rows, ordered by id.
std::span<const CommandRow> CommandRows();

// The row of `id`, or nullptr when the id has none.
const CommandRow* FindCommandRow(int32_t id);

// The reply lines the command in flight takes: those of the row of `id`, or
// kOwnHead when `sentText` is empty — an id without a text sends nothing of
// its own and must not borrow the rule of the command before it.
ReplyHeads HeadsOf(int32_t id, std::string_view sentText);

// True for the ids whose row sends a body after the prompt.
bool SendsBodyAfterPrompt(int32_t id);

}  // namespace velk
