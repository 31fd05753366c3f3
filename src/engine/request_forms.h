// Request forms: the fields a caller of the worker fills for each command id.
// The command text builder reads them. Whole numbers are 32-bit; kOmitted
// (65535) in a number field, or an empty text, leaves that parameter off the
// line where the command allows it. The chunk forms of the data writes are all
// single bytes apart from their byte arrays.
#pragma once

#include <cstddef>
#include <cstdint>

#include "engine/text_fields.h"

namespace velk {

// Width of the body of a ring-tone, image or logo chunk, and of its name.
inline constexpr size_t kChunkBodyWidth = 129;
inline constexpr size_t kChunkNameWidth = 10;
// The play form keeps its check byte right behind 116 bytes of body.
inline constexpr size_t kPlayBodyWidth = 116;

// AT+RNGR=, AT+IMGR=, AT+LOGOR= (ids 152, 157, 161).
struct RequestSlot {
    uint8_t slot;
};

// AT+RNGW= (id 154): one chunk of a ring tone.
struct RequestToneChunk {
    uint8_t slot;
    char name[kChunkNameWidth];
    uint8_t nameLength;
    uint8_t kind;
    uint8_t flag;
    uint8_t chunkIndex;
    uint8_t bodyLength;
    uint8_t chunkCount;
    uint8_t chunkRest;
    char body[kChunkBodyWidth];
    uint8_t check;
};

// AT+IMGW= (id 159): one chunk of an image frame, with the frame's parameter
// digits behind the ring-tone chunk fields.
struct RequestImageChunk {
    uint8_t slot;
    char name[kChunkNameWidth];
    uint8_t nameLength;
    uint8_t kind;
    uint8_t flag;
    uint8_t chunkIndex;
    uint8_t bodyLength;
    uint8_t chunkCount;
    uint8_t chunkRest;
    char body[kChunkBodyWidth];
    uint8_t check;
    uint8_t animParamFirst;
    uint8_t animParamSecond;
    uint8_t animParamLast;
};

// AT+RNGP= (id 155). bodyLength and body sit where the ring-tone chunk has
// them, so a tone chunk can be turned into a play chunk in place; the bytes
// between are not sent.
struct RequestPlayChunk {
    uint8_t slot;
    uint8_t value;
    uint8_t chunkIndex;
    uint8_t chunkCount;
    uint8_t chunkRest;
    uint8_t unusedBeforeLength[10];
    uint8_t bodyLength;
    uint8_t unusedBeforeBody[2];
    char body[kPlayBodyWidth];
    uint8_t check;
};

// AT+ LOGOW= (id 163): one chunk of an operator logo. The builder turns both
// codes into capitals in the block itself.
struct RequestLogoChunk {
    uint8_t slot;
    char code1[kChunkNameWidth];
    char code2[kChunkNameWidth];
    uint8_t mode;
    uint8_t chunkIndex;
    uint8_t total;
    uint8_t bodyLength;
    uint8_t chunkCount;
    uint8_t chunkRest;
    char body[kChunkBodyWidth];
    uint8_t check;
};

// AT+CPBR= (id 13).
struct RequestPhonebookRead {
    int32_t first;
    int32_t last;
};

// AT+CPBS= (id 16).
struct RequestPhonebookStorage {
    Text32 storage;
};

// AT+CPBF= (id 18).
struct RequestPhonebookFind {
    Text32 findText;
};

// AT+CPBW= (id 21).
struct RequestPhonebookWrite {
    int32_t index;
    Text32 number;
    int32_t type;
    Text256 text;
};

// AT+CPBD= (id 23).
struct RequestPhonebookDelete {
    int32_t index;
    Text32 number;
};

// AT+CSMS= (id 24).
struct RequestMessageService {
    int32_t service;
};

// AT+CPMS= (id 28): read, write and receive memories.
struct RequestMessageMemories {
    Text84 memory1;
    Text84 memory2;
    Text84 memory3;
};

// AT+CSCB= (id 32).
struct RequestBroadcastSelect {
    int32_t mode;
    Text256 messageIds;
    Text256 codingSchemes;
};

// AT+CSAS, AT+CRES (ids 35, 37).
struct RequestProfile {
    int32_t profile;
};

// AT+CMGC= (id 39).
struct RequestMessageCommand {
    int32_t firstOctet;
    int32_t commandType;
    int32_t protocolId;
    int32_t messageNumber;
    Text84 address;
    int32_t addressType;
};

// AT+CMGF=, AT+CREG= (ids 41, 72).
struct RequestMode {
    int32_t mode;
};

// AT+CSCA=, AT+CMGS= (ids 45, 65).
struct RequestAddress {
    Text32 address;
    int32_t addressType;
};

// AT+CSMP= (id 47).
struct RequestMessageParameters {
    int32_t firstOctet;
    int32_t validity;
    int32_t protocolId;
    int32_t codingScheme;
};

// AT+CSDH= (id 49).
struct RequestShowHeader {
    int32_t show;
};

// AT+CNMI= (ids 52, 146; 146 sends the first three fields only).
struct RequestIndications {
    int32_t mode;
    int32_t messageIndication;
    int32_t broadcastIndication;
    int32_t reportIndication;
    int32_t bufferMode;
};

// AT+CMGR=, AT+CMGD= (ids 61, 71).
struct RequestIndex {
    int32_t index;
};

// AT+CMSS= (id 67).
struct RequestStoredSend {
    int32_t index;
    Text32 address;
    int32_t addressType;
};

// AT+CMGW= (id 69).
struct RequestMessageWrite {
    Text32 address;
    int32_t addressType;
    Text84 status;
};

// The message text that AT+CMGS= and AT+CMGW= send once the phone has
// prompted for it with "> ": up to kMessageBodyWidth bytes in the phone's
// character set, any byte but Ctrl-Z and Esc, which would end or cancel the
// message where they stand.
inline constexpr size_t kMessageBodyWidth = 1024;
inline constexpr char kBodyEnd = '\x1A';     // Ctrl-Z: the text is whole, send it
inline constexpr char kBodyCancel = '\x1B';  // Esc: drop the text
struct MessageBody {
    uint16_t length;
    char text[kMessageBodyWidth];
};

// The body sits behind the parameters of both commands, whichever of the two
// forms above the builder reads them as; SetMessageBody (command_block.h)
// puts it in, and only the worker reads it.
struct RequestWithBody {
    char parameters[sizeof(RequestMessageWrite)];
    MessageBody body;
};
static_assert(sizeof(RequestAddress) <= sizeof(RequestMessageWrite));

// AT+COPS= (id 76). The operator's name is `operatorName` because `operator`
// is a keyword of the language.
struct RequestOperator {
    int32_t mode;
    int32_t format;
    Text84 operatorName;
};

// AT+CPIN= (id 82).
struct RequestPin {
    int32_t code;
    Text32 pin;
    Text32 newPin;
};

// AT+CACM= (id 85).
struct RequestMeterReset {
    Text32 value;
};

// AT+CAMM= (id 87).
struct RequestMeterMaximum {
    Text32 value;
    Text32 password;
};

// AT+CPUC= (id 89).
struct RequestPricePerUnit {
    Text84 currency;
    Text84 price;
    Text84 password;
};

// AT+CSCS= (id 91).
struct RequestCharacterSet {
    Text32 characterSet;
};

// AT+CMGL (id 94).
struct RequestMessageList {
    Text84 status;
};

// AT+CPMS= (id 140).
struct RequestMemory {
    Text84 memory;
};

// AT+CMGR= (ids 119, 133, 135, 138, 145, 148, 149).
struct RequestValue {
    int32_t value;
};

// AT+CMGR= (ids 134, 150).
struct RequestTextValue {
    Text84 text;
    int32_t value;
};

// AT+CMGR= (id 141).
struct RequestTwoTextValues {
    Text84 text1;
    int32_t value1;
    Text84 text2;
    int32_t value2;
};

// AT+CMGR= (id 143): ten numbers, none omitted.
inline constexpr size_t kTenValueCount = 10;
struct RequestTenValues {
    int32_t value[kTenValueCount];
};

// AT+CMGR= (id 144).
struct RequestValuePair {
    int32_t value1;
    int32_t value2;
};

// AT+CMGR= (id 147).
struct RequestValueText {
    int32_t value;
    Text32 text;
};

union RequestForms {
    RequestSlot slot;
    RequestToneChunk toneChunk;
    RequestImageChunk imageChunk;
    RequestPlayChunk playChunk;
    RequestLogoChunk logoChunk;
    RequestPhonebookRead phonebookRead;
    RequestPhonebookStorage phonebookStorage;
    RequestPhonebookFind phonebookFind;
    RequestPhonebookWrite phonebookWrite;
    RequestPhonebookDelete phonebookDelete;
    RequestMessageService messageService;
    RequestMessageMemories messageMemories;
    RequestBroadcastSelect broadcastSelect;
    RequestProfile profile;
    RequestMessageCommand messageCommand;
    RequestMode mode;
    RequestAddress address;
    RequestMessageParameters messageParameters;
    RequestShowHeader showHeader;
    RequestIndications indications;
    RequestIndex index;
    RequestStoredSend storedSend;
    RequestMessageWrite messageWrite;
    RequestWithBody withBody;
    RequestOperator operatorSelect;
    RequestPin pin;
    RequestMeterReset meterReset;
    RequestMeterMaximum meterMaximum;
    RequestPricePerUnit pricePerUnit;
    RequestCharacterSet characterSet;
    RequestMessageList messageList;
    RequestMemory memory;
    RequestValue value;
    RequestTextValue textValue;
    RequestTwoTextValues twoTextValues;
    RequestTenValues tenValues;
    RequestValuePair valuePair;
    RequestValueText valueText;
};

static_assert(offsetof(RequestPlayChunk, bodyLength) == offsetof(RequestToneChunk, bodyLength));
static_assert(offsetof(RequestPlayChunk, body) == offsetof(RequestToneChunk, body));

}  // namespace velk
