// The printed forms of the lines the phone sends of its own accord. "+CBC"
// and "+CSQ" give the battery and signal forms of the command replies.
#include "velkport/printed_forms.h"

namespace velk::cli {
namespace {

constexpr PrintedField kIndicationModes[] = {
    VELK_P_INT(ResultIndicationModes, mode), VELK_P_INT(ResultIndicationModes, deliver),
    VELK_P_INT(ResultIndicationModes, broadcast), VELK_P_INT(ResultIndicationModes, statusReport),
    VELK_P_INT(ResultIndicationModes, buffered)};
constexpr PrintedField kMessageStored[] = {VELK_P_TEXT(ReportMessageStored, store),
                                           VELK_P_INT(ReportMessageStored, index)};
constexpr PrintedField kMessageHeader[] = {VELK_P_TEXT(ReportMessageHeader, originator),
                                           VELK_P_TEXT(ReportMessageHeader, alpha),
                                           VELK_P_TEXT(ReportMessageHeader, timestamp),
                                           VELK_P_INT(ReportMessageHeader, originatorType),
                                           VELK_P_INT(ReportMessageHeader, firstOctet),
                                           VELK_P_INT(ReportMessageHeader, protocolId),
                                           VELK_P_INT(ReportMessageHeader, codingScheme),
                                           VELK_P_TEXT(ReportMessageHeader, serviceCentre),
                                           VELK_P_INT(ReportMessageHeader, serviceCentreType),
                                           VELK_P_INT(ReportMessageHeader, length),
                                           VELK_P_TEXT(ReportMessageHeader, body)};
constexpr PrintedField kRegistration[] = {VELK_P_INT(ReportRegistration, state),
                                          VELK_P_INT(ReportRegistration, cell)};
constexpr PrintedField kCallEntry[] = {
    VELK_P_INT(ResultCallEntry, callId),     VELK_P_INT(ResultCallEntry, direction),
    VELK_P_INT(ResultCallEntry, state),      VELK_P_INT(ResultCallEntry, mode),
    VELK_P_INT(ResultCallEntry, multiparty), VELK_P_TEXT(ResultCallEntry, number),
    VELK_P_INT(ResultCallEntry, numberType), VELK_P_TEXT(ResultCallEntry, alpha)};
constexpr PrintedField kPinState[] = {VELK_P_TEXT(ResultPinState, code)};
constexpr PrintedField kRingType[] = {VELK_P_INT(ReportRingType, type)};
constexpr PrintedField kCallWaiting[] = {
    VELK_PRINTED(kInt32, ReportCallWaiting, serviceClass, "class"),
    VELK_P_TEXT(ReportCallWaiting, number), VELK_P_INT(ReportCallWaiting, numberType),
    VELK_P_TEXT(ReportCallWaiting, alpha)};
constexpr PrintedField kOneNumber[] = {VELK_P_UNNAMED(kInt32, ResultOneNumber, value)};
constexpr PrintedField kTwoNumbers[] = {VELK_P_UNNAMED(kInt32, ResultTwoNumbers, values[0]),
                                        VELK_P_UNNAMED(kInt32, ResultTwoNumbers, values[1])};
constexpr PrintedField kThreeNumbers[] = {VELK_P_UNNAMED(kInt32, ResultThreeNumbers, values[0]),
                                          VELK_P_UNNAMED(kInt32, ResultThreeNumbers, values[1]),
                                          VELK_P_UNNAMED(kInt32, ResultThreeNumbers, values[2])};
constexpr PrintedField kClock[] = {VELK_P_TEXT(ReportClock, time)};
constexpr PrintedField kCharge[] = {VELK_P_TEXT(ReportCharge, meter),
                                    VELK_P_TEXT(ReportCharge, second)};
constexpr PrintedField kBroadcastStored[] = {VELK_P_TEXT(ReportMessageStored, store),
                                             VELK_P_INT(ReportMessageStored, index)};
constexpr PrintedField kBroadcastHeader[] = {
    VELK_P_INT(ReportBroadcastHeader, serial),       VELK_P_INT(ReportBroadcastHeader, messageId),
    VELK_P_INT(ReportBroadcastHeader, codingScheme), VELK_P_INT(ReportBroadcastHeader, page),
    VELK_P_INT(ReportBroadcastHeader, pages),        VELK_P_TEXT(ReportBroadcastHeader, body)};
constexpr PrintedField kStatus[] = {
    VELK_P_INT(ReportStatus, firstOctet), VELK_P_INT(ReportStatus, reference),
    VELK_P_TEXT(ReportStatus, recipient), VELK_P_INT(ReportStatus, recipientType),
    VELK_P_TEXT(ReportStatus, timestamp), VELK_P_TEXT(ReportStatus, dischargeTime),
    VELK_P_INT(ReportStatus, status)};

// RING, CONNECT and +EXCPWD carry nothing but their id. Body blocks (234,
// 235) print their header form's fields with only `body` filled.
constexpr PrintedForm kReportForms[] = {
    {55, "ReportIndicationModes", kIndicationModes},
    {56, "ReportMessageStored", kMessageStored},
    {57, "ReportMessageHeader", kMessageHeader, FormVariant::kMessageReport},
    {57, "ReportBroadcastHeader", kBroadcastHeader, FormVariant::kBroadcastReport},
    {58, "ReportStatus", kStatus},
    {59, "ReportBroadcastStored", kBroadcastStored},
    {75, "ReportRegistration", kRegistration},
    {79, "ReportCallEntry", kCallEntry},
    {84, "ReportPinState", kPinState},
    {99, "ReportRingType", kRingType},
    {100, "ReportCallWaiting", kCallWaiting},
    {102, "ReportNoCarrier", kThreeNumbers},
    {104, "ReportExaudio", kOneNumber},
    {120, "ReportExaccrp", kTwoNumbers},
    {122, "ReportClock", kClock},
    {123, "ReportAlarm", kOneNumber},
    {124, "ReportExchrst", kThreeNumbers},
    {137, "ReportCharge", kCharge},
    {139, "ReportExhtrp", kOneNumber},
    {187, "ReportRing", {}},
    {188, "ReportConnect", {}},
    {189, "ReportExcpwd", {}},
    {234, "ReportBroadcastBody", kBroadcastHeader},
    {235, "ReportMessageBody", kMessageHeader},
};

}  // namespace

std::span<const PrintedForm> ReportFormTable() {
    return kReportForms;
}

}  // namespace velk::cli
