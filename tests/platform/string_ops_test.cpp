#include "platform/string_ops.h"

#include <gtest/gtest.h>

#include <string>

namespace velk {
namespace {

using namespace std::string_literals;

TEST(StringOps, LeftAndRightClampTheirCount) {
    const struct {
        const char* text;
        int count;
        const char* left;
        const char* right;
    } cases[] = {
        {"abcdef", 2, "ab", "ef"},
        {"abcdef", 6, "abcdef", "abcdef"},
        {"abcdef", 7, "abcdef", "abcdef"},
        {"abcdef", 0, "", ""},
        {"abcdef", -3, "", ""},
        {"", 4, "", ""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.text) + " / " + std::to_string(c.count));
        EXPECT_EQ(Left(c.text, c.count), c.left);
        EXPECT_EQ(Right(c.text, c.count), c.right);
    }
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

TEST(StringOps, FindAndEqualCompareBytes) {
    EXPECT_EQ(Find("AT+CPBR=1", "+CPBR"), 2);
    EXPECT_EQ(Find("AT+CPBR=1", "+cpbr"), -1);
    EXPECT_EQ(Find("abc", ""), 0);
    EXPECT_TRUE(Contains("ATD123;", "ATD"));
    EXPECT_FALSE(Contains("AT", "ATD"));
    EXPECT_TRUE(Equal("OK\r", "OK\r"));
    EXPECT_FALSE(Equal("ok\r", "OK\r"));
    EXPECT_FALSE(Equal("OK\r"s, "OK\r\0"s));
    EXPECT_TRUE(Equal("a\0b"s, "a\0b"s));
    EXPECT_TRUE(BeginsWith("AT+RNGR=3", "AT+RNGR="));
    EXPECT_FALSE(BeginsWith("AT+RNGR", "AT+RNGR="));
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
