// A small writer of one JSON value on one line, as `velkport` prints every
// result block. Texts are the phone's single bytes, not UTF-8: a byte above
// 127 is written as \u00XX, so that the output is plain ASCII and every byte
// the phone sent can be read back exactly.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace velk::cli {

// Appends `bytes` as a quoted JSON string: the short escapes for quote,
// backslash, BS, FF, LF, CR and TAB, \u00XX for every other byte below 32
// and every byte above 127.
void AppendJsonString(std::string& out, std::string_view bytes);

class JsonWriter {
  public:
    JsonWriter& BeginObject();
    JsonWriter& EndObject();
    JsonWriter& BeginArray();
    JsonWriter& EndArray();
    // The name of the next member of the open object.
    JsonWriter& Key(std::string_view name);
    JsonWriter& Number(int64_t value);
    JsonWriter& String(std::string_view bytes);

    const std::string& Text() const { return out_; }

  private:
    // Writes the comma between two values of the same object or array.
    void Separate();

    std::string out_;
    // One entry per open object or array: true until its first value.
    std::vector<bool> empty_;
    bool afterKey_ = false;
};

}  // namespace velk::cli
