// A result block as one JSON object on one line: its id, its form's name,
// then every field of the form in order, zeros and empty texts included.
//
//   {"resultId":14,"form":"ResultPhonebookEntry","index":1,"number":"+4912345",...}
//
// Numbers are decimal, texts end at their terminator or at their field's end,
// a frame list is an array; the numbers and texts of a form that has no names
// for them stand together in "values":[...].
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "engine/command_block.h"

namespace velk {

// What was in force when the block was made, for the ids that two forms
// share.
struct FormChoice {
    // The read-form selector: 1 reads a submitted message, others a delivered
    // one (ResultMessageHeader, ResultMessageBody).
    uint32_t readForm = 0;
    // The head the unsolicited decoder chose by (id 57).
    std::string_view head;
};

// An id without a form prints its id alone.
std::string ResultBlockToJson(const ATCommandBlock& block, const FormChoice& choice);

}  // namespace velk
