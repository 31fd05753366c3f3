// Conversions from the text of one reply parameter to a number, a bounded text
// or a list of bytes. None of them changes the stored parameter, and none
// keeps state.
//
// The text conversions accept or refuse a text by its length (32 characters
// for the short one, 256 for the long one) and then copy it into the caller's
// field, cut to the field's real width: a phone cannot overflow a field by
// sending more than it holds.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "engine/result_forms.h"

namespace velk {

// Longest texts that the two text conversions accept.
inline constexpr std::size_t kShortTextLimit = 32;
inline constexpr std::size_t kLongTextLimit = 256;
// Width of the name fields of the tone, image and logo forms. A full name has
// no terminator.
inline constexpr std::size_t kNameFieldSize = 10;

// The value of a text of decimal digits, blanks anywhere ignored. An empty
// text or any other character (a sign included) gives 65535, so no negative
// number comes out. Values beyond the 32-bit range stop at its top.
int32_t ParamToInt(std::string_view text);

// Copies a text of at most 32 characters into `dest`, cut to destSize - 1
// characters and terminated. A longer text leaves `dest` as it was.
void ParamToText32(char* dest, std::size_t destSize, const std::string& text);

// Copies a text of at most 256 characters into `dest`, cut to destSize - 1
// characters and terminated, and returns the text's full length. A longer text
// leaves `dest` as it was and returns 0; so does an empty text.
uint32_t ParamToText256(char* dest, std::size_t destSize, const std::string& text);

// The long text conversion into a 10-byte name field: up to 10 bytes, with a
// terminator only when the name is shorter. Returns what ParamToText256 does.
uint32_t ParamToName(char (&dest)[kNameFieldSize], const std::string& text);

template <std::size_t N>
void ParamToText32(char (&dest)[N], const std::string& text) {
    ParamToText32(dest, N, text);
}

template <std::size_t N>
uint32_t ParamToText256(char (&dest)[N], const std::string& text) {
    return ParamToText256(dest, N, text);
}

// Reads a text of two-digit decimal numbers ("250010" gives 25, 0, 10) and
// appends the numbers to `list`. Returns 1 on success, 0 when the length is
// odd or a character is not a digit; an empty text succeeds and adds nothing.
int ParamToByteList(std::string text, std::vector<uint8_t>& list);

// A new empty list of 16-bit numbers, owned by the caller; null when memory
// ran out.
WordList* NewWordList();

}  // namespace velk
