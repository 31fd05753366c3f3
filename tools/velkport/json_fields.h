// Reading back the JSON the library hands over (result blocks, notices):
// the objects of an array and the members of an object, each value as its
// raw JSON text. Enough for the library's own output, which nests only in
// lists; a text that is no JSON gives fewer objects or members, never a
// read past its end.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace velk::cli {

// The objects of the JSON array `array`, each with its braces.
std::vector<std::string_view> JsonObjects(std::string_view array);

// The members of the JSON object `object`: each key (unquoted; the library's
// keys need no escapes) and its value's raw text.
std::vector<std::pair<std::string_view, std::string_view>> JsonMembers(std::string_view object);

// The raw value of `key` in `object`; empty when it has none.
std::string_view JsonField(std::string_view object, std::string_view key);

// The bytes of a JSON string as the library writes them (a \u00XX is the
// byte XX); other raw values come back as they are.
std::string JsonBytes(std::string_view raw);

}  // namespace velk::cli
