#include "engine/command_text_builder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "engine/command_block.h"
#include "engine/command_catalogue.h"

namespace velk {
namespace {

using namespace std::string_literals;

constexpr int32_t kUntouched = 4242;

struct BlockDeleter {
    void operator()(ATCommandBlock* block) const { FreeCommandBlock(block); }
};
using BlockPtr = std::unique_ptr<ATCommandBlock, BlockDeleter>;

BlockPtr NewBlock() {
    return BlockPtr(AllocCommandBlock());
}

// Copies `text` into a fixed field without its terminator when it fills the
// field, as a careless caller might.
template <size_t N>
void Put(char (&field)[N], std::string_view text) {
    std::memset(field, 0, N);
    std::memcpy(field, text.data(), std::min(text.size(), N));
}

struct BuilderCase {
    const char* name;
    int32_t id;
    std::function<void(RequestForms&)> fill;
    std::string line;
};

std::ostream& operator<<(std::ostream& out, const BuilderCase& c) {
    return out << c.name;
}

constexpr int32_t O = kOmitted;

// One or more rows for every command that takes parameters, including the
// places where a left-out parameter ends the line or leaves a gap.
const std::vector<BuilderCase> kRows = {
    {"PhonebookReadRange", 13,
     [](RequestForms& r) {
         r.phonebookRead = {5, 9};
     },
     "AT+CPBR=5,9"},
    {"PhonebookReadOne", 13,
     [](RequestForms& r) {
         r.phonebookRead = {5, O};
     },
     "AT+CPBR=5"},
    {"PhonebookReadZeroesAreSent", 13, [](RequestForms&) {}, "AT+CPBR=0,0"},
    {"PhonebookStorage", 16, [](RequestForms& r) { Put(r.phonebookStorage.storage, "SM"); },
     "AT+CPBS=\"SM\""},
    {"PhonebookStorageEmpty", 16, [](RequestForms&) {}, "AT+CPBS=\"\""},
    {"PhonebookFind", 18, [](RequestForms& r) { Put(r.phonebookFind.findText, "Bob"); },
     "AT+CPBF=\"Bob\""},
    {"PhonebookWriteFull", 21,
     [](RequestForms& r) {
         r.phonebookWrite.index = 3;
         Put(r.phonebookWrite.number, "12345");
         r.phonebookWrite.type = 129;
         Put(r.phonebookWrite.text, "Ann");
     },
     "AT+CPBW=3,\"12345\",129,\"Ann\""},
    {"PhonebookWriteNoIndexGoesOn", 21,
     [](RequestForms& r) {
         r.phonebookWrite.index = O;
         Put(r.phonebookWrite.number, "12345");
         r.phonebookWrite.type = 129;
         Put(r.phonebookWrite.text, "Ann");
     },
     "AT+CPBW=,\"12345\",129,\"Ann\""},
    {"PhonebookWriteNoTypeGoesOn", 21,
     [](RequestForms& r) {
         r.phonebookWrite.index = 3;
         Put(r.phonebookWrite.number, "12345");
         r.phonebookWrite.type = O;
         Put(r.phonebookWrite.text, "Ann");
     },
     "AT+CPBW=3,\"12345\",,\"Ann\""},
    {"PhonebookWriteNoText", 21,
     [](RequestForms& r) {
         r.phonebookWrite.index = 3;
         Put(r.phonebookWrite.number, "12345");
         r.phonebookWrite.type = 145;
     },
     "AT+CPBW=3,\"12345\",145,"},
    {"PhonebookWriteEmptyNumberEndsAfterIndex", 21,
     [](RequestForms& r) {
         r.phonebookWrite.index = 3;
         r.phonebookWrite.type = 129;
         Put(r.phonebookWrite.text, "Ann");
     },
     "AT+CPBW=3"},
    {"PhonebookWriteNothing", 21, [](RequestForms& r) { r.phonebookWrite.index = O; }, "AT+CPBW="},
    {"PhonebookDelete", 23, [](RequestForms& r) { r.phonebookDelete.index = 4; }, "AT+CPBD=4"},
    {"PhonebookDeleteWithNumber", 23,
     [](RequestForms& r) {
         r.phonebookDelete.index = 4;
         Put(r.phonebookDelete.number, "555");
     },
     "AT+CPBD=4,\"555\""},
    {"MessageService", 24, [](RequestForms& r) { r.messageService.service = 1; }, "AT+CSMS=1"},
    {"MessageServiceOmitted", 24, [](RequestForms& r) { r.messageService.service = O; },
     "AT+CSMS="},
    {"MessageMemoriesThree", 28,
     [](RequestForms& r) {
         Put(r.messageMemories.memory1, "SM");
         Put(r.messageMemories.memory2, "ME");
         Put(r.messageMemories.memory3, "SR");
     },
     "AT+CPMS=\"SM\",\"ME\",\"SR\""},
    {"MessageMemoriesSecondMissingEndsLine", 28,
     [](RequestForms& r) {
         Put(r.messageMemories.memory1, "SM");
         Put(r.messageMemories.memory3, "SR");
     },
     "AT+CPMS=\"SM\""},
    {"MessageMemoriesTwo", 28,
     [](RequestForms& r) {
         Put(r.messageMemories.memory1, "SM");
         Put(r.messageMemories.memory2, "ME");
     },
     "AT+CPMS=\"SM\",\"ME\""},
    {"BroadcastSelect", 32,
     [](RequestForms& r) {
         r.broadcastSelect.mode = 0;
         Put(r.broadcastSelect.messageIds, "1,5");
         Put(r.broadcastSelect.codingSchemes, "0-3");
     },
     "AT+CSCB=0,\"1,5\",\"0-3\""},
    {"BroadcastSelectModeOnly", 32,
     [](RequestForms& r) { Put(r.broadcastSelect.codingSchemes, "0-3"); }, "AT+CSCB=0"},
    {"BroadcastSelectNothing", 32, [](RequestForms& r) { r.broadcastSelect.mode = O; }, "AT+CSCB="},
    {"SaveProfile", 35, [](RequestForms& r) { r.profile.profile = 2; }, "AT+CSAS=2"},
    {"SaveProfileOmitted", 35, [](RequestForms& r) { r.profile.profile = O; }, "AT+CSAS"},
    {"RestoreProfile", 37, [](RequestForms& r) { r.profile.profile = 1; }, "AT+CRES=1"},
    {"RestoreProfileOmitted", 37, [](RequestForms& r) { r.profile.profile = O; }, "AT+CRES"},
    {"MessageCommandFull", 39,
     [](RequestForms& r) {
         r.messageCommand = {2, 16, 0, 3, {}, 129};
         Put(r.messageCommand.address, "123");
     },
     "AT+CMGC=2,16,0,3,\"123\",129"},
    {"MessageCommandNoProtocolEndsLine", 39,
     [](RequestForms& r) { r.messageCommand = {2, 16, O, 3, {}, 129}; }, "AT+CMGC=2,16"},
    {"MessageCommandNoAddress", 39,
     [](RequestForms& r) { r.messageCommand = {2, 16, 0, 3, {}, 129}; }, "AT+CMGC=2,16,0,3"},
    {"MessageCommandNoType", 39,
     [](RequestForms& r) {
         r.messageCommand = {2, 16, 0, 3, {}, O};
         Put(r.messageCommand.address, "123");
     },
     "AT+CMGC=2,16,0,3,\"123\""},
    {"MessageFormat", 41, [](RequestForms& r) { r.mode.mode = 1; }, "AT+CMGF=1"},
    {"MessageFormatOmitted", 41, [](RequestForms& r) { r.mode.mode = O; }, "AT+CMGF="},
    {"ServiceCentre", 45,
     [](RequestForms& r) {
         Put(r.address.address, "+4412");
         r.address.addressType = 145;
     },
     "AT+CSCA=\"+4412\",145"},
    {"ServiceCentreNoType", 45,
     [](RequestForms& r) {
         Put(r.address.address, "+4412");
         r.address.addressType = O;
     },
     "AT+CSCA=\"+4412\""},
    {"MessageParameters", 47,
     [](RequestForms& r) {
         r.messageParameters = {17, 167, 0, 0};
     },
     "AT+CSMP=17,167,0,0"},
    {"MessageParametersFirstOnly", 47,
     [](RequestForms& r) {
         r.messageParameters = {17, O, 0, 0};
     },
     "AT+CSMP=17"},
    {"MessageParametersNone", 47,
     [](RequestForms& r) {
         r.messageParameters = {O, 1, 2, 3};
     },
     "AT+CSMP="},
    {"ShowHeader", 49, [](RequestForms& r) { r.showHeader.show = 1; }, "AT+CSDH=1"},
    {"ShowHeaderOmitted", 49, [](RequestForms& r) { r.showHeader.show = O; }, "AT+CSDH="},
    {"Indications", 52,
     [](RequestForms& r) {
         r.indications = {2, 1, 0, 0, 1};
     },
     "AT+CNMI=2,1,0,0,1"},
    {"IndicationsTwo", 52,
     [](RequestForms& r) {
         r.indications = {2, 1, O, 0, 1};
     },
     "AT+CNMI=2,1"},
    {"MessageRead", 61, [](RequestForms& r) { r.index.index = 7; }, "AT+CMGR=7"},
    {"MessageSend", 65,
     [](RequestForms& r) {
         Put(r.address.address, "0123");
         r.address.addressType = 129;
     },
     "AT+CMGS=\"0123\",129"},
    {"MessageSendNoType", 65,
     [](RequestForms& r) {
         Put(r.address.address, "0123");
         r.address.addressType = O;
     },
     "AT+CMGS=\"0123\""},
    {"StoredSend", 67,
     [](RequestForms& r) {
         r.storedSend.index = 3;
         Put(r.storedSend.address, "0123");
         r.storedSend.addressType = 129;
     },
     "AT+CMSS=3,\"0123\",129"},
    {"StoredSendTypeZeroLeftOut", 67,
     [](RequestForms& r) {
         r.storedSend.index = 3;
         Put(r.storedSend.address, "0123");
     },
     "AT+CMSS=3,\"0123\""},
    {"StoredSendType65535IsSent", 67,
     [](RequestForms& r) {
         r.storedSend.index = 3;
         Put(r.storedSend.address, "0123");
         r.storedSend.addressType = O;
     },
     "AT+CMSS=3,\"0123\",65535"},
    {"StoredSendNoAddress", 67,
     [](RequestForms& r) {
         r.storedSend.index = 3;
         r.storedSend.addressType = 129;
     },
     "AT+CMSS=3"},
    {"MessageWrite", 69,
     [](RequestForms& r) {
         Put(r.messageWrite.address, "0123");
         r.messageWrite.addressType = 129;
         Put(r.messageWrite.status, "STO UNSENT");
     },
     "AT+CMGW=\"0123\",129,\"STO UNSENT\""},
    {"MessageWriteNoTypeEndsLine", 69,
     [](RequestForms& r) {
         Put(r.messageWrite.address, "0123");
         r.messageWrite.addressType = O;
         Put(r.messageWrite.status, "STO UNSENT");
     },
     "AT+CMGW=\"0123\""},
    {"MessageWriteNoStatus", 69,
     [](RequestForms& r) {
         Put(r.messageWrite.address, "0123");
         r.messageWrite.addressType = 129;
     },
     "AT+CMGW=\"0123\",129"},
    {"MessageDelete", 71, [](RequestForms& r) { r.index.index = 2; }, "AT+CMGD=2"},
    {"Registration", 72, [](RequestForms& r) { r.mode.mode = 1; }, "AT+CREG=1"},
    {"RegistrationModeIsNeverOmitted", 72, [](RequestForms& r) { r.mode.mode = O; },
     "AT+CREG=65535"},
    {"Operator", 76,
     [](RequestForms& r) {
         r.operatorSelect.mode = 1;
         r.operatorSelect.format = 2;
         Put(r.operatorSelect.operatorName, "26201");
     },
     "AT+COPS=1,2,\"26201\""},
    {"OperatorEmptyName", 76, [](RequestForms&) {}, "AT+COPS=0,0,\"\""},
    {"PinEndsInComma", 82,
     [](RequestForms& r) {
         r.pin.code = 1;
         Put(r.pin.pin, "1234");
         Put(r.pin.newPin, "4321");
     },
     "AT+CPIN=1,\"1234\",\"4321\","},
    {"PinEmpty", 82, [](RequestForms&) {}, "AT+CPIN=0,\"\",\"\","},
    {"MeterReset", 85, [](RequestForms& r) { Put(r.meterReset.value, "0000"); },
     "AT+CACM=\"0000\""},
    {"MeterMaximum", 87,
     [](RequestForms& r) {
         Put(r.meterMaximum.value, "500");
         Put(r.meterMaximum.password, "1111");
     },
     "AT+CAMM=\"500\",\"1111\""},
    {"PricePerUnit", 89,
     [](RequestForms& r) {
         Put(r.pricePerUnit.currency, "EUR");
         Put(r.pricePerUnit.price, "0.20");
         Put(r.pricePerUnit.password, "1111");
     },
     "AT+CPUC=\"EUR\",\"0.20\",\"1111\""},
    {"CharacterSet", 91, [](RequestForms& r) { Put(r.characterSet.characterSet, "GSM"); },
     "AT+CSCS=\"GSM\""},
    {"MessageList", 94, [](RequestForms& r) { Put(r.messageList.status, "REC UNREAD"); },
     "AT+CMGL=\"REC UNREAD\""},
    {"MessageListAll", 94, [](RequestForms&) {}, "AT+CMGL"},
    {"Memory", 140, [](RequestForms& r) { Put(r.memory.memory, "ME"); }, "AT+CPMS=\"ME\""},
    {"ThreeIndications", 146,
     [](RequestForms& r) {
         r.indications = {2, 1, 0, 1, 1};
     },
     "AT+CNMI=2,1,0"},
    {"ThreeIndicationsNeverOmitted", 146,
     [](RequestForms& r) {
         r.indications = {O, O, O, 0, 0};
     },
     "AT+CNMI=65535,65535,65535"},
    {"Value119", 119, [](RequestForms& r) { r.value.value = 1; }, "AT+CMGR=1"},
    {"Value133", 133, [](RequestForms& r) { r.value.value = -3; }, "AT+CMGR=-3"},
    {"Value135", 135, [](RequestForms& r) { r.value.value = O; }, "AT+CMGR=65535"},
    {"Value138", 138, [](RequestForms& r) { r.value.value = 4; }, "AT+CMGR=4"},
    {"Value145", 145, [](RequestForms& r) { r.value.value = 5; }, "AT+CMGR=5"},
    {"Value148", 148, [](RequestForms& r) { r.value.value = 6; }, "AT+CMGR=6"},
    {"Value149", 149, [](RequestForms& r) { r.value.value = 7; }, "AT+CMGR=7"},
    {"TextValue134", 134,
     [](RequestForms& r) {
         Put(r.textValue.text, "abc");
         r.textValue.value = 4;
     },
     "AT+CMGR=\"abc\",4"},
    {"TextValue150", 150, [](RequestForms& r) { r.textValue.value = 9; }, "AT+CMGR=\"\",9"},
    {"TwoTextValues", 141,
     [](RequestForms& r) {
         Put(r.twoTextValues.text1, "a");
         r.twoTextValues.value1 = 1;
         Put(r.twoTextValues.text2, "b");
         r.twoTextValues.value2 = 2;
     },
     "AT+CMGR=\"a\",1,\"b\",2"},
    {"TenValuesNoneOmitted", 143,
     [](RequestForms& r) {
         r.tenValues = {{1, 2, 3, 4, O, 6, 7, 8, 9, 10}};
     },
     "AT+CMGR=1,2,3,4,65535,6,7,8,9,10"},
    {"ValuePair", 144,
     [](RequestForms& r) {
         r.valuePair = {3, 4};
     },
     "AT+CMGR=3,4"},
    {"ValueText", 147,
     [](RequestForms& r) {
         r.valueText.value = 5;
         Put(r.valueText.text, "x");
     },
     "AT+CMGR=5,\"x\""},
    {"ToneRead", 152, [](RequestForms& r) { r.slot.slot = 3; }, "AT+RNGR=3"},
    {"ImageRead", 157, [](RequestForms& r) { r.slot.slot = 200; }, "AT+IMGR=200"},
    {"LogoRead", 161, [](RequestForms& r) { r.slot.slot = 0; }, "AT+LOGOR=0"},
};

void FillToneChunk(RequestToneChunk& c, uint8_t chunkIndex) {
    c.slot = 2;
    Put(c.name, "Song");
    c.nameLength = 4;
    c.kind = 0;
    c.flag = 0;
    c.chunkIndex = chunkIndex;
    c.chunkCount = 3;
    c.chunkRest = 40;
    Put(c.body, "ABC");
    c.bodyLength = 3;
    c.check = 99;
}

void FillImageChunk(RequestImageChunk& c, uint8_t chunkIndex, uint8_t first, uint8_t second,
                    uint8_t last) {
    c.slot = 1;
    Put(c.name, "Pic");
    c.nameLength = 3;
    c.kind = 0;
    c.flag = 1;
    c.chunkIndex = chunkIndex;
    c.chunkCount = 2;
    c.chunkRest = 10;
    Put(c.body, "IMG");
    c.bodyLength = 3;
    c.check = 7;
    c.animParamFirst = first;
    c.animParamSecond = second;
    c.animParamLast = last;
}

void FillPlayChunk(RequestPlayChunk& c, uint8_t chunkIndex) {
    c.slot = 1;
    c.value = 7;
    c.chunkIndex = chunkIndex;
    c.chunkCount = 4;
    c.chunkRest = 9;
    Put(c.body, "XY");
    c.bodyLength = 2;
    c.check = 5;
}

void FillLogoChunk(RequestLogoChunk& c, uint8_t chunkIndex) {
    c.slot = 1;
    Put(c.code1, "abc");
    Put(c.code2, "d1e");
    c.mode = 0;
    c.chunkIndex = chunkIndex;
    c.total = 5;
    c.chunkCount = 5;
    c.chunkRest = 17;
    Put(c.body, "LOGO");
    c.bodyLength = 4;
    c.check = 3;
}

// The data writes: every branch of the chunk index, and the early ends.
const std::vector<BuilderCase> kChunkRows = {
    {"ToneKindOneEndsAfterKind", 154,
     [](RequestForms& r) {
         FillToneChunk(r.toneChunk, 1);
         r.toneChunk.kind = 1;
     },
     "AT+RNGW=2,\"Song\",1"},
    {"ToneOpeningChunk", 154, [](RequestForms& r) { FillToneChunk(r.toneChunk, 1); },
     "AT+RNGW=2,\"Song\",0,0,1,3,40,ABC,99"},
    {"ToneLengthChunk", 154, [](RequestForms& r) { FillToneChunk(r.toneChunk, 255); },
     "AT+RNGW=2,\"Song\",0,0,255,3,,ABC,99"},
    {"ToneMiddleChunk", 154, [](RequestForms& r) { FillToneChunk(r.toneChunk, 2); },
     "AT+RNGW=2,\"Song\",0,0,2,,,ABC,99"},
    {"ToneNameCutToItsLength", 154,
     [](RequestForms& r) {
         FillToneChunk(r.toneChunk, 2);
         Put(r.toneChunk.name, "Melody");
         r.toneChunk.nameLength = 3;
     },
     "AT+RNGW=2,\"Mel\",0,0,2,,,ABC,99"},
    {"ImageDigits250304", 159, [](RequestForms& r) { FillImageChunk(r.imageChunk, 1, 25, 3, 4); },
     "AT+IMGW=1,\"Pic\",0,1,1,2,10,\"250304\",IMG,7"},
    {"ImageDigits2512010", 159,
     [](RequestForms& r) { FillImageChunk(r.imageChunk, 255, 25, 12, 10); },
     "AT+IMGW=1,\"Pic\",0,1,255,3,,\"2512010\",IMG,7"},
    {"ImageDigitsSecondOfTwoDigitsNotPadded", 159,
     [](RequestForms& r) { FillImageChunk(r.imageChunk, 2, 25, 10, 1); },
     "AT+IMGW=1,\"Pic\",0,1,2,,,\"251001\",IMG,7"},
    {"ImageDigitsDefault", 159, [](RequestForms& r) { FillImageChunk(r.imageChunk, 4, 0, 0, 0); },
     "AT+IMGW=1,\"Pic\",0,1,4,,,\"250000\",IMG,7"},
    {"ImageKindOneEndsAfterKind", 159,
     [](RequestForms& r) {
         FillImageChunk(r.imageChunk, 1, 25, 3, 4);
         r.imageChunk.kind = 1;
     },
     "AT+IMGW=1,\"Pic\",1"},
    {"PlayLengthChunk", 155, [](RequestForms& r) { FillPlayChunk(r.playChunk, 255); },
     "AT+RNGP=1,255,7,XY,5"},
    {"PlayOpeningChunk", 155, [](RequestForms& r) { FillPlayChunk(r.playChunk, 1); },
     "AT+RNGP=1,1,4,9,XY,5"},
    {"PlayMiddleChunk", 155, [](RequestForms& r) { FillPlayChunk(r.playChunk, 3); },
     "AT+RNGP=1,3,XY,5"},
    {"LogoWithoutChunk", 163, [](RequestForms& r) { FillLogoChunk(r.logoChunk, 0); },
     "AT+ LOGOW=1,0,\"ABC-D1E\",,0,,,,"},
    {"LogoOpeningChunk", 163, [](RequestForms& r) { FillLogoChunk(r.logoChunk, 1); },
     "AT+ LOGOW=1,0,\"ABC-D1E\",5,1,5,17,LOGO,3"},
    {"LogoLengthChunk", 163, [](RequestForms& r) { FillLogoChunk(r.logoChunk, 255); },
     "AT+ LOGOW=1,0,\"ABC-D1E\",5,255,4,,LOGO,3"},
    {"LogoMiddleChunk", 163, [](RequestForms& r) { FillLogoChunk(r.logoChunk, 2); },
     "AT+ LOGOW=1,0,\"ABC-D1E\",5,2,,,LOGO,3"},
};

class BuilderRow : public ::testing::TestWithParam<BuilderCase> {};

TEST_P(BuilderRow, GivesItsLine) {
    const BuilderCase& row = GetParam();
    BlockPtr block = NewBlock();
    block->commandId = row.id;
    row.fill(block->request);
    int32_t currentCommand = kUntouched;
    EXPECT_EQ(BuildCommandText(row.id, *block, currentCommand), row.line);
    EXPECT_EQ(currentCommand, row.id);
}

std::string RowName(const ::testing::TestParamInfo<BuilderCase>& info) {
    return info.param.name;
}

INSTANTIATE_TEST_SUITE_P(PlainForms, BuilderRow, ::testing::ValuesIn(kRows), RowName);
INSTANTIATE_TEST_SUITE_P(ChunkForms, BuilderRow, ::testing::ValuesIn(kChunkRows), RowName);

struct BareCommand {
    int32_t id;
    const char* text;
};

// Commands that take no parameters, among them the message reads that differ
// only in how their reply is decoded.
const std::vector<BareCommand> kBareCommands = {
    {164, "ATZ"},        {165, "ATV1E0"},    {166, "AT+CBC"},    {167, "AT+CGMI"},
    {168, "AT+CGMM"},    {169, "AT+CGMR"},   {170, "AT+CGSN"},   {172, "AT+CSDH=?"},
    {173, "AT+CNUM"},    {174, "AT+CIMI"},   {175, "AT+CPIN?"},  {176, "AT+CACM?"},
    {177, "AT+CAMM?"},   {178, "AT+CPUC?"},  {179, "AT+CSCS?"},  {180, "AT+CSCS=?"},
    {181, "AT+CREG?"},   {182, "AT+CREG=?"}, {183, "AT+CSQ"},    {184, "AT+CSQ=?"},
    {185, "AT+COPS?"},   {186, "AT+COPS=?"}, {190, "AT+CMGR="},  {191, "AT+CMGR="},
    {192, "AT+CMGR="},   {194, "AT+CMGR="},  {195, "AT+CMGR="},  {196, "AT+CMGR="},
    {197, "AT+CMGR="},   {198, "AT+CMGR="},  {199, "AT+CMGR="},  {200, "AT+CMGR="},
    {201, "AT+CMGR="},   {202, "AT+CMGR="},  {203, "AT+CMGR="},  {204, "AT+CMGR="},
    {205, "AT+CMGR="},   {206, "AT+CMGR="},  {207, "AT+CPBS?"},  {208, "AT+CPBS=?"},
    {209, "AT+CPBR=?"},  {210, "AT+CPBF=?"}, {211, "AT+CPBW=?"}, {212, "AT+CSMS?"},
    {213, "AT+CSMS=?"},  {214, "AT+CMGF?"},  {215, "AT+CMGF=?"}, {216, "AT+CSCA?"},
    {217, "AT+CSMP?"},   {218, "AT+CSDH?"},  {219, "AT+CNMI?"},  {220, "AT+CNMI=?"},
    {221, "AT+CPMS?"},   {222, "AT+CPMS=?"}, {223, "AT+CSCB?"},  {224, "AT+CSCB=?"},
    {225, "AT+CSAS=?"},  {228, "AT+CMGL=?"}, {236, "AT+RNGI"},   {237, "AT+IMGINF"},
    {238, "AT+LOGOINF"}, {239, "AT"},        {240, "ATE0"},      {241, "ATE1"},
};

TEST(BuildCommandText, BareCommandsIgnoreWhatTheBlockHolds) {
    ASSERT_EQ(kBareCommands.size(), 64u);  // with the 51 parameter forms, the whole catalogue
    for (const int fill : {0x00, 0x31, 0xFF}) {
        for (const BareCommand& bare : kBareCommands) {
            SCOPED_TRACE("id " + std::to_string(bare.id) + " fill " + std::to_string(fill));
            BlockPtr block = NewBlock();
            std::memset(&block->request, fill, sizeof(block->request));
            int32_t currentCommand = kUntouched;
            EXPECT_EQ(BuildCommandText(bare.id, *block, currentCommand), bare.text);
            EXPECT_EQ(currentCommand, bare.id);
        }
    }
}

// Each command of the catalogue is checked above, either with its parameters
// or as a bare command.
TEST(BuildCommandText, EveryCatalogueCommandIsCovered) {
    std::set<int32_t> covered;
    for (const auto* rows : {&kRows, &kChunkRows}) {
        for (const BuilderCase& row : *rows) {
            covered.insert(row.id);
        }
    }
    for (const BareCommand& bare : kBareCommands) {
        EXPECT_TRUE(covered.insert(bare.id).second) << bare.id << " has parameters";
    }
    std::set<int32_t> catalogue;
    for (const CatalogueEntry& entry : CatalogueEntries()) {
        catalogue.insert(entry.id);
    }
    EXPECT_EQ(covered, catalogue);
}

TEST(BuildCommandText, IdsWithoutTextGiveNothingAndLeaveCurrentCommand) {
    for (const int32_t id : {-1, 0, 1, 3, 12, 14, 117, 118, 131, 142, 193, 226, 242, 1224 + 239}) {
        SCOPED_TRACE("id " + std::to_string(id));
        BlockPtr block = NewBlock();
        std::memset(&block->request, 0x31, sizeof(block->request));
        int32_t currentCommand = kUntouched;
        EXPECT_EQ(BuildCommandText(id, *block, currentCommand), "");
        EXPECT_EQ(currentCommand, kUntouched);
    }
}

TEST(BuildCommandText, ImageWithoutAnimationParametersGetsTwentyFiveInTheBlock) {
    BlockPtr block = NewBlock();
    FillImageChunk(block->request.imageChunk, 2, 0, 0, 0);
    int32_t currentCommand = 0;
    BuildCommandText(159, *block, currentCommand);
    EXPECT_EQ(block->request.imageChunk.animParamFirst, 25);

    // One parameter set is enough to keep a first parameter of 0.
    FillImageChunk(block->request.imageChunk, 2, 0, 0, 4);
    EXPECT_EQ(BuildCommandText(159, *block, currentCommand),
              "AT+IMGW=1,\"Pic\",0,1,2,,,\"00004\",IMG,7");
    EXPECT_EQ(block->request.imageChunk.animParamFirst, 0);
}

TEST(BuildCommandText, LogoCodesBecomeCapitalsInTheBlock) {
    BlockPtr block = NewBlock();
    FillLogoChunk(block->request.logoChunk, 0);
    int32_t currentCommand = 0;
    BuildCommandText(163, *block, currentCommand);
    EXPECT_EQ(std::string(block->request.logoChunk.code1), "ABC");
    EXPECT_EQ(std::string(block->request.logoChunk.code2), "D1E");

    // Only the code is the caller's text; what lies behind its end stays as it is.
    std::memcpy(block->request.logoChunk.code1, "ab\0cd", 6);
    BuildCommandText(163, *block, currentCommand);
    EXPECT_EQ(std::string(block->request.logoChunk.code1, 5), "AB\0cd"s);
}

// A caller that forgets the terminator or gives a length beyond the field must
// not make the builder read into the next field or out of the block.
TEST(BuildCommandText, FieldsWithoutTerminatorOrWithLongCountsStayInsideTheirField) {
    int32_t currentCommand = 0;
    BlockPtr block = NewBlock();
    std::memset(&block->request, 'a', sizeof(block->request));
    EXPECT_EQ(BuildCommandText(16, *block, currentCommand),
              "AT+CPBS=\"" + std::string(32, 'a') + "\"");

    block = NewBlock();
    RequestLogoChunk& logo = block->request.logoChunk;
    FillLogoChunk(logo, 0);
    std::memset(logo.code1, 'q', sizeof(logo.code1));
    std::memset(logo.code2, 'r', sizeof(logo.code2));
    EXPECT_EQ(BuildCommandText(163, *block, currentCommand),
              "AT+ LOGOW=1,0,\"" + std::string(10, 'Q') + "-" + std::string(10, 'R') + "\",,0,,,,");

    block = NewBlock();
    RequestToneChunk& tone = block->request.toneChunk;
    FillToneChunk(tone, 2);
    std::memset(tone.name, 'n', sizeof(tone.name));
    tone.nameLength = 200;
    std::memset(tone.body, 'b', sizeof(tone.body));
    tone.bodyLength = 255;
    EXPECT_EQ(
        BuildCommandText(154, *block, currentCommand),
        "AT+RNGW=2,\"" + std::string(10, 'n') + "\",0,0,2,,," + std::string(129, 'b') + ",99");

    block = NewBlock();
    RequestPlayChunk& play = block->request.playChunk;
    FillPlayChunk(play, 3);
    std::memset(play.body, 'p', sizeof(play.body));
    play.bodyLength = 200;
    EXPECT_EQ(BuildCommandText(155, *block, currentCommand),
              "AT+RNGP=1,3," + std::string(116, 'p') + ",5");
}

TEST(Encoders, NumbersAndQuotes) {
    EXPECT_EQ(EncodeNumber(0), "0");
    EXPECT_EQ(EncodeNumber(-12), "-12");
    EXPECT_EQ(EncodeNumber(2147483647), "2147483647");
    EXPECT_EQ(EncodeQuoted("say \"hi\""), "\"say \"hi\"\"");  // quotes are not escaped
    EXPECT_EQ(EncodeQuoted(""), "\"\"");
}

TEST(Encoders, ByteCountsKeepZeroBytesAndStopAtTheWidth) {
    const char bytes[4] = {'a', '\0', 'b', 'c'};
    EXPECT_EQ(EncodeBytes(bytes, 3), "a\0b"s);
    EXPECT_EQ(EncodeQuotedBytes(bytes, 3), "\"a\0b\""s);
    EXPECT_EQ(EncodeBytes(bytes, 0), "");
    EXPECT_EQ(EncodeBytes(bytes, 99), "a\0bc"s);
    EXPECT_EQ(EncodeQuotedBytes(bytes, 99), "\"a\0bc\""s);
    EXPECT_EQ(FieldText(bytes), "a");
}

}  // namespace
}  // namespace velk
