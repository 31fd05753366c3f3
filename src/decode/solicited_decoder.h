// The solicited result decoder: turns one information line of the reply to
// the command in progress into one result block for the transfer thread.
//
// The worker calls it for every line that the response reader reports as an
// information line, with the command still in progress. It posts at most one
// block per line (two for an image part with a bad parameter text: the error
// first), and nothing for a command that has no information line. It runs on
// the worker thread only and reads the line store's record 0 before the next
// line is read.
#pragma once

#include <cstdint>

#include "decode/decoder_state.h"
#include "response/response_record.h"

namespace velk {

// Decodes `line` by state.currentCommand and posts the block. Sets
// state.currentResult to the id posted (0 when none) and leaves
// state.paramCursor behind the last parameter read.
void DecodeSolicitedResult(DecoderState& state, const ATResponseRecord& line);

// Sets the two selectors of the message reads: `listForm` 0 lists stored
// messages, any other value broadcasts; `readForm` 0 reads a delivered
// message, 1 a submitted one, 2 a broadcast.
void SetMessageForms(uint32_t listForm, uint32_t readForm);

}  // namespace velk
