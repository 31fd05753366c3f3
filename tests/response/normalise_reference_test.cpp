// NormaliseParameters against a plain reading of its rules, on many lines
// made of the bytes that matter to it: the walk of the parameters relies on
// every byte of its output.
#include <gtest/gtest.h>

#include <random>
#include <string>

#include "response/response_tokeniser.h"

namespace velk {
namespace {

// The rules, one byte at a time: the text up to its first CR or LF; each
// piece between the marks , - ( ) without blanks at either end; a comma
// kept as it is; a run of one of - ( ) kept once; a CR at the end.
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
        if (c != ',') {
            while (i + 1 < work.size() && work[i + 1] == c) ++i;
        }
    }
    flush();
    return out + '\r';
}

TEST(NormaliseReference, AgreesOnRandomLinesOfTheMarks) {
    const std::string alphabet = ",,--(())  \t\"\"ab19\r\n\xE9";
    std::mt19937 random(20261123);
    for (int round = 0; round < 20000; ++round) {
        std::string text;
        const std::size_t length = random() % 24;
        for (std::size_t i = 0; i < length; ++i) text += alphabet[random() % alphabet.size()];
        ASSERT_EQ(NormaliseParameters(text), Reference(text)) << "text: [" << text << "]";
    }
}

}  // namespace
}  // namespace velk
