// Fixed-width text fields of the command and result blocks. Every text is a
// single-byte string in the phone's character set, ended by a zero byte unless
// the field says otherwise.
#pragma once

namespace velk {

using Text32 = char[32];
using Text84 = char[84];
using Text256 = char[256];

// 65535 in a request number field means "omitted"; out of a reply it means the
// parameter was empty or not a number (255 in a byte field).
inline constexpr int kOmitted = 65535;

}  // namespace velk
