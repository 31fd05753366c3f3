// The command text builder: turns a request block into the text of one AT
// command, without its line end. It never sends and never fails: a request
// with bad fields gives a bad line, and the phone's reply says so.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "engine/command_block.h"

namespace velk {

// Builds the text for command `id` from `block`. For an id in the catalogue
// the text is its AT text followed by the parameters of its request form, and
// `currentCommand` becomes `id`; for any other id the text is empty and
// `currentCommand` is left as it was. The block is changed in two places only:
// an image chunk with all three animation parameters 0 gets a first parameter
// of 25, and the codes of a logo chunk are put into capitals.
std::string BuildCommandText(int32_t id, ATCommandBlock& block, int32_t& currentCommand);

// The text of a fixed-width field: up to its first zero byte, never past
// `width` bytes, so a field that lacks its terminator is not over-read.
std::string_view FieldText(const char* field, size_t width);
template <size_t N>
std::string_view FieldText(const char (&field)[N]) {
    return FieldText(field, N);
}

// The value in decimal, as "%d" prints it.
std::string EncodeNumber(int32_t value);

// A double quote, the text, a double quote. A quote inside is not escaped.
std::string EncodeQuoted(std::string_view text);
template <size_t N>
std::string EncodeQuoted(const char (&field)[N]) {
    return EncodeQuoted(FieldText(field));
}

// `count` bytes of a field of `width` bytes, zero bytes included, with and
// without double quotes round them. A count above the width is cut to the
// width: the count comes from the caller and must never lead the read outside
// the field.
std::string EncodeBytes(const char* bytes, size_t count, size_t width);
std::string EncodeQuotedBytes(const char* bytes, size_t count, size_t width);
template <size_t N>
std::string EncodeBytes(const char (&bytes)[N], size_t count) {
    return EncodeBytes(bytes, count, N);
}
template <size_t N>
std::string EncodeQuotedBytes(const char (&bytes)[N], size_t count) {
    return EncodeQuotedBytes(bytes, count, N);
}

}  // namespace velk
