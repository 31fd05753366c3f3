#include "decode/value_conversions.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

namespace velk {
namespace {

TEST(ParamToInt, ReadsDigitsAndRefusesEverythingElse) {
    struct Row {
        const char* text;
        int32_t value;
    };
    const Row rows[] = {
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
    for (const Row& row : rows) {
        EXPECT_EQ(ParamToInt(row.text), row.value) << '"' << row.text << '"';
    }
}

TEST(ParamToText32, AcceptsUpToThirtyTwoCharacters) {
    char field[64];
    std::memset(field, 'x', sizeof field);
    field[63] = '\0';
    ParamToText32(field, sizeof field, std::string(31, 'a'));
    EXPECT_EQ(std::string(field), std::string(31, 'a'));
    ParamToText32(field, sizeof field, std::string(32, 'b'));
    EXPECT_EQ(std::string(field), std::string(32, 'b'));
    ParamToText32(field, sizeof field, std::string(33, 'c'));
    EXPECT_EQ(std::string(field), std::string(32, 'b'))
        << "a refused text must not touch the field";
}

TEST(ParamToText32, CutsToTheFieldAndNeverWritesBeyondIt) {
    struct Guarded {
        char field[32];
        char guard[8];
    } g;
    std::memset(&g, '#', sizeof g);
    ParamToText32(g.field, std::string(32, 'z'));
    EXPECT_EQ(std::string(g.field), std::string(31, 'z'));
    EXPECT_EQ(std::string(g.guard, sizeof g.guard), std::string(8, '#'));

    char tiny[4];
    ParamToText32(tiny, "abcdef");
    EXPECT_STREQ(tiny, "abc");
}

TEST(ParamToText256, ReturnsLengthAndRefusesBeyond256) {
    char field[300];
    EXPECT_EQ(ParamToText256(field, sizeof field, std::string(256, 'q')), 256u);
    EXPECT_EQ(std::strlen(field), 256u);
    EXPECT_EQ(ParamToText256(field, sizeof field, std::string(257, 'r')), 0u);
    EXPECT_EQ(std::string(field), std::string(256, 'q'));
    EXPECT_EQ(ParamToText256(field, sizeof field, ""), 0u);
    EXPECT_STREQ(field, "");
    EXPECT_EQ(ParamToText256(field, sizeof field, "GSM"), 3u);
    EXPECT_STREQ(field, "GSM");
}

TEST(ParamToText256, NarrowFieldGetsACutTextButTheFullLength) {
    struct Guarded {
        char text[129];
        char guard[8];
    } g;
    std::memset(&g, '#', sizeof g);
    EXPECT_EQ(ParamToText256(g.text, std::string(200, 'd')), 200u);
    EXPECT_EQ(std::string(g.text), std::string(128, 'd'));
    EXPECT_EQ(std::string(g.guard, sizeof g.guard), std::string(8, '#'));
}

TEST(ParamToText256, StopsAtAZeroByte) {
    char field[16];
    EXPECT_EQ(ParamToText256(field, std::string("ab\0cd", 5)), 2u);
    EXPECT_STREQ(field, "ab");
}

TEST(ParamToName, FillsTenBytesWithoutTerminatorWhenFull) {
    struct Guarded {
        char name[10];
        char guard[4];
    } g;
    std::memset(&g, '#', sizeof g);
    EXPECT_EQ(ParamToName(g.name, "Ring"), 4u);
    EXPECT_STREQ(g.name, "Ring");
    EXPECT_EQ(ParamToName(g.name, "0123456789"), 10u);
    EXPECT_EQ(std::string(g.name, 10), "0123456789");
    EXPECT_EQ(ParamToName(g.name, std::string(256, 'n')), 256u);
    EXPECT_EQ(std::string(g.name, 10), std::string(10, 'n'));
    EXPECT_EQ(ParamToName(g.name, std::string(257, 'm')), 0u);
    EXPECT_EQ(std::string(g.name, 10), std::string(10, 'n'));
    EXPECT_EQ(std::string(g.guard, sizeof g.guard), "####");
}

TEST(ParamToByteList, ReadsPairsOfDigits) {
    struct Row {
        const char* text;
        int ok;
        std::vector<uint8_t> bytes;
    };
    const Row rows[] = {
        {"250010", 1, {25, 0, 10}},
        {"", 1, {}},
        {"99", 1, {99}},
        {"123", 0, {}},
        {"12A4", 0, {}},
        {"12 4", 0, {}},
        {"-1", 0, {}},
    };
    for (const Row& row : rows) {
        std::vector<uint8_t> list;
        EXPECT_EQ(ParamToByteList(row.text, list), row.ok) << row.text;
        EXPECT_EQ(list, row.bytes) << row.text;
    }
}

TEST(ParamToByteList, AppendsToWhatTheListHolds) {
    std::vector<uint8_t> list{7};
    ASSERT_EQ(ParamToByteList("0102", list), 1);
    EXPECT_EQ(list, (std::vector<uint8_t>{7, 1, 2}));
}

}  // namespace
}  // namespace velk
