// A strict reader of JSON for the fuzz targets: it tells whether a text is
// exactly one JSON value (RFC 8259), with nothing but blanks around it.
// Beyond the grammar it holds the library's printer to its own promise:
// every byte is ASCII and none is a control byte (the phone's bytes above 127
// and below 32 go out as escapes; DEL, which JSON lets stand, stays as it
// is) and no object names a key twice.
#pragma once

#include <cstddef>
#include <set>
#include <string>
#include <string_view>

namespace velk::fuzz {

class JsonCheck {
  public:
    // True when `text` is one JSON value and keeps the promises above.
    static bool Valid(std::string_view text) {
        JsonCheck check(text);
        check.Blanks();
        if (!check.Value(0)) return false;
        check.Blanks();
        return check.at_ == text.size();
    }

  private:
    static constexpr int kDeepest = 64;

    explicit JsonCheck(std::string_view text) : text_(text) {}

    bool More() const { return at_ < text_.size(); }
    char Peek() const { return More() ? text_[at_] : '\0'; }
    bool Take(char c) {
        if (Peek() != c || !More()) return false;
        ++at_;
        return true;
    }
    void Blanks() {
        while (More() && (Peek() == ' ' || Peek() == '\t' || Peek() == '\n' || Peek() == '\r'))
            ++at_;
    }
    bool Word(std::string_view word) {
        if (text_.substr(at_, word.size()) != word) return false;
        at_ += word.size();
        return true;
    }
    static bool IsDigit(char c) { return c >= '0' && c <= '9'; }
    static bool IsHex(char c) {
        return IsDigit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
    }

    bool Value(int depth) {
        if (depth > kDeepest) return false;
        switch (Peek()) {
            case '{':
                return Object(depth);
            case '[':
                return Array(depth);
            case '"': {
                std::string ignored;
                return String(ignored);
            }
            case 't':
                return Word("true");
            case 'f':
                return Word("false");
            case 'n':
                return Word("null");
            default:
                return Number();
        }
    }

    bool Object(int depth) {
        Take('{');
        Blanks();
        if (Take('}')) return true;
        std::set<std::string> keys;
        do {
            Blanks();
            std::string key;
            if (!String(key) || !keys.insert(key).second) return false;
            Blanks();
            if (!Take(':')) return false;
            Blanks();
            if (!Value(depth + 1)) return false;
            Blanks();
        } while (Take(','));
        return Take('}');
    }

    bool Array(int depth) {
        Take('[');
        Blanks();
        if (Take(']')) return true;
        do {
            Blanks();
            if (!Value(depth + 1)) return false;
            Blanks();
        } while (Take(','));
        return Take(']');
    }

    // A string, its raw text (escapes as written) in `raw`.
    bool String(std::string& raw) {
        if (!Take('"')) return false;
        while (More()) {
            const char c = text_[at_++];
            if (c == '"') return true;
            if (static_cast<unsigned char>(c) < 0x20 || static_cast<unsigned char>(c) > 0x7F)
                return false;
            raw += c;
            if (c != '\\') continue;
            const char escape = Peek();
            ++at_;
            raw += escape;
            if (escape == 'u') {
                for (int i = 0; i < 4; ++i) {
                    if (!IsHex(Peek())) return false;
                    raw += text_[at_++];
                }
            } else if (std::string_view("\"\\/bfnrt").find(escape) == std::string_view::npos ||
                       escape == '\0') {
                return false;
            }
        }
        return false;
    }

    bool Number() {
        Take('-');
        if (Take('0')) {
            // no digits after a leading zero
        } else if (IsDigit(Peek()) && Peek() != '0') {
            while (IsDigit(Peek())) ++at_;
        } else {
            return false;
        }
        if (Take('.')) {
            if (!IsDigit(Peek())) return false;
            while (IsDigit(Peek())) ++at_;
        }
        if (Take('e') || Take('E')) {
            if (!Take('+')) Take('-');
            if (!IsDigit(Peek())) return false;
            while (IsDigit(Peek())) ++at_;
        }
        return true;
    }

    std::string_view text_;
    std::size_t at_ = 0;
};

}  // namespace velk::fuzz
