#include "engine/command_text_builder.h"

#include <algorithm>
#include <cstring>
#include <initializer_list>
#include <iterator>

#include "engine/command_table.h"
#include "engine/text_fields.h"

namespace velk {

namespace {

// The first chunk of a transfer tells how it is split (chunk count and rest);
// a chunk with index 255 tells the length of its body instead. Every other
// chunk leaves both places empty.
constexpr uint8_t kOpeningChunk = 1;
constexpr uint8_t kLengthChunk = 255;
// A tone or image write of kind 1 carries no chunk: the line ends after it.
constexpr uint8_t kKindWithoutChunk = 1;
// A logo write with chunk index 0 carries no chunk either.
constexpr uint8_t kLogoWithoutChunk = 0;
// The first animation parameter the phone expects when the caller gave none.
constexpr uint8_t kDefaultAnimParamFirst = 25;

// One parameter of a line: a number, or a text sent in double quotes. A number
// equal to `omittedValue`, or an empty text, counts as left out.
struct Param {
    bool quoted;
    int32_t number;
    std::string_view text;
    int32_t omittedValue;

    bool Omitted() const { return quoted ? text.empty() : number == omittedValue; }
};

Param Number(int32_t value, int32_t omittedValue = kOmitted) {
    return {false, value, {}, omittedValue};
}

template <size_t N>
Param Quoted(const char (&field)[N]) {
    return {true, 0, FieldText(field), 0};
}

void Append(std::string& line, const Param& param) {
    line += param.quoted ? EncodeQuoted(param.text) : EncodeNumber(param.number);
}

// Parameters that are always sent, comma-separated, empty ones included.
void AppendAll(std::string& line, std::initializer_list<Param> params) {
    bool first = true;
    for (const Param& param : params) {
        if (!first) {
            line += ',';
        }
        Append(line, param);
        first = false;
    }
}

// Nested optional parameters, "[a [`,` b [`,` c]]]": the line ends at the
// first one left out. With `commaFirst` the first one has its comma too, for a
// chain that follows parameters already on the line.
void AppendNested(std::string& line, std::initializer_list<Param> params, bool commaFirst) {
    bool first = true;
    for (const Param& param : params) {
        if (param.Omitted()) {
            return;
        }
        if (!first || commaFirst) {
            line += ',';
        }
        Append(line, param);
        first = false;
    }
}

// The three ways a chunk write tells its place in the transfer, each followed
// by its comma:  255: "<bodyLength>,,"  1: "<chunkCount>,<chunkRest>,"  else ",,".
template <typename Chunk>
void AppendChunkPlace(std::string& line, const Chunk& chunk) {
    if (chunk.chunkIndex == kLengthChunk) {
        line += EncodeNumber(chunk.bodyLength) + ",,";
    } else if (chunk.chunkIndex == kOpeningChunk) {
        line += EncodeNumber(chunk.chunkCount) + ',' + EncodeNumber(chunk.chunkRest) + ',';
    } else {
        line += ",,";
    }
}

// <body>,<check>
template <typename Chunk>
void AppendBodyAndCheck(std::string& line, const Chunk& chunk) {
    line += EncodeBytes(chunk.body, chunk.bodyLength);
    line += ',';
    line += EncodeNumber(chunk.check);
}

// Tone and image writes up to the comma in front of the body:
// <slot>,"<name>",<kind>[,<flag>,<chunkIndex>,<place>]
// Returns false when the line ends after the kind.
template <typename Chunk>
bool AppendToneChunkHead(std::string& line, const Chunk& chunk) {
    line += EncodeNumber(chunk.slot) + ',';
    line += EncodeQuotedBytes(chunk.name, chunk.nameLength);
    line += ',' + EncodeNumber(chunk.kind);
    if (chunk.kind == kKindWithoutChunk) {
        return false;
    }
    line += ',' + EncodeNumber(chunk.flag) + ',' + EncodeNumber(chunk.chunkIndex) + ',';
    AppendChunkPlace(line, chunk);
    return true;
}

// Capitals of plain ASCII letters only, as the phone's codes are ASCII, up to
// the field's zero byte or its end.
template <size_t N>
void UpperCaseInPlace(char (&field)[N]) {
    for (char& c : field) {
        if (c == '\0') {
            return;
        }
        if (c >= 'a' && c <= 'z') {
            c = static_cast<char>(c - 'a' + 'A');
        }
    }
}

// "<first><second, two digits at least>0<last>"
std::string AnimParamDigits(RequestImageChunk& chunk) {
    if (chunk.animParamFirst == 0 && chunk.animParamSecond == 0 && chunk.animParamLast == 0) {
        chunk.animParamFirst = kDefaultAnimParamFirst;
    }
    std::string digits = EncodeNumber(chunk.animParamFirst);
    if (chunk.animParamSecond < 10) {
        digits += '0';
    }
    digits += EncodeNumber(chunk.animParamSecond);
    digits += '0';
    digits += EncodeNumber(chunk.animParamLast);
    return digits;
}

// --- The request forms, one function each, behind the AT text. ---

void AddPhonebookRead(RequestForms& r, std::string& line) {
    Append(line, Number(r.phonebookRead.first));
    AppendNested(line, {Number(r.phonebookRead.last)}, true);
}

void AddPhonebookStorage(RequestForms& r, std::string& line) {
    Append(line, Quoted(r.phonebookStorage.storage));
}

void AddPhonebookFind(RequestForms& r, std::string& line) {
    Append(line, Quoted(r.phonebookFind.findText));
}

// [index][,"<number>",[type],["<text>"]]: index and type may be left out
// alone; an empty number ends the line.
void AddPhonebookWrite(RequestForms& r, std::string& line) {
    const RequestPhonebookWrite& form = r.phonebookWrite;
    if (form.index != kOmitted) {
        Append(line, Number(form.index));
    }
    const Param number = Quoted(form.number);
    if (number.Omitted()) {
        return;
    }
    line += ',';
    Append(line, number);
    line += ',';
    if (form.type != kOmitted) {
        Append(line, Number(form.type));
    }
    line += ',';
    AppendNested(line, {Quoted(form.text)}, false);
}

void AddPhonebookDelete(RequestForms& r, std::string& line) {
    Append(line, Number(r.phonebookDelete.index));
    AppendNested(line, {Quoted(r.phonebookDelete.number)}, true);
}

void AddMessageService(RequestForms& r, std::string& line) {
    AppendNested(line, {Number(r.messageService.service)}, false);
}

void AddMessageMemories(RequestForms& r, std::string& line) {
    const RequestMessageMemories& form = r.messageMemories;
    Append(line, Quoted(form.memory1));
    AppendNested(line, {Quoted(form.memory2), Quoted(form.memory3)}, true);
}

void AddBroadcastSelect(RequestForms& r, std::string& line) {
    const RequestBroadcastSelect& form = r.broadcastSelect;
    AppendNested(line, {Number(form.mode), Quoted(form.messageIds), Quoted(form.codingSchemes)},
                 false);
}

// The profile comes with its own equals sign: "AT+CSAS" alone is valid.
void AddProfile(RequestForms& r, std::string& line) {
    if (r.profile.profile != kOmitted) {
        line += '=' + EncodeNumber(r.profile.profile);
    }
}

void AddMessageCommand(RequestForms& r, std::string& line) {
    const RequestMessageCommand& form = r.messageCommand;
    AppendAll(line, {Number(form.firstOctet), Number(form.commandType)});
    AppendNested(line,
                 {Number(form.protocolId), Number(form.messageNumber), Quoted(form.address),
                  Number(form.addressType)},
                 true);
}

void AddOptionalMode(RequestForms& r, std::string& line) {
    AppendNested(line, {Number(r.mode.mode)}, false);
}

void AddMode(RequestForms& r, std::string& line) {
    Append(line, Number(r.mode.mode));
}

void AddAddress(RequestForms& r, std::string& line) {
    Append(line, Quoted(r.address.address));
    AppendNested(line, {Number(r.address.addressType)}, true);
}

void AddMessageParameters(RequestForms& r, std::string& line) {
    const RequestMessageParameters& form = r.messageParameters;
    AppendNested(line,
                 {Number(form.firstOctet), Number(form.validity), Number(form.protocolId),
                  Number(form.codingScheme)},
                 false);
}

void AddShowHeader(RequestForms& r, std::string& line) {
    AppendNested(line, {Number(r.showHeader.show)}, false);
}

void AddIndications(RequestForms& r, std::string& line) {
    const RequestIndications& form = r.indications;
    AppendNested(
        line,
        {Number(form.mode), Number(form.messageIndication), Number(form.broadcastIndication),
         Number(form.reportIndication), Number(form.bufferMode)},
        false);
}

void AddThreeIndications(RequestForms& r, std::string& line) {
    const RequestIndications& form = r.indications;
    AppendAll(line, {Number(form.mode), Number(form.messageIndication),
                     Number(form.broadcastIndication)});
}

void AddIndex(RequestForms& r, std::string& line) {
    Append(line, Number(r.index.index));
}

// Here an address type of 0, not 65535, leaves the type out.
void AddStoredSend(RequestForms& r, std::string& line) {
    const RequestStoredSend& form = r.storedSend;
    Append(line, Number(form.index));
    AppendNested(line, {Quoted(form.address), Number(form.addressType, 0)}, true);
}

void AddMessageWrite(RequestForms& r, std::string& line) {
    const RequestMessageWrite& form = r.messageWrite;
    Append(line, Quoted(form.address));
    AppendNested(line, {Number(form.addressType), Quoted(form.status)}, true);
}

void AddOperator(RequestForms& r, std::string& line) {
    const RequestOperator& form = r.operatorSelect;
    AppendAll(line, {Number(form.mode), Number(form.format), Quoted(form.operatorName)});
}

// The line ends in a comma.
void AddPin(RequestForms& r, std::string& line) {
    const RequestPin& form = r.pin;
    AppendAll(line, {Number(form.code), Quoted(form.pin), Quoted(form.newPin)});
    line += ',';
}

void AddMeterReset(RequestForms& r, std::string& line) {
    Append(line, Quoted(r.meterReset.value));
}

void AddMeterMaximum(RequestForms& r, std::string& line) {
    AppendAll(line, {Quoted(r.meterMaximum.value), Quoted(r.meterMaximum.password)});
}

void AddPricePerUnit(RequestForms& r, std::string& line) {
    const RequestPricePerUnit& form = r.pricePerUnit;
    AppendAll(line, {Quoted(form.currency), Quoted(form.price), Quoted(form.password)});
}

void AddCharacterSet(RequestForms& r, std::string& line) {
    Append(line, Quoted(r.characterSet.characterSet));
}

// The status comes with its own equals sign: "AT+CMGL" alone lists all.
void AddMessageList(RequestForms& r, std::string& line) {
    const Param status = Quoted(r.messageList.status);
    if (!status.Omitted()) {
        line += '=';
        Append(line, status);
    }
}

void AddMemory(RequestForms& r, std::string& line) {
    Append(line, Quoted(r.memory.memory));
}

void AddValue(RequestForms& r, std::string& line) {
    Append(line, Number(r.value.value));
}

void AddTextValue(RequestForms& r, std::string& line) {
    AppendAll(line, {Quoted(r.textValue.text), Number(r.textValue.value)});
}

void AddTwoTextValues(RequestForms& r, std::string& line) {
    const RequestTwoTextValues& form = r.twoTextValues;
    AppendAll(line,
              {Quoted(form.text1), Number(form.value1), Quoted(form.text2), Number(form.value2)});
}

void AddTenValues(RequestForms& r, std::string& line) {
    for (size_t i = 0; i < kTenValueCount; ++i) {
        if (i > 0) {
            line += ',';
        }
        Append(line, Number(r.tenValues.value[i]));
    }
}

void AddValuePair(RequestForms& r, std::string& line) {
    AppendAll(line, {Number(r.valuePair.value1), Number(r.valuePair.value2)});
}

void AddValueText(RequestForms& r, std::string& line) {
    AppendAll(line, {Number(r.valueText.value), Quoted(r.valueText.text)});
}

void AddSlot(RequestForms& r, std::string& line) {
    line += EncodeNumber(r.slot.slot);
}

// <slot>,"<name>",<kind>[,<flag>,<chunkIndex>,<place><body>,<check>]
void AddToneChunk(RequestForms& r, std::string& line) {
    const RequestToneChunk& chunk = r.toneChunk;
    if (AppendToneChunkHead(line, chunk)) {
        AppendBodyAndCheck(line, chunk);
    }
}

// As the tone chunk, with "<animation digits>", in front of the body.
void AddImageChunk(RequestForms& r, std::string& line) {
    RequestImageChunk& chunk = r.imageChunk;
    if (AppendToneChunkHead(line, chunk)) {
        line += '"' + AnimParamDigits(chunk) + "\",";
        AppendBodyAndCheck(line, chunk);
    }
}

// <slot>,<chunkIndex>,[<value>,|<chunkCount>,<chunkRest>,]<body>,<check>
void AddPlayChunk(RequestForms& r, std::string& line) {
    const RequestPlayChunk& chunk = r.playChunk;
    line += EncodeNumber(chunk.slot) + ',' + EncodeNumber(chunk.chunkIndex) + ',';
    if (chunk.chunkIndex == kLengthChunk) {
        line += EncodeNumber(chunk.value) + ',';
    } else if (chunk.chunkIndex == kOpeningChunk) {
        line += EncodeNumber(chunk.chunkCount) + ',' + EncodeNumber(chunk.chunkRest) + ',';
    }
    AppendBodyAndCheck(line, chunk);
}

// <slot>,<mode>,"<CODE1>-<CODE2>",  then ",0,,,," for a logo without chunk,
// else <total>,<chunkIndex>,<place><body>,<check>
void AddLogoChunk(RequestForms& r, std::string& line) {
    RequestLogoChunk& chunk = r.logoChunk;
    UpperCaseInPlace(chunk.code1);
    UpperCaseInPlace(chunk.code2);
    line += EncodeNumber(chunk.slot) + ',' + EncodeNumber(chunk.mode) + ',';
    line += '"';
    line += FieldText(chunk.code1);
    line += '-';
    line += FieldText(chunk.code2);
    line += "\",";
    if (chunk.chunkIndex == kLogoWithoutChunk) {
        line += ",0,,,,";
        return;
    }
    line += EncodeNumber(chunk.total) + ',' + EncodeNumber(chunk.chunkIndex) + ',';
    AppendChunkPlace(line, chunk);
    AppendBodyAndCheck(line, chunk);
}

using AddParameters = void (*)(RequestForms&, std::string&);

struct FormWriter {
    RequestForm form;
    AddParameters add;
};

// One writer per request form of the command table, in the order of the
// enumeration; a bare command has none.
constexpr FormWriter kFormWriters[] = {
    {RequestForm::kBare, nullptr},
    {RequestForm::kPhonebookRead, AddPhonebookRead},
    {RequestForm::kPhonebookStorage, AddPhonebookStorage},
    {RequestForm::kPhonebookFind, AddPhonebookFind},
    {RequestForm::kPhonebookWrite, AddPhonebookWrite},
    {RequestForm::kPhonebookDelete, AddPhonebookDelete},
    {RequestForm::kMessageService, AddMessageService},
    {RequestForm::kMessageMemories, AddMessageMemories},
    {RequestForm::kBroadcastSelect, AddBroadcastSelect},
    {RequestForm::kProfile, AddProfile},
    {RequestForm::kMessageCommand, AddMessageCommand},
    {RequestForm::kOptionalMode, AddOptionalMode},
    {RequestForm::kAddress, AddAddress},
    {RequestForm::kMessageParameters, AddMessageParameters},
    {RequestForm::kShowHeader, AddShowHeader},
    {RequestForm::kIndications, AddIndications},
    {RequestForm::kIndex, AddIndex},
    {RequestForm::kStoredSend, AddStoredSend},
    {RequestForm::kMessageWrite, AddMessageWrite},
    {RequestForm::kMode, AddMode},
    {RequestForm::kOperator, AddOperator},
    {RequestForm::kPin, AddPin},
    {RequestForm::kMeterReset, AddMeterReset},
    {RequestForm::kMeterMaximum, AddMeterMaximum},
    {RequestForm::kPricePerUnit, AddPricePerUnit},
    {RequestForm::kCharacterSet, AddCharacterSet},
    {RequestForm::kMessageList, AddMessageList},
    {RequestForm::kMemory, AddMemory},
    {RequestForm::kValue, AddValue},
    {RequestForm::kTextValue, AddTextValue},
    {RequestForm::kTwoTextValues, AddTwoTextValues},
    {RequestForm::kTenValues, AddTenValues},
    {RequestForm::kValuePair, AddValuePair},
    {RequestForm::kValueText, AddValueText},
    {RequestForm::kThreeIndications, AddThreeIndications},
    {RequestForm::kSlot, AddSlot},
    {RequestForm::kToneChunk, AddToneChunk},
    {RequestForm::kImageChunk, AddImageChunk},
    {RequestForm::kPlayChunk, AddPlayChunk},
    {RequestForm::kLogoChunk, AddLogoChunk},
};

constexpr bool EveryFormHasItsWriter() {
    if (std::size(kFormWriters) != kRequestFormCount) return false;
    for (size_t i = 0; i < std::size(kFormWriters); ++i) {
        const bool bare = kFormWriters[i].form == RequestForm::kBare;
        const bool hasWriter = kFormWriters[i].add != nullptr;
        if (static_cast<size_t>(kFormWriters[i].form) != i || bare == hasWriter) return false;
    }
    return true;
}
// The writer of a form is found by its place in the table.
static_assert(EveryFormHasItsWriter(), "kFormWriters must follow RequestForm, one writer each");

}  // namespace

std::string_view FieldText(const char* field, size_t width) {
    return {field, strnlen(field, width)};
}

std::string EncodeNumber(int32_t value) {
    return std::to_string(value);
}

std::string EncodeQuoted(std::string_view text) {
    std::string quoted;
    quoted.reserve(text.size() + 2);
    quoted += '"';
    quoted += text;
    quoted += '"';
    return quoted;
}

std::string EncodeBytes(const char* bytes, size_t count, size_t width) {
    return {bytes, std::min(count, width)};
}

std::string EncodeQuotedBytes(const char* bytes, size_t count, size_t width) {
    return EncodeQuoted(std::string_view(bytes, std::min(count, width)));
}

std::string BuildCommandText(int32_t id, ATCommandBlock& block, int32_t& currentCommand) {
    std::string line;
    const CommandRow* row = FindCommandRow(id);
    if (row == nullptr || row->text == nullptr) {
        return line;
    }
    currentCommand = id;
    line = row->text;
    if (AddParameters add = kFormWriters[static_cast<size_t>(row->form)].add) {
        add(block.request, line);
    }
    return line;
}

}  // namespace velk
