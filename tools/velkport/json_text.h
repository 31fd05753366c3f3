// Text as a JSON string, for the --json output of the listings.
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
        } else if (byte < 0x20) {
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
