// The solicited result decoder: turns one information line of the reply to
// the command in flight into the result block for the transfer thread.
//
// The worker calls it for every line that the matcher found to be an
// information line, with the command still in flight. One line gives at most
// one block (and, before it, a ResultError for an image part with a bad
// parameter text); a command that has no information line gives none.
#pragma once

#include <cstdint>

#include "decode/result_blocks.h"
#include "response/reply_forms.h"
#include "response/response_record.h"

namespace velk {

// Decodes `line`, an information line of the reply to `commandId`; the
// selectors choose the form of message reads and service replies.
DecodedBlocks DecodeSolicitedResult(int32_t commandId, const ATResponseRecord& line,
                                    const ReplySelectors& selectors);

}  // namespace velk
