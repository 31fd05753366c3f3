#include "phone_sim/chunk_line.h"

#include <charconv>

namespace velk::phonesim {
namespace {

// Reads the fields of a line from the left, one comma at a time.
class FieldReader {
  public:
    explicit FieldReader(std::string_view text) : text_(text) {}

    // A plain field up to the next comma; false when no comma follows.
    bool Plain(std::string_view& field) {
        const std::size_t comma = text_.find(',');
        if (comma == std::string_view::npos) return false;
        field = text_.substr(0, comma);
        text_.remove_prefix(comma + 1);
        return true;
    }

    // A field between double quotes, then its comma. A comma inside the
    // quotes belongs to the text.
    bool Quoted(std::string& field) {
        if (text_.empty() || text_.front() != '"') return false;
        const std::size_t close = text_.find('"', 1);
        if (close == std::string_view::npos || close + 1 >= text_.size() ||
            text_[close + 1] != ',') {
            return false;
        }
        field.assign(text_.substr(1, close - 1));
        text_.remove_prefix(close + 2);
        return true;
    }

    std::string_view Rest() const { return text_; }

  private:
    std::string_view text_;
};

// A decimal number of at most three digits, as every number of these lines is.
bool Number(std::string_view text, int& value) {
    if (text.empty() || text.size() > 3) return false;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    return error == std::errc() && end == text.data() + text.size();
}

bool OptionalNumber(std::string_view text, std::optional<int>& value) {
    if (text.empty()) return true;
    int number = 0;
    if (!Number(text, number)) return false;
    value = number;
    return true;
}

}  // namespace

uint8_t ChunkCheck(std::string_view body) {
    uint8_t check = static_cast<uint8_t>(body.size());
    for (const char c : body) check ^= static_cast<uint8_t>(c);
    return check;
}

std::optional<ChunkLine> ParseChunkLine(std::string_view arguments, bool withParam) {
    // The check is the last field; everything in front of it up to the
    // fixed fields is the body.
    const std::size_t lastComma = arguments.rfind(',');
    if (lastComma == std::string_view::npos) return std::nullopt;
    ChunkLine line;
    if (!Number(arguments.substr(lastComma + 1), line.check)) return std::nullopt;
    // The comma in front of the check is kept, so that the body's end is the
    // last field the reader takes.
    FieldReader reader(arguments.substr(0, lastComma + 1));

    std::string_view target, kind, flag, index, count, rest;
    int kindValue = 0;
    int flagValue = 0;
    if (!reader.Plain(target) || !Number(target, line.target) || !reader.Quoted(line.name) ||
        !reader.Plain(kind) || !Number(kind, kindValue) || kindValue != 2 || !reader.Plain(flag) ||
        !Number(flag, flagValue) || flagValue != 1 || !reader.Plain(index) ||
        !Number(index, line.chunkIndex) || !reader.Plain(count) ||
        !OptionalNumber(count, line.count) || !reader.Plain(rest) ||
        !OptionalNumber(rest, line.rest)) {
        return std::nullopt;
    }
    if (withParam && !reader.Quoted(line.param)) return std::nullopt;
    std::string_view body = reader.Rest();
    if (body.empty()) return std::nullopt;  // no body field at all
    body.remove_suffix(1);                  // the comma in front of the check
    line.body.assign(body);
    return line;
}

}  // namespace velk::phonesim
