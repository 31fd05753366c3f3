// Request records for the builder's tests: every command that takes
// parameters, with the places where a left-out parameter ends the line,
// leaves a gap, or is sent as 65535 after all, and the data writes with every
// branch of their chunk index. The first row of an id is its sample record.
#pragma once

#include <cstdint>
#include <cstring>
#include <string>

#include "engine/command_block.h"

namespace velk::samples {

using namespace std::string_literals;

using F = RequestForms;
inline constexpr int32_t O = kOmitted;

inline RequestToneChunk Tone(uint8_t index) {
    return {2, "Song", 4, 0, 0, index, 3, 3, 40, "ABC", 99};
}
inline RequestImageChunk Image(uint8_t index, uint8_t first, uint8_t second, uint8_t last) {
    return {1, "Pic", 3, 0, 1, index, 3, 2, 10, "IMG", 7, first, second, last};
}
inline RequestPlayChunk Play(uint8_t index) {
    return {1, 7, index, 4, 9, {}, 2, {}, "XY", 5};
}
inline RequestLogoChunk Logo(uint8_t index) {
    return {1, "abc", "d1e", 0, index, 5, 4, 5, 17, "LOGO", 3};
}

struct Row {
    int32_t id;
    void (*fill)(F&);
    std::string line;
};

// An empty fill sends the all-zero form of a fresh block.
// clang-format off
inline const Row kRows[] = {
    {13, [](F& r) { r.phonebookRead = {5, 9}; }, "AT+CPBR=5,9"},
    {13, [](F& r) { r.phonebookRead = {5, O}; }, "AT+CPBR=5"},
    {13, [](F&) {}, "AT+CPBR=0,0"},
    {16, [](F& r) { r.phonebookStorage = {"SM"}; }, "AT+CPBS=\"SM\""},
    {16, [](F&) {}, "AT+CPBS=\"\""},
    {18, [](F& r) { r.phonebookFind = {"Bob"}; }, "AT+CPBF=\"Bob\""},
    {21, [](F& r) { r.phonebookWrite = {3, "12345", 129, "Ann"}; }, "AT+CPBW=3,\"12345\",129,\"Ann\""},
    {21, [](F& r) { r.phonebookWrite = {O, "12345", 129, "Ann"}; }, "AT+CPBW=,\"12345\",129,\"Ann\""},
    {21, [](F& r) { r.phonebookWrite = {3, "12345", O, "Ann"}; }, "AT+CPBW=3,\"12345\",,\"Ann\""},
    {21, [](F& r) { r.phonebookWrite = {3, "12345", 145, ""}; }, "AT+CPBW=3,\"12345\",145,"},
    {21, [](F& r) { r.phonebookWrite = {3, "", 129, "Ann"}; }, "AT+CPBW=3"},
    {21, [](F& r) { r.phonebookWrite = {O, "", 0, ""}; }, "AT+CPBW="},
    {23, [](F& r) { r.phonebookDelete = {4, ""}; }, "AT+CPBD=4"},
    {23, [](F& r) { r.phonebookDelete = {4, "555"}; }, "AT+CPBD=4,\"555\""},
    {24, [](F& r) { r.messageService = {1}; }, "AT+CSMS=1"},
    {24, [](F& r) { r.messageService = {O}; }, "AT+CSMS="},
    {28, [](F& r) { r.messageMemories = {"SM", "ME", "SR"}; }, "AT+CPMS=\"SM\",\"ME\",\"SR\""},
    {28, [](F& r) { r.messageMemories = {"SM", "", "SR"}; }, "AT+CPMS=\"SM\""},
    {28, [](F& r) { r.messageMemories = {"SM", "ME", ""}; }, "AT+CPMS=\"SM\",\"ME\""},
    {32, [](F& r) { r.broadcastSelect = {0, "1,5", "0-3"}; }, "AT+CSCB=0,\"1,5\",\"0-3\""},
    {32, [](F& r) { r.broadcastSelect = {0, "", "0-3"}; }, "AT+CSCB=0"},
    {32, [](F& r) { r.broadcastSelect = {O, "", ""}; }, "AT+CSCB="},
    {35, [](F& r) { r.profile = {2}; }, "AT+CSAS=2"},
    {35, [](F& r) { r.profile = {O}; }, "AT+CSAS"},
    {37, [](F& r) { r.profile = {1}; }, "AT+CRES=1"},
    {37, [](F& r) { r.profile = {O}; }, "AT+CRES"},
    {39, [](F& r) { r.messageCommand = {2, 16, 0, 3, "123", 129}; }, "AT+CMGC=2,16,0,3,\"123\",129"},
    {39, [](F& r) { r.messageCommand = {2, 16, O, 3, "", 129}; }, "AT+CMGC=2,16"},
    {39, [](F& r) { r.messageCommand = {2, 16, 0, 3, "", 129}; }, "AT+CMGC=2,16,0,3"},
    {39, [](F& r) { r.messageCommand = {2, 16, 0, 3, "123", O}; }, "AT+CMGC=2,16,0,3,\"123\""},
    {41, [](F& r) { r.mode = {1}; }, "AT+CMGF=1"},
    {41, [](F& r) { r.mode = {O}; }, "AT+CMGF="},
    {45, [](F& r) { r.address = {"+4412", 145}; }, "AT+CSCA=\"+4412\",145"},
    {45, [](F& r) { r.address = {"+4412", O}; }, "AT+CSCA=\"+4412\""},
    {47, [](F& r) { r.messageParameters = {17, 167, 0, 0}; }, "AT+CSMP=17,167,0,0"},
    {47, [](F& r) { r.messageParameters = {17, O, 0, 0}; }, "AT+CSMP=17"},
    {47, [](F& r) { r.messageParameters = {O, 1, 2, 3}; }, "AT+CSMP="},
    {49, [](F& r) { r.showHeader = {1}; }, "AT+CSDH=1"},
    {49, [](F& r) { r.showHeader = {O}; }, "AT+CSDH="},
    {52, [](F& r) { r.indications = {2, 1, 0, 0, 1}; }, "AT+CNMI=2,1,0,0,1"},
    {52, [](F& r) { r.indications = {2, 1, O, 0, 1}; }, "AT+CNMI=2,1"},
    {61, [](F& r) { r.index = {7}; }, "AT+CMGR=7"},
    {65, [](F& r) { r.address = {"0123", 129}; }, "AT+CMGS=\"0123\",129"},
    {65, [](F& r) { r.address = {"0123", O}; }, "AT+CMGS=\"0123\""},
    {67, [](F& r) { r.storedSend = {3, "0123", 129}; }, "AT+CMSS=3,\"0123\",129"},
    {67, [](F& r) { r.storedSend = {3, "0123", 0}; }, "AT+CMSS=3,\"0123\""},
    {67, [](F& r) { r.storedSend = {3, "0123", O}; }, "AT+CMSS=3,\"0123\",65535"},
    {67, [](F& r) { r.storedSend = {3, "", 129}; }, "AT+CMSS=3"},
    {69, [](F& r) { r.messageWrite = {"0123", 129, "STO UNSENT"}; }, "AT+CMGW=\"0123\",129,\"STO UNSENT\""},
    {69, [](F& r) { r.messageWrite = {"0123", O, "STO UNSENT"}; }, "AT+CMGW=\"0123\""},
    {69, [](F& r) { r.messageWrite = {"0123", 129, ""}; }, "AT+CMGW=\"0123\",129"},
    {71, [](F& r) { r.index = {2}; }, "AT+CMGD=2"},
    {72, [](F& r) { r.mode = {1}; }, "AT+CREG=1"},
    {72, [](F& r) { r.mode = {O}; }, "AT+CREG=65535"},
    {76, [](F& r) { r.operatorSelect = {1, 2, "26201"}; }, "AT+COPS=1,2,\"26201\""},
    {76, [](F&) {}, "AT+COPS=0,0,\"\""},
    {82, [](F& r) { r.pin = {1, "1234", "4321"}; }, "AT+CPIN=1,\"1234\",\"4321\","},
    {82, [](F&) {}, "AT+CPIN=0,\"\",\"\","},
    {85, [](F& r) { r.meterReset = {"0000"}; }, "AT+CACM=\"0000\""},
    {87, [](F& r) { r.meterMaximum = {"500", "1111"}; }, "AT+CAMM=\"500\",\"1111\""},
    {89, [](F& r) { r.pricePerUnit = {"EUR", "0.20", "1111"}; }, "AT+CPUC=\"EUR\",\"0.20\",\"1111\""},
    {91, [](F& r) { r.characterSet = {"GSM"}; }, "AT+CSCS=\"GSM\""},
    {94, [](F& r) { r.messageList = {"REC UNREAD"}; }, "AT+CMGL=\"REC UNREAD\""},
    {94, [](F&) {}, "AT+CMGL"},
    {140, [](F& r) { r.memory = {"ME"}; }, "AT+CPMS=\"ME\""},
    {146, [](F& r) { r.indications = {2, 1, 0, 1, 1}; }, "AT+CNMI=2,1,0"},
    {146, [](F& r) { r.indications = {O, O, O, 0, 0}; }, "AT+CNMI=65535,65535,65535"},
    {119, [](F& r) { r.value = {1}; }, "AT+CMGR=1"},
    {133, [](F& r) { r.value = {-3}; }, "AT+CMGR=-3"},
    {135, [](F& r) { r.value = {O}; }, "AT+CMGR=65535"},
    {138, [](F& r) { r.value = {4}; }, "AT+CMGR=4"},
    {145, [](F& r) { r.value = {5}; }, "AT+CMGR=5"},
    {148, [](F& r) { r.value = {6}; }, "AT+CMGR=6"},
    {149, [](F& r) { r.value = {7}; }, "AT+CMGR=7"},
    {134, [](F& r) { r.textValue = {"abc", 4}; }, "AT+CMGR=\"abc\",4"},
    {150, [](F& r) { r.textValue = {"", 9}; }, "AT+CMGR=\"\",9"},
    {141, [](F& r) { r.twoTextValues = {"a", 1, "b", 2}; }, "AT+CMGR=\"a\",1,\"b\",2"},
    {143, [](F& r) { r.tenValues = {{1, 2, 3, 4, O, 6, 7, 8, 9, 10}}; }, "AT+CMGR=1,2,3,4,65535,6,7,8,9,10"},
    {144, [](F& r) { r.valuePair = {3, 4}; }, "AT+CMGR=3,4"},
    {147, [](F& r) { r.valueText = {5, "x"}; }, "AT+CMGR=5,\"x\""},
    {152, [](F& r) { r.slot = {3}; }, "AT+RNGR=3"},
    {157, [](F& r) { r.slot = {200}; }, "AT+IMGR=200"},
    {161, [](F& r) { r.slot = {0}; }, "AT+LOGOR=0"},
    {154, [](F& r) { r.toneChunk = Tone(1); r.toneChunk.kind = 1; }, "AT+RNGW=2,\"Song\",1"},
    {154, [](F& r) { r.toneChunk = Tone(1); }, "AT+RNGW=2,\"Song\",0,0,1,3,40,ABC,99"},
    {154, [](F& r) { r.toneChunk = Tone(255); }, "AT+RNGW=2,\"Song\",0,0,255,3,,ABC,99"},
    {154, [](F& r) { r.toneChunk = Tone(2); }, "AT+RNGW=2,\"Song\",0,0,2,,,ABC,99"},
    {154, [](F& r) { r.toneChunk = Tone(2); std::memcpy(r.toneChunk.name, "Melody", 6); r.toneChunk.nameLength = 3; },
     "AT+RNGW=2,\"Mel\",0,0,2,,,ABC,99"},
    {159, [](F& r) { r.imageChunk = Image(1, 25, 3, 4); }, "AT+IMGW=1,\"Pic\",0,1,1,2,10,\"250304\",IMG,7"},
    {159, [](F& r) { r.imageChunk = Image(255, 25, 12, 10); }, "AT+IMGW=1,\"Pic\",0,1,255,3,,\"2512010\",IMG,7"},
    {159, [](F& r) { r.imageChunk = Image(2, 25, 10, 1); }, "AT+IMGW=1,\"Pic\",0,1,2,,,\"251001\",IMG,7"},
    {159, [](F& r) { r.imageChunk = Image(4, 0, 0, 0); }, "AT+IMGW=1,\"Pic\",0,1,4,,,\"250000\",IMG,7"},
    {159, [](F& r) { r.imageChunk = Image(2, 0, 0, 4); }, "AT+IMGW=1,\"Pic\",0,1,2,,,\"00004\",IMG,7"},
    {159, [](F& r) { r.imageChunk = Image(1, 25, 3, 4); r.imageChunk.kind = 1; }, "AT+IMGW=1,\"Pic\",1"},
    {155, [](F& r) { r.playChunk = Play(255); }, "AT+RNGP=1,255,7,XY,5"},
    {155, [](F& r) { r.playChunk = Play(1); }, "AT+RNGP=1,1,4,9,XY,5"},
    {155, [](F& r) { r.playChunk = Play(3); }, "AT+RNGP=1,3,XY,5"},
    {163, [](F& r) { r.logoChunk = Logo(0); }, "AT+ LOGOW=1,0,\"ABC-D1E\",,0,,,,"},
    {163, [](F& r) { r.logoChunk = Logo(1); }, "AT+ LOGOW=1,0,\"ABC-D1E\",5,1,5,17,LOGO,3"},
    {163, [](F& r) { r.logoChunk = Logo(255); }, "AT+ LOGOW=1,0,\"ABC-D1E\",5,255,4,,LOGO,3"},
    {163, [](F& r) { r.logoChunk = Logo(2); }, "AT+ LOGOW=1,0,\"ABC-D1E\",5,2,,,LOGO,3"},
    // Fields without their terminator and counts beyond the field: nothing is
    // read from the next field or from outside the block.
    {16, [](F& r) { std::memset(&r, 'a', sizeof r); }, "AT+CPBS=\"" + std::string(32, 'a') + "\""},
    {163, [](F& r) { r.logoChunk = Logo(0); std::memset(r.logoChunk.code1, 'q', 10); std::memset(r.logoChunk.code2, 'r', 10); },
     "AT+ LOGOW=1,0,\"" + std::string(10, 'Q') + "-" + std::string(10, 'R') + "\",,0,,,,"},
    {154, [](F& r) { r.toneChunk = Tone(2); r.toneChunk.nameLength = 200; r.toneChunk.bodyLength = 255;
                     std::memset(r.toneChunk.name, 'n', 10); std::memset(r.toneChunk.body, 'b', 129); },
     "AT+RNGW=2,\"" + std::string(10, 'n') + "\",0,0,2,,," + std::string(129, 'b') + ",99"},
    {155, [](F& r) { r.playChunk = Play(3); r.playChunk.bodyLength = 200; std::memset(r.playChunk.body, 'p', 116); },
     "AT+RNGP=1,3," + std::string(116, 'p') + ",5"},
    // A quote inside a text is not escaped; a zero byte inside a body is sent.
    {18, [](F& r) { r.phonebookFind = {"say \"hi\""}; }, "AT+CPBF=\"say \"hi\"\""},
    {154, [](F& r) { r.toneChunk = Tone(2); std::memcpy(r.toneChunk.body, "A\0C", 3); },
     "AT+RNGW=2,\"Song\",0,0,2,,,A\0C,99"s},
};
// clang-format on

}  // namespace velk::samples
