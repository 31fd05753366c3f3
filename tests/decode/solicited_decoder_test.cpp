#include "decode/solicited_decoder.h"

#include <cstring>
#include <map>
#include <set>

#include "decode/solicited_cases.h"
#include "decoder_fixture.h"
#include "engine/command_catalogue.h"

namespace velk {
namespace {

using Check = bool (*)(const ResultForms&);

struct CaseRow {
    int32_t command;
    const char* line;
    int32_t resultId;
    Check check;
};

// One row for each form of the decoder's table: the reply line, the result id
// and what the block must hold. Which command gives which result id is checked
// for every command against the catalogue below.
const CaseRow kCaseRows[] = {
    {13, "+CPBR: 1,\"+4912345\",145,\"Mum\"\r", 14,
     [](const ResultForms& r) {
         const auto& e = r.phonebookEntry;
         return e.index == 1 && Field(e.number) == "+4912345" && e.numberType == 145 &&
                Field(e.text) == "Mum";
     }},
    {24, "+CSMS: 1,0,1\r", 25,
     [](const ResultForms& r) {
         const auto& m = r.messageServiceSet;
         return m.mobileTerminated == 1 && m.mobileOriginated == 0 && m.broadcast == 1;
     }},
    {28, "+CPMS: 3,20,5,30,0,10\r", 29,
     [](const ResultForms& r) {
         const auto& m = r.messageStoresSet;
         return m.used1 == 3 && m.total1 == 20 && m.used2 == 5 && m.total2 == 30 && m.total3 == 10;
     }},
    {39, "+CMGC: 17\r", 40, [](const ResultForms& r) { return r.commandSent.reference == 17; }},
    {69, "+CMGW: 7\r", 70, [](const ResultForms& r) { return r.messageWritten.index == 7; }},
    {76, "+COPS: 0,2,\"26201\"\r", 4,
     [](const ResultForms& r) {
         return r.operatorSet.format == 2 && Field(r.operatorSet.operatorName) == "26201";
     }},
    {117, "+CLVL: 5\r", 117, [](const ResultForms& r) { return r.oneNumber.value == 5; }},
    {135, "+CPUC: \"EUR\",\"0.25\"\r", 136,
     [](const ResultForms& r) {
         return Field(r.twoTexts.first) == "EUR" && Field(r.twoTexts.second) == "0.25";
     }},
    // A short line leaves the rest 0.
    {141, "+CMUT: 1\r", 105,
     [](const ResultForms& r) {
         return r.twoNumbers.values[0] == 1 && r.twoNumbers.values[1] == 0;
     }},
    // An empty parameter stays 0.
    {166, "+CBC: ,50\r", 11,
     [](const ResultForms& r) {
         return r.battery.connectionStatus == 0 && r.battery.chargeLevel == 50;
     }},
    // The identification lines are taken whole.
    {167, "Velk Mobile\r", 5,
     [](const ResultForms& r) { return Field(r.manufacturer.text) == "Velk Mobile\r"; }},
    {170, "3512345678\r", 8,
     [](const ResultForms& r) { return Field(r.serial.text) == "3512345678\r"; }},
    {172, "+CSDH: (0,1)\r", 51,
     [](const ResultForms& r) { return Field(r.showHeaderValues.values) == "(0,1)"; }},
    {173, "+CNUM: \"Me\",\"+4915112345\",145,4\r", 80,
     [](const ResultForms& r) {
         const auto& n = r.ownNumber;
         return Field(n.number) == "+4915112345" && Field(n.numberType) == "145" && n.speed == 4;
     }},
    {174, "262011234567890\r", 81,
     [](const ResultForms& r) { return Field(r.imsi.imsi) == "262011234567890\r"; }},
    {175, "+CPIN: READY\r", 83,
     [](const ResultForms& r) { return Field(r.pinState.code) == "READY"; }},
    {176, "+CACM: \"000120\"\r", 86,
     [](const ResultForms& r) { return Field(r.callMeter.value) == "000120"; }},
    {178, "+CPUC: \"EUR\",\"0.25\"\r", 90,
     [](const ResultForms& r) {
         return Field(r.pricePerUnit.currency) == "EUR" &&
                Field(r.pricePerUnit.pricePerUnit) == "0.25";
     }},
    {179, "+CSCS: \"GSM\"\r", 92,
     [](const ResultForms& r) { return Field(r.characterSet.characterSet) == "GSM"; }},
    {180, "+CSCS: (\"GSM\",\"IRA\")\r", 93,
     [](const ResultForms& r) { return Field(r.characterSets.characterSets) == "(GSM,IRA)"; }},
    {181, "+CREG: 0,1\r", 73,
     [](const ResultForms& r) {
         return r.registration.presentation == 0 && r.registration.state == 1;
     }},
    {183, "+CSQ: 17,99\r", 9,
     [](const ResultForms& r) { return r.signal.rssi == 17 && r.signal.ber == 99; }},
    {185, "+COPS: 0\r", 77,
     [](const ResultForms& r) {
         return r.operatorCurrent.mode == 0 && Field(r.operatorCurrent.operatorName).empty();
     }},
    // Every group of the list of operators is kept; the empty parameter
    // between the groups is passed over.
    {186, "+COPS: (2,\"Velk\",\"VK\",\"26201\"),(3,\"Nord\",\"ND\",\"26202\"),,(0,1,3),(0,2)\r", 78,
     [](const ResultForms& r) {
         return Field(r.operators.operators) == "(2,Velk,VK,26201),(3,Nord,ND,26202),(0,1,3),(0,2)";
     }},
    {190, "+CLCC: 1,0,0,0,0,\"+4912345\",145,\"Mum\"\r", 98,
     [](const ResultForms& r) {
         const auto& c = r.callEntry;
         return c.callId == 1 && Field(c.number) == "+4912345" && c.numberType == 145 &&
                Field(c.alpha) == "Mum";
     }},
    {195, "+CIND: 1,2,3,4,5,6,7,8,9,10,11\r", 114,
     [](const ResultForms& r) {
         return r.tenNumbers.values[0] == 1 && r.tenNumbers.values[9] == 10;
     }},
    {199, "+CIND: (0,1)\r", 106,
     [](const ResultForms& r) { return Field(r.serviceList.list) == "(0,1)"; }},
    {202, "+CCLK: \"08/07/04,17:24:55\"\r", 121,
     [](const ResultForms& r) { return Field(r.oneText.text) == "08/07/04,17:24:55"; }},
    {203, "+CPAS: 1,2,3,\"abc\",4,5,6,7,8,9\r", 125,
     [](const ResultForms& r) {
         const auto& m = r.mixedLine;
         return m.leading[2] == 3 && Field(m.text) == "abc" && m.trailing[0] == 4 &&
                m.trailing[5] == 9;
     }},
    {207, "+CPBS: \"SM\",12,250\r", 17,
     [](const ResultForms& r) {
         const auto& s = r.phonebookStorage;
         return Field(s.storage) == "SM" && s.used == 12 && s.total == 250;
     }},
    {208, "+CPBS: (\"SM\",\"ME\",\"FD\")\r", 15,
     [](const ResultForms& r) { return Field(r.phonebookStorages.storages) == "(SM,ME,FD)"; }},
    // A range without commas keeps its form.
    {209, "+CPBR: (1-250),20,16\r", 12,
     [](const ResultForms& r) {
         const auto& p = r.phonebookReadRange;
         return Field(p.indexRange) == "(1-250)" && p.numberLength == 20 && p.textLength == 16;
     }},
    {210, "+CPBF: 20,16\r", 20,
     [](const ResultForms& r) {
         return r.phonebookFindRange.numberLength == 20 && r.phonebookFindRange.textLength == 16;
     }},
    {211, "+CPBW: (1-250),20,(129,145),16\r", 22,
     [](const ResultForms& r) {
         const auto& p = r.phonebookWriteRange;
         return Field(p.indexRange) == "(1-250)" && p.numberLength == 20 &&
                Field(p.numberTypes) == "(129,145)" && p.textLength == 16;
     }},
    {212, "+CSMS: 0,1,1,1\r", 26,
     [](const ResultForms& r) {
         return r.messageService.service == 0 && r.messageService.broadcast == 1;
     }},
    {213, "+CSMS: (0,1)\r", 27,
     [](const ResultForms& r) { return Field(r.messageServices.services) == "(0,1)"; }},
    {214, "+CMGF: 1\r", 42, [](const ResultForms& r) { return r.messageFormat.format == 1; }},
    // A range in a list with commas gets commas round its dash.
    {215, "+CMGF: (0-1)\r", 43,
     [](const ResultForms& r) { return Field(r.messageFormats.formats) == "(0,-,1)"; }},
    {216, "+CSCA: \"+491710760000\",145\r", 46,
     [](const ResultForms& r) {
         return Field(r.serviceCentre.address) == "+491710760000" &&
                r.serviceCentre.addressType == 145;
     }},
    {217, "+CSMP: 17,167,0,8\r", 48,
     [](const ResultForms& r) {
         const auto& t = r.textParameters;
         return t.firstOctet == 17 && t.validity == 167 && t.protocolId == 0 && t.codingScheme == 8;
     }},
    {218, "+CSDH: 1\r", 50, [](const ResultForms& r) { return r.showHeader.show == 1; }},
    {219, "+CNMI: 2,1,0,0,0\r", 53,
     [](const ResultForms& r) {
         return r.indicationModes.mode == 2 && r.indicationModes.deliver == 1 &&
                r.indicationModes.buffered == 0;
     }},
    {220, "+CNMI: (0-2),(0-3),(0,2),(0-2),(0,1)\r", 54,
     [](const ResultForms& r) {
         const auto& l = r.indicationLists;
         return Field(l.modes) == "(0,-,2)" && Field(l.delivers) == "(0,-,3)" &&
                Field(l.broadcasts) == "(0,2)" && Field(l.statusReports) == "(0,-,2)" &&
                Field(l.buffereds) == "(0,1)";
     }},
    {221, "+CPMS: \"SM\",3,20,\"ME\",5,100,\"SM\",3,20\r", 30,
     [](const ResultForms& r) {
         const auto& m = r.messageStores;
         return Field(m.store1) == "SM" && Field(m.store2) == "ME" && m.total2 == 100 &&
                m.total3 == 20;
     }},
    {222, "+CPMS: (\"SM\",\"ME\"),(\"SM\",\"ME\"),(\"SM\")\r", 31,
     [](const ResultForms& r) {
         const auto& m = r.messageStoreLists;
         return Field(m.stores1) == "(SM,ME)" && Field(m.stores2) == "(SM,ME)" &&
                Field(m.stores3) == "(SM)";
     }},
    {223, "+CSCB: 0,\"50,221\",\"0\"\r", 33,
     [](const ResultForms& r) {
         const auto& b = r.broadcastSelection;
         return b.mode == 0 && Field(b.messageIds) == "50,221" && Field(b.codings) == "0";
     }},
    {224, "+CSCB: (0,1)\r", 34,
     [](const ResultForms& r) { return Field(r.broadcastModes.modes) == "(0,1)"; }},
    {225, "+CSAS: (0-3)\r", 36,
     [](const ResultForms& r) { return Field(r.saveProfiles.profiles) == "(0-3)"; }},
    {228, "+CMGL: (\"REC UNREAD\",\"ALL\")\r", 95,
     [](const ResultForms& r) { return Field(r.listStates.states) == "(REC UNREAD,ALL)"; }},
    {236, "+RNGI: \"Tone\",1,2,3\r", 151,
     [](const ResultForms& r) {
         const auto& t = r.toneInfo;
         return Field(t.infoName) == "Tone" && t.nameLength == 4 && t.infoNumber1 == 1 &&
                t.infoNumber2 == 2 && t.infoNumber3 == 3;
     }},
    {238, "+LOGOINF: \"Logo\",1,2,3,4\r", 160,
     [](const ResultForms& r) {
         const auto& l = r.logoInfo;
         return Field(l.infoName) == "Logo" && l.nameLength == 4 && l.infoNumber1 == 1 &&
                l.infoNumber4 == 4;
     }},
};

class SolicitedDecoder : public DecoderFixture {};

TEST_F(SolicitedDecoder, EveryCaseFillsItsForm) {
    for (const CaseRow& row : kCaseRows) {
        SCOPED_TRACE(row.line);
        BlockPtr block = One(row.command, row.line, row.resultId);
        if (block) {
            EXPECT_TRUE(row.check(block->result));
        }
    }
}

TEST_F(SolicitedDecoder, BadNumbersReadAsTheNoValueMark) {
    BlockPtr block = One(13, "+CPBR: x,\"1\",,\"a\"\r", 14);
    ASSERT_TRUE(block);
    EXPECT_EQ(block->result.phonebookEntry.index, kOmitted);
    EXPECT_EQ(block->result.phonebookEntry.numberType, kOmitted)
        << "an omitted number is no number";
    block = One(236, "+RNGI: \"T\",x,,3\r", 151);
    ASSERT_TRUE(block);
    EXPECT_EQ(block->result.toneInfo.infoNumber1, 255);
    EXPECT_EQ(block->result.toneInfo.infoNumber2, 255);
}

TEST_F(SolicitedDecoder, CommandsWithoutACasePostNothing) {
    for (int32_t command : {0, 12, 14, 100, 152 - 1, 227, 239, 240, 1000, -5}) {
        EXPECT_TRUE(Solicited(command, "+CLVL: 5\r").empty()) << command;
    }
}

// A message read gives a header block and a body block whose text stands at
// the body's place in the header form.
TEST_F(SolicitedDecoder, MessageReadsFollowTheirSelectors) {
    SetMessageForms(0, 0);
    BlockPtr block = One(
        61, "+CMGR: \"REC READ\",\"+4912345\",,\"08/07/04,17:24:55+04\",,4,0,0,\"+4917\",145,5\r",
        62);
    ASSERT_TRUE(block);
    const ResultMessageDeliverHeader& deliver = block->result.messageDeliverHeader;
    EXPECT_EQ(Field(deliver.state), "REC READ");
    EXPECT_EQ(Field(deliver.originator), "+4912345");
    EXPECT_EQ(Field(deliver.timestamp), "08/07/04,17:24:55+04");
    EXPECT_EQ(deliver.originatorType, 0) << "an omitted optional field stays 0";
    EXPECT_EQ(deliver.firstOctet, 4);
    EXPECT_EQ(Field(deliver.serviceCentre), "+4917");
    EXPECT_EQ(deliver.length, 5);
    block = One(61, "Hello\r", 231);
    ASSERT_TRUE(block);
    EXPECT_EQ(Field(block->result.messageDeliverHeader.body), "Hello\r");
    EXPECT_EQ(Field(block->result.messageDeliverHeader.state), "");

    SetMessageForms(0, 1);
    block =
        One(61, "+CMGR: \"STO UNSENT\",\"+4912345\",,\"\",129,17,0,0,167,\"+4917\",145,3\r", 62);
    ASSERT_TRUE(block);
    EXPECT_EQ(block->result.messageSubmitHeader.validity, 167);
    EXPECT_EQ(block->result.messageSubmitHeader.length, 3);
    block = One(61, "Hi!\r", 231);
    ASSERT_TRUE(block);
    EXPECT_EQ(Field(block->result.messageSubmitHeader.body), "Hi!\r");

    SetMessageForms(0, 2);
    block = One(61, "+CMGR: \"REC READ\",1,50,0,1,2\r", 64);
    ASSERT_TRUE(block);
    EXPECT_EQ(block->result.broadcastHeader.messageId, 50);
    EXPECT_EQ(block->result.broadcastHeader.pages, 2);
    block = One(61, "News\r", 233);
    ASSERT_TRUE(block);
    EXPECT_EQ(Field(block->result.broadcastHeader.body), "News\r");

    SetMessageForms(0, 3);
    EXPECT_TRUE(Solicited(61, "News\r").empty()) << "no form beyond the broadcast one";
}

TEST_F(SolicitedDecoder, MessageListsFollowTheirSelector) {
    BlockPtr block = One(94, "+CMGL: 1,\"REC READ\",\"+4912345\",,\"08/07/04\",145,5\r", 96);
    ASSERT_TRUE(block);
    EXPECT_EQ(block->result.listHeader.index, 1);
    EXPECT_EQ(Field(block->result.listHeader.address), "+4912345");
    EXPECT_EQ(Field(block->result.listHeader.timestamp), "08/07/04");
    EXPECT_EQ(block->result.listHeader.length, 5);
    block = One(94, "Hello\r", 229);
    ASSERT_TRUE(block);
    EXPECT_EQ(Field(block->result.listHeader.body), "Hello\r");

    SetMessageForms(7, 0);
    block = One(94, "+CMGL: 2,\"REC READ\",1,50,1,1\r", 97);
    ASSERT_TRUE(block);
    EXPECT_EQ(block->result.listBroadcastHeader.messageId, 50);
    block = One(94, "News\r", 230);
    ASSERT_TRUE(block);
    EXPECT_EQ(Field(block->result.listBroadcastHeader.body), "News\r");
}

TEST_F(SolicitedDecoder, ServiceRepliesFollowTheLastServiceHead) {
    struct Row {
        uint32_t kind;
        const char* line;
        int32_t resultId;
        int32_t first;
        int32_t second;
    };
    const Row rows[] = {
        {0, "+CLCK: 1\r", 113, 1, 0},
        {1, "+CLIP: 0,1\r", 107, 0, 1},
        {2, "+CLIR: 1,2\r", 108, 1, 2},
        {3, "+COLP: 1\r", 109, 1, 0},
        {4, "+COLR: 2,1\r", 110, 2, 1},
        {5, "+CCFC: 1,4\r", 111, 1, 4},
        {6, "+CCWA: 1,1,\"+4912345\",145\r", 112, 1, 1},
        {7, "+EXATDST: 1,2,3\r", 101, 1, 2},
    };
    for (const Row& row : rows) {
        serviceReplyKind = row.kind;
        BlockPtr block = One(142, row.line, row.resultId);
        ASSERT_TRUE(block);
        int32_t numbers[2];
        std::memcpy(numbers, &block->result, sizeof numbers);
        EXPECT_EQ(numbers[0], row.first) << row.line;
        EXPECT_EQ(numbers[1], row.second) << row.line;
    }
    serviceReplyKind = 6;
    BlockPtr detail = One(142, "+CCWA: 1,1,\"+4912345\",145\r", 112);
    ASSERT_TRUE(detail);
    EXPECT_EQ(Field(detail->result.serviceDetail.number), "+4912345");
    EXPECT_EQ(detail->result.serviceDetail.numberType, 145);

    for (uint32_t kind : {8u, kNoServiceReply}) {
        serviceReplyKind = kind;
        EXPECT_TRUE(Solicited(142, "+CLCK: 1\r").empty()) << kind;
    }
}

// The decoder's table of cases and the command catalogue are written apart;
// every command must give exactly the results the catalogue promises, under
// every setting of the selectors.
TEST_F(SolicitedDecoder, CasesAgreeWithTheCatalogue) {
    // Commands without a text of their own are not in the catalogue.
    const std::map<int32_t, std::set<int32_t>> withoutText = {
        {117, {117}}, {118, {118}}, {131, {132}}, {142, {101, 107, 108, 109, 110, 111, 112, 113}},
        {226, {38}},
    };
    for (int32_t id = kFirstCommandId - 1; id <= kLastCommandId + 1; ++id) {
        std::set<int32_t> given;
        for (uint32_t selector = 0; selector <= 8; ++selector) {
            SetMessageForms(selector, selector);
            serviceReplyKind = selector;
            for (uint32_t raw : {0u, 1u}) {
                ATResponseRecord line;
                line.firstParam.rawLine = raw;
                int32_t result = ChooseSolicitedForm(id, line).resultId;
                if (result != 0) given.insert(result);
            }
        }
        std::set<int32_t> promised;
        for (int32_t result : CatalogueResults(id)) promised.insert(result);
        if (auto it = withoutText.find(id); it != withoutText.end()) promised = it->second;
        EXPECT_EQ(given, promised) << "command " << id;
    }
}

}  // namespace
}  // namespace velk
