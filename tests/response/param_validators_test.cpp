#include "response/param_validators.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "response/response_grammar.h"

namespace velk {
namespace {

TEST(ValidateParam, AcceptsAndRefusesAtTheBoundsOfEachType) {
    const std::string x128(128, 'x'), nines80(80, '9'), ones80(80, '1');
    struct Row {
        uint32_t type;
        std::vector<std::string> valid, invalid;
    };
    // clang-format off
    const Row rows[] = {
        // storage names, exact and case-sensitive
        {paramStorage, {"SM", "RC"}, {"sm", "SR", "\"SM\""}},
        // dial strings: quotes trimmed, then only digits and ",/:+-"
        {paramDialString, {"+4930/123-4,5:6", "\"+4930\"", "\"\""}, {"", "*100#"}},
        // text: empty or up to 128 characters without the outer quotes
        {paramText, {"", x128, "\"" + x128 + "\""}, {x128 + "x"}},
        // number strings: 1 to 80 of digits, "-", "+"
        {paramNumberString, {"+5", nines80, "\"0123\""},
         {"1.5", nines80 + "9", "", "\"\"", "12\xB3"}},
        {paramFlag, {"0", "1"}, {"2", "01", ""}},
        // numbers: 1 to 80 of digits, ".", "-"; quotes are not removed
        {paramNumber, {"1.5", "-12", ones80}, {"+5", ones80 + "1", "", "\"5\"", "1 2"}},
        {paramDigit04, {"4"}, {"5"}},
        {paramDigit05, {"5"}, {"6"}},
        {paramDigit02, {"2"}, {"3", "00"}},
        {paramAddressType, {"145", "129"}, {"146", " 145", "161"}},
        // message statuses, whole words only
        {paramMessageStatus, {"REC UNREAD", "STO SENT", "ALL"}, {"REC", "rec read"}},
        // codes without a validator refuse everything
        {paramWholeLine, {}, {"x"}}, {paramErrorText, {}, {"x"}}, {paramPunctuation, {}, {"("}},
        {paramOmitted, {}, {""}}, {paramNone, {}, {"x"}}, {99, {}, {"1"}},
    };
    // clang-format on
    for (const Row& row : rows) {
        for (const std::string& text : row.valid) {
            EXPECT_EQ(ValidateParam(text, row.type), 1)
                << "type " << row.type << " \"" << text << '"';
        }
        for (const std::string& text : row.invalid) {
            EXPECT_EQ(ValidateParam(text, row.type), 0)
                << "type " << row.type << " \"" << text << '"';
        }
    }
}

TEST(IsValidHead, TakesOneToSevenCapitalsOrBlanks) {
    const std::pair<std::string, int> cases[] = {
        {"C", 1},     {"CPBR", 1}, {"LOGOINF", 1},  {"EXATDST", 1},
        {"AB CD", 1}, {"", 0},     {"ABCDEFGH", 0}, {"CME ERROR", 0},
        {"Cpbr", 0},  {"CPB1", 0}, {"CPBR:", 0},    {"NO CARRIER", 0},
    };
    for (const auto& [head, valid] : cases) EXPECT_EQ(IsValidHead(head), valid) << head;
}

}  // namespace
}  // namespace velk
