// `velkport decode` run in process: reply lines in, the printed blocks out.
// The rows cover the command's own paths (echo, errors, lines out of turn, the
// idle path, the form options) and printed forms with several fields each.
#include "velkport/decode_command.h"
#include "velkport/commands_command.h"

#include <gtest/gtest.h>

#include <cctype>
#include <sstream>
#include <string>
#include <vector>

namespace velk::cli {
namespace {

struct Outcome {
    int code;
    std::string out;
    std::string err;
};

Outcome Decode(const std::vector<std::string>& args, const std::string& input) {
    std::istringstream in(input);
    std::ostringstream out;
    std::ostringstream err;
    int code = RunDecode(args, CommandIo{in, out, err});
    return {code, out.str(), err.str()};
}

struct DecodeRow {
    const char* what;
    std::vector<std::string> args;
    std::string input;
    std::vector<std::string> output;  // the printed lines
};

const DecodeRow kDecodeRows[] = {
    {"the echo of the command, typed in small letters, is passed over; CR LF input",
     {"--id", "13", "--command", "at+cpbr=1"},
     "AT+CPBR=1\r\n+CPBR: 2,\"+49\",129,\"Dad\"\r\nOK\r\n",
     {R"j({"resultId":14,"form":"ResultPhonebookEntry","index":2,"number":"+49","numberType":129,"text":"Dad"})j",
      R"j({"resultId":1,"form":"ResultDone","commandId":13})j"}},
    {"an error line ends the command with ResultError and no ResultDone",
     {"--id", "13", "--command", "AT+CPBR=1"},
     "+CME ERROR: 21\n",
     {R"j({"resultId":3,"form":"ResultError","message":"21"})j"}},
    {"inline values; the battery's two numbers",
     {"--id=166", "--command=AT+CBC"},
     "+CBC: 1,80\n",
     {R"j({"resultId":11,"form":"ResultBattery","connectionStatus":1,"chargeLevel":80})j"}},
    {"an image parameter of six digits gives three numbers",
     {"--id", "157", "--command", "AT+IMGR=1"},
     "+IMGR: 1,\"Anim\",1,2,3,4,\"250010\",\"AAAA\",5\nOK\n",
     {R"j({"resultId":158,"form":"ResultImagePart","index":1,"name":"Anim","nameLength":4,"part":1,"totalParts":2,"textLength":4,"sizeHigh":3,"sizeLow":4,"text":"AAAA","partCheck":5,"animParam1":25,"animParam2":0,"animParam3":10})j",
      R"j({"resultId":1,"form":"ResultDone","commandId":157})j"}},
    {"the phone-book index range keeps its dash as it stands",
     {"--id", "209", "--command", "AT+CPBR=?"},
     "+CPBR: (1-250),20,16\n",
     {R"j({"resultId":12,"form":"ResultPhonebookReadRange","indexRange":"(1-250)","numberLength":20,"textLength":16})j"}},
    {"several lists, one field each",
     {"--id", "222", "--command", "AT+CPMS=?"},
     "+CPMS: (\"SM\",\"ME\"),(\"SM\"),(\"ME\")\n",
     {R"j({"resultId":31,"form":"ResultMessageStoreLists","stores1":"(SM,ME)","stores2":"(SM)","stores3":"(ME)"})j"}},
    {"a tone part that ends after its four-parameter head",
     {"--id", "152", "--command", "AT+RNGR=3"},
     "+RNGR: 3,\"Tone\",1,2\n",
     {R"j({"resultId":153,"form":"ResultTonePart","index":3,"name":"Tone","nameLength":4,"part":1,"totalParts":2,"textLength":0,"sizeHigh":0,"sizeLow":0,"text":"","partCheck":0})j"}},
    {"a logo part splits its country and network codes",
     {"--id", "161", "--command", "AT+LOGOR=1"},
     "+LOGOR: 1,2,\"460-00\",1,255,5,0,\"ABCDE\",7\n",
     {R"j({"resultId":162,"form":"ResultLogoPart","index":1,"countryCode":"460","networkCode":"00","logoType":2,"part":255,"totalParts":1,"textLength":5,"sizeHigh":0,"sizeLow":0,"text":"ABCDE","partCheck":7})j"}},
    {"image information with three frame pairs",
     {"--id", "237", "--command", "AT+IMGINF"},
     "+IMGINF: \"Pics\",1,2,3,4,5,10,0,4,10,2,14\nOK\n",
     {R"j({"resultId":156,"form":"ResultImageInfo","infoName":"Pics","nameLength":4,"infoNumber1":1,"infoNumber2":2,"infoNumber3":3,"infoNumber4":4,"infoNumber5":5,"frameRanges":[10,0,4,10,2,14]})j",
      R"j({"resultId":1,"form":"ResultDone","commandId":237})j"}},
    {"a line out of turn is decoded before the next line",
     {"--id", "13", "--command", "AT+CPBR=1,2"},
     "+CPBR: 1,\"+49\",129,\"Mum\"\n+CMTI: \"SM\",3\n+CPBR: 2,\"+50\",129,\"Dad\"\nOK\n",
     {R"j({"resultId":14,"form":"ResultPhonebookEntry","index":1,"number":"+49","numberType":129,"text":"Mum"})j",
      R"j({"resultId":56,"form":"ReportMessageStored","store":"SM","index":3})j",
      R"j({"resultId":14,"form":"ResultPhonebookEntry","index":2,"number":"+50","numberType":129,"text":"Dad"})j",
      R"j({"resultId":1,"form":"ResultDone","commandId":13})j"}},
    {"each service line of a dial is read in the form its own head chose",
     {"--id", "142", "--command", "ATD*#43#;"},
     "+CCWA: 1,1,\"+49\",145\n+CLIP: 0,1\nOK\n",
     {R"j({"resultId":112,"form":"ResultServiceDetail","status":1,"class":1,"number":"+49","numberType":145})j",
      R"j({"resultId":107,"form":"ResultServiceState","values":[0,1]})j",
      R"j({"resultId":1,"form":"ResultDone","commandId":142})j"}},
    {"after the final reply every line takes the idle path",
     {"--id", "13", "--command", "AT+CPBR=1"},
     "OK\n+CPBR: 1,\"+49\",129,\"Mum\"\n+CMTI: \"SM\",4\n",
     {R"j({"resultId":1,"form":"ResultDone","commandId":13})j",
      R"j({"resultId":56,"form":"ReportMessageStored","store":"SM","index":4})j"}},
    {"a submitted message read with --read-form 1, header and body",
     {"--id", "61", "--command", "AT+CMGR=1", "--read-form", "1"},
     "+CMGR: \"STO UNSENT\",\"+4917\",,\"24/01/01\",145,17,0,0,167,\"+49171\",145,5\nHello\nOK\n",
     {R"j({"resultId":62,"form":"ResultMessageHeader","state":"STO UNSENT","destination":"+4917","alpha":"","timestamp":"24/01/01","destinationType":145,"firstOctet":17,"protocolId":0,"codingScheme":0,"validity":167,"serviceCentre":"+49171","serviceCentreType":145,"length":5,"body":""})j",
      R"j({"resultId":231,"form":"ResultMessageBody","state":"","destination":"","alpha":"","timestamp":"","destinationType":0,"firstOctet":0,"protocolId":0,"codingScheme":0,"validity":0,"serviceCentre":"","serviceCentreType":0,"length":0,"body":"Hello\r"})j",
      R"j({"resultId":1,"form":"ResultDone","commandId":61})j"}},
    {"a broadcast list with --list-form 1",
     {"--id", "94", "--command", "AT+CMGL", "--list-form", "1"},
     "+CMGL: 1,\"REC READ\",5,50,1,1\nHi\n",
     {R"j({"resultId":97,"form":"ResultListBroadcastHeader","index":1,"state":"REC READ","serial":5,"messageId":50,"page":1,"pages":1,"body":""})j",
      R"j({"resultId":230,"form":"ResultListBroadcastBody","index":0,"state":"","serial":0,"messageId":0,"page":0,"pages":0,"body":"Hi\r"})j"}},
    {"unsolicited: message header, stored message, and the broadcast form of id 57 (an error head "
     "is not parsed when idle, so its number reads 65535)",
     {"--unsolicited"},
     "+CMT: \"+49123\",,\"24/01/01\",145,4,0,0,\"+49171\",145,5\n+CMTI: \"SM\"\n\n+CMS ERROR: 1\n",
     {R"j({"resultId":57,"form":"ReportMessageHeader","originator":"+49123","alpha":"","timestamp":"24/01/01","originatorType":145,"firstOctet":4,"protocolId":0,"codingScheme":0,"serviceCentre":"+49171","serviceCentreType":145,"length":5,"body":""})j",
      R"j({"resultId":56,"form":"ReportMessageStored","store":"SM","index":0})j",
      R"j({"resultId":57,"form":"ReportBroadcastHeader","serial":65535,"messageId":0,"codingScheme":0,"page":0,"pages":0,"body":""})j"}},
};

TEST(DecodeCommand, PrintsEveryBlockInOrder) {
    for (const DecodeRow& row : kDecodeRows) {
        Outcome outcome = Decode(row.args, row.input);
        EXPECT_EQ(outcome.code, kExitDone) << row.what;
        std::string printed;
        for (const std::string& line : row.output) printed += line + "\n";
        EXPECT_EQ(outcome.out, printed) << row.what;
        EXPECT_EQ(outcome.err, "") << row.what;
    }
}

struct BadArgumentsRow {
    std::vector<std::string> args;
    const char* sentence;  // part of what is said on standard error
};

const BadArgumentsRow kBadArgumentRows[] = {
    {{}, "give the command in progress with both --id and --command, or --unsolicited"},
    {{"--id", "13"}, "both --id and --command"},
    {{"--id", "x", "--command", "AT"}, "--id needs a command id"},
    {{"--id", "2147483648", "--command", "AT"}, "--id needs a command id"},
    {{"--id"}, "--id needs a value"},
    {{"--unsolicited", "--id", "13"}, "--unsolicited takes no --id or --command"},
    {{"--unsolicited=1"}, "--unsolicited takes no value"},
    {{"--unsolicited", "--read-form", "one"}, "--read-form needs a number"},
    {{"--unsolicited", "--verbose"}, "unknown argument \"--verbose\""},
};

TEST(DecodeCommand, BadArgumentsExitTwoWithASentence) {
    for (const BadArgumentsRow& row : kBadArgumentRows) {
        Outcome outcome = Decode(row.args, "OK\n");
        EXPECT_EQ(outcome.code, kExitUsage) << row.sentence;
        EXPECT_NE(outcome.err.find(row.sentence), std::string::npos) << outcome.err;
        EXPECT_NE(outcome.err.find("usage: velkport decode"), std::string::npos) << outcome.err;
        EXPECT_EQ(outcome.out, "") << row.sentence;
    }
}

TEST(DecodeCommand, HelpDescribesEveryOption) {
    const Outcome outcome = Decode({"--help"}, "");
    EXPECT_EQ(outcome.code, kExitDone);
    for (const char* option : {"--id", "--command", "--unsolicited", "--list-form", "--read-form"})
        EXPECT_NE(outcome.out.find(option), std::string::npos) << option;
}

// Every result id a command lists has a printed form: an id the table of
// result forms lacks would be listed with no name, and decoded blocks of it
// would print their id alone.
TEST(CommandsCommand, EveryListedResultNamesItsForm) {
    std::istringstream in;
    std::ostringstream out;
    std::ostringstream err;
    ASSERT_EQ(RunCommands(std::vector<std::string>{}, CommandIo{in, out, err}), kExitDone);
    const std::string table = out.str();
    EXPECT_NE(table.find(" 236  AT+RNGI       151 ResultToneInfo\n"), std::string::npos) << table;
    // A number with no name behind it ends a result: "151 ," or "151 \n".
    for (std::size_t at = table.find(' '); at != std::string::npos; at = table.find(' ', at + 1)) {
        std::size_t end = at + 1;
        while (end < table.size() && std::isdigit(static_cast<unsigned char>(table[end]))) ++end;
        if (end == at + 1 || end + 1 >= table.size() || table[end] != ' ') continue;
        EXPECT_TRUE(table[end + 1] != ',' && table[end + 1] != '\n') << table.substr(at, 40);
    }
    const std::vector<std::string> bad = {"--xml"};
    EXPECT_EQ(RunCommands(bad, CommandIo{in, out, err}), kExitUsage);
}

}  // namespace
}  // namespace velk::cli
