#include "velkport/json_fields.h"

#include <charconv>

namespace velk::cli {
namespace {

bool IsBlank(char c) {
    return c == ' ' || c == '\n' || c == '\r' || c == '\t';
}

void SkipBlanks(std::string_view text, std::size_t& at) {
    while (at < text.size() && IsBlank(text[at])) ++at;
}

// Moves `at` past the value that starts there: a string, an object or a
// list with all it holds, or a bare word (number, true, null); false when
// the text ends inside it.
bool SkipValue(std::string_view text, std::size_t& at) {
    int depth = 0;
    bool inString = false;
    for (; at < text.size(); ++at) {
        const char c = text[at];
        if (inString) {
            if (c == '\\') {
                ++at;
            } else if (c == '"') {
                inString = false;
                if (depth == 0) {
                    ++at;
                    return true;
                }
            }
            continue;
        }
        if (c == '"') {
            inString = true;
        } else if (c == '{' || c == '[') {
            ++depth;
        } else if (c == '}' || c == ']') {
            if (depth == 0) return true;  // the end of the container around it
            if (--depth == 0) {
                ++at;
                return true;
            }
        } else if (depth == 0 && (c == ',' || IsBlank(c))) {
            return true;
        }
    }
    return depth == 0 && !inString;
}

}  // namespace

std::vector<std::string_view> JsonObjects(std::string_view array) {
    std::vector<std::string_view> objects;
    std::size_t at = 0;
    SkipBlanks(array, at);
    if (at >= array.size() || array[at] != '[') return objects;
    ++at;
    for (;;) {
        SkipBlanks(array, at);
        if (at >= array.size() || array[at] != '{') return objects;
        const std::size_t start = at;
        if (!SkipValue(array, at)) return objects;  // cut short
        objects.push_back(array.substr(start, at - start));
        SkipBlanks(array, at);
        if (at >= array.size() || array[at] != ',') return objects;
        ++at;
    }
}

std::vector<std::pair<std::string_view, std::string_view>> JsonMembers(std::string_view object) {
    std::vector<std::pair<std::string_view, std::string_view>> members;
    std::size_t at = 0;
    SkipBlanks(object, at);
    if (at >= object.size() || object[at] != '{') return members;
    ++at;
    for (;;) {
        SkipBlanks(object, at);
        if (at >= object.size() || object[at] != '"') return members;
        const std::size_t keyEnd = object.find('"', at + 1);
        if (keyEnd == std::string_view::npos) return members;
        const std::string_view key = object.substr(at + 1, keyEnd - at - 1);
        at = keyEnd + 1;
        SkipBlanks(object, at);
        if (at >= object.size() || object[at] != ':') return members;
        ++at;
        SkipBlanks(object, at);
        const std::size_t start = at;
        if (!SkipValue(object, at) || at == start || at >= object.size()) return members;
        members.emplace_back(key, object.substr(start, at - start));
        SkipBlanks(object, at);
        if (at >= object.size() || object[at] != ',') return members;
        ++at;
    }
}

// NOLINTNEXTLINE(bugprone-easily-swappable-parameters): the object, then the key in it
std::string_view JsonField(std::string_view object, std::string_view key) {
    for (const auto& [name, value] : JsonMembers(object)) {
        if (name == key) return value;
    }
    return {};
}

std::string JsonBytes(std::string_view raw) {
    if (raw.size() < 2 || raw.front() != '"' || raw.back() != '"') return std::string(raw);
    std::string bytes;
    for (std::size_t i = 1; i + 1 < raw.size(); ++i) {
        if (raw[i] != '\\' || i + 2 >= raw.size()) {
            bytes += raw[i];
            continue;
        }
        const char escaped = raw[++i];
        switch (escaped) {
            case 'b':
                bytes += '\b';
                break;
            case 'f':
                bytes += '\f';
                break;
            case 'n':
                bytes += '\n';
                break;
            case 'r':
                bytes += '\r';
                break;
            case 't':
                bytes += '\t';
                break;
            case 'u': {
                unsigned code = 0;
                const char* digits = raw.data() + i + 1;
                if (i + 5 < raw.size() &&
                    std::from_chars(digits, digits + 4, code, 16).ptr == digits + 4 &&
                    code < 0x100) {
                    bytes += static_cast<char>(code);
                    i += 4;
                } else {
                    bytes += "\\u";
                }
                break;
            }
            default:
                bytes += escaped;  // quote, backslash, slash
        }
    }
    return bytes;
}

}  // namespace velk::cli
