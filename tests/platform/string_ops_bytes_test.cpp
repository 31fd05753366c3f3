// The set operations of string_ops on every byte value: the phone's
// character set uses bytes above 127, and a line may carry a zero byte.
#include <gtest/gtest.h>

#include <string>

#include "platform/string_ops.h"

namespace velk {
namespace {

using namespace std::string_literals;

TEST(StringOpsBytes, SetsHoldHighBytesAndZero) {
    const std::string text =
        "ab\xE9"
        "cd\0ef\xFF"s;
    EXPECT_EQ(SpanExcluding(text, "\xE9"), "ab");
    EXPECT_EQ(SpanExcluding(text, "\0"s),
              "ab\xE9"
              "cd");
    EXPECT_EQ(SpanExcluding(text, "\xFF"),
              "ab\xE9"
              "cd\0ef"s);
    // A high byte in the text is no member of a set without it, whatever
    // bit pattern its sign would give it.
    EXPECT_EQ(SpanExcluding(text, "i)"), text);
    EXPECT_EQ(TrimLeft("\xA0\xA0x\xA0", "\xA0"), "x\xA0");
    EXPECT_EQ(TrimRight("\xA0x\xA0\xA0", "\xA0"), "\xA0x");
    EXPECT_EQ(TrimLeft("\0\0x"s, "\0"s), "x");
    EXPECT_EQ(TrimRight("\x7F\x80", "\x80"), "\x7F");
}

TEST(StringOpsBytes, EveryByteValueIsFoundAndOnlyItself) {
    for (int value = 0; value < 256; ++value) {
        const char byte = static_cast<char>(value);
        const char other = static_cast<char>((value + 128) % 256);
        std::string text(3, other);
        text += byte;
        text += other;
        EXPECT_EQ(SpanExcluding(text, std::string(1, byte)).size(), 3u) << value;
        EXPECT_EQ(TrimLeft(text, std::string(1, other)), std::string(1, byte) + other) << value;
        EXPECT_EQ(TrimRight(text, std::string(1, other)), std::string(3, other) + byte) << value;
    }
}

}  // namespace
}  // namespace velk
