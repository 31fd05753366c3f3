// JSON strings of the phone's texts. Texts are the phone's single bytes, not
// UTF-8: a byte above 127 is written as \u00XX, so that the output is plain
// ASCII and every byte the phone sent can be read back exactly.
#pragma once

#include <string>
#include <string_view>

namespace velk {

// Appends `bytes` as a quoted JSON string: the short escapes for quote,
// backslash, BS, FF, LF, CR and TAB, \u00XX for every other byte below 32
// and every byte above 127.
void AppendJsonString(std::string& out, std::string_view bytes);

}  // namespace velk
