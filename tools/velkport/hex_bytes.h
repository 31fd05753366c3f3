// Bytes as hexadecimal text and back: how the phone keeps a tone that is a
// file, such as the simulated phone's MIDI tones.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace velk::cli {

// The value of a hexadecimal digit of either case, or -1.
int HexDigitValue(char c);

// Two upper-case digits a byte.
std::string HexOfBytes(std::string_view bytes);

// The bytes of a text of hexadecimal digits (either case), two a byte;
// nothing when the text is empty, has an odd length or any other character.
std::optional<std::string> BytesOfHex(std::string_view text);

}  // namespace velk::cli
