// The forms of the device and its line: the end of a command, identification,
// network and subscription, calls and supplementary services, and every line
// the phone sends of its own accord, which mostly carries the fields of a
// command's reply ("+CBC" and "+CSQ" give the battery and signal forms
// themselves).
#include <cstddef>

#include "decode/result_form_table.h"
#include "engine/result_forms.h"

namespace velk {
namespace {

// ---- Status: posted by the worker and the response reader ----

constexpr FieldEntry kCommandEnd[] = {VELK_INT(ResultCommandEnd, commandId)};
constexpr FieldEntry kError[] = {VELK_LONG(ResultErrorForm, message)};

// ---- Identification and line status ----

// The identification commands answer with a line of their own, no head.
constexpr FieldEntry kLineText[] = {VELK_LONG(ResultLineText, text)};
constexpr FieldEntry kSerial[] = {VELK_SHORT(ResultSerial, text)};
// +CSQ: <rssi>,<ber>   an empty parameter stays 0
constexpr FieldEntry kSignal[] = {
    VELK_INT_IF_TEXT(ResultSignal, rssi),
    VELK_INT_IF_TEXT(ResultSignal, ber),
};
// +CBC: <bcs>,<bcl>   an empty parameter stays 0
constexpr FieldEntry kBattery[] = {
    VELK_INT_IF_TEXT(ResultBattery, connectionStatus),
    VELK_INT_IF_TEXT(ResultBattery, chargeLevel),
};
constexpr FieldEntry kImsi[] = {VELK_SHORT(ResultImsi, imsi)};
// +CPIN: <code>
constexpr FieldEntry kPinState[] = {VELK_LONG(ResultPinState, code)};
// +CNMI: <mode>,<mt>,<bm>,<ds>,<bfr>   also sent of the phone's own accord
constexpr FieldEntry kIndicationModes[] = {
    VELK_INT(ResultIndicationModes, mode),      VELK_INT(ResultIndicationModes, deliver),
    VELK_INT(ResultIndicationModes, broadcast), VELK_INT(ResultIndicationModes, statusReport),
    VELK_INT(ResultIndicationModes, buffered),
};

// ---- Network and subscription ----

// +COPS: <mode>,<format>,<oper>
constexpr FieldEntry kOperator[] = {
    VELK_INT(ResultOperator, mode),
    VELK_INT(ResultOperator, format),
    VELK_SHORT(ResultOperator, operatorName),
};
// +CREG: <n>,<stat>
constexpr FieldEntry kRegistration[] = {
    VELK_INT(ResultRegistration, presentation),
    VELK_INT(ResultRegistration, state),
};
// +COPS: (<stat>,<long>,<short>,<numeric>),(...),,(<modes>),(<formats>)
constexpr FieldEntry kOperators[] = {VELK_LIST_OF_LISTS(ResultOperators, operators)};
// +CNUM: <alpha>,<number>,<type>,<speed>   the alpha is not kept
constexpr FieldEntry kOwnNumber[] = {
    VELK_SKIP,
    VELK_LONG(ResultOwnNumber, number),
    VELK_SHORT(ResultOwnNumber, numberType),
    VELK_INT(ResultOwnNumber, speed),
};
// +CACM: <acm>   +CAMM: <acmmax>
constexpr FieldEntry kCallMeter[] = {VELK_SHORT(ResultCallMeter, value)};
// +CPUC: <currency>,<ppu>
constexpr FieldEntry kPricePerUnit[] = {
    VELK_SHORT(ResultPricePerUnit, currency),
    VELK_LONG(ResultPricePerUnit, pricePerUnit),
};
// +CSCS: <chset>
constexpr FieldEntry kCharacterSet[] = {VELK_LONG(ResultCharacterSet, characterSet)};
// +CSCS: (<chset>s)
constexpr FieldEntry kCharacterSets[] = {VELK_LIST(ResultCharacterSets, characterSets)};

// ---- Calls and services: mostly unnamed numbers ----

// +CLCC: <id>,<dir>,<stat>,<mode>,<mpty>,<number>,<type>,<alpha>
constexpr FieldEntry kCallEntry[] = {
    VELK_INT(ResultCallEntry, callId),     VELK_INT(ResultCallEntry, direction),
    VELK_INT(ResultCallEntry, state),      VELK_INT(ResultCallEntry, mode),
    VELK_INT(ResultCallEntry, multiparty), VELK_SHORT(ResultCallEntry, number),
    VELK_INT(ResultCallEntry, numberType), VELK_LONG(ResultCallEntry, alpha),
};
constexpr FieldEntry kOneNumber[] = {VELK_VALUE(kInt, ResultOneNumber, value)};
// Also +CLIP, +CLIR, +COLP, +COLR, +CCFC: <n>[,<m>]
constexpr FieldEntry kTwoNumbers[] = {
    VELK_VALUE(kInt, ResultTwoNumbers, values[0]),
    VELK_VALUE(kInt, ResultTwoNumbers, values[1]),
};
// Also +EXATDST: <a>,<b>,<c>
constexpr FieldEntry kThreeNumbers[] = {
    VELK_VALUE(kInt, ResultThreeNumbers, values[0]),
    VELK_VALUE(kInt, ResultThreeNumbers, values[1]),
    VELK_VALUE(kInt, ResultThreeNumbers, values[2]),
};
constexpr FieldEntry kTenNumbers[] = {
    VELK_VALUE(kInt, ResultTenNumbers, values[0]), VELK_VALUE(kInt, ResultTenNumbers, values[1]),
    VELK_VALUE(kInt, ResultTenNumbers, values[2]), VELK_VALUE(kInt, ResultTenNumbers, values[3]),
    VELK_VALUE(kInt, ResultTenNumbers, values[4]), VELK_VALUE(kInt, ResultTenNumbers, values[5]),
    VELK_VALUE(kInt, ResultTenNumbers, values[6]), VELK_VALUE(kInt, ResultTenNumbers, values[7]),
    VELK_VALUE(kInt, ResultTenNumbers, values[8]), VELK_VALUE(kInt, ResultTenNumbers, values[9]),
};
constexpr FieldEntry kServiceList[] = {VELK_VALUE(kList, ResultServiceList, list)};
// +CCWA: <status>,<class>,<number>,<type>
constexpr FieldEntry kServiceDetail[] = {
    VELK_INT(ResultServiceDetail, status),
    VELK_FIELD_NAMED(kInt, false, ResultServiceDetail, serviceClass, 0, "class"),
    VELK_SHORT(ResultServiceDetail, number),
    VELK_INT(ResultServiceDetail, numberType),
};
// +CLCK: <status>
constexpr FieldEntry kServiceLock[] = {VELK_INT(ResultServiceLock, status)};
constexpr FieldEntry kOneText[] = {VELK_VALUE(kLongText, ResultOneText, text)};
constexpr FieldEntry kMixedLine[] = {
    VELK_VALUE(kInt, ResultMixedLine, leading[0]),  VELK_VALUE(kInt, ResultMixedLine, leading[1]),
    VELK_VALUE(kInt, ResultMixedLine, leading[2]),  VELK_VALUE(kLongText, ResultMixedLine, text),
    VELK_VALUE(kInt, ResultMixedLine, trailing[0]), VELK_VALUE(kInt, ResultMixedLine, trailing[1]),
    VELK_VALUE(kInt, ResultMixedLine, trailing[2]), VELK_VALUE(kInt, ResultMixedLine, trailing[3]),
    VELK_VALUE(kInt, ResultMixedLine, trailing[4]), VELK_VALUE(kInt, ResultMixedLine, trailing[5]),
};
constexpr FieldEntry kTwoTexts[] = {
    VELK_VALUE(kShortText, ResultTwoTexts, first),
    VELK_VALUE(kShortText, ResultTwoTexts, second),
};

// ---- Lines the phone sends of its own accord ----

// +CMTI: <mem>,<index>; the broadcast form, <mem>,<index> as well.
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
    VELK_BODY(ReportMessageHeader, body),
};
// <sn>,<mid>,<dcs>,<page>,<pages> and the text on a line of its own.
constexpr FieldEntry kBroadcastHeader[] = {
    VELK_INT(ReportBroadcastHeader, serial),       VELK_INT(ReportBroadcastHeader, messageId),
    VELK_INT(ReportBroadcastHeader, codingScheme), VELK_INT(ReportBroadcastHeader, page),
    VELK_INT(ReportBroadcastHeader, pages),        VELK_BODY(ReportBroadcastHeader, body),
};
// Held ready for status reports; no head reaches it.
constexpr FieldEntry kStatus[] = {
    VELK_INT(ReportStatus, firstOctet), VELK_INT(ReportStatus, reference),
    VELK_LONG(ReportStatus, recipient), VELK_INT(ReportStatus, recipientType),
    VELK_LONG(ReportStatus, timestamp), VELK_LONG(ReportStatus, dischargeTime),
    VELK_INT(ReportStatus, status),
};
// +CREG: <stat>,<cell>
constexpr FieldEntry kReportRegistration[] = {
    VELK_INT(ReportRegistration, state),
    VELK_INT(ReportRegistration, cell),
};
// +CRING: <type>
constexpr FieldEntry kRingType[] = {VELK_INT(ReportRingType, type)};
// +CCWA: <class>,<number>,<type>,<alpha>
constexpr FieldEntry kCallWaiting[] = {
    VELK_FIELD_NAMED(kInt, false, ReportCallWaiting, serviceClass, 0, "class"),
    VELK_SHORT(ReportCallWaiting, number),
    VELK_INT(ReportCallWaiting, numberType),
    VELK_SHORT(ReportCallWaiting, alpha),
};
// +CCLK: <time>
constexpr FieldEntry kClock[] = {VELK_LONG(ReportClock, time)};
// +CAOC: <meter>,<second>
constexpr FieldEntry kCharge[] = {
    VELK_LONG(ReportCharge, meter),
    VELK_LONG(ReportCharge, second),
};

constexpr FormVariant kOnly = FormVariant::kOnly;

// RING, CONNECT and +EXCPWD carry nothing but their id.
constexpr ResultForm kDeviceForms[] = {
    {1, "ResultDone", kCommandEnd},
    {2, "ResultTimedOut", kCommandEnd},
    {3, "ResultError", kError},
    {4, "ResultOperatorSet", kOperator},
    {5, "ResultManufacturer", kLineText},
    {6, "ResultModel", kLineText},
    {7, "ResultRevision", kLineText},
    {8, "ResultSerial", kSerial},
    {9, "ResultSignal", kSignal},
    {11, "ResultBattery", kBattery},
    {53, "ResultIndicationModes", kIndicationModes},
    {55, "ReportIndicationModes", kIndicationModes},
    {56, "ReportMessageStored", kMessageStored},
    {57, "ReportMessageHeader", kMessageHeader, FormVariant::kMessageReport},
    {57, "ReportBroadcastHeader", kBroadcastHeader, FormVariant::kBroadcastReport},
    {58, "ReportStatus", kStatus},
    {59, "ReportBroadcastStored", kMessageStored},
    {73, "ResultRegistration", kRegistration},
    {75, "ReportRegistration", kReportRegistration},
    {77, "ResultOperator", kOperator},
    {78, "ResultOperators", kOperators},
    {79, "ReportCallEntry", kCallEntry},
    {80, "ResultOwnNumber", kOwnNumber},
    {81, "ResultImsi", kImsi},
    {83, "ResultPinState", kPinState},
    {84, "ReportPinState", kPinState},
    {86, "ResultCallMeter", kCallMeter},
    {88, "ResultCallMeterMaximum", kCallMeter},
    {90, "ResultPricePerUnit", kPricePerUnit},
    {92, "ResultCharacterSet", kCharacterSet},
    {93, "ResultCharacterSets", kCharacterSets},
    {98, "ResultCallEntry", kCallEntry},
    {99, "ReportRingType", kRingType},
    {100, "ReportCallWaiting", kCallWaiting},
    {101, "ResultExatdst", kThreeNumbers},
    {102, "ReportNoCarrier", kThreeNumbers},
    {103, "ResultOneNumber", kOneNumber},
    {104, "ReportExaudio", kOneNumber},
    {105, "ResultTwoNumbers", kTwoNumbers},
    {106, "ResultServiceList", kServiceList},
    {107, "ResultServiceState", kTwoNumbers},
    {108, "ResultServiceState", kTwoNumbers},
    {109, "ResultServiceState", kTwoNumbers},
    {110, "ResultServiceState", kTwoNumbers},
    {111, "ResultServiceState", kTwoNumbers},
    {112, "ResultServiceDetail", kServiceDetail},
    {113, "ResultServiceLock", kServiceLock},
    {114, "ResultTenNumbers", kTenNumbers},
    {115, "ResultTwoNumbers", kTwoNumbers},
    {116, "ResultOneNumber", kOneNumber},
    {117, "ResultOneNumber", kOneNumber},
    {118, "ResultOneNumber", kOneNumber},
    {120, "ReportExaccrp", kTwoNumbers},
    {121, "ResultOneText", kOneText},
    {122, "ReportClock", kClock},
    {123, "ReportAlarm", kOneNumber},
    {124, "ReportExchrst", kThreeNumbers},
    {125, "ResultMixedLine", kMixedLine},
    {126, "ResultOneNumber", kOneNumber},
    {132, "ResultOneNumber", kOneNumber},
    {136, "ResultTwoTexts", kTwoTexts},
    {137, "ReportCharge", kCharge},
    {139, "ReportExhtrp", kOneNumber},
    {187, "ReportRing", {}},
    {188, "ReportConnect", {}},
    {189, "ReportExcpwd", {}},
    {234, "ReportBroadcastBody", kBroadcastHeader, kOnly, true},
    {235, "ReportMessageBody", kMessageHeader, kOnly, true},
};
static_assert(WellFormed(kDeviceForms));

}  // namespace

std::span<const ResultForm> DeviceForms() {
    return kDeviceForms;
}

}  // namespace velk
