// The printed forms of the status blocks and of the information lines of
// command replies, in the order of their fields in the blocks.
#include "velkport/printed_forms.h"

namespace velk::cli {
namespace {

// ---- Status ----
constexpr PrintedField kCommandEnd[] = {VELK_P_INT(ResultCommandEnd, commandId)};
constexpr PrintedField kError[] = {VELK_P_TEXT(ResultErrorForm, message)};

// ---- Identification and line status ----
constexpr PrintedField kLineText[] = {VELK_P_TEXT(ResultLineText, text)};
constexpr PrintedField kSerial[] = {VELK_P_TEXT(ResultSerial, text)};
constexpr PrintedField kSignal[] = {VELK_P_INT(ResultSignal, rssi), VELK_P_INT(ResultSignal, ber)};
constexpr PrintedField kBattery[] = {VELK_P_INT(ResultBattery, connectionStatus),
                                     VELK_P_INT(ResultBattery, chargeLevel)};
constexpr PrintedField kImsi[] = {VELK_P_TEXT(ResultImsi, imsi)};
constexpr PrintedField kPinState[] = {VELK_P_TEXT(ResultPinState, code)};

// ---- Phone book ----
constexpr PrintedField kPhonebookReadRange[] = {VELK_P_TEXT(ResultPhonebookReadRange, indexRange),
                                                VELK_P_INT(ResultPhonebookReadRange, numberLength),
                                                VELK_P_INT(ResultPhonebookReadRange, textLength)};
constexpr PrintedField kPhonebookEntry[] = {
    VELK_P_INT(ResultPhonebookEntry, index), VELK_P_TEXT(ResultPhonebookEntry, number),
    VELK_P_INT(ResultPhonebookEntry, numberType), VELK_P_TEXT(ResultPhonebookEntry, text)};
constexpr PrintedField kPhonebookStorages[] = {VELK_P_TEXT(ResultPhonebookStorages, storages)};
constexpr PrintedField kPhonebookStorage[] = {VELK_P_TEXT(ResultPhonebookStorage, storage),
                                              VELK_P_INT(ResultPhonebookStorage, used),
                                              VELK_P_INT(ResultPhonebookStorage, total)};
constexpr PrintedField kPhonebookFindRange[] = {VELK_P_INT(ResultPhonebookFindRange, numberLength),
                                                VELK_P_INT(ResultPhonebookFindRange, textLength)};
constexpr PrintedField kPhonebookWriteRange[] = {
    VELK_P_TEXT(ResultPhonebookWriteRange, indexRange),
    VELK_P_INT(ResultPhonebookWriteRange, numberLength),
    VELK_P_TEXT(ResultPhonebookWriteRange, numberTypes),
    VELK_P_INT(ResultPhonebookWriteRange, textLength)};

// ---- Short-message settings ----
constexpr PrintedField kMessageServiceSet[] = {
    VELK_P_INT(ResultMessageServiceSet, mobileTerminated),
    VELK_P_INT(ResultMessageServiceSet, mobileOriginated),
    VELK_P_INT(ResultMessageServiceSet, broadcast)};
constexpr PrintedField kMessageService[] = {VELK_P_INT(ResultMessageService, service),
                                            VELK_P_INT(ResultMessageService, mobileTerminated),
                                            VELK_P_INT(ResultMessageService, mobileOriginated),
                                            VELK_P_INT(ResultMessageService, broadcast)};
constexpr PrintedField kMessageServices[] = {VELK_P_TEXT(ResultMessageServices, services)};
constexpr PrintedField kMessageStoresSet[] = {
    VELK_P_INT(ResultMessageStoresSet, used1), VELK_P_INT(ResultMessageStoresSet, total1),
    VELK_P_INT(ResultMessageStoresSet, used2), VELK_P_INT(ResultMessageStoresSet, total2),
    VELK_P_INT(ResultMessageStoresSet, used3), VELK_P_INT(ResultMessageStoresSet, total3)};
constexpr PrintedField kMessageStores[] = {
    VELK_P_TEXT(ResultMessageStores, store1), VELK_P_INT(ResultMessageStores, used1),
    VELK_P_INT(ResultMessageStores, total1),  VELK_P_TEXT(ResultMessageStores, store2),
    VELK_P_INT(ResultMessageStores, used2),   VELK_P_INT(ResultMessageStores, total2),
    VELK_P_TEXT(ResultMessageStores, store3), VELK_P_INT(ResultMessageStores, used3),
    VELK_P_INT(ResultMessageStores, total3)};
constexpr PrintedField kMessageStoreLists[] = {VELK_P_TEXT(ResultMessageStoreLists, stores1),
                                               VELK_P_TEXT(ResultMessageStoreLists, stores2),
                                               VELK_P_TEXT(ResultMessageStoreLists, stores3)};
constexpr PrintedField kBroadcastSelection[] = {VELK_P_INT(ResultBroadcastSelection, mode),
                                                VELK_P_TEXT(ResultBroadcastSelection, messageIds),
                                                VELK_P_TEXT(ResultBroadcastSelection, codings)};
constexpr PrintedField kBroadcastModes[] = {VELK_P_TEXT(ResultBroadcastModes, modes)};
constexpr PrintedField kProfiles[] = {VELK_P_TEXT(ResultProfiles, profiles)};
constexpr PrintedField kMessageFormat[] = {VELK_P_INT(ResultMessageFormat, format)};
constexpr PrintedField kMessageFormats[] = {VELK_P_TEXT(ResultMessageFormats, formats)};
constexpr PrintedField kServiceCentre[] = {VELK_P_TEXT(ResultServiceCentre, address),
                                           VELK_P_INT(ResultServiceCentre, addressType)};
constexpr PrintedField kTextParameters[] = {
    VELK_P_INT(ResultTextParameters, firstOctet), VELK_P_INT(ResultTextParameters, validity),
    VELK_P_INT(ResultTextParameters, protocolId), VELK_P_INT(ResultTextParameters, codingScheme)};
constexpr PrintedField kShowHeader[] = {VELK_P_INT(ResultShowHeader, show)};
constexpr PrintedField kShowHeaderValues[] = {VELK_P_TEXT(ResultShowHeaderValues, values)};
constexpr PrintedField kIndicationModes[] = {
    VELK_P_INT(ResultIndicationModes, mode), VELK_P_INT(ResultIndicationModes, deliver),
    VELK_P_INT(ResultIndicationModes, broadcast), VELK_P_INT(ResultIndicationModes, statusReport),
    VELK_P_INT(ResultIndicationModes, buffered)};
constexpr PrintedField kIndicationLists[] = {VELK_P_TEXT(ResultIndicationLists, modes),
                                             VELK_P_TEXT(ResultIndicationLists, delivers),
                                             VELK_P_TEXT(ResultIndicationLists, broadcasts),
                                             VELK_P_TEXT(ResultIndicationLists, statusReports),
                                             VELK_P_TEXT(ResultIndicationLists, buffereds)};
constexpr PrintedField kListStates[] = {VELK_P_TEXT(ResultListStates, states)};

// ---- Short messages ----
constexpr PrintedField kMessageReference[] = {VELK_P_INT(ResultMessageReference, reference)};
constexpr PrintedField kMessageWritten[] = {VELK_P_INT(ResultMessageWritten, index)};
constexpr PrintedField kDeliverHeader[] = {
    VELK_P_TEXT(ResultMessageDeliverHeader, state),
    VELK_P_TEXT(ResultMessageDeliverHeader, originator),
    VELK_P_TEXT(ResultMessageDeliverHeader, alpha),
    VELK_P_TEXT(ResultMessageDeliverHeader, timestamp),
    VELK_P_INT(ResultMessageDeliverHeader, originatorType),
    VELK_P_INT(ResultMessageDeliverHeader, firstOctet),
    VELK_P_INT(ResultMessageDeliverHeader, protocolId),
    VELK_P_INT(ResultMessageDeliverHeader, codingScheme),
    VELK_P_TEXT(ResultMessageDeliverHeader, serviceCentre),
    VELK_P_INT(ResultMessageDeliverHeader, serviceCentreType),
    VELK_P_INT(ResultMessageDeliverHeader, length),
    VELK_P_TEXT(ResultMessageDeliverHeader, body)};
constexpr PrintedField kSubmitHeader[] = {VELK_P_TEXT(ResultMessageSubmitHeader, state),
                                          VELK_P_TEXT(ResultMessageSubmitHeader, destination),
                                          VELK_P_TEXT(ResultMessageSubmitHeader, alpha),
                                          VELK_P_TEXT(ResultMessageSubmitHeader, timestamp),
                                          VELK_P_INT(ResultMessageSubmitHeader, destinationType),
                                          VELK_P_INT(ResultMessageSubmitHeader, firstOctet),
                                          VELK_P_INT(ResultMessageSubmitHeader, protocolId),
                                          VELK_P_INT(ResultMessageSubmitHeader, codingScheme),
                                          VELK_P_INT(ResultMessageSubmitHeader, validity),
                                          VELK_P_TEXT(ResultMessageSubmitHeader, serviceCentre),
                                          VELK_P_INT(ResultMessageSubmitHeader, serviceCentreType),
                                          VELK_P_INT(ResultMessageSubmitHeader, length),
                                          VELK_P_TEXT(ResultMessageSubmitHeader, body)};
constexpr PrintedField kBroadcastHeader[] = {
    VELK_P_TEXT(ResultBroadcastHeader, state),    VELK_P_INT(ResultBroadcastHeader, serial),
    VELK_P_INT(ResultBroadcastHeader, messageId), VELK_P_INT(ResultBroadcastHeader, codingScheme),
    VELK_P_INT(ResultBroadcastHeader, page),      VELK_P_INT(ResultBroadcastHeader, pages),
    VELK_P_TEXT(ResultBroadcastHeader, body)};
constexpr PrintedField kListHeader[] = {
    VELK_P_INT(ResultListHeader, index),      VELK_P_TEXT(ResultListHeader, state),
    VELK_P_TEXT(ResultListHeader, address),   VELK_P_TEXT(ResultListHeader, alpha),
    VELK_P_TEXT(ResultListHeader, timestamp), VELK_P_INT(ResultListHeader, addressType),
    VELK_P_INT(ResultListHeader, length),     VELK_P_TEXT(ResultListHeader, body)};
constexpr PrintedField kListBroadcastHeader[] = {
    VELK_P_INT(ResultListBroadcastHeader, index),  VELK_P_TEXT(ResultListBroadcastHeader, state),
    VELK_P_INT(ResultListBroadcastHeader, serial), VELK_P_INT(ResultListBroadcastHeader, messageId),
    VELK_P_INT(ResultListBroadcastHeader, page),   VELK_P_INT(ResultListBroadcastHeader, pages),
    VELK_P_TEXT(ResultListBroadcastHeader, body)};

// ---- Network and subscription ----
constexpr PrintedField kOperator[] = {VELK_P_INT(ResultOperator, mode),
                                      VELK_P_INT(ResultOperator, format),
                                      VELK_P_TEXT(ResultOperator, operatorName)};
constexpr PrintedField kRegistration[] = {VELK_P_INT(ResultRegistration, presentation),
                                          VELK_P_INT(ResultRegistration, state)};
constexpr PrintedField kOperators[] = {VELK_P_TEXT(ResultOperators, operators)};
constexpr PrintedField kOwnNumber[] = {VELK_P_TEXT(ResultOwnNumber, number),
                                       VELK_P_TEXT(ResultOwnNumber, numberType),
                                       VELK_P_INT(ResultOwnNumber, speed)};
constexpr PrintedField kCallMeter[] = {VELK_P_TEXT(ResultCallMeter, value)};
constexpr PrintedField kPricePerUnit[] = {VELK_P_TEXT(ResultPricePerUnit, currency),
                                          VELK_P_TEXT(ResultPricePerUnit, pricePerUnit)};
constexpr PrintedField kCharacterSet[] = {VELK_P_TEXT(ResultCharacterSet, characterSet)};
constexpr PrintedField kCharacterSets[] = {VELK_P_TEXT(ResultCharacterSets, characterSets)};

// ---- Commands without a text of their own: mostly unnamed numbers ----
constexpr PrintedField kCallEntry[] = {
    VELK_P_INT(ResultCallEntry, callId),     VELK_P_INT(ResultCallEntry, direction),
    VELK_P_INT(ResultCallEntry, state),      VELK_P_INT(ResultCallEntry, mode),
    VELK_P_INT(ResultCallEntry, multiparty), VELK_P_TEXT(ResultCallEntry, number),
    VELK_P_INT(ResultCallEntry, numberType), VELK_P_TEXT(ResultCallEntry, alpha)};
constexpr PrintedField kOneNumber[] = {VELK_P_UNNAMED(kInt32, ResultOneNumber, value)};
constexpr PrintedField kTwoNumbers[] = {VELK_P_UNNAMED(kInt32, ResultTwoNumbers, values[0]),
                                        VELK_P_UNNAMED(kInt32, ResultTwoNumbers, values[1])};
constexpr PrintedField kThreeNumbers[] = {VELK_P_UNNAMED(kInt32, ResultThreeNumbers, values[0]),
                                          VELK_P_UNNAMED(kInt32, ResultThreeNumbers, values[1]),
                                          VELK_P_UNNAMED(kInt32, ResultThreeNumbers, values[2])};
constexpr PrintedField kServiceList[] = {VELK_P_UNNAMED(kText, ResultServiceList, list)};
constexpr PrintedField kServiceDetail[] = {
    VELK_P_INT(ResultServiceDetail, status),
    VELK_PRINTED(kInt32, ResultServiceDetail, serviceClass, "class"),
    VELK_P_TEXT(ResultServiceDetail, number), VELK_P_INT(ResultServiceDetail, numberType)};
constexpr PrintedField kServiceLock[] = {VELK_P_INT(ResultServiceLock, status)};
constexpr PrintedField kTenNumbers[] = {VELK_P_UNNAMED(kInt32, ResultTenNumbers, values[0]),
                                        VELK_P_UNNAMED(kInt32, ResultTenNumbers, values[1]),
                                        VELK_P_UNNAMED(kInt32, ResultTenNumbers, values[2]),
                                        VELK_P_UNNAMED(kInt32, ResultTenNumbers, values[3]),
                                        VELK_P_UNNAMED(kInt32, ResultTenNumbers, values[4]),
                                        VELK_P_UNNAMED(kInt32, ResultTenNumbers, values[5]),
                                        VELK_P_UNNAMED(kInt32, ResultTenNumbers, values[6]),
                                        VELK_P_UNNAMED(kInt32, ResultTenNumbers, values[7]),
                                        VELK_P_UNNAMED(kInt32, ResultTenNumbers, values[8]),
                                        VELK_P_UNNAMED(kInt32, ResultTenNumbers, values[9])};
constexpr PrintedField kOneText[] = {VELK_P_UNNAMED(kText, ResultOneText, text)};
constexpr PrintedField kMixedLine[] = {VELK_P_UNNAMED(kInt32, ResultMixedLine, leading[0]),
                                       VELK_P_UNNAMED(kInt32, ResultMixedLine, leading[1]),
                                       VELK_P_UNNAMED(kInt32, ResultMixedLine, leading[2]),
                                       VELK_P_UNNAMED(kText, ResultMixedLine, text),
                                       VELK_P_UNNAMED(kInt32, ResultMixedLine, trailing[0]),
                                       VELK_P_UNNAMED(kInt32, ResultMixedLine, trailing[1]),
                                       VELK_P_UNNAMED(kInt32, ResultMixedLine, trailing[2]),
                                       VELK_P_UNNAMED(kInt32, ResultMixedLine, trailing[3]),
                                       VELK_P_UNNAMED(kInt32, ResultMixedLine, trailing[4]),
                                       VELK_P_UNNAMED(kInt32, ResultMixedLine, trailing[5])};
constexpr PrintedField kTwoTexts[] = {VELK_P_UNNAMED(kText, ResultTwoTexts, first),
                                      VELK_P_UNNAMED(kText, ResultTwoTexts, second)};

// ---- Tone, image and logo information: single bytes ----
constexpr PrintedField kToneInfo[] = {
    VELK_P_TEXT(ResultToneInfo, infoName), VELK_P_BYTE(ResultToneInfo, infoNumber1),
    VELK_P_BYTE(ResultToneInfo, infoNumber2), VELK_P_BYTE(ResultToneInfo, nameLength),
    VELK_P_BYTE(ResultToneInfo, infoNumber3)};
constexpr PrintedField kTonePart[] = {
    VELK_P_BYTE(ResultTonePart, index),      VELK_P_TEXT(ResultTonePart, name),
    VELK_P_BYTE(ResultTonePart, nameLength), VELK_P_BYTE(ResultTonePart, part),
    VELK_P_BYTE(ResultTonePart, totalParts), VELK_P_BYTE(ResultTonePart, textLength),
    VELK_P_BYTE(ResultTonePart, sizeHigh),   VELK_P_BYTE(ResultTonePart, sizeLow),
    VELK_P_TEXT(ResultTonePart, text),       VELK_P_BYTE(ResultTonePart, partCheck)};
constexpr PrintedField kImageInfo[] = {
    VELK_P_TEXT(ResultImageInfo, infoName),    VELK_P_BYTE(ResultImageInfo, nameLength),
    VELK_P_BYTE(ResultImageInfo, infoNumber1), VELK_P_BYTE(ResultImageInfo, infoNumber2),
    VELK_P_BYTE(ResultImageInfo, infoNumber3), VELK_P_BYTE(ResultImageInfo, infoNumber4),
    VELK_P_BYTE(ResultImageInfo, infoNumber5), VELK_P_WORDS(ResultImageInfo, frameRanges)};
constexpr PrintedField kImagePart[] = {
    VELK_P_BYTE(ResultImagePart, index),      VELK_P_TEXT(ResultImagePart, name),
    VELK_P_BYTE(ResultImagePart, nameLength), VELK_P_BYTE(ResultImagePart, part),
    VELK_P_BYTE(ResultImagePart, totalParts), VELK_P_BYTE(ResultImagePart, textLength),
    VELK_P_BYTE(ResultImagePart, sizeHigh),   VELK_P_BYTE(ResultImagePart, sizeLow),
    VELK_P_TEXT(ResultImagePart, text),       VELK_P_BYTE(ResultImagePart, partCheck),
    VELK_P_BYTE(ResultImagePart, animParam1), VELK_P_BYTE(ResultImagePart, animParam2),
    VELK_P_BYTE(ResultImagePart, animParam3)};
constexpr PrintedField kLogoInfo[] = {
    VELK_P_TEXT(ResultLogoInfo, infoName),    VELK_P_BYTE(ResultLogoInfo, nameLength),
    VELK_P_BYTE(ResultLogoInfo, infoNumber1), VELK_P_BYTE(ResultLogoInfo, infoNumber2),
    VELK_P_BYTE(ResultLogoInfo, infoNumber3), VELK_P_BYTE(ResultLogoInfo, infoNumber4)};
constexpr PrintedField kLogoPart[] = {
    VELK_P_BYTE(ResultLogoPart, index),       VELK_P_TEXT(ResultLogoPart, countryCode),
    VELK_P_TEXT(ResultLogoPart, networkCode), VELK_P_BYTE(ResultLogoPart, logoType),
    VELK_P_BYTE(ResultLogoPart, part),        VELK_P_BYTE(ResultLogoPart, totalParts),
    VELK_P_BYTE(ResultLogoPart, textLength),  VELK_P_BYTE(ResultLogoPart, sizeHigh),
    VELK_P_BYTE(ResultLogoPart, sizeLow),     VELK_P_TEXT(ResultLogoPart, text),
    VELK_P_BYTE(ResultLogoPart, partCheck)};

// A body block (229, 230, 231, 233) prints its header form's fields; only
// `body` is filled in it.
constexpr PrintedForm kResultForms[] = {
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
    {12, "ResultPhonebookReadRange", kPhonebookReadRange},
    {14, "ResultPhonebookEntry", kPhonebookEntry},
    {15, "ResultPhonebookStorages", kPhonebookStorages},
    {17, "ResultPhonebookStorage", kPhonebookStorage},
    {19, "ResultPhonebookFound", kPhonebookEntry},
    {20, "ResultPhonebookFindRange", kPhonebookFindRange},
    {22, "ResultPhonebookWriteRange", kPhonebookWriteRange},
    {25, "ResultMessageServiceSet", kMessageServiceSet},
    {26, "ResultMessageService", kMessageService},
    {27, "ResultMessageServices", kMessageServices},
    {29, "ResultMessageStoresSet", kMessageStoresSet},
    {30, "ResultMessageStores", kMessageStores},
    {31, "ResultMessageStoreLists", kMessageStoreLists},
    {33, "ResultBroadcastSelection", kBroadcastSelection},
    {34, "ResultBroadcastModes", kBroadcastModes},
    {36, "ResultSaveProfiles", kProfiles},
    {38, "ResultRestoreProfiles", kProfiles},
    {40, "ResultCommandSent", kMessageReference},
    {42, "ResultMessageFormat", kMessageFormat},
    {43, "ResultMessageFormats", kMessageFormats},
    {46, "ResultServiceCentre", kServiceCentre},
    {48, "ResultTextParameters", kTextParameters},
    {50, "ResultShowHeader", kShowHeader},
    {51, "ResultShowHeaderValues", kShowHeaderValues},
    {53, "ResultIndicationModes", kIndicationModes},
    {54, "ResultIndicationLists", kIndicationLists},
    {62, "ResultMessageHeader", kDeliverHeader, FormVariant::kDeliver},
    {62, "ResultMessageHeader", kSubmitHeader, FormVariant::kSubmit},
    {64, "ResultBroadcastHeader", kBroadcastHeader},
    {66, "ResultMessageSent", kMessageReference},
    {68, "ResultStoredSent", kMessageReference},
    {70, "ResultMessageWritten", kMessageWritten},
    {73, "ResultRegistration", kRegistration},
    {77, "ResultOperator", kOperator},
    {78, "ResultOperators", kOperators},
    {80, "ResultOwnNumber", kOwnNumber},
    {81, "ResultImsi", kImsi},
    {83, "ResultPinState", kPinState},
    {86, "ResultCallMeter", kCallMeter},
    {88, "ResultCallMeterMaximum", kCallMeter},
    {90, "ResultPricePerUnit", kPricePerUnit},
    {92, "ResultCharacterSet", kCharacterSet},
    {93, "ResultCharacterSets", kCharacterSets},
    {95, "ResultListStates", kListStates},
    {96, "ResultListHeader", kListHeader},
    {97, "ResultListBroadcastHeader", kListBroadcastHeader},
    {98, "ResultCallEntry", kCallEntry},
    {101, "ResultExatdst", kThreeNumbers},
    {103, "ResultOneNumber", kOneNumber},
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
    {121, "ResultOneText", kOneText},
    {125, "ResultMixedLine", kMixedLine},
    {126, "ResultOneNumber", kOneNumber},
    {132, "ResultOneNumber", kOneNumber},
    {136, "ResultTwoTexts", kTwoTexts},
    {151, "ResultToneInfo", kToneInfo},
    {153, "ResultTonePart", kTonePart},
    {156, "ResultImageInfo", kImageInfo},
    {158, "ResultImagePart", kImagePart},
    {160, "ResultLogoInfo", kLogoInfo},
    {162, "ResultLogoPart", kLogoPart},
    {229, "ResultListBody", kListHeader},
    {230, "ResultListBroadcastBody", kListBroadcastHeader},
    {231, "ResultMessageBody", kDeliverHeader, FormVariant::kDeliver},
    {231, "ResultMessageBody", kSubmitHeader, FormVariant::kSubmit},
    {233, "ResultBroadcastBody", kBroadcastHeader},
};

}  // namespace

std::span<const PrintedForm> ResultFormTable() {
    return kResultForms;
}

}  // namespace velk::cli
