#include "platform/string_ops.h"

#include <gtest/gtest.h>

#include <string>

namespace velk {
namespace {

TEST(StringOps, RightClampsItsCount) {
    EXPECT_EQ(Right("abcdef", 2), "ef");
    EXPECT_EQ(Right("abcdef", 7), "abcdef");
    EXPECT_EQ(Right("K", 2), "K");
    EXPECT_EQ(Right("abcdef", 0), "");
    EXPECT_EQ(Right("abcdef", -3), "");
}

// A set stops a span, or is trimmed, at any of its bytes in any mix; trims
// without a set remove white space only.
TEST(StringOps, SpansAndTrims) {
    EXPECT_EQ(SpanExcluding("+CPBR: 1,2", ":="), "+CPBR");
    EXPECT_EQ(SpanExcluding("+CPBR=1:2", ":="), "+CPBR");
    EXPECT_EQ(SpanExcluding("no separator", ":="), "no separator");
    EXPECT_EQ(SpanExcluding(":first", ":"), "");
    EXPECT_EQ(SpanExcluding("abc", ""), "abc");
    EXPECT_EQ(SpanExcluding("ab\r\ncd", "\r\n"), "ab");
    EXPECT_EQ(TrimLeft("ATATA+CPBR", "AT"), "+CPBR");
    EXPECT_EQ(TrimLeft("TAAT", "AT"), "");
    EXPECT_EQ(TrimRight("\"\"x\"\"", "\""), "\"\"x");
    EXPECT_EQ(TrimRight("value\r\n\r", "\r\n"), "value");
    EXPECT_EQ(TrimLeft("--(-x-", "-"), "(-x-");
    EXPECT_EQ(TrimLeft("abc", ""), "abc");
    EXPECT_EQ(TrimLeft(" \t\r\n\v\fOK \r\n"), "OK \r\n");
    EXPECT_EQ(TrimRight(" OK \t\r\n"), " OK");
    EXPECT_EQ(TrimLeft(" \r\n"), "");
    EXPECT_EQ(TrimRight("\xA0x\xA0"), "\xA0x\xA0");  // a high byte is no blank
}

// The phone's character set uses bytes above 127, and a line may carry a
// zero byte: every byte value is found in a set, and only itself.
TEST(StringOps, EveryByteValueIsFoundAndOnlyItself) {
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
