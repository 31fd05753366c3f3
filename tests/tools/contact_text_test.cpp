// The conversions of the contact subcommands, where a hostile phone or a
// foreign vCard file meets them: UCS2 fields as a phone may garble them,
// UTF-8 as a user may type it, and vCards as address books write them.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "velkport/ucs2_text.h"
#include "velkport/vcard_text.h"

namespace velk::cli {
namespace {

const std::string kReplacement = "\xEF\xBF\xBD";  // U+FFFD

struct Ucs2Case {
    const char* hex;
    std::string utf8;
};

TEST(ContactText, Ucs2FromThePhoneReadsAsUtf8AndBrokenGroupsAsReplacement) {
    const Ucs2Case cases[] = {
        {"", ""},
        {"005A006F00EB", "Zoë"},
        {"6771004E", "東N"},
        {"D83CDF89", "\xF0\x9F\x8E\x89"},  // U+1F389 as a surrogate pair
        {"d83cdf89", "\xF0\x9F\x8E\x89"},  // digits in small letters
        {"D83C", kReplacement},            // a high half at the end
        {"DF890041", kReplacement + "A"},  // a low half alone
        {"D83C0041", kReplacement + "A"},  // a high half before no low one
        {"D83CD83CDF89", kReplacement + "\xF0\x9F\x8E\x89"},
        {"00G10041", kReplacement + "A"},  // no hexadecimal digit
        {"0041004", "A" + kReplacement},   // a group cut short
        {"0", kReplacement},
        {"FFFF", "\xEF\xBF\xBF"},
    };
    for (const Ucs2Case& c : cases) {
        EXPECT_EQ(Ucs2ToUtf8(c.hex), c.utf8) << c.hex;
    }
}

struct Utf8Case {
    std::string utf8;
    const char* hex;
    std::size_t units;
};

TEST(ContactText, Utf8GoesToThePhoneAsUcs2AndBrokenSequencesAsReplacement) {
    const Utf8Case cases[] = {
        {"Zoë Ångström 東京", "005A006F00EB002000C5006E006700730074007200F6006D002067714EAC", 15},
        {"\xF0\x9F\x8E\x89", "D83CDF89", 2},
        {"\xF4\x8F\xBF\xBF", "DBFFDFFF", 2},          // the last code point
        {"\xC3", "FFFD", 1},                          // cut short
        {"\xC0\xAF", "FFFDFFFD", 2},                  // overlong "/"
        {"\xE0\x80\xAF", "FFFDFFFDFFFD", 3},          // overlong "/"
        {"\xED\xA0\x80", "FFFDFFFDFFFD", 3},          // an encoded surrogate
        {"\xF4\x90\x80\x80", "FFFDFFFDFFFDFFFD", 4},  // beyond U+10FFFF
        {"a\x80z", "0061FFFD007A", 3},                // a stray continuation byte
    };
    for (const Utf8Case& c : cases) {
        EXPECT_EQ(Utf8ToUcs2(c.utf8), c.hex) << c.hex;
        EXPECT_EQ(Utf16Units(c.utf8), c.units) << c.hex;
        if (std::string(c.hex).find("FFFD") == std::string::npos) {
            EXPECT_EQ(Ucs2ToUtf8(c.hex), c.utf8) << c.hex;
        }
    }
}

TEST(ContactText, IraKeepsPrintableAsciiOnlyAndJsonEscapesWhatItMust) {
    EXPECT_EQ(IraToUtf8("A\x80"
                        "B\x01~"),
              "A" + kReplacement + "B" + kReplacement + "~");
    EXPECT_TRUE(FitsIra("Anna Weber, Jr."));
    EXPECT_FALSE(FitsIra("Zoë"));
    EXPECT_FALSE(FitsIra("tab\there"));
    EXPECT_EQ(JsonUtf8(std::string("a\"b\\c\x01\x7F") + "ë" + '\0'),
              "\"a\\\"b\\\\c\\u0001\\u007fë\\u0000\"");
}

// Every physical line of a vCard ends with CR LF, holds at most 75 bytes,
// and is cut only between UTF-8 characters.
void ExpectWellFolded(const std::string& text) {
    std::size_t start = 0;
    while (start < text.size()) {
        const std::size_t end = text.find("\r\n", start);
        ASSERT_NE(end, std::string::npos) << "a line without CR LF";
        const std::string line = text.substr(start, end - start);
        EXPECT_LE(line.size(), 75U) << line;
        EXPECT_EQ(Ucs2ToUtf8(Utf8ToUcs2(line)), line) << "a character cut: " << line;
        EXPECT_EQ(line.find('\n'), std::string::npos);
        start = end + 2;
    }
}

TEST(ContactText, VcardsReadBackAsWritten) {
    std::string longName;
    for (int i = 0; i < 30; ++i) longName += "Zoë東\xF0\x9F\x8E\x89";
    const std::vector<CardEntry> entries = {
        {"Anna Weber", "+49305550001"},
        {"Zoë Ångström 東京", "0172555"},
        {"Weber, Anna; Dr. \\ II", "*#31#"},
        {"Madonna", "112"},
        {"", "+1"},
        {"a\nb", "1"},
        {longName, "+4930555000000000000000000000000000000000000000000000000000000000001"},
    };
    const std::string text = WriteVcards(entries);
    ExpectWellFolded(text);
    const CardRead read = ReadVcards(text);
    ASSERT_EQ(read.problem, "");
    ASSERT_EQ(read.entries.size(), entries.size());
    for (std::size_t i = 0; i < entries.size(); ++i) {
        EXPECT_EQ(read.entries[i].name, entries[i].name) << i;
        EXPECT_EQ(read.entries[i].number, entries[i].number) << i;
    }
    EXPECT_NE(text.find("N:Weber;Anna;;;\r\n"), std::string::npos);
    EXPECT_NE(text.find("FN:Weber\\, Anna\\; Dr. \\\\ II\r\n"), std::string::npos);
}

struct ReadCase {
    const char* what;
    std::string text;
    std::vector<CardEntry> entries;
    const char* problem;  // a part of the sentence; empty: read
};

TEST(ContactText, VcardsOfAddressBooksAndBrokenFiles) {
    const ReadCase cases[] = {
        {"line feeds only, names in small letters, folded with a tab",
         "begin:vcard\nversion:3.0\nfn:Anna \n\tWeber\ntel:+49 30 555-0001\nend:vcard\n",
         {{"Anna Weber", "+49305550001"}},
         ""},
        {"a group, a preferred number second, N without FN, text around the cards",
         "junk\r\nBEGIN:VCARD\r\nN:Weber;Anna;;;\r\nitem1.TEL;TYPE=HOME:(030) 1\r\n"
         "TEL;TYPE=CELL,PREF:0172\r\nEND:VCARD\r\ntrailer\r\n",
         {{"Anna Weber", "0172"}},
         ""},
        {"a colon inside a quoted parameter",
         "BEGIN:VCARD\r\nFN;X-A=\"a:b\":Ann\r\nTEL:1\r\nEND:VCARD\r\n",
         {{"Ann", "1"}},
         ""},
        {"two cards",
         "BEGIN:VCARD\nFN:A\nTEL:1\nEND:VCARD\nBEGIN:VCARD\nFN:B\nTEL:2\nEND:VCARD",
         {{"A", "1"}, {"B", "2"}},
         ""},
        {"no card", "FN:A\nTEL:1\n", {}, "holds no vCard"},
        {"an empty file", "", {}, "holds no vCard"},
        {"no end", "BEGIN:VCARD\nFN:A\nTEL:1\n", {}, "card 1 (A) has no END:VCARD"},
        {"a card inside a card",
         "BEGIN:VCARD\nFN:A\nBEGIN:VCARD\nTEL:1\nEND:VCARD\n",
         {},
         "card 1 (A) begins before its END:VCARD"},
        {"no number", "BEGIN:VCARD\nFN:A\nEND:VCARD\n", {}, "card 1 (A) has no telephone number"},
        {"an empty number",
         "BEGIN:VCARD\nFN:A\nTEL;TYPE=CELL:\nEND:VCARD\n",
         {},
         "has no telephone number"},
    };
    for (const ReadCase& c : cases) {
        const CardRead read = ReadVcards(c.text);
        if (std::string(c.problem).empty()) {
            EXPECT_EQ(read.problem, "") << c.what;
        } else {
            EXPECT_NE(read.problem.find(c.problem), std::string::npos)
                << c.what << ": " << read.problem;
            continue;
        }
        ASSERT_EQ(read.entries.size(), c.entries.size()) << c.what;
        for (std::size_t i = 0; i < c.entries.size(); ++i) {
            EXPECT_EQ(read.entries[i].name, c.entries[i].name) << c.what;
            EXPECT_EQ(read.entries[i].number, c.entries[i].number) << c.what;
        }
    }
}

}  // namespace
}  // namespace velk::cli
