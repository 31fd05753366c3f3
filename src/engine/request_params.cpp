// Adding a request form with plain parameters is one list below and one row
// in kForms; the builder and the parser need nothing more.
#include "engine/request_params.h"

#include <cstring>
#include <iterator>

namespace velk {

namespace {

using enum ParamKind;
using enum ParamPresence;

// The place and width of a field of a request form; every form of the union
// starts at its beginning.
#define VELK_FIELD(Form, field) offsetof(Form, field), sizeof(Form::field)

// clang-format off
constexpr RequestParam kPhonebookRead[] = {
    {"index1", kNumber, kAlways,  VELK_FIELD(RequestPhonebookRead, first)},
    {"index2", kNumber, kChained, VELK_FIELD(RequestPhonebookRead, last)},
};
constexpr RequestParam kPhonebookStorage[] = {
    {"storage", kQuoted, kAlways, VELK_FIELD(RequestPhonebookStorage, storage)},
};
constexpr RequestParam kPhonebookFind[] = {
    {"findtext", kQuoted, kAlways, VELK_FIELD(RequestPhonebookFind, findText)},
};
// An empty number ends the line; the index and the type may be left out
// alone, and then their commas stay.
constexpr RequestParam kPhonebookWrite[] = {
    {"index",  kNumber, kGap,     VELK_FIELD(RequestPhonebookWrite, index)},
    {"number", kQuoted, kChained, VELK_FIELD(RequestPhonebookWrite, number)},
    {"type",   kNumber, kGap,     VELK_FIELD(RequestPhonebookWrite, type)},
    {"text",   kQuoted, kGap,     VELK_FIELD(RequestPhonebookWrite, text)},
};
constexpr RequestParam kPhonebookDelete[] = {
    {"index",  kNumber, kAlways,  VELK_FIELD(RequestPhonebookDelete, index)},
    {"number", kQuoted, kChained, VELK_FIELD(RequestPhonebookDelete, number)},
};
constexpr RequestParam kMessageService[] = {
    {"service", kNumber, kChained, VELK_FIELD(RequestMessageService, service)},
};
constexpr RequestParam kMessageMemories[] = {
    {"mem1", kQuoted, kAlways,  VELK_FIELD(RequestMessageMemories, memory1)},
    {"mem2", kQuoted, kChained, VELK_FIELD(RequestMessageMemories, memory2)},
    {"mem3", kQuoted, kChained, VELK_FIELD(RequestMessageMemories, memory3)},
};
constexpr RequestParam kBroadcastSelect[] = {
    {"mode", kNumber, kChained, VELK_FIELD(RequestBroadcastSelect, mode)},
    {"mids", kQuoted, kChained, VELK_FIELD(RequestBroadcastSelect, messageIds)},
    {"dcss", kQuoted, kChained, VELK_FIELD(RequestBroadcastSelect, codingSchemes)},
};
constexpr RequestParam kProfile[] = {
    {"profile", kNumber, kChained, VELK_FIELD(RequestProfile, profile)},
};
constexpr RequestParam kMessageCommand[] = {
    {"fo",   kNumber, kAlways,  VELK_FIELD(RequestMessageCommand, firstOctet)},
    {"ct",   kNumber, kAlways,  VELK_FIELD(RequestMessageCommand, commandType)},
    {"pid",  kNumber, kChained, VELK_FIELD(RequestMessageCommand, protocolId)},
    {"mn",   kNumber, kChained, VELK_FIELD(RequestMessageCommand, messageNumber)},
    {"da",   kQuoted, kChained, VELK_FIELD(RequestMessageCommand, address)},
    {"toda", kNumber, kChained, VELK_FIELD(RequestMessageCommand, addressType)},
};
constexpr RequestParam kOptionalMode[] = {
    {"mode", kNumber, kChained, VELK_FIELD(RequestMode, mode)},
};
constexpr RequestParam kAddress[] = {
    {"address", kQuoted, kAlways,  VELK_FIELD(RequestAddress, address)},
    {"type",    kNumber, kChained, VELK_FIELD(RequestAddress, addressType)},
};
constexpr RequestParam kMessageParameters[] = {
    {"fo",  kNumber, kChained, VELK_FIELD(RequestMessageParameters, firstOctet)},
    {"vp",  kNumber, kChained, VELK_FIELD(RequestMessageParameters, validity)},
    {"pid", kNumber, kChained, VELK_FIELD(RequestMessageParameters, protocolId)},
    {"dcs", kNumber, kChained, VELK_FIELD(RequestMessageParameters, codingScheme)},
};
constexpr RequestParam kShowHeader[] = {
    {"show", kNumber, kChained, VELK_FIELD(RequestShowHeader, show)},
};
constexpr RequestParam kIndications[] = {
    {"mode", kNumber, kChained, VELK_FIELD(RequestIndications, mode)},
    {"mt",   kNumber, kChained, VELK_FIELD(RequestIndications, messageIndication)},
    {"bm",   kNumber, kChained, VELK_FIELD(RequestIndications, broadcastIndication)},
    {"ds",   kNumber, kChained, VELK_FIELD(RequestIndications, reportIndication)},
    {"bfr",  kNumber, kChained, VELK_FIELD(RequestIndications, bufferMode)},
};
constexpr RequestParam kIndex[] = {
    {"index", kNumber, kAlways, VELK_FIELD(RequestIndex, index)},
};
// Here an address type of 0, not 65535, leaves the type out.
constexpr RequestParam kStoredSend[] = {
    {"index", kNumber, kAlways,  VELK_FIELD(RequestStoredSend, index)},
    {"da",    kQuoted, kChained, VELK_FIELD(RequestStoredSend, address)},
    {"toda",  kNumber, kChained, VELK_FIELD(RequestStoredSend, addressType), 0},
};
constexpr RequestParam kMessageWrite[] = {
    {"address", kQuoted, kAlways,  VELK_FIELD(RequestMessageWrite, address)},
    {"type",    kNumber, kChained, VELK_FIELD(RequestMessageWrite, addressType)},
    {"stat",    kQuoted, kChained, VELK_FIELD(RequestMessageWrite, status)},
};
constexpr RequestParam kMode[] = {
    {"mode", kNumber, kAlways, VELK_FIELD(RequestMode, mode)},
};
constexpr RequestParam kOperator[] = {
    {"mode",   kNumber, kAlways, VELK_FIELD(RequestOperator, mode)},
    {"format", kNumber, kAlways, VELK_FIELD(RequestOperator, format)},
    {"oper",   kQuoted, kAlways, VELK_FIELD(RequestOperator, operatorName)},
};
constexpr RequestParam kPin[] = {
    {"code",   kNumber, kAlways, VELK_FIELD(RequestPin, code)},
    {"pin",    kQuoted, kAlways, VELK_FIELD(RequestPin, pin)},
    {"newpin", kQuoted, kAlways, VELK_FIELD(RequestPin, newPin)},
};
constexpr RequestParam kMeterReset[] = {
    {"passwd", kQuoted, kAlways, VELK_FIELD(RequestMeterReset, value)},
};
constexpr RequestParam kMeterMaximum[] = {
    {"acmmax", kQuoted, kAlways, VELK_FIELD(RequestMeterMaximum, value)},
    {"passwd", kQuoted, kAlways, VELK_FIELD(RequestMeterMaximum, password)},
};
constexpr RequestParam kPricePerUnit[] = {
    {"currency", kQuoted, kAlways, VELK_FIELD(RequestPricePerUnit, currency)},
    {"ppu",      kQuoted, kAlways, VELK_FIELD(RequestPricePerUnit, price)},
    {"passwd",   kQuoted, kAlways, VELK_FIELD(RequestPricePerUnit, password)},
};
constexpr RequestParam kCharacterSet[] = {
    {"chset", kQuoted, kAlways, VELK_FIELD(RequestCharacterSet, characterSet)},
};
constexpr RequestParam kMessageList[] = {
    {"stat", kQuoted, kChained, VELK_FIELD(RequestMessageList, status)},
};
constexpr RequestParam kMemory[] = {
    {"mem", kQuoted, kAlways, VELK_FIELD(RequestMemory, memory)},
};
constexpr RequestParam kValue[] = {
    {"value", kNumber, kAlways, VELK_FIELD(RequestValue, value)},
};
constexpr RequestParam kTextValue[] = {
    {"text",  kQuoted, kAlways, VELK_FIELD(RequestTextValue, text)},
    {"value", kNumber, kAlways, VELK_FIELD(RequestTextValue, value)},
};
constexpr RequestParam kTwoTextValues[] = {
    {"text1",  kQuoted, kAlways, VELK_FIELD(RequestTwoTextValues, text1)},
    {"value1", kNumber, kAlways, VELK_FIELD(RequestTwoTextValues, value1)},
    {"text2",  kQuoted, kAlways, VELK_FIELD(RequestTwoTextValues, text2)},
    {"value2", kNumber, kAlways, VELK_FIELD(RequestTwoTextValues, value2)},
};
constexpr RequestParam kTenValues[] = {
    {"value1",  kNumber, kAlways, VELK_FIELD(RequestTenValues, value[0])},
    {"value2",  kNumber, kAlways, VELK_FIELD(RequestTenValues, value[1])},
    {"value3",  kNumber, kAlways, VELK_FIELD(RequestTenValues, value[2])},
    {"value4",  kNumber, kAlways, VELK_FIELD(RequestTenValues, value[3])},
    {"value5",  kNumber, kAlways, VELK_FIELD(RequestTenValues, value[4])},
    {"value6",  kNumber, kAlways, VELK_FIELD(RequestTenValues, value[5])},
    {"value7",  kNumber, kAlways, VELK_FIELD(RequestTenValues, value[6])},
    {"value8",  kNumber, kAlways, VELK_FIELD(RequestTenValues, value[7])},
    {"value9",  kNumber, kAlways, VELK_FIELD(RequestTenValues, value[8])},
    {"value10", kNumber, kAlways, VELK_FIELD(RequestTenValues, value[9])},
};
constexpr RequestParam kValuePair[] = {
    {"value1", kNumber, kAlways, VELK_FIELD(RequestValuePair, value1)},
    {"value2", kNumber, kAlways, VELK_FIELD(RequestValuePair, value2)},
};
constexpr RequestParam kValueText[] = {
    {"value", kNumber, kAlways, VELK_FIELD(RequestValueText, value)},
    {"text",  kQuoted, kAlways, VELK_FIELD(RequestValueText, text)},
};
// The first three fields of the indications form, none left out.
constexpr RequestParam kThreeIndications[] = {
    {"mode", kNumber, kAlways, VELK_FIELD(RequestIndications, mode)},
    {"mt",   kNumber, kAlways, VELK_FIELD(RequestIndications, messageIndication)},
    {"bm",   kNumber, kAlways, VELK_FIELD(RequestIndications, broadcastIndication)},
};
constexpr RequestParam kSlot[] = {
    {"slot", kByte, kAlways, VELK_FIELD(RequestSlot, slot)},
};
// clang-format on

#undef VELK_FIELD

struct FormRow {
    RequestForm form;
    FormParams params;
};

constexpr FormParams Lead(std::span<const RequestParam> params, char lead) {
    return {params, lead};
}
constexpr FormParams Tail(std::span<const RequestParam> params, char tail) {
    return {params, '\0', tail};
}
constexpr FormParams kChunk = {{}, '\0', '\0', true};

// clang-format off
constexpr FormRow kForms[] = {
    {RequestForm::kBare,               {}},
    {RequestForm::kPhonebookRead,      {kPhonebookRead}},
    {RequestForm::kPhonebookStorage,   {kPhonebookStorage}},
    {RequestForm::kPhonebookFind,      {kPhonebookFind}},
    {RequestForm::kPhonebookWrite,     {kPhonebookWrite}},
    {RequestForm::kPhonebookDelete,    {kPhonebookDelete}},
    {RequestForm::kMessageService,     {kMessageService}},
    {RequestForm::kMessageMemories,    {kMessageMemories}},
    {RequestForm::kBroadcastSelect,    {kBroadcastSelect}},
    {RequestForm::kProfile,            Lead(kProfile, '=')},
    {RequestForm::kMessageCommand,     {kMessageCommand}},
    {RequestForm::kOptionalMode,       {kOptionalMode}},
    {RequestForm::kAddress,            {kAddress}},
    {RequestForm::kMessageParameters,  {kMessageParameters}},
    {RequestForm::kShowHeader,         {kShowHeader}},
    {RequestForm::kIndications,        {kIndications}},
    {RequestForm::kIndex,              {kIndex}},
    {RequestForm::kStoredSend,         {kStoredSend}},
    {RequestForm::kMessageWrite,       {kMessageWrite}},
    {RequestForm::kMode,               {kMode}},
    {RequestForm::kOperator,           {kOperator}},
    {RequestForm::kPin,                Tail(kPin, ',')},
    {RequestForm::kMeterReset,         {kMeterReset}},
    {RequestForm::kMeterMaximum,       {kMeterMaximum}},
    {RequestForm::kPricePerUnit,       {kPricePerUnit}},
    {RequestForm::kCharacterSet,       {kCharacterSet}},
    {RequestForm::kMessageList,        Lead(kMessageList, '=')},
    {RequestForm::kMemory,             {kMemory}},
    {RequestForm::kValue,              {kValue}},
    {RequestForm::kTextValue,          {kTextValue}},
    {RequestForm::kTwoTextValues,      {kTwoTextValues}},
    {RequestForm::kTenValues,          {kTenValues}},
    {RequestForm::kValuePair,          {kValuePair}},
    {RequestForm::kValueText,          {kValueText}},
    {RequestForm::kThreeIndications,   {kThreeIndications}},
    {RequestForm::kSlot,               {kSlot}},
    {RequestForm::kToneChunk,          kChunk},
    {RequestForm::kImageChunk,         kChunk},
    {RequestForm::kPlayChunk,          kChunk},
    {RequestForm::kLogoChunk,          kChunk},
};
// clang-format on

// The forms are found by their place in kForms. A parameter that is always
// sent never follows one that may be left out, so that a line cut short
// still has every parameter it must have; the widths fit the kinds, and every
// field lies inside the union.
constexpr bool FormsAgree() {
    if (std::size(kForms) != kRequestFormCount) return false;
    for (size_t i = 0; i < std::size(kForms); ++i) {
        const FormRow& row = kForms[i];
        if (static_cast<size_t>(row.form) != i) return false;
        if (row.params.params.size() > kMaxParams) return false;
        bool optionalSeen = false;
        for (const RequestParam& param : row.params.params) {
            if (param.presence == kAlways && optionalSeen) return false;
            optionalSeen = optionalSeen || param.presence != kAlways;
            const size_t width = param.kind == kNumber ? sizeof(int32_t)
                                 : param.kind == kByte ? sizeof(uint8_t)
                                                       : param.width;
            if (param.width != width || param.width == 0) return false;
            if (param.offset + param.width > sizeof(RequestForms)) return false;
            if (param.kind == kByte && param.presence != kAlways) return false;
        }
    }
    return true;
}
static_assert(FormsAgree(), "kForms must follow RequestForm, and its lists must hold together");

const unsigned char* FieldAt(const RequestParam& param, const RequestForms& request) {
    return reinterpret_cast<const unsigned char*>(&request) + param.offset;
}

unsigned char* FieldAt(const RequestParam& param, RequestForms& request) {
    return reinterpret_cast<unsigned char*>(&request) + param.offset;
}

}  // namespace

const FormParams& ParamsOf(RequestForm form) {
    return kForms[static_cast<size_t>(form)].params;
}

int32_t ParamNumber(const RequestParam& param, const RequestForms& request) {
    if (param.kind == kByte) return *FieldAt(param, request);
    int32_t value = 0;
    std::memcpy(&value, FieldAt(param, request), sizeof value);
    return value;
}

std::string_view ParamText(const RequestParam& param, const RequestForms& request) {
    const char* field = reinterpret_cast<const char*>(FieldAt(param, request));
    return {field, strnlen(field, param.width)};
}

bool ParamOmitted(const RequestParam& param, const RequestForms& request) {
    if (param.kind == kQuoted) return ParamText(param, request).empty();
    return ParamNumber(param, request) == param.omitted;
}

void SetParamNumber(const RequestParam& param, int32_t value, RequestForms& request) {
    if (param.kind == kByte) {
        *FieldAt(param, request) = static_cast<uint8_t>(value);
    } else {
        std::memcpy(FieldAt(param, request), &value, sizeof value);
    }
}

void SetParamText(const RequestParam& param, std::string_view text, RequestForms& request) {
    unsigned char* field = FieldAt(param, request);
    const size_t count = text.size() < param.width ? text.size() : param.width - 1u;
    if (count != 0) std::memcpy(field, text.data(), count);
    field[count] = '\0';
}

}  // namespace velk
