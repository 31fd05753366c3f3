#include "response/response_matcher.h"

#include <gtest/gtest.h>

#include <iterator>
#include <random>
#include <string>
#include <vector>

#include "decode/corpus_records.h"
#include "engine/command_table.h"
#include "response/response_grammar.h"

namespace velk {
namespace {

using Reports = std::vector<std::string>;

std::vector<std::string> Nodes(const ATResponseRecord& record) {
    std::vector<std::string> nodes;
    for (const ATResponseParam* p = &record.firstParam; p != nullptr; p = p->next) {
        nodes.push_back(p->text);
    }
    return nodes;
}

// The reply heads the worker gives a command: those of the row that sends
// its text, found as the corpus tests find it.
ReplyHeads Heads(std::string_view command) {
    const std::optional<int32_t> id = corpus::CommandIdFor(command);
    const CommandRow* row = id ? FindCommandRow(*id) : nullptr;
    return row != nullptr ? row->heads : ReplyHeads::kOwnHead;
}

ClassifiedLine Match(std::string_view command, std::string line, ATResponseRecord& record) {
    return MatchSolicited(command, Heads(command), std::move(line), {}, record);
}

const std::string kNoRowForXyz = "Can't find the matched response code for +XYZ: 1\r!";

TEST(MatchSolicited, EveryKindOfLine) {
    struct Case {
        const char* name;
        const char* command;  // as the transmit path left it: in capitals
        std::string line;     // with its CR LF
        LineRole role;
        uint32_t kind;
        Reports reports;
        std::string head = "";
    };
    using enum LineRole;
    // clang-format off
    const Case cases[] = {
        {"EchoInSmallLettersIsNoEcho", "AT+CPBS=\"SM\"", "at+cpbs=\"sm\"\r\n",
            kInformation, kindPlainText, {}},
        {"Echo", "AT+CPBS=\"SM\"", "AT+CPBS=\"SM\"\r\n", kNothing, kindNone, {}},
        {"Ok", "AT+RNGI", "OK\r\n", kOk, kindOk, {}},
        {"OkToTheOpening", "AT", "OK\r\n", kOk, kindOk, {}},
        {"Error", "AT+CGMR", "ERROR\r\n", kError, kindError, {"ERROR"}},
        {"RingDuringACommand", "AT+CPBR=1", "RING\r\n", kNothing, kindNone, {}},
        {"ConnectDuringAQuery", "AT+RNGI", "CONNECT\r\n", kNothing, kindNone, {}},
        {"CmeErrorWithQuotedDetail", "AT+CSCA?", "+CME ERROR: \"SIM not inserted\"\r\n",
            kError, kindError, {"SIM not inserted"}},
        {"ShortCmeForm", "AT+RNGI", "+CME: 10\r\n", kError, kindError, {"10"}},
        {"ErrorTextInsideAPlainLine", "AT+CGMI", "Vendor +CME: 3\r\n", kError, kindError, {"3"}},
        {"HeadWithoutPlusRepaired", "AT+CGMI", "CGMI: WAVECOM\r\n", kInformation, kindHeadLine, {}},
        {"FixedHeadQueryAnswered", "AT+RNGI", "+RNGI: 3,\"tones\"\r\n", kInformation, kindHeadLine, {}},
        {"FixedHeadQueryRefusesOtherHead", "AT+RNGI", "+CMTI: \"SM\",1\r\n",
            kNothing, kindHeadLine, {"Response head error for \"+CMTI: \"SM\",1\r\"!"}},
        {"FixedHeadQueryRefusesPlainText", "AT+IMGINF", "Nokia\r\n",
            kNothing, kindPlainText, {"Response head error for \"Nokia\r\"!"}},
        {"FixedHeadQueryRefusesUnknownHead", "AT+RNGI", "+XYZ: 1\r\n",
            kNothing, kindNone, {kNoRowForXyz, "Response head error for \"+XYZ: 1\r\"!"}},
        {"DataReadRefusesPlainText", "AT+RNGR=3", "0A0B0C\r\n",
            kNothing, kindPlainText, {"RESPONSE head error for \"0A0B0C\r\"!"}},
        {"DataReadRefusesOtherHead", "AT+IMGR=2", "+RNGR: \"x\",\"0A\"\r\n",
            kNothing, kindHeadLine, {"Response head error for \"+RNGR: \"x\",\"0A\"\r\"!"}},
        {"DataReadAnswered", "AT+RNGR=2", "+RNGR: \"x\",\"0A0B\"\r\n", kInformation, kindHeadLine, {}},
        {"OpeningRefusesAnyLine", "AT", "+CMTI: \"ME\",1\r\n",
            kNothing, kindHeadLine, {"Response error for \"+CMTI: \"ME\",1\r\"!"}},
        {"EchoOffRefusesPlainText", "ATE0", "hello\r\n",
            kNothing, kindPlainText, {"Response error for \"hello\r\"!"}},
        {"IllegalParameter", "AT+CSQ", "+CSQ: 18,x9\r\n",
            kNothing, kindHeadLine, {"There is some inlegal parameter in +CSQ: 18,x9\r!"}},
        {"PlusWithoutSeparatorIsIllegal", "AT+CSQ", "+CSQ\r\n",
            kNothing, kindNone, {"There is some inlegal parameter in +CSQ\r!"}},
        {"LineOutOfTurn", "AT+CPBR=1", "+CMTI: \"SM\",1\r\n", kNotice, kindHeadLine, {}, "+CMTI"},
        {"UnknownHeadOutOfTurn", "AT+CPBR=1", "+XYZ: 1\r\n",
            kNotice, kindNone, {kNoRowForXyz, kNoRowForXyz}, "+XYZ"},
        {"IllegalLineOfAnotherHead", "AT+CPBR=1", "+CMTI: 1,x\r\n",
            kNothing, kindHeadLine, {"There is some inlegal parameter in +CMTI: 1,x\r!"}},
        {"NoLineEnd", "AT", "OK", kNothing, kindNone, {"Response error for \"OK\"!"}},
        {"CutByAZeroByte", "AT+CSQ", "+CSQ: 1", kNothing, kindNone, {"Response error for \"+CSQ: 1\"!"}},
        {"WhiteSpaceOnly", "AT", " \t\r\n", kNothing, kindNone, {"Response error for \"\"!"}},
        {"EmptyFromALeadingZeroByte", "AT", "", kNothing, kindNone, {}},
        {"NoCarrierToADial", "ATD0301234567;", "NO CARRIER\r\n", kInformation, kindPlainText, {}},
        {"ServiceLineOutsideACall", "AT+CPBR=1", "+CLIP: 0,1\r\n", kNotice, kindHeadLine, {}, "+CLIP"},
    };
    // clang-format on
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        ATResponseRecord record;
        const ClassifiedLine line = Match(c.command, c.line, record);
        EXPECT_EQ(line.role, c.role);
        EXPECT_EQ(record.kind, c.kind);
        EXPECT_EQ(line.reports, c.reports);
        EXPECT_EQ(line.head, c.head);
    }
}

// The record the decoders read: the line without its leading blanks and its
// LF, or the detail of an error line.
TEST(MatchSolicited, StoresTheLineWithoutBlanksAndItsLineFeed) {
    ATResponseRecord record;
    ASSERT_EQ(Match("AT+CSQ", "  +CSQ: 18,99\r\n", record).role, LineRole::kInformation);
    EXPECT_EQ(record.text, "+CSQ: 18,99\r");
    EXPECT_EQ(record.lineLength, 12u);
    EXPECT_EQ(record.responseCode, 9u);
    EXPECT_EQ(Nodes(record), (std::vector<std::string>{"18", "99"}));
    Match("AT+CMGR=2", "+CMS ERROR: \"bad index\"\r\n", record);
    EXPECT_EQ(record.firstParam.type, paramErrorText);
    EXPECT_EQ(record.firstParam.text, "bad index");
    EXPECT_EQ(record.firstParam.lastIndex, 8);
    EXPECT_EQ(Nodes(record).size(), 1u) << "nothing of the line before is left";
}

TEST(MatchSolicited, OnlyADialFindsTheServiceReplyKind) {
    const struct {
        const char* command;
        const char* line;
        std::optional<uint32_t> kind;
    } cases[] = {
        {"ATH", "+CLIP: 0,1\r\n", std::nullopt},
        {"ATD0301234;", "NO CARRIER\r\n", std::nullopt},
        {"ATD*#30#;", "+CLIP: 0,1\r\n", 1},
        {"ATD*#31#;", "+CLIR: 0,1\r\n", 2},
        {"ATD*#43#;", "+CCWA: 1,1\r\n", 6},
        {"ATD*#21#;", "+CCFC: 0,1\r\n", 5},
        {"ATD**04*1234#;", "+CLCK: 1\r\n", 0},
        {"ATD0301234;", "+CLCC: 1,0,0,0,0\r\n", std::nullopt},  // a call head, no service line
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.command) + " " + c.line);
        ATResponseRecord record;
        const ClassifiedLine line = Match(c.command, c.line, record);
        EXPECT_EQ(line.role, LineRole::kInformation);
        EXPECT_EQ(line.serviceReplyKind, c.kind);
        EXPECT_TRUE(line.reports.empty());
    }
}

TEST(MatchUnsolicited, EveryKindOfLine) {
    struct Case {
        const char* name;
        std::string line;
        std::string head;
        uint32_t kind;
        uint32_t responseCode;
        std::vector<std::string> nodes;  // texts of the nodes
        Reports reports;
    };
    // clang-format off
    const Case cases[] = {
        {"MessageStored", "+CMTI: \"ME\",1\r\n", "+CMTI", kindHeadLine, 29, {"ME", "1"}, {}},
        {"MessageListWithOmitted", "+CMGL: 1,0,,23\r\n", "+CMGL",
            kindHeadLine, 49, {"1", "0", "", "23"}, {}},
        {"IdentificationLineStaysWhole", "+CGMI: Nokia\r\n", "+CGMI",
            kindHeadLine, 1, {"+CGMI: Nokia\r\n"}, {}},
        {"RingOutOfTurn", "RING\r", "\x01", kindNone, 83, {""}, {}},
        {"PasswordEventOutOfTurn", "+EXCPWD\r", "\x01", kindNone, 83, {""}, {}},
        {"RingWhileIdleIsPlainText", "RING\r\n", "RING\r\n", kindPlainText, 83, {"RING\r\n"}, {}},
        {"LateOk", "OK\r\n", "OK\r\n", kindPlainText, 83, {"OK\r\n"}, {}},
        {"PasswordEventWhileIdle", "+EXCPWD\r\n", "",
            kindNone, 83, {"EXCPWD\r\n"},
            {"There is some inlegal parameter in Unsolicited response of +EXCPWD\r\n!"}},
        {"Empty", "", "", kindNone, 83, {""}, {"Unsolicited\tresponse head error for !"}},
        {"HeadTooLong", "+ABCDEFGH: 1\r\n", "+ABCDEFGH", kindNone, 83, {""}, {}},
        {"ErrorLineWhileIdle", "+CME ERROR: 10\r\n", "+CME ERROR", kindNone, 83, {""}, {}},
        {"UnknownHead", "+XYZ: 1\r\n", "+XYZ", kindNone, 83, {""},
            {"Can't find the matched response code for +XYZ: 1\r\n!"}},
        {"IllegalParameter", "+CREG: 2,1,\"x\"\r\n", "",
            kindHeadLine, 40, {"2", "1", "x"},
            {"There is some inlegal parameter in Unsolicited response of +CREG: 2,1,\"x\"\r\n!"}},
        {"BlankBeforeTheColon", "+CSQ : 5\r\n", "",
            kindHeadLine, 9, {": 5"},
            {"There is some inlegal parameter in Unsolicited response of +CSQ : 5\r\n!"}},
    };
    // clang-format on
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        ATResponseRecord record;
        const ClassifiedLine line = MatchUnsolicited(c.line, {}, record);
        EXPECT_EQ(line.head, c.head);
        EXPECT_EQ(line.role, c.head.empty() ? LineRole::kNothing : LineRole::kNotice);
        EXPECT_EQ(record.kind, c.kind);
        EXPECT_EQ(record.responseCode, c.responseCode);
        EXPECT_EQ(Nodes(record), c.nodes);
        EXPECT_EQ(line.reports, c.reports);
    }
}

// The message forms choose the grammar row of "+CMGL" and "+CMGR" lines; no
// read form beyond the broadcast one has a row.
TEST(MatchUnsolicited, MessageFormsChooseTheRow) {
    const struct {
        const char* line;
        ReplySelectors selectors;
        uint32_t responseCode;
    } cases[] = {
        {"+CMGL: 1\r\n", {.messageListForm = 0}, 49}, {"+CMGL: 1\r\n", {.messageListForm = 5}, 50},
        {"+CMGR: 1\r\n", {.messageReadForm = 0}, 34}, {"+CMGR: 1\r\n", {.messageReadForm = 1}, 35},
        {"+CMGR: 1\r\n", {.messageReadForm = 2}, 36}, {"+CMGR: 1\r\n", {.messageReadForm = 3}, 83},
    };
    for (const auto& c : cases) {
        ATResponseRecord record;
        const ClassifiedLine line = MatchUnsolicited(c.line, c.selectors, record);
        EXPECT_EQ(record.responseCode, c.responseCode) << c.line << c.selectors.messageReadForm;
        EXPECT_EQ(line.reports.size(), c.responseCode == 83 ? 1u : 0u);
    }
}

// Lines built from the bytes that steer the recogniser, in random order, as
// a faulty or hostile phone might send them. Whatever comes, a line gives a
// consistent record, and a line to decode is never an error line.
TEST(MatchSolicited, EveryNoisyLineGivesAConsistentRecord) {
    const std::string alphabet = "+:=,-()\" \r\nAZCMEORSI0159\x01\xFF";
    const char* commands[] = {"AT", "AT+CPBR=1", "AT+RNGI", "AT+IMGR=2", "ATD123;", "AT+CGMI"};
    std::mt19937 random(7);
    ATResponseRecord record;
    for (int i = 0; i < 3000; ++i) {
        std::string line;
        for (std::size_t k = random() % 60; k > 0; --k)
            line += alphabet[random() % alphabet.size()];
        if (random() % 2 == 0) line += "\r\n";
        SCOPED_TRACE(line);
        const ClassifiedLine c = Match(commands[i % std::size(commands)], line, record);
        ASSERT_EQ(c.role == LineRole::kError, record.kind == kindError);
        ASSERT_EQ(c.role == LineRole::kNotice, !c.head.empty());
        const std::vector<std::string> nodes = Nodes(record);
        ASSERT_LE(nodes.size(), line.size() + 1);
        for (const ATResponseParam* p = &record.firstParam; p != nullptr; p = p->next) {
            ASSERT_TRUE(p->text.empty() || p->lastIndex == int32_t(p->text.size()) - 1);
        }
        const bool notice = MatchUnsolicited(line, {}, record).role == LineRole::kNotice;
        ASSERT_EQ(notice, record.allLegal == 1 && !line.empty());
    }
}

}  // namespace
}  // namespace velk
