#include "decode/unsolicited_decoder.h"

#include <string>

#include "decoder_fixture.h"

namespace velk {
namespace {

using F = ResultForms;

// The line goes through the real idle-state matcher, which gives the head
// the decoder chooses by, as the worker does.
ResultBlockPtr Idle(const std::string& line) {
    ATResponseRecord record;
    const ClassifiedLine classified = MatchUnsolicited(line, {}, record);
    EXPECT_TRUE(classified.reports.empty()) << line;
    return DecodeUnsolicitedResult(classified.head, record);
}

// The heads the corpus of real replies (DecodeGolden) does not pin: +CMTI,
// +CMT, +CREG and the two error heads are there.
TEST(UnsolicitedDecoder, EveryHeadFillsItsForm) {
    const struct {
        std::string line;
        Expected want;
    } rows[] = {
        // clang-format off
        {"+CBC: ,50\r\n", {11, [](F& r) { r.battery = {0, 50}; }}},
        {"+CSQ: 20,\r\n", {9, [](F& r) { r.signal = {20, 0}; }}},
        {"+CPIN: SIM PIN\r\n", {84, [](F& r) { Put(r.reportPinState.code, "SIM PIN"); }}},
        {"+CNMI: 2,1,0,2,0\r\n", {55, [](F& r) { r.reportIndicationModes = {2, 1, 0, 2, 0}; }}},
        {"+CRING: VOICE\r\n", {99, [](F& r) { r.reportRingType = {kOmitted}; }}},
        {"+CCWA: 1,\"+4912345\",145,\"Mum\"\r\n",
         {100, [](F& r) { r.reportCallWaiting = {1, "+4912345", 145, "Mum"}; }}},
        {"+CLCC: 1,1,4,0,0,\"+4912345\",145\r\n",
         {79, [](F& r) { r.reportCallEntry = {1, 1, 4, 0, 0, "+4912345", 145, ""}; }}},
        {"+EXAUDIO: 1\r\n", {104, [](F& r) { r.reportExaudio = {1}; }}},
        {"+CAOC: \"000A12\",\"5\"\r\n", {137, [](F& r) { r.reportCharge = {"000A12", "5"}; }}},
        {"+EXACCRP: 1,2\r\n", {120, [](F& r) { r.reportExaccrp = {{1, 2}}; }}},
        {"+CCLK: \"08/07/04,17:24:55\"\r\n",
         {122, [](F& r) { Put(r.reportClock.time, "08/07/04,17:24:55"); }}},
        {"+CALA: 1\r\n", {123, [](F& r) { r.reportAlarm = {1}; }}},
        {"+EXHTRP: 4\r\n", {139, [](F& r) { r.reportExhtrp = {4}; }}},
        {"+EXCHRST: 1,2,3\r\n", {124, [](F& r) { r.reportExchrst = {{1, 2, 3}}; }}},
        // Over-long texts stay inside their fields.
        {"+CCWA: 1,\"" + std::string(32, '5') + "\",145,\"" + std::string(40, 'a') + "\"\r\n",
         {100, [](F& r) { r.reportCallWaiting = {1, "", 145, ""};
                          Put(r.reportCallWaiting.number, std::string(31, '5')); }}},
        {"+CAOC: \"" + std::string(120, 'c') + "\",\"1\"\r\n",
         {137, [](F& r) { r.reportCharge = {"", "1"};
                          Put(r.reportCharge.meter, std::string(83, 'c')); }}},
        // clang-format on
    };
    for (const auto& row : rows) {
        ResultBlockPtr block = Idle(row.line);
        ASSERT_TRUE(block) << row.line;
        EXPECT_EQ(Difference(*block, row.want), "") << row.line;
    }
}

// The heads that the matcher gives only in their exact form take no parameters;
// a message text line behind +CMT fills only the body.
TEST(UnsolicitedDecoder, BareHeadsAndMessageBody) {
    const std::pair<const char*, Expected> bare[] = {
        {"RING", {187, nullptr}},
        {"CONNECT", {188, nullptr}},
        {"+EXCPWD", {189, nullptr}},
        // Its one number is read from the empty parameter: the no-value mark.
        {"NO CARRIER", {102, [](F& r) {
                            r.reportNoCarrier = {{kOmitted, 0, 0}};
                        }}}};
    for (const auto& [head, want] : bare) {
        ResultBlockPtr block = DecodeUnsolicitedResult(head, ATResponseRecord());
        ASSERT_TRUE(block) << head;
        EXPECT_EQ(Difference(*block, want), "") << head;
    }
    ATResponseRecord body;
    body.text = body.firstParam.text = "Hello\r\n";
    body.kind = kindPlainText;
    body.firstParam.rawLine = 1;
    ResultBlockPtr block = DecodeUnsolicitedResult("+CMT", body);
    ASSERT_TRUE(block);
    EXPECT_EQ(Difference(*block, {235, [](F& r) { Put(r.reportMessageHeader.body, "Hello\r\n"); }}),
              "");
}

TEST(UnsolicitedDecoder, OtherHeadsGiveNothing) {
    // Plain lines in the idle state keep their line end in the head, so RING
    // and a late OK match no entry; the "\x01" of a line out of turn neither.
    for (const char* line :
         {"RING\r\n", "NO CARRIER\r\n", "OK\r\n", "+CBM: 1,50,0,1,1\r\n", "+CBMI: \"BM\",2\r\n"}) {
        EXPECT_FALSE(Idle(line)) << line;
    }
    for (const char* head : {"\x01", "", "+CB", "+CBCX", "+cbc", "RING\r"}) {
        EXPECT_FALSE(DecodeUnsolicitedResult(head, ATResponseRecord())) << head;
    }
}

}  // namespace
}  // namespace velk
