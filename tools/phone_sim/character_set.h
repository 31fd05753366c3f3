// The phone's character sets on the line (AT+CSCS). The phone keeps its
// names and texts as UTF-8 and converts them as they cross the line:
//
//   "IRA", "GSM"  ASCII as it is; any other character goes out as "?"
//   "UCS2"        each UTF-16 unit as four hexadecimal digits, "Zoë" as
//                 "005A006F00EB"
//
// Only printable ASCII is taken in IRA and GSM: a phone of this kind has no
// way to say which eight-bit set a byte above 127 would be from.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace velk::phonesim {

// As AT+CSCS=? lists them; the phone starts in GSM, and ATZ returns to it.
inline constexpr const char* kCharacterSets[] = {"IRA", "GSM", "UCS2"};
inline constexpr const char* kDefaultCharacterSet = "GSM";

// A text as the phone sends it in `set`. In a quoted field a double quote
// would end the field early, so there it goes out as "?" in IRA and GSM.
std::string ToLineText(std::string_view set, std::string_view utf8, bool quoted);

// A text the computer sent in `set`, as UTF-8; nothing when it holds a
// character or a digit group the set has no meaning for.
std::optional<std::string> FromLineText(std::string_view set, std::string_view text);

// The length of a UTF-8 text in UTF-16 units, as the phone counts the room
// a name takes.
std::size_t Utf16Length(std::string_view utf8);

}  // namespace velk::phonesim
