// Prints a result block as one JSON object: its id, its form's name, then
// every field of the form in order, zeros and empty texts included.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "engine/command_block.h"
#include "velkport/printed_forms.h"

namespace velk::cli {

// What was in force when the block was made, for the ids that two forms
// share.
struct FormChoice {
    // The read-form selector: 1 reads a submitted message, others a delivered
    // one (ResultMessageHeader, ResultMessageBody).
    uint32_t readForm = 0;
    // The head the unsolicited decoder chose by (id 57).
    std::string_view head;
};

// The printed form of `resultId` under `choice`; null for an id no form has.
const PrintedForm* FindPrintedForm(int32_t resultId, const FormChoice& choice);

// {"resultId":14,"form":"ResultPhonebookEntry","index":1,...}
// An id without a form prints its id alone.
std::string BlockToJson(const ATCommandBlock& block, const FormChoice& choice);

}  // namespace velk::cli
