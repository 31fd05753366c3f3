// The unsolicited result decoder: turns a line that the phone sent of its own
// accord into a report block for the transfer thread.
//
// The form is chosen by the line's head alone, as the response reader gave
// it; a head outside the table costs nothing and posts nothing. Runs on the
// worker thread only.
#pragma once

#include "decode/decoder_state.h"
#include "response/response_record.h"

namespace velk {

// Decodes `line` by state.replyText and posts one block. Sets
// state.currentResult to the id posted (0 when none).
void DecodeUnsolicitedResult(DecoderState& state, const ATResponseRecord& line);

}  // namespace velk
