#include "response/response_grammar.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include "posted_errors.h"
#include "response/reply_forms.h"
#include "response/response_matcher.h"

namespace velk {
namespace {

// Every head the phone may send, with its code and what a quoted and an
// unquoted parameter of it may be (type codes, tried left to right; empty:
// no parameter of that form is legal).
struct GrammarCase {
    const char* head;
    uint32_t code;
    const char* quoted;
    const char* plain;
};

const GrammarCase kExpectedRows[] = {
    {"NOHEAD", 0, "2", "5"},
    {"CPAS", 5, "", "5"},
    {"CFUN", 6, "", "5"},
    {"CGMI", 1, "", "11"},
    {"CGMM", 2, "", "11"},
    {"CGMR", 3, "", "11"},
    {"CGSN", 4, "", "11"},
    {"CPIN", 44, "", "2"},
    {"CBC", 8, "", "5"},
    {"CSQ", 9, "", "5"},
    {"CMEE", 7, "", "5"},
    {"CDIS", 10, "3 2", "5"},
    {"CIND", 11, "2", "5"},
    {"CPWD", 12, "2", "5"},
    {"CPBS", 13, "2", "5"},
    {"CPBR", 14, "3 2", "8 5"},
    {"CPBF", 15, "3 2", "8 5"},
    {"CPBW", 16, "", "5"},
    {"CPBD", 17, "2", "5"},
    {"CSMS", 18, "", "4 5"},
    {"CPMS", 24, "2", "5"},
    {"CSCB", 25, "2", "4"},
    {"CSAS", 26, "", "5"},
    {"CRES", 27, "", "5"},
    {"CMGC", 28, "", "5"},
    {"CMGF", 19, "", "5"},
    {"CSCA", 20, "3", "5"},
    {"CSMP", 21, "", "5"},
    {"CSDH", 22, "", "4"},
    {"CNMI", 23, "", "5"},
    {"CMTI", 29, "2", "5"},
    {"CMT", 30, "3 1 2", "5"},
    {"CDS", 31, "1 2", "5"},
    {"CBM", 33, "1 2", "5"},
    {"CBMI", 32, "2", "5"},
    {"CMGLSM", 49, "3 1 2", "8 5"},
    {"CMGLCBM", 50, "2", "5"},
    {"CMGRDELIVER", 34, "3 1 2", "8 5"},
    {"CMGRSUBMIT", 35, "3 2", "8 5"},
    {"CMGRCBM", 36, "2", "5"},
    {"CMGS", 37, "1", "5"},
    {"CMSS", 38, "1", "5"},
    {"CMGW", 39, "", "5"},
    {"CREG", 40, "", "4 5"},
    {"COPS", 41, "3", "5"},
    {"CNUM", 42, "3 2", "5"},
    {"CIMI", 43, "", "5"},
    {"CACM", 45, "3", ""},
    {"CAMM", 46, "3", ""},
    {"CPUC", 47, "3 2", ""},
    {"CSCS", 48, "3 2", ""},
    {"CLCC", 51, "3 2", "4 5"},
    {"CRING", 52, "", "11"},
    {"CCWA", 53, "3 2", "5"},
    {"NO CARRIER", 54, "", "5"},
    {"EXAUDIO", 55, "", "4"},
    {"EXATDST", 56, "", "5"},
    {"EXBAND", 57, "", "5"},
    {"CLCK", 58, "", "4 5"},
    {"CLIP", 59, "", "4 5"},
    {"CLIR", 60, "", "4 5"},
    {"COLP", 61, "", "4 5"},
    {"COLR", 62, "", "4"},
    {"CCFC", 63, "3", "4 5"},
    {"EXATDST", 56, "", "5"},
    {"ACUSET", 65, "", "5"},
    {"CRSL", 66, "", "5"},
    {"CLVL", 67, "", "5"},
    {"CMUT", 68, "", "4"},
    {"EXACCRP", 69, "", "4 5"},
    {"CCLK", 70, "2", ""},
    {"CALA", 71, "", "4"},
    {"EXHTRP", 72, "", "5"},
    {"EXCHRST", 73, "", "4 5"},
    {"EXBATRP", 74, "1", "4 5"},
    {"VGR", 75, "", "5"},
    {"CRSL", 66, "", "5"},
    {"CHLD", 76, "", "5"},
    {"CAOC", 64, "2", ""},
    {"RNGI", 77, "2", "5"},
    {"RNGR", 78, "2", "2"},
    {"IMGINF", 79, "2", "5"},
    {"IMGR", 80, "2 3", "2"},
    {"LOGOINF", 81, "2", "5"},
    {"LOGOR", 82, "2", "2"},
};

std::vector<uint32_t> Types(const char* list) {
    std::vector<uint32_t> types;
    std::istringstream in(list);
    for (uint32_t t = 0; in >> t;) types.push_back(t);
    return types;
}

std::vector<uint32_t> Signature(uint32_t count, const uint32_t* types) {
    return std::vector<uint32_t>(types, types + count);
}

// The head a line carries to reach a row, and the message forms it needs.
struct Reach {
    std::string sent;
    uint32_t listForm = 0;
    uint32_t readForm = 0;
};

Reach ReachOf(const std::string& row) {
    if (row == "CMGLSM") return {"CMGL", 0, 0};
    if (row == "CMGLCBM") return {"CMGL", 1, 0};
    if (row == "CMGRDELIVER") return {"CMGR", 0, 0};
    if (row == "CMGRSUBMIT") return {"CMGR", 0, 1};
    if (row == "CMGRCBM") return {"CMGR", 0, 2};
    return {row};
}

// A sample value for each type, and every type that sample also fits, so the
// test can tell which entry of a signature must take it.
struct Sample {
    uint32_t type;
    const char* text;
    std::vector<uint32_t> fits;
};
const Sample kQuotedSamples[] = {
    {paramDialString, "12/34", {paramDialString, paramText}},
    {paramText, "Hello", {paramText}},
    {paramNumberString, "+5", {paramDialString, paramText, paramNumberString}},
};
const Sample kPlainSamples[] = {
    {paramText, "abc", {paramText}},
    {paramFlag, "1", {paramText, paramFlag, paramNumber}},
    {paramNumber, "12.5", {paramText, paramNumber}},
    {paramAddressType, "145", {paramText, paramNumber, paramAddressType}},
};

uint32_t FirstFitting(const std::vector<uint32_t>& signature, const std::vector<uint32_t>& fits) {
    for (uint32_t t : signature) {
        for (uint32_t f : fits) {
            if (t == f) return t;
        }
    }
    return paramNone;
}

class GrammarRowTest : public ::testing::TestWithParam<std::size_t> {
  protected:
    void TearDown() override {
        messageListForm = 0;
        messageReadForm = 0;
    }

    // Classifies `+<head>: <param>` as a line from the idle phone.
    const ATResponseRecord& Classify(const std::string& param) {
        const GrammarCase& expected = kExpectedRows[GetParam()];
        const Reach reach = ReachOf(expected.head);
        messageListForm = reach.listForm;
        messageReadForm = reach.readForm;
        line_ = "+" + reach.sent + ": " + param + "\r\n";
        head_ = matcher_.MatchUnsolicited(line_);
        return matcher_.current;
    }

    CATResponseMatcher matcher_;
    testing::PostedErrors errors_;
    std::string line_;
    std::string head_;
};

TEST_P(GrammarRowTest, RowStandsInItsPlace) {
    const GrammarCase& expected = kExpectedRows[GetParam()];
    const ResponseGrammarRow& row = responseGrammarTable[GetParam()];
    EXPECT_STREQ(row.head, expected.head);
    EXPECT_EQ(row.responseCode, expected.code);
    EXPECT_EQ(Signature(row.quotedCount, row.quotedTypes), Types(expected.quoted));
    EXPECT_EQ(Signature(row.plainCount, row.plainTypes), Types(expected.plain));
    // A head that stands twice is found at its first row.
    std::size_t first = 0;
    while (std::string_view(responseGrammarTable[first].head) != expected.head) ++first;
    EXPECT_EQ(FindGrammarRow(expected.head), &responseGrammarTable[first]);
}

TEST_P(GrammarRowTest, AcceptsItsSignaturesAndRefusesTheRest) {
    const GrammarCase& expected = kExpectedRows[GetParam()];
    const std::vector<uint32_t> quoted = Types(expected.quoted);
    const std::vector<uint32_t> plain = Types(expected.plain);
    if (std::string(expected.head) == "NO CARRIER") {
        // Too long a head to be looked up: no line reaches this row.
        EXPECT_EQ(Classify("1").kind, kindNone);
        return;
    }
    if (!plain.empty() && plain[0] == paramWholeLine) {
        const ATResponseRecord& r = Classify(std::string(129, 'x'));
        EXPECT_EQ(r.responseCode, expected.code);
        EXPECT_EQ(r.firstParam.type, paramWholeLine);
        EXPECT_EQ(r.firstParam.text, line_);
        EXPECT_EQ(r.allLegal, 1u);
        return;
    }
    auto accepts = [&](const Sample& s, const std::vector<uint32_t>& signature, bool inQuotes) {
        if (std::find(signature.begin(), signature.end(), s.type) == signature.end()) return;
        SCOPED_TRACE(s.text);
        const ATResponseRecord& r = Classify(inQuotes ? "\"" + std::string(s.text) + "\"" : s.text);
        EXPECT_EQ(head_, "+" + ReachOf(expected.head).sent);
        EXPECT_EQ(r.responseCode, expected.code);
        EXPECT_EQ(r.allLegal, 1u);
        EXPECT_EQ(r.firstParam.type, FirstFitting(signature, s.fits));
    };
    for (const Sample& s : kQuotedSamples) accepts(s, quoted, true);
    for (const Sample& s : kPlainSamples) accepts(s, plain, false);
    EXPECT_TRUE(errors_.Take().empty());

    std::vector<std::string> refused = {"\"" + std::string(129, 'x') + "\"", std::string(129, 'x')};
    // A form with no entry refuses even a value every type would take.
    if (quoted.empty()) refused.push_back("\"1\"");
    if (plain.empty()) refused.push_back("1");
    for (const std::string& param : refused) {
        SCOPED_TRACE(param);
        const ATResponseRecord& r = Classify(param);
        EXPECT_EQ(r.kind, kindHeadLine);
        EXPECT_EQ(r.allLegal, 0u);
        EXPECT_EQ(r.firstParam.legal, 0u);
        EXPECT_EQ(r.firstParam.type, paramNone);
        EXPECT_EQ(head_, "");
        EXPECT_EQ(errors_.Take().size(), 1u);
    }
}

INSTANTIATE_TEST_SUITE_P(AllRows, GrammarRowTest,
                         ::testing::Range<std::size_t>(0, std::size(kExpectedRows)),
                         [](const ::testing::TestParamInfo<std::size_t>& info) {
                             std::string name = "row" + std::to_string(info.param) + "_" +
                                                kExpectedRows[info.param].head;
                             for (char& c : name) {
                                 if (c == ' ') c = '_';
                             }
                             return name;
                         });

TEST(ResponseGrammar, HasEightyFiveRowsAndNoOthers) {
    static_assert(std::size(kExpectedRows) == kGrammarRowCount);
    EXPECT_EQ(FindGrammarRow("CMGL"), nullptr);
    EXPECT_EQ(FindGrammarRow("CMGR"), nullptr);
    EXPECT_EQ(FindGrammarRow("cpbr"), nullptr);
    EXPECT_EQ(FindGrammarRow(""), nullptr);
}

}  // namespace
}  // namespace velk
