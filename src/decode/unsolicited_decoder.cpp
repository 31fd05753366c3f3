#include "decode/unsolicited_decoder.h"

#include <cstddef>
#include <span>
#include <string_view>

#include "decode/field_walk.h"
#include "engine/command_block.h"
#include "engine/result_forms.h"

namespace velk {
namespace {

// +CBC: <bcs>,<bcl>   an empty parameter stays 0
constexpr FieldEntry kBattery[] = {
    VELK_INT_IF_TEXT(ResultBattery, connectionStatus),
    VELK_INT_IF_TEXT(ResultBattery, chargeLevel),
};
// +CSQ: <rssi>,<ber>   an empty parameter stays 0
constexpr FieldEntry kSignal[] = {
    VELK_INT_IF_TEXT(ResultSignal, rssi),
    VELK_INT_IF_TEXT(ResultSignal, ber),
};
// +CPIN: <code>
constexpr FieldEntry kPinState[] = {VELK_LONG(ResultPinState, code)};
// +CNMI: <mode>,<mt>,<bm>,<ds>,<bfr>
constexpr FieldEntry kIndicationModes[] = {
    VELK_INT(ResultIndicationModes, mode),      VELK_INT(ResultIndicationModes, deliver),
    VELK_INT(ResultIndicationModes, broadcast), VELK_INT(ResultIndicationModes, statusReport),
    VELK_INT(ResultIndicationModes, buffered),
};
// +CMTI: <mem>,<index>
constexpr FieldEntry kMessageStored[] = {
    VELK_LONG(ReportMessageStored, store),
    VELK_INT(ReportMessageStored, index),
};
// +CMT: <oa>,<alpha>,<scts>,<tooa>,<fo>,<pid>,<dcs>,<sca>,<tosca>,<length>
// and the message text on a line of its own.
constexpr FieldEntry kMessageHeader[] = {
    VELK_SHORT(ReportMessageHeader, originator),
    VELK_LONG(ReportMessageHeader, alpha),
    VELK_LONG(ReportMessageHeader, timestamp),
    VELK_INT(ReportMessageHeader, originatorType),
    VELK_INT(ReportMessageHeader, firstOctet),
    VELK_INT(ReportMessageHeader, protocolId),
    VELK_INT(ReportMessageHeader, codingScheme),
    VELK_SHORT(ReportMessageHeader, serviceCentre),
    VELK_INT(ReportMessageHeader, serviceCentreType),
    VELK_INT(ReportMessageHeader, length),
};
constexpr FieldEntry kMessageBody[] = {VELK_LONG(ReportMessageHeader, body)};
// +CRING: <type>
constexpr FieldEntry kRingType[] = {VELK_INT(ReportRingType, type)};
// +CCWA: <class>,<number>,<type>,<alpha>
constexpr FieldEntry kCallWaiting[] = {
    VELK_INT(ReportCallWaiting, serviceClass),
    VELK_SHORT(ReportCallWaiting, number),
    VELK_INT(ReportCallWaiting, numberType),
    VELK_SHORT(ReportCallWaiting, alpha),
};
// +CLCC: <id>,<dir>,<stat>,<mode>,<mpty>,<number>,<type>,<alpha>
constexpr FieldEntry kCallEntry[] = {
    VELK_INT(ResultCallEntry, callId),     VELK_INT(ResultCallEntry, direction),
    VELK_INT(ResultCallEntry, state),      VELK_INT(ResultCallEntry, mode),
    VELK_INT(ResultCallEntry, multiparty), VELK_SHORT(ResultCallEntry, number),
    VELK_INT(ResultCallEntry, numberType), VELK_LONG(ResultCallEntry, alpha),
};
constexpr FieldEntry kOneNumber[] = {VELK_INT(ResultOneNumber, value)};
constexpr FieldEntry kTwoNumbers[] = {
    VELK_INT(ResultTwoNumbers, values[0]),
    VELK_INT(ResultTwoNumbers, values[1]),
};
constexpr FieldEntry kThreeNumbers[] = {
    VELK_INT(ResultThreeNumbers, values[0]),
    VELK_INT(ResultThreeNumbers, values[1]),
    VELK_INT(ResultThreeNumbers, values[2]),
};
// +CAOC: <meter>,<second>
constexpr FieldEntry kCharge[] = {
    VELK_LONG(ReportCharge, meter),
    VELK_LONG(ReportCharge, second),
};
// +CCLK: <time>
constexpr FieldEntry kClock[] = {VELK_LONG(ReportClock, time)};
// +CREG: <stat>,<cell>
constexpr FieldEntry kRegistration[] = {
    VELK_INT(ReportRegistration, state),
    VELK_INT(ReportRegistration, cell),
};
// The broadcast forms, reached by the two error heads that stand in their
// places of the table: <mem>,<index> and <sn>,<mid>,<dcs>,<page>,<pages>.
constexpr FieldEntry kBroadcastStored[] = {
    VELK_LONG(ReportMessageStored, store),
    VELK_INT(ReportMessageStored, index),
};
constexpr FieldEntry kBroadcastHeader[] = {
    VELK_INT(ReportBroadcastHeader, serial),       VELK_INT(ReportBroadcastHeader, messageId),
    VELK_INT(ReportBroadcastHeader, codingScheme), VELK_INT(ReportBroadcastHeader, page),
    VELK_INT(ReportBroadcastHeader, pages),
};

struct UnsolicitedHead {
    std::string_view head;
    int32_t resultId;
    FieldList fields;
    // A raw line that comes with this head is the body of a message.
    int32_t bodyId;
    FieldList body;
};

// Searched in this order; the first equal head wins.
constexpr UnsolicitedHead kHeads[] = {
    {"+CBC", 11, kBattery, 0, {}},
    {"+CSQ", 9, kSignal, 0, {}},
    {"+CPIN", 84, kPinState, 0, {}},
    {"+CNMI", 55, kIndicationModes, 0, {}},
    {"+CMTI", 56, kMessageStored, 0, {}},
    {"+CMT", 57, kMessageHeader, 235, kMessageBody},
    {"+CRING", 99, kRingType, 0, {}},
    {"RING", 187, {}, 0, {}},
    {"+CCWA", 100, kCallWaiting, 0, {}},
    {"+CLCC", 79, kCallEntry, 0, {}},
    {"CONNECT", 188, {}, 0, {}},
    {"NO CARRIER", 102, kThreeNumbers, 0, {}},
    {"+EXAUDIO", 104, kOneNumber, 0, {}},
    {"+CAOC", 137, kCharge, 0, {}},
    {"+EXCPWD", 189, {}, 0, {}},
    {"+EXACCRP", 120, kTwoNumbers, 0, {}},
    {"+CCLK", 122, kClock, 0, {}},
    {"+CALA", 123, kOneNumber, 0, {}},
    {"+EXHTRP", 139, kOneNumber, 0, {}},
    {"+EXCHRST", 124, kThreeNumbers, 0, {}},
    {"+CREG", 75, kRegistration, 0, {}},
    {"+CME ERROR", 59, kBroadcastStored, 0, {}},
    {"+CMS ERROR", 57, kBroadcastHeader, 0, {}},
};

}  // namespace

ResultBlockPtr DecodeUnsolicitedResult(std::string_view head, const ATResponseRecord& line) {
    const UnsolicitedHead* found = nullptr;
    for (const UnsolicitedHead& row : kHeads) {
        if (row.head == head) {
            found = &row;
            break;
        }
    }
    if (found == nullptr) return nullptr;
    ResultBlockPtr block(AllocCommandBlock());
    if (!block) return block;

    bool body = found->bodyId != 0 && line.firstParam.rawLine == 1;
    block->resultId = body ? found->bodyId : found->resultId;
    // No form of a report holds an image parameter: nothing here gives an error.
    ResultBlockPtr error;
    WalkFields(*block, &line.firstParam, body ? found->body : found->fields, error);
    return block;
}

}  // namespace velk
