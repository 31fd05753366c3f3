#include "response/response_tokeniser.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace velk {
namespace {

TEST(NormaliseParameters, DropsBlanksAtSeparatorsAndRunsOfMarks) {
    const std::pair<std::string, std::string> cases[] = {
        {" 1 , 2 \r\n", "1,2\r"},
        {"1,,2", "1,,2\r"},
        {"((1--5)),(0,1)\r\n", "(1-5),(0,1)\r"},
        {"\"a , b\",\"c--d\"\r\n", "\"a,b\",\"c-d\"\r"},  // quotes mean nothing here
        {"Mama GSM , x\r\n", "Mama GSM,x\r"},             // inner blank stays
        {"1,2\rrest ignored", "1,2\r"},
        {"first\nsecond", "first\r"},
        {"", "\r"},
        {"   \r\n", "\r"},
    };
    for (const auto& [text, normal] : cases) {
        EXPECT_EQ(NormaliseParameters(text), normal) << "\"" << text << "\"";
    }
}

// A row whose quoted values are texts and whose plain values are numbers.
constexpr ResponseGrammarRow kTextAndNumberRow = {
    "TEST", 1, 1, {paramText, 15, 15, 15}, 1, {paramNumber, 15, 15, 15}};
// A row that refuses every quoted value.
constexpr ResponseGrammarRow kNumbersOnlyRow = {"TEST",           2, 0,
                                                {15, 15, 15, 15}, 1, {paramNumber, 15, 15, 15}};

// One node as "<type>:<text>", with "!" in front when it is illegal.
std::vector<std::string> Nodes(const ATResponseRecord& record) {
    std::vector<std::string> out;
    for (const ATResponseParam* p = &record.firstParam; p != nullptr; p = p->next) {
        out.push_back((p->legal ? "" : "!") + std::to_string(p->type) + ":" + p->text);
    }
    return out;
}

struct WalkCase {
    const char* rest;
    std::vector<std::string> nodes;
    uint32_t allLegal;
};

class WalkParametersTest : public ::testing::TestWithParam<WalkCase> {};

TEST_P(WalkParametersTest, CutsIntoNodes) {
    const WalkCase& c = GetParam();
    ATResponseRecord record;
    WalkParameters(c.rest, record, kTextAndNumberRow);
    EXPECT_EQ(Nodes(record), c.nodes) << "\"" << c.rest << "\"";
    EXPECT_EQ(record.allLegal, c.allLegal);
}

INSTANTIATE_TEST_SUITE_P(
    Forms, WalkParametersTest,
    ::testing::Values(WalkCase{"1,,2\r\n", {"5:1", "14:", "5:2"}, 1},
                      WalkCase{"1,\r\n", {"5:1", "14:"}, 1}, WalkCase{",1\r\n", {"14:", "5:1"}, 1},
                      WalkCase{"(1-5),(0,1)\r\n",
                               {"13:(", "5:1", "13:-", "5:5", "13:)", "13:(", "5:0", "5:1", "13:)"},
                               1},
                      WalkCase{"5)\r\n", {"5:5", "13:)"}, 1},
                      WalkCase{"\"abc\r\n", {"2:abc\r"}, 1},  // unclosed quote takes the CR
                      WalkCase{"\"\",7\r\n", {"2:", "5:7"}, 1},
                      WalkCase{" 18 , \"Mama GSM\" ,99 \r\n", {"5:18", "2:Mama GSM", "5:99"}, 1},
                      WalkCase{"-1\r\n", {"13:-", "5:1"}, 1},
                      WalkCase{"1,x,3\r\n", {"5:1", "!15:x", "5:3"}, 0},
                      WalkCase{"\r\n", {"15:"}, 1}, WalkCase{"", {"15:"}, 1},
                      // a line taken from a phone book reply
                      WalkCase{
                          "16,\"\",,\"0053\",,\r\n", {"5:16", "2:", "14:", "2:0053", "14:"}, 1}));

TEST(WalkParameters, KeepsOffsetsAndLengthsOfValues) {
    ATResponseRecord record;
    WalkParameters("12,\"\",\"ab\"\r\n", record, kTextAndNumberRow);
    ASSERT_EQ(record.ParamCount(), 3u);
    const ATResponseParam* p = &record.firstParam;
    EXPECT_EQ(p->start, 0u);
    EXPECT_EQ(p->lastIndex, 1);
    p = p->next;
    EXPECT_EQ(p->start, 3u);
    EXPECT_EQ(p->lastIndex, -1);
    p = p->next;
    EXPECT_EQ(p->start, 6u);
    EXPECT_EQ(p->lastIndex, 1);
}

TEST(WalkParameters, QuotedValueInARowWithoutQuotedTypesStaysButIsIllegal) {
    ATResponseRecord record;
    WalkParameters("\"SM\",3\r\n", record, kNumbersOnlyRow);
    EXPECT_EQ(Nodes(record), (std::vector<std::string>{"!15:SM", "5:3"}));
    EXPECT_EQ(record.allLegal, 0u);
}

TEST(WalkParameters, ManyParametersMakeOneNodeEach) {
    std::string rest;
    for (int i = 0; i < 5000; ++i) rest += "1,";
    rest += "1\r\n";
    ATResponseRecord record;
    WalkParameters(rest, record, kTextAndNumberRow);
    EXPECT_EQ(record.ParamCount(), 5001u);
    EXPECT_EQ(record.allLegal, 1u);
}

}  // namespace
}  // namespace velk
