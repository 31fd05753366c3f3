// Names as they cross the line in the phone's character set (AT+CSCS), and
// as UTF-8 on the computer's side:
//
//   "UCS2"  each UTF-16 unit as four hexadecimal digits: "Zoë" is
//           "005A006F00EB", a character beyond the BMP two units (a
//           surrogate pair)
//   "IRA"   printable ASCII as it is
//
// A phone's text is not to be trusted: a digit group that is no hexadecimal,
// a lone surrogate, a group cut short or a byte IRA has no meaning for reads
// as U+FFFD, never as a fault. What goes to the phone is only ever what the
// set can carry.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace velk::cli {

// The text of a UCS2 field as UTF-8.
std::string Ucs2ToUtf8(std::string_view hex);

// A UTF-8 text as a UCS2 field; a broken UTF-8 sequence goes as U+FFFD.
std::string Utf8ToUcs2(std::string_view utf8);

// An IRA text as UTF-8: printable ASCII as it is, every other byte U+FFFD.
std::string IraToUtf8(std::string_view bytes);

// Whether IRA carries `utf8` as it is: printable ASCII only.
bool FitsIra(std::string_view utf8);

// Whether `text` is whole UTF-8, as a terminal writes it.
bool IsUtf8(std::string_view text);

// The room `utf8` takes in UTF-16 units, as a phone counts a UCS2 name.
std::size_t Utf16Units(std::string_view utf8);

// `utf8` as a quoted JSON string: UTF-8 kept, the quote, the backslash and
// the control bytes escaped.
std::string JsonUtf8(std::string_view utf8);

}  // namespace velk::cli
