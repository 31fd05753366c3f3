#include "velkport/json_writer.h"

namespace velk::cli {

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

void JsonWriter::Separate() {
    if (afterKey_) {
        afterKey_ = false;
        return;
    }
    if (empty_.empty()) return;
    if (!empty_.back()) out_ += ',';
    empty_.back() = false;
}

JsonWriter& JsonWriter::BeginObject() {
    Separate();
    out_ += '{';
    empty_.push_back(true);
    return *this;
}

JsonWriter& JsonWriter::EndObject() {
    out_ += '}';
    if (!empty_.empty()) empty_.pop_back();
    return *this;
}

JsonWriter& JsonWriter::BeginArray() {
    Separate();
    out_ += '[';
    empty_.push_back(true);
    return *this;
}

JsonWriter& JsonWriter::EndArray() {
    out_ += ']';
    if (!empty_.empty()) empty_.pop_back();
    return *this;
}

JsonWriter& JsonWriter::Key(std::string_view name) {
    Separate();
    AppendJsonString(out_, name);
    out_ += ':';
    afterKey_ = true;
    return *this;
}

JsonWriter& JsonWriter::Number(int64_t value) {
    Separate();
    out_ += std::to_string(value);
    return *this;
}

JsonWriter& JsonWriter::String(std::string_view bytes) {
    Separate();
    AppendJsonString(out_, bytes);
    return *this;
}

}  // namespace velk::cli
