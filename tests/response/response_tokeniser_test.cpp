#include "response/response_tokeniser.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

namespace velk {
namespace {

// The rules of NormaliseParameters, one byte at a time: the text up to its
// first CR or LF; each piece between the marks , - ( ) without blanks at
// either end; a comma kept as it is; a run of one of - ( ) kept once; a CR
// at the end. The walk of the parameters relies on every byte of it.
std::string Reference(const std::string& text) {
    const std::string work = text.substr(0, text.find_first_of("\r\n"));
    const std::string blanks = " \t\n\v\f\r";
    std::string out;
    std::string piece;
    const auto flush = [&] {
        const std::size_t first = piece.find_first_not_of(blanks);
        if (first != std::string::npos) {
            out += piece.substr(first, piece.find_last_not_of(blanks) - first + 1);
        }
        piece.clear();
    };
    for (std::size_t i = 0; i < work.size(); ++i) {
        const char c = work[i];
        if (c != ',' && c != '-' && c != '(' && c != ')') {
            piece += c;
            continue;
        }
        flush();
        out += c;
        while (c != ',' && i + 1 < work.size() && work[i + 1] == c) ++i;
    }
    flush();
    return out + '\r';
}

// Short lines dense with marks, and long ones where a mark or a blank is rare
// (long values are passed over eight bytes at a time).
TEST(NormaliseParameters, AgreesWithItsRulesOnRandomLines) {
    struct Mix {
        std::string alphabet;
        std::size_t longest;
    };
    const Mix mixes[] = {{",,--(())  \t\"\"ab19\r\n\xE9", 24},
                         {std::string(",-() \t\"\r\n") + std::string(150, 'F') +
                              "\xE9\x7F"
                              "09",
                          80}};
    std::mt19937 random(20261123);
    for (const Mix& mix : mixes) {
        for (int round = 0; round < 20000; ++round) {
            std::string text;
            for (std::size_t i = random() % mix.longest; i > 0; --i)
                text += mix.alphabet[random() % mix.alphabet.size()];
            ASSERT_EQ(NormaliseParameters(text), Reference(text)) << "text: [" << text << "]";
        }
    }
}

// A row whose quoted values are texts and whose plain values are numbers,
// and one that refuses every quoted value.
constexpr ResponseGrammarRow kTextAndNumberRow = {
    "TEST", 1, 1, {paramText, 15, 15, 15}, 1, {paramNumber, 15, 15, 15}};
constexpr ResponseGrammarRow kNumbersOnlyRow = {"TEST",           2, 0,
                                                {15, 15, 15, 15}, 1, {paramNumber, 15, 15, 15}};

// Each node as "<type>:<text>", with "!" in front when it is illegal.
std::vector<std::string> Nodes(const ATResponseRecord& record) {
    std::vector<std::string> out;
    for (const ATResponseParam* p = &record.firstParam; p != nullptr; p = p->next) {
        out.push_back((p->legal ? "" : "!") + std::to_string(p->type) + ":" + p->text);
    }
    return out;
}

TEST(WalkParameters, CutsIntoTypedNodes) {
    struct Row {
        const char* rest;
        std::vector<std::string> nodes;
        uint32_t allLegal;
        const ResponseGrammarRow& row = kTextAndNumberRow;
    };
    // clang-format off
    const Row rows[] = {
        {"1,,2\r\n", {"5:1", "14:", "5:2"}, 1},
        {"1,\r\n", {"5:1", "14:"}, 1},
        {",1\r\n", {"14:", "5:1"}, 1},
        {"(1-5),(0,1)\r\n",
         {"13:(", "5:1", "13:-", "5:5", "13:)", "13:(", "5:0", "5:1", "13:)"}, 1},
        {"5)\r\n", {"5:5", "13:)"}, 1},
        {"\"abc\r\n", {"2:abc\r"}, 1},  // an unclosed quote takes the CR
        {"\"\",7\r\n", {"2:", "5:7"}, 1},
        {" 18 , \"Mama GSM\" ,99 \r\n", {"5:18", "2:Mama GSM", "5:99"}, 1},
        {"-1\r\n", {"13:-", "5:1"}, 1},
        {"1,x,3\r\n", {"5:1", "!15:x", "5:3"}, 0},
        {"\r\n", {"15:"}, 1},
        {"", {"15:"}, 1},
        {"16,\"\",,\"0053\",,\r\n", {"5:16", "2:", "14:", "2:0053", "14:"}, 1},
        // A quoted value in a row without quoted types stays, but is illegal.
        {"\"SM\",3\r\n", {"!15:SM", "5:3"}, 0, kNumbersOnlyRow},
    };
    // clang-format on
    for (const Row& row : rows) {
        ATResponseRecord record;
        WalkParameters(row.rest, record, row.row);
        EXPECT_EQ(Nodes(record), row.nodes) << "\"" << row.rest << "\"";
        EXPECT_EQ(record.allLegal, row.allLegal) << "\"" << row.rest << "\"";
    }
}

TEST(WalkParameters, KeepsWhereEachValueStartsAndEnds) {
    ATResponseRecord record;
    WalkParameters("12,\"\",\"ab\"\r\n", record, kTextAndNumberRow);
    std::vector<std::pair<uint32_t, int32_t>> places;
    for (const ATResponseParam* p = &record.firstParam; p != nullptr; p = p->next) {
        places.emplace_back(p->start, p->lastIndex);
    }
    EXPECT_EQ(places, (std::vector<std::pair<uint32_t, int32_t>>{{0, 1}, {3, -1}, {6, 1}}));
}

TEST(WalkParameters, ManyParametersMakeOneNodeEach) {
    std::string rest;
    for (int i = 0; i < 5000; ++i) rest += "1,";
    ATResponseRecord record;
    WalkParameters(rest + "1\r\n", record, kTextAndNumberRow);
    EXPECT_EQ(Nodes(record).size(), 5001u);
    EXPECT_EQ(record.allLegal, 1u);
}

}  // namespace
}  // namespace velk
