#include "response/param_validators.h"

#include <gtest/gtest.h>

#include <string>

#include "response/response_grammar.h"

namespace velk {
namespace {

struct ValidatorCase {
    uint32_t type;
    std::string text;
    int valid;
};

std::string Repeat(char c, std::size_t n) {
    return std::string(n, c);
}

class ValidateParamTest : public ::testing::TestWithParam<ValidatorCase> {};

TEST_P(ValidateParamTest, AcceptsOrRefuses) {
    const ValidatorCase& c = GetParam();
    EXPECT_EQ(ValidateParam(c.text, c.type), c.valid)
        << "type " << c.type << " text \"" << c.text << "\"";
}

INSTANTIATE_TEST_SUITE_P(
    Bounds, ValidateParamTest,
    ::testing::Values(
        // storage names, exact and case-sensitive
        ValidatorCase{paramStorage, "SM", 1}, ValidatorCase{paramStorage, "RC", 1},
        ValidatorCase{paramStorage, "sm", 0}, ValidatorCase{paramStorage, "SR", 0},
        ValidatorCase{paramStorage, "\"SM\"", 0},
        // dial strings: quotes trimmed, then only digits and ",/:+-"
        ValidatorCase{paramDialString, "+4930/123-4,5:6", 1},
        ValidatorCase{paramDialString, "\"+4930\"", 1}, ValidatorCase{paramDialString, "\"\"", 1},
        ValidatorCase{paramDialString, "", 0}, ValidatorCase{paramDialString, "*100#", 0},
        // text: empty or up to 128 characters without the outer quotes
        ValidatorCase{paramText, "", 1}, ValidatorCase{paramText, Repeat('x', 128), 1},
        ValidatorCase{paramText, Repeat('x', 129), 0},
        ValidatorCase{paramText, "\"" + Repeat('x', 128) + "\"", 1},
        // number strings: 1 to 80 of digits, "-", "+"
        ValidatorCase{paramNumberString, "+5", 1}, ValidatorCase{paramNumberString, "1.5", 0},
        ValidatorCase{paramNumberString, Repeat('9', 80), 1},
        ValidatorCase{paramNumberString, Repeat('9', 81), 0},
        ValidatorCase{paramNumberString, "", 0}, ValidatorCase{paramNumberString, "\"\"", 0},
        ValidatorCase{paramNumberString, "\"0123\"", 1},
        ValidatorCase{paramNumberString, "12\xB3", 0},
        // flags
        ValidatorCase{paramFlag, "0", 1}, ValidatorCase{paramFlag, "1", 1},
        ValidatorCase{paramFlag, "2", 0}, ValidatorCase{paramFlag, "01", 0},
        ValidatorCase{paramFlag, "", 0},
        // numbers: 1 to 80 of digits, ".", "-"; quotes are not removed
        ValidatorCase{paramNumber, "1.5", 1}, ValidatorCase{paramNumber, "+5", 0},
        ValidatorCase{paramNumber, "-12", 1}, ValidatorCase{paramNumber, Repeat('1', 80), 1},
        ValidatorCase{paramNumber, Repeat('1', 81), 0}, ValidatorCase{paramNumber, "", 0},
        ValidatorCase{paramNumber, "\"5\"", 0}, ValidatorCase{paramNumber, "1 2", 0},
        // single digits of a range
        ValidatorCase{paramDigit04, "4", 1}, ValidatorCase{paramDigit04, "5", 0},
        ValidatorCase{paramDigit05, "5", 1}, ValidatorCase{paramDigit05, "6", 0},
        ValidatorCase{paramDigit02, "2", 1}, ValidatorCase{paramDigit02, "3", 0},
        ValidatorCase{paramDigit02, "00", 0},
        // address types
        ValidatorCase{paramAddressType, "145", 1}, ValidatorCase{paramAddressType, "129", 1},
        ValidatorCase{paramAddressType, "146", 0}, ValidatorCase{paramAddressType, " 145", 0},
        ValidatorCase{paramAddressType, "161", 0},
        // message statuses, whole words only
        ValidatorCase{paramMessageStatus, "REC UNREAD", 1},
        ValidatorCase{paramMessageStatus, "STO SENT", 1},
        ValidatorCase{paramMessageStatus, "ALL", 1}, ValidatorCase{paramMessageStatus, "REC", 0},
        ValidatorCase{paramMessageStatus, "rec read", 0},
        // codes without a validator refuse everything
        ValidatorCase{paramWholeLine, "x", 0}, ValidatorCase{paramErrorText, "x", 0},
        ValidatorCase{paramPunctuation, "(", 0}, ValidatorCase{paramOmitted, "", 0},
        ValidatorCase{paramNone, "x", 0}, ValidatorCase{99, "1", 0}));

TEST(IsValidHead, TakesOneToSevenCapitalsOrBlanks) {
    const std::pair<std::string, int> cases[] = {
        {"C", 1},     {"CPBR", 1}, {"LOGOINF", 1},  {"EXATDST", 1},
        {"AB CD", 1}, {"", 0},     {"ABCDEFGH", 0}, {"CME ERROR", 0},
        {"Cpbr", 0},  {"CPB1", 0}, {"CPBR:", 0},    {"NO CARRIER", 0},
    };
    for (const auto& [head, valid] : cases) {
        EXPECT_EQ(IsValidHead(head), valid) << "\"" << head << "\"";
    }
}

}  // namespace
}  // namespace velk
