#include "decode/solicited_decoder.h"

#include <map>
#include <set>

#include "decode/solicited_cases.h"
#include "decoder_fixture.h"
#include "engine/command_catalogue.h"

namespace velk {
namespace {

using F = ResultForms;
using S = std::string;

struct CaseRow {
    int32_t command;
    std::string line;
    Expected want;
    uint32_t listForm = 0, readForm = 0, service = kNoServiceReply;
};

// A row for each form of the decoder's table that the corpus of real replies
// (DecodeGolden) does not pin: the reply line and the block it must give, byte
// for byte. Which command gives which result id is checked for every command
// against the catalogue below.
// clang-format off
const CaseRow kCaseRows[] = {
    // A number that is no number reads as the no-value mark.
    {13, "+CPBR: x,\"1\",,\"a\"\r",
     {14, [](F& r) { r.phonebookEntry = {kOmitted, "1", kOmitted, "a"}; }}},
    {236, "+RNGI: \"T\",x,,3\r", {151, [](F& r) { r.toneInfo = {"T", 255, 255, 1, 3}; }}},
    {24, "+CSMS: 1,0,1\r", {25, [](F& r) { r.messageServiceSet = {1, 0, 1}; }}},
    {28, "+CPMS: 3,20,5,30,0,10\r", {29, [](F& r) { r.messageStoresSet = {3, 20, 5, 30, 0, 10}; }}},
    {39, "+CMGC: 17\r", {40, [](F& r) { r.commandSent = {17}; }}},
    {69, "+CMGW: 7\r", {70, [](F& r) { r.messageWritten = {7}; }}},
    {76, "+COPS: 0,2,\"26201\"\r", {4, [](F& r) { r.operatorSet = {0, 2, "26201"}; }}},
    {117, "+CLVL: 5\r", {117, [](F& r) { r.oneNumber = {5}; }}},
    {135, "+CPUC: \"EUR\",\"0.25\"\r", {136, [](F& r) { r.twoTexts = {"EUR", "0.25"}; }}},
    // A short line leaves the rest 0, and so does an empty parameter.
    {141, "+CMUT: 1\r", {105, [](F& r) { r.twoNumbers = {{1, 0}}; }}},
    {166, "+CBC: ,50\r", {11, [](F& r) { r.battery = {0, 50}; }}},
    {172, "+CSDH: (0,1)\r", {51, [](F& r) { Put(r.showHeaderValues.values, "(0,1)"); }}},
    {176, "+CACM: \"000120\"\r", {86, [](F& r) { Put(r.callMeter.value, "000120"); }}},
    {178, "+CPUC: \"EUR\",\"0.25\"\r", {90, [](F& r) { r.pricePerUnit = {"EUR", "0.25"}; }}},
    // Every group of the list of operators is kept; the empty parameter
    // between the groups is passed over.
    {186, "+COPS: (2,\"Velk\",\"VK\",\"26201\"),(3,\"Nord\",\"ND\",\"26202\"),,(0,1,3),(0,2)\r",
     {78, [](F& r) {
         Put(r.operators.operators, "(2,Velk,VK,26201),(3,Nord,ND,26202),(0,1,3),(0,2)"); }}},
    {190, "+CLCC: 1,0,0,0,0,\"+4912345\",145,\"Mum\"\r",
     {98, [](F& r) { r.callEntry = {1, 0, 0, 0, 0, "+4912345", 145, "Mum"}; }}},
    {195, "+CIND: 1,2,3,4,5,6,7,8,9,10,11\r",
     {114, [](F& r) { r.tenNumbers = {{1, 2, 3, 4, 5, 6, 7, 8, 9, 10}}; }}},
    {199, "+CIND: (0,1)\r", {106, [](F& r) { Put(r.serviceList.list, "(0,1)"); }}},
    {202, "+CCLK: \"08/07/04,17:24:55\"\r",
     {121, [](F& r) { Put(r.oneText.text, "08/07/04,17:24:55"); }}},
    {203, "+CPAS: 1,2,3,\"abc\",4,5,6,7,8,9\r",
     {125, [](F& r) { r.mixedLine = {{1, 2, 3}, "abc", {4, 5, 6, 7, 8, 9}}; }}},
    // A range is flattened with commas round its dash in a list of formats,
    // but kept as it is in a list of profiles.
    {215, "+CMGF: (0-1)\r", {43, [](F& r) { Put(r.messageFormats.formats, "(0,-,1)"); }}},
    {225, "+CSAS: (0-3)\r", {36, [](F& r) { Put(r.saveProfiles.profiles, "(0-3)"); }}},
    {210, "+CPBF: 20,16\r", {20, [](F& r) { r.phonebookFindRange = {20, 16}; }}},
    {211, "+CPBW: (1-250),20,(129,145),16\r",
     {22, [](F& r) { r.phonebookWriteRange = {"(1-250)", 20, "(129,145)", 16}; }}},
    {212, "+CSMS: 0,1,1,1\r", {26, [](F& r) { r.messageService = {0, 1, 1, 1}; }}},
    {213, "+CSMS: (0,1)\r", {27, [](F& r) { Put(r.messageServices.services, "(0,1)"); }}},
    {214, "+CMGF: 1\r", {42, [](F& r) { r.messageFormat = {1}; }}},
    {218, "+CSDH: 1\r", {50, [](F& r) { r.showHeader = {1}; }}},
    {219, "+CNMI: 2,1,0,0,0\r", {53, [](F& r) { r.indicationModes = {2, 1, 0, 0, 0}; }}},
    {223, "+CSCB: 0,\"50,221\",\"0\"\r",
     {33, [](F& r) { r.broadcastSelection = {0, "50,221", "0"}; }}},
    {224, "+CSCB: (0,1)\r", {34, [](F& r) { Put(r.broadcastModes.modes, "(0,1)"); }}},
    {228, "+CMGL: (\"REC UNREAD\",\"ALL\")\r",
     {95, [](F& r) { Put(r.listStates.states, "(REC UNREAD,ALL)"); }}},
    {236, "+RNGI: \"Tone\",1,2,3\r", {151, [](F& r) { r.toneInfo = {"Tone", 1, 2, 4, 3}; }}},
    {238, "+LOGOINF: \"Logo\",1,2,3,4\r",
     {160, [](F& r) { r.logoInfo = {"Logo", 4, 1, 2, 3, 4}; }}},
    // A tone part: an only part states the whole size and its text is not
    // counted; a first part gives the size in two seven-bit halves; a later
    // part keeps neither; a line that ends after the head leaves the tail empty.
    {152, "+RNGR: 3,\"Bell\",255,1,60,,\"ABCDEF\",77\r",
     {153, [](F& r) { r.tonePart = {3, "Bell", 4, 255, 1, 60, 0, 0, "ABCDEF", 77}; }}},
    {152, "+RNGR: 3,\"Bell\",1,4,2,10,\"ABCDEF\",78\r",
     {153, [](F& r) { r.tonePart = {3, "Bell", 4, 1, 4, 6, 2, 10, "ABCDEF", 78}; }}},
    {152, "+RNGR: 3,\"Bell\",2,4,9,9,\"ABC\",79\r",
     {153, [](F& r) { r.tonePart = {3, "Bell", 4, 2, 4, 3, 0, 0, "ABC", 79}; }}},
    {152, "+RNGR: 3,\"Bell\",1,4\r",
     {153, [](F& r) { r.tonePart = {3, "Bell", 4, 1, 4, 0, 0, 0, "", 0}; }}},
    // The image parameter digits give three numbers; omitted, they are 0.
    {157, "+IMGR: 1,\"Cat\",1,3,1,20,\"250010\",\"0A0B\",5\r",
     {158, [](F& r) { r.imagePart = {1, "Cat", 3, 1, 3, 4, 1, 20, "0A0B", 5, 25, 0, 10}; }}},
    {157, "+IMGR: 1,\"Cat\",2,3,,,,\"0A\",6\r",
     {158, [](F& r) { r.imagePart = {1, "Cat", 3, 2, 3, 2, 0, 0, "0A", 6, 0, 0, 0}; }}},
    // A logo splits country and network; it counts no text but an only part's.
    {161, "+LOGOR: 2,1,\"460-00\",1,255,60,,\"FF00\",9\r",
     {162, [](F& r) { r.logoPart = {2, "460", "00", 1, 255, 1, 60, 0, 0, "FF00", 9}; }}},
    {161, "+LOGOR: 2,1,\"262\",3,1,1,5,\"FF00\",9\r",
     {162, [](F& r) { r.logoPart = {2, "262", "", 1, 1, 3, 0, 1, 5, "FF00", 9}; }}},
    // A message read or list gives a header block and then a body block whose
    // text stands at the body's place in the form the selectors chose.
    {61, "+CMGR: \"STO UNSENT\",\"+4912345\",,\"\",129,17,0,0,167,\"+4917\",145,3\r",
     {62, [](F& r) { r.messageSubmitHeader = {
         "STO UNSENT", "+4912345", "", "", 129, 17, 0, 0, 167, "+4917", 145, 3, ""}; }}, 0, 1},
    {61, "Hi!\r", {231, [](F& r) { Put(r.messageSubmitHeader.body, "Hi!\r"); }}, 0, 1},
    {61, "+CMGR: \"REC READ\",1,50,0,1,2\r",
     {64, [](F& r) { r.broadcastHeader = {"REC READ", 1, 50, 0, 1, 2, ""}; }}, 0, 2},
    {61, "News\r", {233, [](F& r) { Put(r.broadcastHeader.body, "News\r"); }}, 0, 2},
    {94, "+CMGL: 1,\"REC READ\",\"+4912345\",,\"08/07/04\",145,5\r",
     {96, [](F& r) { r.listHeader = {1, "REC READ", "+4912345", "", "08/07/04", 145, 5, ""}; }}},
    {94, "Hello\r", {229, [](F& r) { Put(r.listHeader.body, "Hello\r"); }}},
    {94, "+CMGL: 2,\"REC READ\",1,50,1,1\r",
     {97, [](F& r) { r.listBroadcastHeader = {2, "REC READ", 1, 50, 1, 1, ""}; }}, 7},
    {94, "News\r", {230, [](F& r) { Put(r.listBroadcastHeader.body, "News\r"); }}, 7},
    // A service line's form follows the last service head a dial gave.
    {142, "+CLCK: 1\r", {113, [](F& r) { r.serviceLock = {1}; }}, 0, 0, 0},
    {142, "+CLIP: 0,1\r", {107, [](F& r) { r.serviceState = {{0, 1}}; }}, 0, 0, 1},
    {142, "+CLIR: 1,2\r", {108, [](F& r) { r.serviceState = {{1, 2}}; }}, 0, 0, 2},
    {142, "+COLP: 1\r", {109, [](F& r) { r.serviceState = {{1, 0}}; }}, 0, 0, 3},
    {142, "+COLR: 2,1\r", {110, [](F& r) { r.serviceState = {{2, 1}}; }}, 0, 0, 4},
    {142, "+CCFC: 1,4\r", {111, [](F& r) { r.serviceState = {{1, 4}}; }}, 0, 0, 5},
    {142, "+CCWA: 1,1,\"+4912345\",145\r",
     {112, [](F& r) { r.serviceDetail = {1, 1, "+4912345", 145}; }}, 0, 0, 6},
    {142, "+EXATDST: 1,2,3\r", {101, [](F& r) { r.exatdst = {{1, 2, 3}}; }}, 0, 0, 7},
    // Whatever length the phone sends, every text stays inside its field and
    // the fields behind it keep their values. A number of 32 characters is cut
    // to 31, a longer one leaves the field empty; a text of 257 is refused.
    {152, "+RNGR: 1,\"" + S(40, 'n') + "\",2,4,,,\"" + S(200, 'x') + "\",33\r", {153, [](F& r) {
         r.tonePart = {1, "", 40, 2, 4, 200, 0, 0, "", 33};
         Put(r.tonePart.name, S(10, 'n'));
         Put(r.tonePart.text, S(128, 'x')); }}},
    {161, "+LOGOR: 1,1,\"" + S(40, 'n') + "-" + S(40, 'n') + "\",1,2,,,\"" + S(200, 'x') + "\",8\r",
     {162, [](F& r) {
         r.logoPart = {1, "", "", 1, 2, 1, 0, 0, 0, "", 8};
         Put(r.logoPart.countryCode, S(10, 'n'));
         Put(r.logoPart.networkCode, S(10, 'n'));
         Put(r.logoPart.text, S(128, 'x')); }}},
    {236, "+RNGI: \"" + S(100, 'm') + "\",7,8,9\r", {151, [](F& r) {
         r.toneInfo = {"", 7, 8, 100, 9};
         Put(r.toneInfo.infoName, S(10, 'm')); }}},
    {13, "+CPBR: 1,\"" + S(32, '1') + "\",145,\"" + S(256, 'y') + "\"\r", {14, [](F& r) {
         r.phonebookEntry = {1, "", 145, ""};
         Put(r.phonebookEntry.number, S(31, '1'));
         Put(r.phonebookEntry.text, S(255, 'y')); }}},
    {13, "+CPBR: 1,\"" + S(33, '1') + "\",145,\"" + S(257, 'y') + "\"\r",
     {14, [](F& r) { r.phonebookEntry = {1, "", 145, ""}; }}},
    {207, "+CPBS: \"" + S(200, 'x') + "\",12,250\r", {17, [](F& r) {
         r.phonebookStorage = {"", 12, 250};
         Put(r.phonebookStorage.storage, S(83, 'x')); }}},
    {61, S(200, 'x') + "\r", {231, [](F& r) { Put(r.messageDeliverHeader.body, S(83, 'x')); }}},
};
// clang-format on

ReplySelectors Selectors(uint32_t listForm, uint32_t readForm, uint32_t service) {
    return {.serviceReplyKind = service, .messageListForm = listForm, .messageReadForm = readForm};
}

TEST(SolicitedDecoder, EveryCaseFillsItsForm) {
    for (const CaseRow& row : kCaseRows) {
        const ReplySelectors selectors = Selectors(row.listForm, row.readForm, row.service);
        if (ResultBlockPtr block = One(row.command, row.line, row.want.resultId, selectors)) {
            EXPECT_EQ(Difference(*block, row.want), "") << row.line;
        }
    }
}

TEST(SolicitedDecoder, CommandsWithoutACaseGiveNothing) {
    for (int32_t command : {0, 12, 14, 100, 151, 227, 239, 240, 1000, -5}) {
        EXPECT_FALSE(Solicited(command, "+CLVL: 5\r").result) << command;
    }
    EXPECT_FALSE(Solicited(61, "News\r", Selectors(0, 3, 0)).result)
        << "no read form beyond the broadcast one";
    for (uint32_t kind : {8u, kNoServiceReply}) {
        EXPECT_FALSE(Solicited(142, "+CLCK: 1\r", Selectors(0, 0, kind)).result) << kind;
    }
}

TEST(SolicitedDecoder, BadImageParameterGivesAnErrorBeforeThePart) {
    for (const char* digits : {"2500", "25001", "25A010", "25001011"}) {
        std::string line = std::string("+IMGR: 1,\"Cat\",255,1,40,,\"") + digits + "\",\"0A\",7\r";
        DecodedBlocks blocks = Solicited(157, line);
        ASSERT_TRUE(blocks.error && blocks.result) << digits;
        const std::string error = std::string("animParam ") + digits + " is not right";
        EXPECT_EQ(Difference(*blocks.error, {3, [&](F& r) { Put(r.error.message, error); }}), "");
        EXPECT_EQ(Difference(*blocks.result, {158,
                                              [](F& r) {
                                                  r.imagePart = {1, "Cat", 3, 255, 1, 40, 0,
                                                                 0, "0A",  7, 0,   0, 0};
                                              }}),
                  "");
    }
}

// An error text of 256 characters is cut to the field, which keeps its
// terminator; one of 257 is refused and leaves the message empty.
TEST(ErrorBlock, CutsOrEmptiesALongMessage) {
    const std::string text(256, 'e');
    EXPECT_EQ(Field(ErrorBlock(text)->result.error.message), text.substr(0, 255));
    EXPECT_EQ(Field(ErrorBlock(text + "e")->result.error.message), "");
}

TEST(SolicitedDecoder, ImageInformationKeepsFrameRangesInOrder) {
    ResultBlockPtr block = One(237, "+IMGINF: \"Anim\",1,2,3,4,5,3,1,4,5,2,9\r", 156);
    ASSERT_TRUE(block);
    const ResultImageInfo& info = block->result.imageInfo;
    EXPECT_EQ(Field(info.infoName), "Anim");
    EXPECT_EQ(info.nameLength, 4);
    EXPECT_EQ(info.infoNumber1, 1);
    EXPECT_EQ(info.infoNumber5, 5);
    ASSERT_NE(info.frameRanges, nullptr);
    EXPECT_EQ(*info.frameRanges, (WordList{3, 1, 4, 5, 2, 9}));

    block = One(237, "+IMGINF: \"Anim\",1,2\r", 156);
    ASSERT_TRUE(block);
    ASSERT_NE(block->result.imageInfo.frameRanges, nullptr);
    EXPECT_TRUE(block->result.imageInfo.frameRanges->empty());
}

// A flattened list stops at its field's end.
TEST(SolicitedDecoder, LongListStaysInsideItsField) {
    std::string many = "+CNMI: (";
    for (int i = 0; i < 60; ++i) many += (i ? "," : "") + std::to_string(i);
    ResultBlockPtr block = One(220, many + "),(0,1)\r", 54);
    ASSERT_TRUE(block);
    EXPECT_EQ(Field(block->result.indicationLists.modes), many.substr(7, 83));
    EXPECT_EQ(Field(block->result.indicationLists.delivers), "(0,1)");
}

// The decoder's table of cases and the command catalogue are written apart;
// every command must give exactly the results the catalogue promises, under
// every setting of the selectors.
TEST(SolicitedDecoder, CasesAgreeWithTheCatalogue) {
    // Commands without a text of their own are not in the catalogue.
    const std::map<int32_t, std::set<int32_t>> withoutText = {
        {117, {117}}, {118, {118}}, {131, {132}}, {142, {101, 107, 108, 109, 110, 111, 112, 113}},
        {226, {38}},
    };
    for (int32_t id = kFirstCommandId - 1; id <= kLastCommandId + 1; ++id) {
        std::set<int32_t> given;
        for (uint32_t selector = 0; selector <= 8; ++selector) {
            for (uint32_t raw : {0u, 1u}) {
                ATResponseRecord line;
                line.firstParam.rawLine = raw;
                const SolicitedForm form =
                    ChooseSolicitedForm(id, line, Selectors(selector, selector, selector));
                if (form.resultId != 0) given.insert(form.resultId);
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
