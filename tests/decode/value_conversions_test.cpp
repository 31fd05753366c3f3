#include "decode/value_conversions.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

namespace velk {
namespace {

TEST(ParamToInt, ReadsDigitsAndRefusesEverythingElse) {
    const std::pair<const char*, int32_t> rows[] = {
        {"12", 12},
        {" 12 ", 12},
        {"1 2", 12},
        {"0", 0},
        {"", 65535},
        {"   ", 65535},
        {"-1", 65535},
        {"+5", 65535},
        {"1A", 65535},
        {"1.5", 65535},
        {"\xB2", 65535},
        {"2147483647", 2147483647},
        {"99999999999", 2147483647},
    };
    for (const auto& [text, value] : rows) EXPECT_EQ(ParamToInt(text), value) << '"' << text << '"';
}

// A field followed by a guard that no conversion may touch.
template <std::size_t N>
struct Guarded {
    char field[N];
    char guard[8];
    Guarded() { std::memset(this, '#', sizeof *this); }
    bool Intact() const { return std::string(guard, 8) == "########"; }
};

TEST(TextConversions, CutToTheFieldRefuseOverLongTextsAndNeverWriteBeyond) {
    Guarded<64> wide;
    ParamToText32(wide.field, sizeof wide.field, std::string(32, 'b'));
    EXPECT_EQ(std::string(wide.field), std::string(32, 'b'));
    ParamToText32(wide.field, sizeof wide.field, std::string(33, 'c'));
    EXPECT_EQ(std::string(wide.field), std::string(32, 'b')) << "a refused text leaves the field";
    Guarded<32> text32;
    ParamToText32(text32.field, std::string(32, 'z'));
    EXPECT_EQ(std::string(text32.field), std::string(31, 'z'));
    EXPECT_TRUE(text32.Intact());

    // Text256 gives the length it read, 0 for a refused text, and stops at a zero byte.
    Guarded<300> big;
    EXPECT_EQ(ParamToText256(big.field, std::string(256, 'q')), 256u);
    EXPECT_EQ(std::string(big.field), std::string(256, 'q'));
    EXPECT_EQ(ParamToText256(big.field, std::string(257, 'r')), 0u);
    EXPECT_EQ(std::string(big.field), std::string(256, 'q'));
    EXPECT_EQ(ParamToText256(big.field, std::string("ab\0cd", 5)), 2u);
    EXPECT_STREQ(big.field, "ab");
    Guarded<129> narrow;
    EXPECT_EQ(ParamToText256(narrow.field, std::string(200, 'd')), 200u);
    EXPECT_EQ(std::string(narrow.field), std::string(128, 'd'));
    EXPECT_TRUE(narrow.Intact());

    // A name fills its ten bytes without a terminator when full.
    Guarded<10> name;
    EXPECT_EQ(ParamToName(name.field, "Ring"), 4u);
    EXPECT_STREQ(name.field, "Ring");
    EXPECT_EQ(ParamToName(name.field, std::string(256, 'n')), 256u);
    EXPECT_EQ(std::string(name.field, 10), std::string(10, 'n'));
    EXPECT_EQ(ParamToName(name.field, std::string(257, 'm')), 0u);
    EXPECT_EQ(std::string(name.field, 10), std::string(10, 'n'));
    EXPECT_TRUE(name.Intact());
}

TEST(ParamToByteList, AppendsPairsOfDigits) {
    struct Row {
        const char* text;
        int ok;
        std::vector<uint8_t> bytes;
    };
    const Row rows[] = {
        {"250010", 1, {7, 25, 0, 10}},
        {"", 1, {7}},
        {"99", 1, {7, 99}},
        {"123", 0, {7}},
        {"12A4", 0, {7}},
        {"12 4", 0, {7}},
        {"-1", 0, {7}},
    };
    for (const Row& row : rows) {
        std::vector<uint8_t> list{7};
        EXPECT_EQ(ParamToByteList(row.text, list), row.ok) << row.text;
        EXPECT_EQ(list, row.bytes) << row.text;
    }
}

}  // namespace
}  // namespace velk
