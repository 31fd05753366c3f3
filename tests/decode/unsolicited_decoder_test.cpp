#include "decode/unsolicited_decoder.h"

#include <string>

#include "decoder_fixture.h"

namespace velk {
namespace {

using F = ResultForms;

class UnsolicitedDecoder : public DecoderFixture {
  protected:
    // The line goes through the real idle-state matcher, which gives the head
    // the decoder chooses by, as the worker does.
    std::vector<BlockPtr> Idle(const std::string& line) {
        CATResponseMatcher matcher;
        DecoderState state;
        state.replyText = matcher.MatchUnsolicited(line);
        if (!state.replyText.empty()) DecodeUnsolicitedResult(state, matcher.current);
        return Take();
    }

    std::vector<BlockPtr> WithHead(const std::string& head, const ATResponseRecord& line = {}) {
        DecoderState state;
        state.replyText = head;
        DecodeUnsolicitedResult(state, line);
        return Take();
    }
};

struct HeadRow {
    std::string line;
    Expected want;
};

TEST_F(UnsolicitedDecoder, EveryHeadFillsItsForm) {
    // clang-format off
    const HeadRow rows[] = {
        {"+CBC: ,50\r\n", {11, [](F& r) { r.battery = {0, 50}; }}},
        {"+CSQ: 20,\r\n", {9, [](F& r) { r.signal = {20, 0}; }}},
        {"+CPIN: SIM PIN\r\n", {84, [](F& r) { Put(r.reportPinState.code, "SIM PIN"); }}},
        {"+CNMI: 2,1,0,2,0\r\n", {55, [](F& r) { r.reportIndicationModes = {2, 1, 0, 2, 0}; }}},
        {"+CMTI: \"SM\",3\r\n", {56, [](F& r) { r.reportMessageStored = {"SM", 3}; }}},
        {"+CMTI: \"SM\"\r\n", {56, [](F& r) { r.reportMessageStored = {"SM", 0}; }}},
        {"+CMT: \"+4912345\",,\"08/07/04,17:24:55+04\",145,4,0,0,\"+4917\",145,5\r\n",
         {57, [](F& r) { r.reportMessageHeader = {
             "+4912345", "", "08/07/04,17:24:55+04", 145, 4, 0, 0, "+4917", 145, 5, ""}; }}},
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
        {"+CREG: 1,2\r\n", {75, [](F& r) { r.reportRegistration = {1, 2}; }}},
        // The two error heads are too long for a grammar head: they reach the
        // broadcast forms in their places of the table with an empty record.
        {"+CME ERROR: 10\r\n", {59, nullptr}},
        {"+CMS ERROR: 500\r\n", {57, [](F& r) { r.reportBroadcastHeader.serial = kOmitted; }}},
        // Over-long texts stay inside their fields.
        {"+CCWA: 1,\"" + std::string(32, '5') + "\",145,\"" + std::string(40, 'a') + "\"\r\n",
         {100, [](F& r) { r.reportCallWaiting = {1, "", 145, ""};
                          Put(r.reportCallWaiting.number, std::string(31, '5')); }}},
        {"+CAOC: \"" + std::string(120, 'c') + "\",\"1\"\r\n",
         {137, [](F& r) { r.reportCharge = {"", "1"};
                          Put(r.reportCharge.meter, std::string(83, 'c')); }}},
    };
    // clang-format on
    for (const HeadRow& row : rows) {
        std::vector<BlockPtr> blocks = Idle(row.line);
        ASSERT_EQ(blocks.size(), 1u) << row.line;
        EXPECT_EQ(Difference(*blocks[0], row.want), "") << row.line;
    }
}

// The heads that the matcher gives only in their exact form take no parameters;
// a message text line behind +CMT fills only the body.
TEST_F(UnsolicitedDecoder, BareHeadsAndMessageBody) {
    const std::pair<const char*, Expected> bare[] = {
        {"RING", {187, nullptr}},
        {"CONNECT", {188, nullptr}},
        {"+EXCPWD", {189, nullptr}},
        // Its one number is read from the empty parameter: the no-value mark.
        {"NO CARRIER", {102, [](F& r) {
                            r.reportNoCarrier = {{kOmitted, 0, 0}};
                        }}}};
    for (const auto& [head, want] : bare) {
        std::vector<BlockPtr> blocks = WithHead(head);
        ASSERT_EQ(blocks.size(), 1u) << head;
        EXPECT_EQ(Difference(*blocks[0], want), "") << head;
    }
    ATResponseRecord body;
    body.text = body.firstParam.text = "Hello\r\n";
    body.kind = kindPlainText;
    body.firstParam.rawLine = 1;
    std::vector<BlockPtr> blocks = WithHead("+CMT", body);
    ASSERT_EQ(blocks.size(), 1u);
    EXPECT_EQ(
        Difference(*blocks[0], {235, [](F& r) { Put(r.reportMessageHeader.body, "Hello\r\n"); }}),
        "");
}

TEST_F(UnsolicitedDecoder, OtherHeadsPostNothing) {
    // Plain lines in the idle state keep their line end in the head, so RING
    // and a late OK match no entry; the "\x01" of a line out of turn neither.
    for (const char* line : {"RING\r\n", "NO CARRIER\r\n", "OK\r\n", "+CBM: 1,50,0,1,1\r\n",
                             "+CBMI: \"BM\",2\r\n", "+CRINGX: 1\r\n"}) {
        for (const BlockPtr& block : Idle(line)) {
            EXPECT_EQ(block->resultId, kResultError) << line << " gave a report block";
        }
    }
    for (const char* head : {"\x01", "", "+CB", "+CBCX", "+cbc", "RING\r"}) {
        EXPECT_TRUE(WithHead(head).empty()) << head;
    }
}

}  // namespace
}  // namespace velk
