#include "decode/solicited_decoder.h"

#include <cstring>
#include <functional>

#include <map>
#include <set>

#include "decode/solicited_cases.h"
#include "decoder_fixture.h"
#include "engine/command_catalogue.h"

namespace velk {
namespace {

using Check = std::function<void(const ResultForms&)>;

struct CaseRow {
    int32_t command;
    const char* line;
    int32_t resultId;
    Check check;
};

// One row per case of the decoder's table: the reply line, the result id and
// what the block must hold.
const CaseRow kCaseRows[] = {
    {13, "+CPBR: 1,\"+4912345\",145,\"Mum\"\r", 14,
     [](const ResultForms& r) {
         EXPECT_EQ(r.phonebookEntry.index, 1);
         EXPECT_EQ(Field(r.phonebookEntry.number), "+4912345");
         EXPECT_EQ(r.phonebookEntry.numberType, 145);
         EXPECT_EQ(Field(r.phonebookEntry.text), "Mum");
     }},
    {18, "+CPBF: 2,\"555\",129,\"Bob\"\r", 19,
     [](const ResultForms& r) {
         EXPECT_EQ(r.phonebookFound.index, 2);
         EXPECT_EQ(Field(r.phonebookFound.text), "Bob");
     }},
    {24, "+CSMS: 1,0,1\r", 25,
     [](const ResultForms& r) {
         EXPECT_EQ(r.messageServiceSet.mobileTerminated, 1);
         EXPECT_EQ(r.messageServiceSet.mobileOriginated, 0);
         EXPECT_EQ(r.messageServiceSet.broadcast, 1);
     }},
    {28, "+CPMS: 3,20,5,30,0,10\r", 29,
     [](const ResultForms& r) {
         EXPECT_EQ(r.messageStoresSet.used1, 3);
         EXPECT_EQ(r.messageStoresSet.total2, 30);
         EXPECT_EQ(r.messageStoresSet.total3, 10);
     }},
    {39, "+CMGC: 17\r", 40, [](const ResultForms& r) { EXPECT_EQ(r.commandSent.reference, 17); }},
    {65, "+CMGS: 42\r", 66, [](const ResultForms& r) { EXPECT_EQ(r.messageSent.reference, 42); }},
    {67, "+CMSS: 43\r", 68, [](const ResultForms& r) { EXPECT_EQ(r.storedSent.reference, 43); }},
    {69, "+CMGW: 7\r", 70, [](const ResultForms& r) { EXPECT_EQ(r.messageWritten.index, 7); }},
    {76, "+COPS: 0,2,\"26201\"\r", 4,
     [](const ResultForms& r) {
         EXPECT_EQ(r.operatorSet.format, 2);
         EXPECT_EQ(Field(r.operatorSet.operatorName), "26201");
     }},
    {117, "+CLVL: 5\r", 117, [](const ResultForms& r) { EXPECT_EQ(r.oneNumber.value, 5); }},
    {118, "+CLVL: 6\r", 118, [](const ResultForms& r) { EXPECT_EQ(r.oneNumber.value, 6); }},
    {131, "+CLVL: 7\r", 132, [](const ResultForms& r) { EXPECT_EQ(r.oneNumber.value, 7); }},
    {135, "+CPUC: \"EUR\",\"0.25\"\r", 136,
     [](const ResultForms& r) {
         EXPECT_EQ(Field(r.twoTexts.first), "EUR");
         EXPECT_EQ(Field(r.twoTexts.second), "0.25");
     }},
    {141, "+CMUT: 1\r", 105,
     [](const ResultForms& r) {
         EXPECT_EQ(r.twoNumbers.values[0], 1);
         EXPECT_EQ(r.twoNumbers.values[1], 0) << "a short line leaves the rest 0";
     }},
    {166, "+CBC: ,50\r", 11,
     [](const ResultForms& r) {
         EXPECT_EQ(r.battery.connectionStatus, 0) << "an empty parameter stays 0";
         EXPECT_EQ(r.battery.chargeLevel, 50);
     }},
    {167, "Velk Mobile\r", 5,
     [](const ResultForms& r) { EXPECT_EQ(Field(r.manufacturer.text), "Velk Mobile\r"); }},
    {168, "V100\r", 6, [](const ResultForms& r) { EXPECT_EQ(Field(r.model.text), "V100\r"); }},
    {169, "+CGMR: R1.2\r", 7,
     [](const ResultForms& r) { EXPECT_EQ(Field(r.revision.text), "+CGMR: R1.2\r"); }},
    {170, "351234567890123\r", 8,
     [](const ResultForms& r) { EXPECT_EQ(Field(r.serial.text), "351234567890123\r"); }},
    {172, "+CSDH: (0,1)\r", 51,
     [](const ResultForms& r) { EXPECT_EQ(Field(r.showHeaderValues.values), "(0,1)"); }},
    {173, "+CNUM: \"Me\",\"+4915112345\",145,4\r", 80,
     [](const ResultForms& r) {
         EXPECT_EQ(Field(r.ownNumber.number), "+4915112345");
         EXPECT_EQ(Field(r.ownNumber.numberType), "145");
         EXPECT_EQ(r.ownNumber.speed, 4);
     }},
    {174, "262011234567890\r", 81,
     [](const ResultForms& r) { EXPECT_EQ(Field(r.imsi.imsi), "262011234567890\r"); }},
    {175, "+CPIN: READY\r", 83,
     [](const ResultForms& r) { EXPECT_EQ(Field(r.pinState.code), "READY"); }},
    {176, "+CACM: \"000120\"\r", 86,
     [](const ResultForms& r) { EXPECT_EQ(Field(r.callMeter.value), "000120"); }},
    {177, "+CAMM: \"001000\"\r", 88,
     [](const ResultForms& r) { EXPECT_EQ(Field(r.callMeterMaximum.value), "001000"); }},
    {178, "+CPUC: \"EUR\",\"0.25\"\r", 90,
     [](const ResultForms& r) {
         EXPECT_EQ(Field(r.pricePerUnit.currency), "EUR");
         EXPECT_EQ(Field(r.pricePerUnit.pricePerUnit), "0.25");
     }},
    {179, "+CSCS: \"GSM\"\r", 92,
     [](const ResultForms& r) { EXPECT_EQ(Field(r.characterSet.characterSet), "GSM"); }},
    {180, "+CSCS: (\"GSM\",\"IRA\")\r", 93,
     [](const ResultForms& r) { EXPECT_EQ(Field(r.characterSets.characterSets), "(GSM,IRA)"); }},
    {181, "+CREG: 0,1\r", 73,
     [](const ResultForms& r) {
         EXPECT_EQ(r.registration.presentation, 0);
         EXPECT_EQ(r.registration.state, 1);
     }},
    {183, "+CSQ: 17,99\r", 9,
     [](const ResultForms& r) {
         EXPECT_EQ(r.signal.rssi, 17);
         EXPECT_EQ(r.signal.ber, 99);
     }},
    {185, "+COPS: 0\r", 77,
     [](const ResultForms& r) {
         EXPECT_EQ(r.operatorCurrent.mode, 0);
         EXPECT_EQ(Field(r.operatorCurrent.operatorName), "");
     }},
    {186, "+COPS: (2,\"Velk\",\"VK\",\"26201\"),(3,\"Nord\",\"ND\",\"26202\"),,(0,1,3),(0,2)\r", 78,
     [](const ResultForms& r) {
         EXPECT_EQ(Field(r.operators.operators),
                   "(2,Velk,VK,26201),(3,Nord,ND,26202),(0,1,3),(0,2)");
     }},
    {190, "+CLCC: 1,0,0,0,0,\"+4912345\",145,\"Mum\"\r", 98,
     [](const ResultForms& r) {
         EXPECT_EQ(r.callEntry.callId, 1);
         EXPECT_EQ(Field(r.callEntry.number), "+4912345");
         EXPECT_EQ(r.callEntry.numberType, 145);
         EXPECT_EQ(Field(r.callEntry.alpha), "Mum");
     }},
    {195, "+CIND: 1,2,3,4,5,6,7,8,9,10,11\r", 114,
     [](const ResultForms& r) {
         EXPECT_EQ(r.tenNumbers.values[0], 1);
         EXPECT_EQ(r.tenNumbers.values[9], 10);
     }},
    {196, "+CLVL: 4\r", 115, [](const ResultForms& r) { EXPECT_EQ(r.twoNumbers.values[0], 4); }},
    {199, "+CIND: (0,1)\r", 106,
     [](const ResultForms& r) { EXPECT_EQ(Field(r.serviceList.list), "(0,1)"); }},
    {202, "+CCLK: \"08/07/04,17:24:55\"\r", 121,
     [](const ResultForms& r) { EXPECT_EQ(Field(r.oneText.text), "08/07/04,17:24:55"); }},
    {203, "+CPAS: 1,2,3,\"abc\",4,5,6,7,8,9\r", 125,
     [](const ResultForms& r) {
         EXPECT_EQ(r.mixedLine.leading[2], 3);
         EXPECT_EQ(Field(r.mixedLine.text), "abc");
         EXPECT_EQ(r.mixedLine.trailing[0], 4);
         EXPECT_EQ(r.mixedLine.trailing[5], 9);
     }},
    {204, "+CLVL: 8\r", 103, [](const ResultForms& r) { EXPECT_EQ(r.oneNumber.value, 8); }},
    {205, "+CLVL: 9\r", 126, [](const ResultForms& r) { EXPECT_EQ(r.oneNumber.value, 9); }},
    {206, "+CLVL: 1\r", 116, [](const ResultForms& r) { EXPECT_EQ(r.oneNumber.value, 1); }},
    {207, "+CPBS: \"SM\",12,250\r", 17,
     [](const ResultForms& r) {
         EXPECT_EQ(Field(r.phonebookStorage.storage), "SM");
         EXPECT_EQ(r.phonebookStorage.used, 12);
         EXPECT_EQ(r.phonebookStorage.total, 250);
     }},
    {208, "+CPBS: (\"SM\",\"ME\",\"FD\")\r", 15,
     [](const ResultForms& r) { EXPECT_EQ(Field(r.phonebookStorages.storages), "(SM,ME,FD)"); }},
    {209, "+CPBR: (1-250),20,16\r", 12,
     [](const ResultForms& r) {
         EXPECT_EQ(Field(r.phonebookReadRange.indexRange), "(1-250)");
         EXPECT_EQ(r.phonebookReadRange.numberLength, 20);
         EXPECT_EQ(r.phonebookReadRange.textLength, 16);
     }},
    {210, "+CPBF: 20,16\r", 20,
     [](const ResultForms& r) {
         EXPECT_EQ(r.phonebookFindRange.numberLength, 20);
         EXPECT_EQ(r.phonebookFindRange.textLength, 16);
     }},
    {211, "+CPBW: (1-250),20,(129,145),16\r", 22,
     [](const ResultForms& r) {
         EXPECT_EQ(Field(r.phonebookWriteRange.indexRange), "(1-250)");
         EXPECT_EQ(r.phonebookWriteRange.numberLength, 20);
         EXPECT_EQ(Field(r.phonebookWriteRange.numberTypes), "(129,145)");
         EXPECT_EQ(r.phonebookWriteRange.textLength, 16);
     }},
    {212, "+CSMS: 0,1,1,1\r", 26,
     [](const ResultForms& r) {
         EXPECT_EQ(r.messageService.service, 0);
         EXPECT_EQ(r.messageService.broadcast, 1);
     }},
    {213, "+CSMS: (0,1)\r", 27,
     [](const ResultForms& r) { EXPECT_EQ(Field(r.messageServices.services), "(0,1)"); }},
    {214, "+CMGF: 1\r", 42, [](const ResultForms& r) { EXPECT_EQ(r.messageFormat.format, 1); }},
    {215, "+CMGF: (0-1)\r", 43,
     [](const ResultForms& r) { EXPECT_EQ(Field(r.messageFormats.formats), "(0,-,1)"); }},
    {216, "+CSCA: \"+491710760000\",145\r", 46,
     [](const ResultForms& r) {
         EXPECT_EQ(Field(r.serviceCentre.address), "+491710760000");
         EXPECT_EQ(r.serviceCentre.addressType, 145);
     }},
    {217, "+CSMP: 17,167,0,8\r", 48,
     [](const ResultForms& r) {
         EXPECT_EQ(r.textParameters.firstOctet, 17);
         EXPECT_EQ(r.textParameters.validity, 167);
         EXPECT_EQ(r.textParameters.codingScheme, 8);
     }},
    {218, "+CSDH: 1\r", 50, [](const ResultForms& r) { EXPECT_EQ(r.showHeader.show, 1); }},
    {219, "+CNMI: 2,1,0,0,0\r", 53,
     [](const ResultForms& r) {
         EXPECT_EQ(r.indicationModes.mode, 2);
         EXPECT_EQ(r.indicationModes.deliver, 1);
         EXPECT_EQ(r.indicationModes.buffered, 0);
     }},
    {220, "+CNMI: (0-2),(0-3),(0,2),(0-2),(0,1)\r", 54,
     [](const ResultForms& r) {
         EXPECT_EQ(Field(r.indicationLists.modes), "(0,-,2)");
         EXPECT_EQ(Field(r.indicationLists.delivers), "(0,-,3)");
         EXPECT_EQ(Field(r.indicationLists.broadcasts), "(0,2)");
         EXPECT_EQ(Field(r.indicationLists.statusReports), "(0,-,2)");
         EXPECT_EQ(Field(r.indicationLists.buffereds), "(0,1)");
     }},
    {221, "+CPMS: \"SM\",3,20,\"ME\",5,100,\"SM\",3,20\r", 30,
     [](const ResultForms& r) {
         EXPECT_EQ(Field(r.messageStores.store1), "SM");
         EXPECT_EQ(Field(r.messageStores.store2), "ME");
         EXPECT_EQ(r.messageStores.total2, 100);
         EXPECT_EQ(r.messageStores.total3, 20);
     }},
    {222, "+CPMS: (\"SM\",\"ME\"),(\"SM\",\"ME\"),(\"SM\")\r", 31,
     [](const ResultForms& r) {
         EXPECT_EQ(Field(r.messageStoreLists.stores1), "(SM,ME)");
         EXPECT_EQ(Field(r.messageStoreLists.stores2), "(SM,ME)");
         EXPECT_EQ(Field(r.messageStoreLists.stores3), "(SM)");
     }},
    {223, "+CSCB: 0,\"50,221\",\"0\"\r", 33,
     [](const ResultForms& r) {
         EXPECT_EQ(r.broadcastSelection.mode, 0);
         EXPECT_EQ(Field(r.broadcastSelection.messageIds), "50,221");
         EXPECT_EQ(Field(r.broadcastSelection.codings), "0");
     }},
    {224, "+CSCB: (0,1)\r", 34,
     [](const ResultForms& r) { EXPECT_EQ(Field(r.broadcastModes.modes), "(0,1)"); }},
    {225, "+CSAS: (0-3)\r", 36,
     [](const ResultForms& r) { EXPECT_EQ(Field(r.saveProfiles.profiles), "(0-3)"); }},
    {226, "+CRES: (0-3)\r", 38,
     [](const ResultForms& r) { EXPECT_EQ(Field(r.restoreProfiles.profiles), "(0-3)"); }},
    {228, "+CMGL: (\"REC UNREAD\",\"ALL\")\r", 95,
     [](const ResultForms& r) { EXPECT_EQ(Field(r.listStates.states), "(REC UNREAD,ALL)"); }},
    {236, "+RNGI: \"Tone\",1,2,3\r", 151,
     [](const ResultForms& r) {
         EXPECT_EQ(Field(r.toneInfo.infoName), "Tone");
         EXPECT_EQ(r.toneInfo.nameLength, 4);
         EXPECT_EQ(r.toneInfo.infoNumber1, 1);
         EXPECT_EQ(r.toneInfo.infoNumber3, 3);
     }},
    {238, "+LOGOINF: \"Logo\",1,2,3,4\r", 160,
     [](const ResultForms& r) {
         EXPECT_EQ(Field(r.logoInfo.infoName), "Logo");
         EXPECT_EQ(r.logoInfo.nameLength, 4);
         EXPECT_EQ(r.logoInfo.infoNumber4, 4);
     }},
};

class SolicitedDecoder : public DecoderFixture {};

TEST_F(SolicitedDecoder, EveryCaseFillsItsForm) {
    for (const CaseRow& row : kCaseRows) {
        SCOPED_TRACE(row.line);
        BlockPtr block = One(row.command, row.line, row.resultId);
        if (block) row.check(block->result);
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
