// Text as a JSON string, for the --json output of the listings. A phone's
// texts are single bytes in its own character set, not UTF-8: a byte above
// 127 goes out as the code point of the same number, so that the output
// stays valid JSON and a script can get the bytes back. The library's own
// printer of result blocks writes them the same way.
#pragma once

#include <string>
#include <string_view>

#include "decode/json_string.h"

namespace velk::cli {

inline std::string JsonString(std::string_view text) {
    std::string quoted;
    AppendJsonString(quoted, text);
    return quoted;
}

}  // namespace velk::cli
