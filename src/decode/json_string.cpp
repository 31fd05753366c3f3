#include "decode/json_string.h"

namespace velk {

void AppendJsonString(std::string& out, std::string_view bytes) {
    static constexpr char kHex[] = "0123456789abcdef";
    out += '"';
    for (char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        switch (c) {
            case '"':
                out += "\\\"";
                break;
            case '\\':
                out += "\\\\";
                break;
            case '\b':
                out += "\\b";
                break;
            case '\f':
                out += "\\f";
                break;
            case '\n':
                out += "\\n";
                break;
            case '\r':
                out += "\\r";
                break;
            case '\t':
                out += "\\t";
                break;
            default:
                if (byte < 0x20 || byte > 0x7F) {
                    out += "\\u00";
                    out += kHex[byte >> 4];
                    out += kHex[byte & 0x0F];
                } else {
                    out += c;
                }
        }
    }
    out += '"';
}

}  // namespace velk
