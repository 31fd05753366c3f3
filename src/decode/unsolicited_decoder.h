// The unsolicited result decoder: turns a line that the phone sent of its own
// accord into a report block for the transfer thread.
//
// The form is chosen by the line's head alone, as the matcher gave it; a head
// outside the table costs nothing and gives nothing.
#pragma once

#include <string_view>

#include "engine/thread_ids.h"
#include "response/response_record.h"

namespace velk {

// Decodes `line` by `head` into one block; null for a head outside the table.
ResultBlockPtr DecodeUnsolicitedResult(std::string_view head, const ATResponseRecord& line);

}  // namespace velk
