// Checks of one reply parameter against a type code of the grammar, and of a
// reply head. Pure functions: no state, no messages.
#pragma once

#include <cstdint>
#include <string_view>

namespace velk {

// 1 when `text` is a valid value of type `typeCode` (codes 0 to 10, see
// ParamType), else 0. Codes without a validator always give 0.
int ValidateParam(std::string_view text, uint32_t typeCode);

// 1 when `head` (without its "+") has 1 to 7 characters, each a capital A to
// Z or a blank, else 0. Longer heads such as "CME ERROR" are not looked up.
int IsValidHead(std::string_view head);

}  // namespace velk
