// ATCommandBlock: one command or one result crossing a thread boundary. A
// block has exactly one owner; the thread message that carries it hands it
// over. Blocks are always allocated zero-filled at full size, so a field that
// nothing wrote reads 0 or empty.
#pragma once

#include <cstdint>
#include <string_view>

#include "engine/request_forms.h"
#include "engine/result_forms.h"

namespace velk {

struct ATCommandBlock {
    union {
        int32_t commandId;  // in a request
        int32_t resultId;   // in a result
    };
    union {
        RequestForms request;
        ResultForms result;
    };
};

// A zero-filled block from the heap, or nullptr when memory ran out.
ATCommandBlock* AllocCommandBlock();
// Returns a block to the heap; nullptr is ignored. Does not touch what the
// block points to (an image-information list must be released first).
void FreeCommandBlock(ATCommandBlock* block);
// Returns a result block with what it owns: the frame list of an
// image-information block. nullptr is ignored.
void FreeResultBlock(ATCommandBlock* block);

// Why SetMessageBody refused a body.
enum class BodyFault : uint8_t {
    kNone,
    kNoBody,      // the block's command sends no body (only AT+CMGS= and AT+CMGW= do)
    kTooLong,     // more than kMessageBodyWidth bytes
    kEndingByte,  // a Ctrl-Z or an Esc, which would end or cancel the message there
};

// Puts the message text `body` into the block of a command that sends one
// after the phone's prompt (its commandId set, its parameters filled or not);
// the text of the command line stays as the builder makes it. kNone when the
// body is in; else the block is left as it was.
BodyFault SetMessageBody(ATCommandBlock& block, std::string_view body);

// The message text in the request of a command that sends one. Of any other
// request it reads bytes without meaning, but never past the block.
std::string_view MessageBodyOf(const RequestForms& request);

}  // namespace velk
