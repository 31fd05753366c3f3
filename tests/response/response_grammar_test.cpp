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

// Every head the phone may send, in table order, with its code and what a
// quoted and an unquoted parameter of it may be (type codes, tried left to
// right; empty: no parameter of that form is legal).
struct GrammarCase {
    const char* head;
    uint32_t code;
    const char* quoted;
    const char* plain;
};

// clang-format off
const GrammarCase kExpectedRows[] = {
    {"NOHEAD", 0, "2", "5"}, {"CPAS", 5, "", "5"}, {"CFUN", 6, "", "5"}, {"CGMI", 1, "", "11"},
    {"CGMM", 2, "", "11"}, {"CGMR", 3, "", "11"}, {"CGSN", 4, "", "11"}, {"CPIN", 44, "", "2"},
    {"CBC", 8, "", "5"}, {"CSQ", 9, "", "5"}, {"CMEE", 7, "", "5"}, {"CDIS", 10, "3 2", "5"},
    {"CIND", 11, "2", "5"}, {"CPWD", 12, "2", "5"}, {"CPBS", 13, "2", "5"},
    {"CPBR", 14, "3 2", "8 5"}, {"CPBF", 15, "3 2", "8 5"}, {"CPBW", 16, "", "5"},
    {"CPBD", 17, "2", "5"}, {"CSMS", 18, "", "4 5"}, {"CPMS", 24, "2", "5"}, {"CSCB", 25, "2", "4"},
    {"CSAS", 26, "", "5"}, {"CRES", 27, "", "5"}, {"CMGC", 28, "", "5"}, {"CMGF", 19, "", "5"},
    {"CSCA", 20, "3", "5"}, {"CSMP", 21, "", "5"}, {"CSDH", 22, "", "4"}, {"CNMI", 23, "", "5"},
    {"CMTI", 29, "2", "5"}, {"CMT", 30, "3 1 2", "5"}, {"CDS", 31, "1 2", "5"},
    {"CBM", 33, "1 2", "5"}, {"CBMI", 32, "2", "5"}, {"CMGLSM", 49, "3 1 2", "8 5"},
    {"CMGLCBM", 50, "2", "5"}, {"CMGRDELIVER", 34, "3 1 2", "8 5"},
    {"CMGRSUBMIT", 35, "3 2", "8 5"}, {"CMGRCBM", 36, "2", "5"}, {"CMGS", 37, "1", "5"},
    {"CMSS", 38, "1", "5"}, {"CMGW", 39, "", "5"}, {"CREG", 40, "", "4 5"}, {"COPS", 41, "3", "5"},
    {"CNUM", 42, "3 2", "5"}, {"CIMI", 43, "", "5"}, {"CACM", 45, "3", ""}, {"CAMM", 46, "3", ""},
    {"CPUC", 47, "3 2", ""}, {"CSCS", 48, "3 2", ""}, {"CLCC", 51, "3 2", "4 5"},
    {"CRING", 52, "", "11"}, {"CCWA", 53, "3 2", "5"}, {"NO CARRIER", 54, "", "5"},
    {"EXAUDIO", 55, "", "4"}, {"EXATDST", 56, "", "5"}, {"EXBAND", 57, "", "5"},
    {"CLCK", 58, "", "4 5"}, {"CLIP", 59, "", "4 5"}, {"CLIR", 60, "", "4 5"},
    {"COLP", 61, "", "4 5"}, {"COLR", 62, "", "4"}, {"CCFC", 63, "3", "4 5"},
    {"EXATDST", 56, "", "5"}, {"ACUSET", 65, "", "5"}, {"CRSL", 66, "", "5"}, {"CLVL", 67, "", "5"},
    {"CMUT", 68, "", "4"}, {"EXACCRP", 69, "", "4 5"}, {"CCLK", 70, "2", ""}, {"CALA", 71, "", "4"},
    {"EXHTRP", 72, "", "5"}, {"EXCHRST", 73, "", "4 5"}, {"EXBATRP", 74, "1", "4 5"},
    {"VGR", 75, "", "5"}, {"CRSL", 66, "", "5"}, {"CHLD", 76, "", "5"}, {"CAOC", 64, "2", ""},
    {"RNGI", 77, "2", "5"}, {"RNGR", 78, "2", "2"}, {"IMGINF", 79, "2", "5"},
    {"IMGR", 80, "2 3", "2"}, {"LOGOINF", 81, "2", "5"}, {"LOGOR", 82, "2", "2"},
};
// clang-format on
static_assert(std::size(kExpectedRows) == kGrammarRowCount);

std::vector<uint32_t> Types(const char* list) {
    std::vector<uint32_t> types;
    std::istringstream in(list);
    for (uint32_t t = 0; in >> t;) types.push_back(t);
    return types;
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

// NOLINTNEXTLINE(bugprone-easily-swappable-parameters): the row's types, then those a value fits
uint32_t FirstFitting(const std::vector<uint32_t>& signature, const std::vector<uint32_t>& fits) {
    for (uint32_t t : signature) {
        if (std::find(fits.begin(), fits.end(), t) != fits.end()) return t;
    }
    return paramNone;
}

class Grammar : public ::testing::Test {
  protected:
    void TearDown() override { messageListForm = messageReadForm = 0; }

    // Classifies `+<head>: <param>` as a line from the idle phone; the
    // message heads are reached through their selectors.
    // NOLINTNEXTLINE(bugprone-easily-swappable-parameters): head, then parameter text
    const ATResponseRecord& Classify(const std::string& head, const std::string& param) {
        const std::string sent = head.starts_with("CMGL")   ? "CMGL"
                                 : head.starts_with("CMGR") ? "CMGR"
                                                            : head;
        messageListForm = head == "CMGLCBM";
        messageReadForm = head == "CMGRSUBMIT" ? 1 : head == "CMGRCBM" ? 2 : 0;
        line_ = "+" + sent + ": " + param + "\r\n";
        head_ = matcher_.MatchUnsolicited(line_);
        EXPECT_TRUE(head_.empty() || head_ == "+" + sent) << head_;
        return matcher_.current;
    }

    CATResponseMatcher matcher_;
    testing::PostedErrors errors_;
    std::string line_;
    std::string head_;
};

TEST_F(Grammar, EveryRowStandsInItsPlaceAndIsFoundByItsHead) {
    for (std::size_t i = 0; i < kGrammarRowCount; ++i) {
        const GrammarCase& expected = kExpectedRows[i];
        const ResponseGrammarRow& row = responseGrammarTable[i];
        SCOPED_TRACE(expected.head);
        EXPECT_STREQ(row.head, expected.head);
        EXPECT_EQ(row.responseCode, expected.code);
        EXPECT_EQ(std::vector<uint32_t>(row.quotedTypes, row.quotedTypes + row.quotedCount),
                  Types(expected.quoted));
        EXPECT_EQ(std::vector<uint32_t>(row.plainTypes, row.plainTypes + row.plainCount),
                  Types(expected.plain));
        // A head that stands twice is found at its first row.
        std::size_t first = 0;
        while (std::string_view(kExpectedRows[first].head) != expected.head) ++first;
        EXPECT_EQ(FindGrammarRow(expected.head), &responseGrammarTable[first]);
    }
    for (const char* head : {"CMGL", "CMGR", "cpbr", ""}) EXPECT_EQ(FindGrammarRow(head), nullptr);
}

TEST_F(Grammar, EveryRowAcceptsItsSignaturesAndRefusesTheRest) {
    for (const GrammarCase& expected : kExpectedRows) {
        SCOPED_TRACE(expected.head);
        const std::vector<uint32_t> quoted = Types(expected.quoted);
        const std::vector<uint32_t> plain = Types(expected.plain);
        if (std::string_view(expected.head) == "NO CARRIER") {
            // Too long a head to be looked up: no line reaches this row.
            EXPECT_EQ(Classify(expected.head, "1").kind, kindNone);
            continue;
        }
        if (!plain.empty() && plain[0] == paramWholeLine) {
            const ATResponseRecord& r = Classify(expected.head, std::string(129, 'x'));
            EXPECT_EQ(r.responseCode, expected.code);
            EXPECT_EQ(r.firstParam.type, paramWholeLine);
            EXPECT_EQ(r.firstParam.text, line_);
            EXPECT_EQ(r.allLegal, 1u);
            continue;
        }
        const auto accepts = [&](const Sample& s, const std::vector<uint32_t>& types, bool quotes) {
            if (std::find(types.begin(), types.end(), s.type) == types.end()) return;
            const std::string text = quotes ? "\"" + std::string(s.text) + "\"" : s.text;
            const ATResponseRecord& r = Classify(expected.head, text);
            EXPECT_FALSE(head_.empty()) << text;
            EXPECT_EQ(r.responseCode, expected.code) << text;
            EXPECT_EQ(r.allLegal, 1u) << text;
            EXPECT_EQ(r.firstParam.type, FirstFitting(types, s.fits)) << text;
        };
        for (const Sample& s : kQuotedSamples) accepts(s, quoted, true);
        for (const Sample& s : kPlainSamples) accepts(s, plain, false);
        EXPECT_TRUE(errors_.Take().empty());

        std::vector<std::string> refused = {"\"" + std::string(129, 'x') + "\"",
                                            std::string(129, 'x')};
        // A form with no entry refuses even a value every type would take.
        if (quoted.empty()) refused.push_back("\"1\"");
        if (plain.empty()) refused.push_back("1");
        for (const std::string& param : refused) {
            const ATResponseRecord& r = Classify(expected.head, param);
            EXPECT_EQ(r.kind, kindHeadLine) << param;
            EXPECT_EQ(r.allLegal, 0u) << param;
            EXPECT_EQ(r.firstParam.legal, 0u) << param;
            EXPECT_EQ(r.firstParam.type, paramNone) << param;
            EXPECT_EQ(head_, "") << param;
            EXPECT_EQ(errors_.Take().size(), 1u) << param;
        }
    }
}

}  // namespace
}  // namespace velk
