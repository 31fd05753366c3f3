#include "phone_sim/store_index.h"

#include <cctype>
#include <charconv>
#include <cstdio>
#include <map>

namespace velk::phonesim {
namespace {

// --- Writing.

std::string Quote(const std::string& text) {
    std::string out = "\"";
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (c == '"' || c == '\\') {
            out += '\\';
            out += c;
        } else if (byte < 0x20) {
            char escape[8];
            std::snprintf(escape, sizeof escape, "\\u%04x", byte);
            out += escape;
        } else {
            out += c;
        }
    }
    return out + '"';
}

// --- Reading: just the JSON that an index holds (objects, arrays, strings
// and whole numbers), by recursive descent with a depth limit.

struct Value {
    enum class Kind { kNumber, kString, kArray, kObject } kind = Kind::kNumber;
    long number = 0;
    std::string text;
    std::vector<Value> items;
    std::map<std::string, Value> members;
};

class Parser {
  public:
    explicit Parser(const std::string& text) : text_(text) {}

    bool Document(Value& value) {
        if (!Parse(value, 0)) return false;
        SkipBlanks();
        return pos_ == text_.size() || Fail("text after the end");
    }
    const std::string& Error() const { return error_; }

  private:
    static constexpr int kMaxDepth = 16;

    bool Fail(const char* what) {
        if (error_.empty()) error_ = std::string(what) + " at byte " + std::to_string(pos_);
        return false;
    }
    void SkipBlanks() {
        while (pos_ < text_.size() && std::isspace(static_cast<unsigned char>(text_[pos_])) != 0)
            ++pos_;
    }
    bool Take(char c) {
        SkipBlanks();
        if (pos_ < text_.size() && text_[pos_] == c) {
            ++pos_;
            return true;
        }
        return false;
    }

    bool Parse(Value& value, int depth) {
        if (depth > kMaxDepth) return Fail("nesting too deep");
        SkipBlanks();
        if (pos_ >= text_.size()) return Fail("unexpected end");
        const char c = text_[pos_];
        if (c == '{') return Object(value, depth);
        if (c == '[') return Array(value, depth);
        if (c == '"') {
            value.kind = Value::Kind::kString;
            return String(value.text);
        }
        return Number(value);
    }

    bool Object(Value& value, int depth) {
        value.kind = Value::Kind::kObject;
        ++pos_;
        if (Take('}')) return true;
        do {
            SkipBlanks();
            std::string key;
            if (pos_ >= text_.size() || text_[pos_] != '"' || !String(key))
                return Fail("a member name expected");
            if (!Take(':')) return Fail("':' expected");
            if (!Parse(value.members[key], depth + 1)) return false;
        } while (Take(','));
        return Take('}') || Fail("'}' expected");
    }

    bool Array(Value& value, int depth) {
        value.kind = Value::Kind::kArray;
        ++pos_;
        if (Take(']')) return true;
        do {
            value.items.emplace_back();
            if (!Parse(value.items.back(), depth + 1)) return false;
        } while (Take(','));
        return Take(']') || Fail("']' expected");
    }

    bool String(std::string& out) {
        ++pos_;  // the opening quote
        while (pos_ < text_.size()) {
            const char c = text_[pos_++];
            if (c == '"') return true;
            if (c != '\\') {
                out += c;
                continue;
            }
            if (pos_ >= text_.size()) break;
            const char e = text_[pos_++];
            if (e == 'u') {
                unsigned code = 0;
                if (pos_ + 4 > text_.size() ||
                    std::from_chars(text_.data() + pos_, text_.data() + pos_ + 4, code, 16).ptr !=
                        text_.data() + pos_ + 4 ||
                    code > 0xFF) {
                    return Fail("only \\u00XX escapes are read");
                }
                out += static_cast<char>(code);
                pos_ += 4;
            } else if (e == 'n') {
                out += '\n';
            } else if (e == 't') {
                out += '\t';
            } else if (e == 'r') {
                out += '\r';
            } else {
                out += e;  // \" \\ \/
            }
        }
        return Fail("unterminated string");
    }

    bool Number(Value& value) {
        value.kind = Value::Kind::kNumber;
        const char* begin = text_.data() + pos_;
        const auto [end, error] = std::from_chars(begin, text_.data() + text_.size(), value.number);
        if (error != std::errc() || end == begin) return Fail("a value expected");
        pos_ += static_cast<std::size_t>(end - begin);
        return true;
    }

    const std::string& text_;
    std::size_t pos_ = 0;
    std::string error_;
};

const Value* Member(const Value& object, const char* name, Value::Kind kind) {
    const auto found = object.members.find(name);
    if (found == object.members.end() || found->second.kind != kind) return nullptr;
    return &found->second;
}

bool IntMember(const Value& object, const char* name, long low, long high, int& out) {
    const Value* v = Member(object, name, Value::Kind::kNumber);
    if (v == nullptr || v->number < low || v->number > high) return false;
    out = static_cast<int>(v->number);
    return true;
}

bool TextMember(const Value& object, const char* name, std::string& out) {
    const Value* v = Member(object, name, Value::Kind::kString);
    if (v == nullptr) return false;
    out = v->text;
    return true;
}

}  // namespace

std::string WriteStoreIndex(const StoreIndex& index) {
    std::string out = "{\n  \"tones\": [";
    for (std::size_t i = 0; i < index.tones.size(); ++i) {
        out += i == 0 ? "\n    " : ",\n    ";
        out += "{\"slot\": " + std::to_string(index.tones[i].slot) +
               ", \"name\": " + Quote(index.tones[i].name) + "}";
    }
    out += "\n  ],\n  \"images\": [";
    for (std::size_t i = 0; i < index.images.size(); ++i) {
        const Image& image = index.images[i];
        out += i == 0 ? "\n    " : ",\n    ";
        out += "{\"name\": " + Quote(image.name) + ", \"frames\": " + std::to_string(image.frames) +
               ", \"first\": " + std::to_string(image.first) +
               ", \"param\": " + Quote(image.param) + "}";
    }
    return out + "\n  ]\n}\n";
}

std::optional<StoreIndex> ReadStoreIndex(const std::string& text, std::string& error) {
    Value root;
    Parser parser(text);
    if (!parser.Document(root)) {
        error = parser.Error();
        return std::nullopt;
    }
    const Value* tones =
        root.kind == Value::Kind::kObject ? Member(root, "tones", Value::Kind::kArray) : nullptr;
    const Value* images =
        root.kind == Value::Kind::kObject ? Member(root, "images", Value::Kind::kArray) : nullptr;
    if (tones == nullptr || images == nullptr) {
        error = "an object with the arrays \"tones\" and \"images\" expected";
        return std::nullopt;
    }
    StoreIndex index;
    for (const Value& t : tones->items) {
        StoreIndex::ToneEntry entry;
        if (t.kind != Value::Kind::kObject ||
            !IntMember(t, "slot", 1, PhoneStore::kToneSlots, entry.slot) ||
            !TextMember(t, "name", entry.name)) {
            error = "tone " + std::to_string(index.tones.size() + 1) + ": a slot from 1 to " +
                    std::to_string(PhoneStore::kToneSlots) + " and a name expected";
            return std::nullopt;
        }
        index.tones.push_back(std::move(entry));
    }
    for (const Value& i : images->items) {
        Image image;
        if (i.kind != Value::Kind::kObject || !TextMember(i, "name", image.name) ||
            !IntMember(i, "frames", 0, PhoneStore::kFrameSlots, image.frames) ||
            !IntMember(i, "first", 1, PhoneStore::kFrameSlots, image.first)) {
            error = "image " + std::to_string(index.images.size() + 1) +
                    ": a name, a number of frames and a first frame expected";
            return std::nullopt;
        }
        TextMember(i, "param", image.param);  // may be left out
        index.images.push_back(std::move(image));
    }
    return index;
}

}  // namespace velk::phonesim
