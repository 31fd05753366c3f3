#include "decode/value_conversions.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

namespace velk {
namespace {

TEST(ParamToInt, ReadsDigitsAndRefusesEverythingElse) {
    // clang-format off
    const std::pair<const char*, int32_t> rows[] = {
        {"12", 12}, {" 12 ", 12}, {"1 2", 12}, {"0", 0}, {"", 65535}, {"   ", 65535},
        {"-1", 65535}, {"+5", 65535}, {"1A", 65535}, {"1.5", 65535}, {"\xB2", 65535},
        {"2147483647", 2147483647}, {"99999999999", 2147483647}, {"99999999999x", 65535}};
    // clang-format on
    for (const auto& [text, value] : rows) EXPECT_EQ(ParamToInt(text), value) << '"' << text << '"';
}

// A text is cut to its field or refused when too long, and never written
// beyond the field: the guard behind it stays.
TEST(TextConversions, CutOrRefuseWithinTheField) {
    struct {
        char field[64];
        char guard[8];
    } g;
    std::memset(&g, '#', sizeof g);
    ParamToText32(g.field, sizeof g.field, std::string(32, 'b'));
    EXPECT_EQ(std::string(g.field), std::string(32, 'b'));
    ParamToText32(g.field, sizeof g.field, std::string(33, 'c'));
    EXPECT_EQ(std::string(g.field), std::string(32, 'b')) << "a refused text leaves the field";
    EXPECT_EQ(ParamToText256(g.field, sizeof g.field, std::string("ab\0cd", 5)), 2u);
    EXPECT_STREQ(g.field, "ab");
    EXPECT_EQ(ParamToText256(g.field, sizeof g.field, std::string(200, 'd')), 200u);
    EXPECT_EQ(std::string(g.field), std::string(63, 'd'));
    EXPECT_EQ(std::string(g.guard, sizeof g.guard), "########");
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
