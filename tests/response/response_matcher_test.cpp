#include "response/response_matcher.h"

#include <gtest/gtest.h>

#include <iterator>
#include <random>
#include <string>
#include <vector>

#include "posted_errors.h"
#include "response/reply_forms.h"

namespace velk {
namespace {

using Reports = std::vector<std::string>;

class Matcher : public ::testing::Test {
  protected:
    void TearDown() override {
        serviceReplyKind = kNoServiceReply;
        messageReadForm = 0;
    }

    CATResponseMatcher matcher_;
    testing::PostedErrors errors_;
};

const std::string kNoRowForXyz = "Can't find the matched response code for +XYZ: 1\r!";

TEST_F(Matcher, SolicitedLines) {
    struct Case {
        const char* name;
        const char* command;  // as the transmit path left it: in capitals
        std::string line;     // with its CR LF
        int returned;
        uint32_t kind;
        uint32_t outOfTurn;
        Reports reports;
        std::string pendingLine = "";
    };
    // clang-format off
    const Case cases[] = {
        {"EchoInSmallLettersIsNoEcho", "AT+CPBS=\"SM\"", "at+cpbs=\"sm\"\r\n",
            1, kindPlainText, 0, {}},
        {"Ok", "AT+RNGI", "OK\r\n", 1, kindOk, 0, {}},
        {"OkToTheOpening", "AT", "OK\r\n", 1, kindOk, 0, {}},
        {"Error", "AT+CGMR", "ERROR\r\n", 0, kindError, 0, {"ERROR"}},
        {"RingDuringACommand", "AT+CPBR=1", "RING\r\n", 1, kindNone, 1, {}},
        {"ConnectDuringAQuery", "AT+RNGI", "CONNECT\r\n", 1, kindNone, 1, {}},
        {"CmeErrorWithQuotedDetail", "AT+CSCA?", "+CME ERROR: \"SIM not inserted\"\r\n",
            0, kindError, 0, {"SIM not inserted"}},
        {"ShortCmeForm", "AT+RNGI", "+CME: 10\r\n", 0, kindError, 0, {"10"}},
        {"ErrorTextInsideAPlainLine", "AT+CGMI", "Vendor +CME: 3\r\n", 0, kindError, 0, {"3"}},
        {"HeadWithoutPlusRepaired", "AT+CGMI", "CGMI: WAVECOM\r\n", 1, kindHeadLine, 0, {}},
        {"FixedHeadQueryAnswered", "AT+RNGI", "+RNGI: 3,\"tones\"\r\n", 1, kindHeadLine, 0, {}},
        {"FixedHeadQueryRefusesOtherHead", "AT+RNGI", "+CMTI: \"SM\",1\r\n",
            0, kindHeadLine, 0, {"Response head error for \"+CMTI: \"SM\",1\r\"!"}},
        {"FixedHeadQueryRefusesPlainText", "AT+IMGINF", "Nokia\r\n",
            0, kindPlainText, 0, {"Response head error for \"Nokia\r\"!"}},
        {"DataReadRefusesPlainText", "AT+RNGR=3", "0A0B0C\r\n",
            0, kindPlainText, 0, {"RESPONSE head error for \"0A0B0C\r\"!"}},
        {"DataReadRefusesOtherHead", "AT+IMGR=2", "+RNGR: \"x\",\"0A\"\r\n",
            0, kindHeadLine, 0, {"Response head error for \"+RNGR: \"x\",\"0A\"\r\"!"}},
        {"DataReadAnswered", "AT+RNGR=2", "+RNGR: \"x\",\"0A0B\"\r\n", 1, kindHeadLine, 0, {}},
        {"OpeningRefusesAnyLine", "AT", "+CMTI: \"ME\",1\r\n",
            0, kindHeadLine, 0, {"Response error for \"+CMTI: \"ME\",1\r\"!"}},
        {"EchoOffRefusesPlainText", "ATE0", "hello\r\n",
            0, kindPlainText, 0, {"Response error for \"hello\r\"!"}},
        {"IllegalParameter", "AT+CSQ", "+CSQ: 18,x9\r\n",
            0, kindHeadLine, 0, {"There is some inlegal parameter in +CSQ: 18,x9\r!"}},
        {"PlusWithoutSeparatorIsIllegal", "AT+CSQ", "+CSQ\r\n",
            0, kindNone, 0, {"There is some inlegal parameter in +CSQ\r!"}},
        {"LineOutOfTurn", "AT+CPBR=1", "+CMTI: \"SM\",1\r\n", 1, kindHeadLine, 1, {}, "+CMTI"},
        {"UnknownHeadOutOfTurn", "AT+CPBR=1", "+XYZ: 1\r\n",
            1, kindNone, 1, {kNoRowForXyz, kNoRowForXyz}, "+XYZ"},
        {"IllegalLineOfAnotherHead", "AT+CPBR=1", "+CMTI: 1,x\r\n",
            0, kindHeadLine, 0, {"There is some inlegal parameter in +CMTI: 1,x\r!"}},
        {"NoLineEnd", "AT", "OK", 0, kindNone, 0, {"Response error for \"OK\"!"}},
        {"CutByAZeroByte", "AT+CSQ", "+CSQ: 1",
            0, kindNone, 0, {"Response error for \"+CSQ: 1\"!"}},
        {"WhiteSpaceOnly", "AT", " \t\r\n", 0, kindNone, 0, {"Response error for \"\"!"}},
        {"NoCarrierToADial", "ATD0301234567;", "NO CARRIER\r\n", 1, kindPlainText, 0, {}},
        {"ServiceLineOutsideACall", "AT+CPBR=1", "+CLIP: 0,1\r\n", 1, kindHeadLine, 1, {}, "+CLIP"},
    };
    // clang-format on
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        CATResponseMatcher matcher;
        EXPECT_EQ(matcher.MatchSolicited(c.command, c.line), c.returned);
        EXPECT_EQ(matcher.current.kind, c.kind);
        EXPECT_EQ(matcher.current.outOfTurn, c.outOfTurn);
        EXPECT_EQ(errors_.Take(), c.reports);
        EXPECT_EQ(matcher.pendingLine, c.pendingLine);
    }
}

TEST_F(Matcher, UnsolicitedLines) {
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
        CATResponseMatcher matcher;
        EXPECT_EQ(matcher.MatchUnsolicited(c.line), c.head);
        const ATResponseRecord& r = matcher.current;
        EXPECT_EQ(r.kind, c.kind);
        EXPECT_EQ(r.outOfTurn, 1u);
        EXPECT_EQ(r.responseCode, c.responseCode);
        std::vector<std::string> nodes;
        for (const ATResponseParam* p = &r.firstParam; p != nullptr; p = p->next) {
            nodes.push_back(p->text);
        }
        EXPECT_EQ(nodes, c.nodes);
        EXPECT_EQ(errors_.Take(), c.reports);
    }
    // No read form beyond the broadcast one has a row.
    messageReadForm = 3;
    EXPECT_EQ(matcher_.MatchUnsolicited("+CMGR: 1\r\n"), "+CMGR");
    EXPECT_EQ(matcher_.current.kind, kindNone);
    EXPECT_EQ(errors_.Take(), (Reports{"Can't find the matched response code for +CMGR: 1\r\n!"}));
}

TEST_F(Matcher, StoresTheLineWithoutBlanksAndItsLineFeed) {
    ASSERT_EQ(matcher_.MatchSolicited("AT+CSQ", "  +CSQ: 18,99\r\n"), 1);
    EXPECT_EQ(matcher_.current.text, "+CSQ: 18,99\r");
    EXPECT_EQ(matcher_.current.lineLength, 12u);
    EXPECT_EQ(matcher_.current.responseCode, 9u);
    EXPECT_EQ(matcher_.MatchSolicited("AT+CMGR=2", "+CMS ERROR: \"bad index\"\r\n"), 0);
    EXPECT_EQ(matcher_.current.firstParam.type, paramErrorText);
    EXPECT_EQ(matcher_.current.firstParam.text, "bad index");
    EXPECT_EQ(matcher_.current.firstParam.lastIndex, 8);
    // 256 characters of detail are cut to the error field, which keeps its
    // terminator; 257 are refused and leave the field empty.
    const std::string detail256(256, 'e');
    errors_.Take();
    matcher_.MatchSolicited("AT", "+CME ERROR: " + detail256 + "\r\n");
    EXPECT_EQ(errors_.Take(), Reports{detail256.substr(0, 255)});
    matcher_.MatchSolicited("AT", "+CME ERROR: " + detail256 + "e\r\n");
    EXPECT_EQ(errors_.Take(), Reports{""});
}

TEST_F(Matcher, OnlyADialSetsTheServiceReplyKind) {
    struct Case {
        const char* command;
        const char* line;
        uint32_t kind;
    };
    const Case cases[] = {
        {"ATH", "+CLIP: 0,1\r\n", kNoServiceReply},
        {"ATD0301234;", "NO CARRIER\r\n", kNoServiceReply},
        {"ATD*#30#;", "+CLIP: 0,1\r\n", 1},
        {"ATD*#31#;", "+CLIR: 0,1\r\n", 2},
        {"ATD*#43#;", "+CCWA: 1,1\r\n", 6},
        {"ATD*#21#;", "+CCFC: 0,1\r\n", 5},
        {"ATH", "+CLCK: 1\r\n", 5},  // a hang-up leaves the last finding alone
        {"ATD**04*1234#;", "+CLCK: 1\r\n", 0},
        {"ATD0301234;", "+CLCC: 1,0,0,0,0\r\n", 0},  // a call head, no service line
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.command) + " " + c.line);
        EXPECT_EQ(matcher_.MatchSolicited(c.command, c.line), 1);
        EXPECT_EQ(matcher_.current.outOfTurn, 0u);
        EXPECT_EQ(serviceReplyKind.load(), c.kind);
    }
    EXPECT_TRUE(errors_.Take().empty());
}

// Lines built from the bytes that steer the recogniser, in random order, as
// a faulty or hostile phone might send them. Whatever comes, a line gives a
// consistent record, and an accepted line is never an error.
TEST_F(Matcher, EveryNoisyLineGivesAConsistentRecord) {
    const std::string alphabet = "+:=,-()\" \r\nAZCMEORSI0159\x01\xFF";
    const char* commands[] = {"AT", "AT+CPBR=1", "AT+RNGI", "AT+IMGR=2", "ATD123;", "AT+CGMI"};
    std::mt19937 random(7);
    for (int i = 0; i < 3000; ++i) {
        std::string line;
        for (std::size_t k = random() % 60; k > 0; --k)
            line += alphabet[random() % alphabet.size()];
        if (random() % 2 == 0) line += "\r\n";
        SCOPED_TRACE(line);
        const int accepted = matcher_.MatchSolicited(commands[i % std::size(commands)], line);
        ASSERT_TRUE(accepted == 0 || accepted == 1);
        ASSERT_TRUE(accepted == 0 || matcher_.current.kind != kindError);
        ASSERT_LE(matcher_.current.ParamCount(), line.size() + 1);
        for (const ATResponseParam* p = &matcher_.current.firstParam; p != nullptr; p = p->next) {
            ASSERT_TRUE(p->text.empty() || p->lastIndex == int32_t(p->text.size()) - 1);
        }
        matcher_.MatchUnsolicited(line);
        ASSERT_EQ(matcher_.current.outOfTurn, 1u);
        errors_.Take();
    }
}

}  // namespace
}  // namespace velk
