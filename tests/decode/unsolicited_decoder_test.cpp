#include "decode/unsolicited_decoder.h"

#include <cstring>
#include <string>
#include <utility>

#include "decoder_fixture.h"

namespace velk {
namespace {

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

    std::vector<BlockPtr> WithHead(const std::string& head, const ATResponseRecord& line) {
        DecoderState state;
        state.replyText = head;
        DecodeUnsolicitedResult(state, line);
        return Take();
    }
};

struct HeadRow {
    const char* line;
    int32_t resultId;
    bool (*check)(const ResultForms&);
};

const HeadRow kHeadRows[] = {
    {"+CBC: ,50\r\n", 11,
     [](const ResultForms& r) {
         return r.battery.connectionStatus == 0 && r.battery.chargeLevel == 50;
     }},
    {"+CSQ: 20,\r\n", 9,
     [](const ResultForms& r) { return r.signal.rssi == 20 && r.signal.ber == 0; }},
    {"+CPIN: SIM PIN\r\n", 84,
     [](const ResultForms& r) { return Field(r.reportPinState.code) == "SIM PIN"; }},
    {"+CNMI: 2,1,0,2,0\r\n", 55,
     [](const ResultForms& r) {
         return r.reportIndicationModes.mode == 2 && r.reportIndicationModes.statusReport == 2;
     }},
    {"+CMTI: \"SM\",3\r\n", 56,
     [](const ResultForms& r) {
         return Field(r.reportMessageStored.store) == "SM" && r.reportMessageStored.index == 3;
     }},
    {"+CMTI: \"SM\"\r\n", 56,
     [](const ResultForms& r) { return r.reportMessageStored.index == 0; }},
    {"+CMT: \"+4912345\",,\"08/07/04,17:24:55+04\",145,4,0,0,\"+4917\",145,5\r\n", 57,
     [](const ResultForms& r) {
         const ReportMessageHeader& h = r.reportMessageHeader;
         return Field(h.originator) == "+4912345" && Field(h.alpha).empty() &&
                Field(h.timestamp) == "08/07/04,17:24:55+04" && h.originatorType == 145 &&
                h.firstOctet == 4 && Field(h.serviceCentre) == "+4917" && h.length == 5 &&
                Field(h.body).empty();
     }},
    {"+CRING: VOICE\r\n", 99,
     [](const ResultForms& r) { return r.reportRingType.type == kOmitted; }},
    {"+CCWA: 1,\"+4912345\",145,\"Mum\"\r\n", 100,
     [](const ResultForms& r) {
         const auto& c = r.reportCallWaiting;
         return c.serviceClass == 1 && Field(c.number) == "+4912345" && Field(c.alpha) == "Mum";
     }},
    {"+CLCC: 1,1,4,0,0,\"+4912345\",145\r\n", 79,
     [](const ResultForms& r) {
         const auto& c = r.reportCallEntry;
         return c.state == 4 && c.numberType == 145 && Field(c.alpha).empty();
     }},
    {"+EXAUDIO: 1\r\n", 104, [](const ResultForms& r) { return r.reportExaudio.value == 1; }},
    {"+CAOC: \"000A12\",\"5\"\r\n", 137,
     [](const ResultForms& r) {
         return Field(r.reportCharge.meter) == "000A12" && Field(r.reportCharge.second) == "5";
     }},
    {"+EXACCRP: 1,2\r\n", 120,
     [](const ResultForms& r) {
         return r.reportExaccrp.values[0] == 1 && r.reportExaccrp.values[1] == 2;
     }},
    {"+CCLK: \"08/07/04,17:24:55\"\r\n", 122,
     [](const ResultForms& r) { return Field(r.reportClock.time) == "08/07/04,17:24:55"; }},
    {"+CALA: 1\r\n", 123, [](const ResultForms& r) { return r.reportAlarm.value == 1; }},
    {"+EXHTRP: 4\r\n", 139, [](const ResultForms& r) { return r.reportExhtrp.value == 4; }},
    {"+EXCHRST: 1,2,3\r\n", 124,
     [](const ResultForms& r) { return r.reportExchrst.values[2] == 3; }},
    {"+CREG: 1,2\r\n", 75,
     [](const ResultForms& r) {
         return r.reportRegistration.state == 1 && r.reportRegistration.cell == 2;
     }},
    // The two error heads are too long for a grammar head: they reach the
    // broadcast forms in their places of the table with an empty record.
    {"+CME ERROR: 10\r\n", 59,
     [](const ResultForms& r) {
         return Field(r.reportBroadcastStored.store).empty() && r.reportBroadcastStored.index == 0;
     }},
    {"+CMS ERROR: 500\r\n", 57,
     [](const ResultForms& r) {
         return r.reportBroadcastHeader.serial == kOmitted && r.reportBroadcastHeader.pages == 0;
     }},
};

TEST_F(UnsolicitedDecoder, EveryHeadFillsItsForm) {
    for (const HeadRow& row : kHeadRows) {
        SCOPED_TRACE(row.line);
        std::vector<BlockPtr> blocks = Idle(row.line);
        ASSERT_EQ(blocks.size(), 1u);
        EXPECT_EQ(blocks[0]->resultId, row.resultId);
        EXPECT_TRUE(row.check(blocks[0]->result));
    }
}

// The heads that the matcher gives only in their exact form.
TEST_F(UnsolicitedDecoder, BareHeadsGiveBlocksWithoutFields) {
    ATResponseRecord empty;
    const std::pair<const char*, int32_t> rows[] = {
        {"RING", 187}, {"CONNECT", 188}, {"+EXCPWD", 189}, {"NO CARRIER", 102}};
    for (const auto& [head, resultId] : rows) {
        std::vector<BlockPtr> blocks = WithHead(head, empty);
        ASSERT_EQ(blocks.size(), 1u) << head;
        EXPECT_EQ(blocks[0]->resultId, resultId);
    }
    std::vector<BlockPtr> blocks = WithHead("RING", empty);
    ASSERT_EQ(blocks.size(), 1u);
    EXPECT_EQ(std::memcmp(&blocks[0]->result, std::string(sizeof(ResultForms), '\0').data(),
                          sizeof(ResultForms)),
              0);
}

TEST_F(UnsolicitedDecoder, MessageBodyLineFillsOnlyTheBody) {
    ATResponseRecord body;
    body.text = "Hello\r\n";
    body.kind = kindPlainText;
    body.firstParam.rawLine = 1;
    body.firstParam.text = body.text;
    std::vector<BlockPtr> blocks = WithHead("+CMT", body);
    ASSERT_EQ(blocks.size(), 1u);
    EXPECT_EQ(blocks[0]->resultId, 235);
    EXPECT_EQ(Field(blocks[0]->result.reportMessageHeader.body), "Hello\r\n");
    EXPECT_EQ(Field(blocks[0]->result.reportMessageHeader.originator), "");
}

TEST_F(UnsolicitedDecoder, OtherHeadsPostNothing) {
    // Plain lines in the idle state keep their line end in the head, so RING
    // and a late OK match no entry; the "\x01" of a line out of turn neither.
    for (const char* line : {"RING\r\n", "NO CARRIER\r\n", "OK\r\n", "+CBM: 1,50,0,1,1\r\n",
                             "+CBMI: \"BM\",2\r\n", "+CRINGX: 1\r\n"}) {
        std::vector<BlockPtr> blocks = Idle(line);
        for (const BlockPtr& block : blocks) {
            EXPECT_EQ(block->resultId, kResultError) << line << " gave a report block";
        }
    }
    ATResponseRecord empty;
    for (const char* head : {"\x01", "", "+CB", "+CBCX", "+cbc", "RING\r"}) {
        EXPECT_TRUE(WithHead(head, empty).empty()) << head;
    }
}

TEST_F(UnsolicitedDecoder, OverLongTextsStayInsideTheirFields) {
    std::vector<BlockPtr> blocks =
        Idle("+CCWA: 1,\"" + std::string(32, '5') + "\",145,\"" + std::string(40, 'a') + "\"\r\n");
    ASSERT_EQ(blocks.size(), 1u);
    EXPECT_EQ(Field(blocks[0]->result.reportCallWaiting.number), std::string(31, '5'));
    EXPECT_EQ(blocks[0]->result.reportCallWaiting.numberType, 145);
    EXPECT_EQ(Field(blocks[0]->result.reportCallWaiting.alpha), "");

    blocks = Idle("+CAOC: \"" + std::string(120, 'c') + "\",\"1\"\r\n");
    ASSERT_EQ(blocks.size(), 1u);
    EXPECT_EQ(Field(blocks[0]->result.reportCharge.meter), std::string(83, 'c'));
    EXPECT_EQ(Field(blocks[0]->result.reportCharge.second), "1");
}

}  // namespace
}  // namespace velk
