// What the result decoders need from the worker: the command in progress, the
// head of an unsolicited line, and the decoders' own cursor. The worker owns
// one of these and hands it to every decoder call; the decoders keep nothing
// else between calls.
#pragma once

#include <cstdint>
#include <string>

#include "platform/post_until_taken.h"
#include "response/response_record.h"

namespace velk {

struct DecoderState {
    // Id of the command in progress, set when its text is built.
    int32_t currentCommand = 0;
    // Head of the line the phone sent of its own accord, as the response
    // reader gave it.
    std::string replyText;
    // Result id of the block being filled, 0 when a line gave none.
    int32_t currentResult = 0;
    // The parameter node being read; valid only during a decoder call.
    const ATResponseParam* paramCursor = nullptr;
};

}  // namespace velk
