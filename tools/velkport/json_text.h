// Text as a JSON string, for the --json output of the listings. A phone's
// texts are single bytes in its own character set, not UTF-8: a byte above
// 127 goes out as the code point of the same number, so that the output
// stays valid JSON and a script can get the bytes back.
#pragma once

#include <cstdio>
#include <string>
#include <string_view>

namespace velk::cli {

inline std::string JsonString(std::string_view text) {
    std::string quoted = "\"";
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (c == '"' || c == '\\') {
            quoted += '\\';
            quoted += c;
        } else if (byte < 0x20 || byte > 0x7E) {
            char escaped[8];
            std::snprintf(escaped, sizeof escaped, "\\u%04x", byte);
            quoted += escaped;
        } else {
            quoted += c;
        }
    }
    return quoted + '"';
}

}  // namespace velk::cli
