#include "decode/solicited_cases.h"

#include <algorithm>
#include <cstddef>
#include <iterator>

#include "engine/result_forms.h"

namespace velk {
namespace {

// ---- Field lists, one per form ----

// +CPBR: <index>,<number>,<type>,<text>   (also +CPBF)
constexpr FieldEntry kPhonebookEntry[] = {
    VELK_INT(ResultPhonebookEntry, index),
    VELK_SHORT(ResultPhonebookEntry, number),
    VELK_INT(ResultPhonebookEntry, numberType),
    VELK_LONG(ResultPhonebookEntry, text),
};
// +CSMS: <mt>,<mo>,<bm>
constexpr FieldEntry kMessageServiceSet[] = {
    VELK_INT(ResultMessageServiceSet, mobileTerminated),
    VELK_INT(ResultMessageServiceSet, mobileOriginated),
    VELK_INT(ResultMessageServiceSet, broadcast),
};
// +CPMS: <used1>,<total1>,<used2>,<total2>,<used3>,<total3>
constexpr FieldEntry kMessageStoresSet[] = {
    VELK_INT(ResultMessageStoresSet, used1), VELK_INT(ResultMessageStoresSet, total1),
    VELK_INT(ResultMessageStoresSet, used2), VELK_INT(ResultMessageStoresSet, total2),
    VELK_INT(ResultMessageStoresSet, used3), VELK_INT(ResultMessageStoresSet, total3),
};
// +CMGC: <mr>   +CMGS: <mr>   +CMSS: <mr>
constexpr FieldEntry kMessageReference[] = {VELK_INT(ResultMessageReference, reference)};
// +CMGW: <index>
constexpr FieldEntry kMessageWritten[] = {VELK_INT(ResultMessageWritten, index)};
// +COPS: <mode>,<format>,<oper>
constexpr FieldEntry kOperator[] = {
    VELK_INT(ResultOperator, mode),
    VELK_INT(ResultOperator, format),
    VELK_SHORT(ResultOperator, operatorName),
};
constexpr FieldEntry kOneNumber[] = {VELK_INT(ResultOneNumber, value)};
constexpr FieldEntry kTwoNumbers[] = {
    VELK_INT(ResultTwoNumbers, values[0]),
    VELK_INT(ResultTwoNumbers, values[1]),
};
constexpr FieldEntry kTenNumbers[] = {
    VELK_INT(ResultTenNumbers, values[0]), VELK_INT(ResultTenNumbers, values[1]),
    VELK_INT(ResultTenNumbers, values[2]), VELK_INT(ResultTenNumbers, values[3]),
    VELK_INT(ResultTenNumbers, values[4]), VELK_INT(ResultTenNumbers, values[5]),
    VELK_INT(ResultTenNumbers, values[6]), VELK_INT(ResultTenNumbers, values[7]),
    VELK_INT(ResultTenNumbers, values[8]), VELK_INT(ResultTenNumbers, values[9]),
};
constexpr FieldEntry kTwoTexts[] = {
    VELK_SHORT(ResultTwoTexts, first),
    VELK_SHORT(ResultTwoTexts, second),
};
constexpr FieldEntry kOneText[] = {VELK_LONG(ResultOneText, text)};
constexpr FieldEntry kMixedLine[] = {
    VELK_INT(ResultMixedLine, leading[0]),  VELK_INT(ResultMixedLine, leading[1]),
    VELK_INT(ResultMixedLine, leading[2]),  VELK_LONG(ResultMixedLine, text),
    VELK_INT(ResultMixedLine, trailing[0]), VELK_INT(ResultMixedLine, trailing[1]),
    VELK_INT(ResultMixedLine, trailing[2]), VELK_INT(ResultMixedLine, trailing[3]),
    VELK_INT(ResultMixedLine, trailing[4]), VELK_INT(ResultMixedLine, trailing[5]),
};
// <id>,<dir>,<stat>,<mode>,<mpty>,<number>,<type>,<alpha>
constexpr FieldEntry kCallEntry[] = {
    VELK_INT(ResultCallEntry, callId),     VELK_INT(ResultCallEntry, direction),
    VELK_INT(ResultCallEntry, state),      VELK_INT(ResultCallEntry, mode),
    VELK_INT(ResultCallEntry, multiparty), VELK_SHORT(ResultCallEntry, number),
    VELK_INT(ResultCallEntry, numberType), VELK_LONG(ResultCallEntry, alpha),
};
constexpr FieldEntry kServiceList[] = {VELK_LIST(ResultServiceList, list)};
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
// The identification commands answer with a line of their own, no head.
constexpr FieldEntry kLineText[] = {VELK_LONG(ResultLineText, text)};
constexpr FieldEntry kSerial[] = {VELK_SHORT(ResultSerial, text)};
// +CSDH: (<show>s)
constexpr FieldEntry kShowHeaderValues[] = {VELK_LIST(ResultShowHeaderValues, values)};
// +CNUM: <alpha>,<number>,<type>,<speed>   the alpha is not kept
constexpr FieldEntry kOwnNumber[] = {
    VELK_SKIP,
    VELK_LONG(ResultOwnNumber, number),
    VELK_SHORT(ResultOwnNumber, numberType),
    VELK_INT(ResultOwnNumber, speed),
};
constexpr FieldEntry kImsi[] = {VELK_SHORT(ResultImsi, imsi)};
// +CPIN: <code>
constexpr FieldEntry kPinState[] = {VELK_LONG(ResultPinState, code)};
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
// +CREG: <n>,<stat>
constexpr FieldEntry kRegistration[] = {
    VELK_INT(ResultRegistration, presentation),
    VELK_INT(ResultRegistration, state),
};
// +COPS: (<stat>,<long>,<short>,<numeric>),(...),,(<modes>),(<formats>)
constexpr FieldEntry kOperators[] = {VELK_LIST_OF_LISTS(ResultOperators, operators)};
// +CPBS: <storage>,<used>,<total>
constexpr FieldEntry kPhonebookStorage[] = {
    VELK_LONG(ResultPhonebookStorage, storage),
    VELK_INT(ResultPhonebookStorage, used),
    VELK_INT(ResultPhonebookStorage, total),
};
// +CPBS: (<storage>s)
constexpr FieldEntry kPhonebookStorages[] = {VELK_LIST(ResultPhonebookStorages, storages)};
// +CPBR: (<first>-<last>),<nlength>,<tlength>
constexpr FieldEntry kPhonebookReadRange[] = {
    VELK_LIST_NO_COMMAS(ResultPhonebookReadRange, indexRange),
    VELK_INT(ResultPhonebookReadRange, numberLength),
    VELK_INT(ResultPhonebookReadRange, textLength),
};
// +CPBF: <nlength>,<tlength>
constexpr FieldEntry kPhonebookFindRange[] = {
    VELK_INT(ResultPhonebookFindRange, numberLength),
    VELK_INT(ResultPhonebookFindRange, textLength),
};
// +CPBW: (<first>-<last>),<nlength>,(<types>),<tlength>
constexpr FieldEntry kPhonebookWriteRange[] = {
    VELK_LIST_NO_COMMAS(ResultPhonebookWriteRange, indexRange),
    VELK_INT(ResultPhonebookWriteRange, numberLength),
    VELK_LIST(ResultPhonebookWriteRange, numberTypes),
    VELK_INT(ResultPhonebookWriteRange, textLength),
};
// +CSMS: <service>,<mt>,<mo>,<bm>
constexpr FieldEntry kMessageService[] = {
    VELK_INT(ResultMessageService, service),
    VELK_INT(ResultMessageService, mobileTerminated),
    VELK_INT(ResultMessageService, mobileOriginated),
    VELK_INT(ResultMessageService, broadcast),
};
constexpr FieldEntry kMessageServices[] = {VELK_LIST(ResultMessageServices, services)};
// +CMGF: <mode>
constexpr FieldEntry kMessageFormat[] = {VELK_INT(ResultMessageFormat, format)};
constexpr FieldEntry kMessageFormats[] = {VELK_LIST(ResultMessageFormats, formats)};
// +CSCA: <sca>,<tosca>
constexpr FieldEntry kServiceCentre[] = {
    VELK_SHORT(ResultServiceCentre, address),
    VELK_INT(ResultServiceCentre, addressType),
};
// +CSMP: <fo>,<vp>,<pid>,<dcs>
constexpr FieldEntry kTextParameters[] = {
    VELK_INT(ResultTextParameters, firstOctet),
    VELK_INT(ResultTextParameters, validity),
    VELK_INT(ResultTextParameters, protocolId),
    VELK_INT(ResultTextParameters, codingScheme),
};
// +CSDH: <show>
constexpr FieldEntry kShowHeader[] = {VELK_INT(ResultShowHeader, show)};
// +CNMI: <mode>,<mt>,<bm>,<ds>,<bfr>
constexpr FieldEntry kIndicationModes[] = {
    VELK_INT(ResultIndicationModes, mode),      VELK_INT(ResultIndicationModes, deliver),
    VELK_INT(ResultIndicationModes, broadcast), VELK_INT(ResultIndicationModes, statusReport),
    VELK_INT(ResultIndicationModes, buffered),
};
// +CNMI: (<mode>s),(<mt>s),(<bm>s),(<ds>s),(<bfr>s)
constexpr FieldEntry kIndicationLists[] = {
    VELK_LIST(ResultIndicationLists, modes),      VELK_LIST(ResultIndicationLists, delivers),
    VELK_LIST(ResultIndicationLists, broadcasts), VELK_LIST(ResultIndicationLists, statusReports),
    VELK_LIST(ResultIndicationLists, buffereds),
};
// +CPMS: <mem1>,<used1>,<total1>,<mem2>,<used2>,<total2>,<mem3>,<used3>,<total3>
constexpr FieldEntry kMessageStores[] = {
    VELK_LONG(ResultMessageStores, store1), VELK_INT(ResultMessageStores, used1),
    VELK_INT(ResultMessageStores, total1),  VELK_LONG(ResultMessageStores, store2),
    VELK_INT(ResultMessageStores, used2),   VELK_INT(ResultMessageStores, total2),
    VELK_LONG(ResultMessageStores, store3), VELK_INT(ResultMessageStores, used3),
    VELK_INT(ResultMessageStores, total3),
};
// +CPMS: (<mem1>s),(<mem2>s),(<mem3>s)
constexpr FieldEntry kMessageStoreLists[] = {
    VELK_LIST(ResultMessageStoreLists, stores1),
    VELK_LIST(ResultMessageStoreLists, stores2),
    VELK_LIST(ResultMessageStoreLists, stores3),
};
// +CSCB: <mode>,<mids>,<dcss>
constexpr FieldEntry kBroadcastSelection[] = {
    VELK_INT(ResultBroadcastSelection, mode),
    VELK_LONG(ResultBroadcastSelection, messageIds),
    VELK_LONG(ResultBroadcastSelection, codings),
};
constexpr FieldEntry kBroadcastModes[] = {VELK_LIST(ResultBroadcastModes, modes)};
// +CSAS: (<profile>s)   the range keeps its dash
constexpr FieldEntry kProfiles[] = {VELK_LIST_NO_COMMAS(ResultProfiles, profiles)};
constexpr FieldEntry kListStates[] = {VELK_LIST(ResultListStates, states)};

// +RNGI: <name>,<n1>,<n2>,<n3>
constexpr FieldEntry kToneInfo[] = {
    VELK_NAME(ResultToneInfo, infoName, nameLength),
    VELK_BYTE(ResultToneInfo, infoNumber1),
    VELK_BYTE(ResultToneInfo, infoNumber2),
    VELK_BYTE(ResultToneInfo, infoNumber3),
};
// +IMGINF: <name>,<n1>,<n2>,<n3>,<n4>,<n5>{,<frames>,<first frame>}
constexpr FieldEntry kImageInfo[] = {
    VELK_NAME(ResultImageInfo, infoName, nameLength),
    VELK_BYTE(ResultImageInfo, infoNumber1),
    VELK_BYTE(ResultImageInfo, infoNumber2),
    VELK_BYTE(ResultImageInfo, infoNumber3),
    VELK_BYTE(ResultImageInfo, infoNumber4),
    VELK_BYTE(ResultImageInfo, infoNumber5),
    FieldEntry{FieldKind::kWordList, false, offsetof(ResultImageInfo, frameRanges), 0, 0},
};
// +LOGOINF: <name>,<n1>,<n2>,<n3>,<n4>
constexpr FieldEntry kLogoInfo[] = {
    VELK_NAME(ResultLogoInfo, infoName, nameLength), VELK_BYTE(ResultLogoInfo, infoNumber1),
    VELK_BYTE(ResultLogoInfo, infoNumber2),          VELK_BYTE(ResultLogoInfo, infoNumber3),
    VELK_BYTE(ResultLogoInfo, infoNumber4),
};

// ---- The table of cases ----

enum class CaseStyle : uint8_t {
    kFields,        // one form, its fields in reply order
    kMessageRead,   // the +CMGR forms
    kMessageList,   // the +CMGL forms
    kServiceReply,  // the service-line forms
    kPart,          // a tone, image or logo part
};

struct SolicitedCase {
    int32_t commandId;
    int32_t resultId;
    CaseStyle style;
    FieldList fields;
    const PartShape* part;
};

constexpr SolicitedCase Fields(int32_t id, int32_t result, FieldList fields) {
    return {id, result, CaseStyle::kFields, fields, nullptr};
}
constexpr SolicitedCase Special(int32_t id, CaseStyle style) {
    return {id, 0, style, {}, nullptr};
}
constexpr SolicitedCase Part(int32_t id, int32_t result, const PartShape& shape) {
    return {id, result, CaseStyle::kPart, {}, &shape};
}

// Sorted by command id. Commands whose reply is "OK" alone have no case.
constexpr SolicitedCase kCases[] = {
    Fields(13, 14, kPhonebookEntry),         // AT+CPBR=
    Fields(18, 19, kPhonebookEntry),         // AT+CPBF=
    Fields(24, 25, kMessageServiceSet),      // AT+CSMS=
    Fields(28, 29, kMessageStoresSet),       // AT+CPMS=
    Fields(39, 40, kMessageReference),       // AT+CMGC=
    Special(61, CaseStyle::kMessageRead),    // AT+CMGR=
    Fields(65, 66, kMessageReference),       // AT+CMGS=
    Fields(67, 68, kMessageReference),       // AT+CMSS=
    Fields(69, 70, kMessageWritten),         // AT+CMGW=
    Fields(76, 4, kOperator),                // AT+COPS=
    Special(94, CaseStyle::kMessageList),    // AT+CMGL
    Fields(117, 117, kOneNumber),            //
    Fields(118, 118, kOneNumber),            //
    Fields(131, 132, kOneNumber),            //
    Fields(135, 136, kTwoTexts),             //
    Fields(141, 105, kTwoNumbers),           //
    Special(142, CaseStyle::kServiceReply),  //
    Part(152, 153, kTonePart),               // AT+RNGR=
    Part(157, 158, kImagePart),              // AT+IMGR=
    Part(161, 162, kLogoPart),               // AT+LOGOR=
    Fields(166, 11, kBattery),               // AT+CBC
    Fields(167, 5, kLineText),               // AT+CGMI
    Fields(168, 6, kLineText),               // AT+CGMM
    Fields(169, 7, kLineText),               // AT+CGMR
    Fields(170, 8, kSerial),                 // AT+CGSN
    Fields(172, 51, kShowHeaderValues),      // AT+CSDH=?
    Fields(173, 80, kOwnNumber),             // AT+CNUM
    Fields(174, 81, kImsi),                  // AT+CIMI
    Fields(175, 83, kPinState),              // AT+CPIN?
    Fields(176, 86, kCallMeter),             // AT+CACM?
    Fields(177, 88, kCallMeter),             // AT+CAMM?
    Fields(178, 90, kPricePerUnit),          // AT+CPUC?
    Fields(179, 92, kCharacterSet),          // AT+CSCS?
    Fields(180, 93, kCharacterSets),         // AT+CSCS=?
    Fields(181, 73, kRegistration),          // AT+CREG?
    Fields(183, 9, kSignal),                 // AT+CSQ
    Fields(185, 77, kOperator),              // AT+COPS?
    Fields(186, 78, kOperators),             // AT+COPS=?
    Fields(190, 98, kCallEntry),             //
    Fields(195, 114, kTenNumbers),           //
    Fields(196, 115, kTwoNumbers),           //
    Fields(199, 106, kServiceList),          //
    Fields(202, 121, kOneText),              //
    Fields(203, 125, kMixedLine),            //
    Fields(204, 103, kOneNumber),            //
    Fields(205, 126, kOneNumber),            //
    Fields(206, 116, kOneNumber),            //
    Fields(207, 17, kPhonebookStorage),      // AT+CPBS?
    Fields(208, 15, kPhonebookStorages),     // AT+CPBS=?
    Fields(209, 12, kPhonebookReadRange),    // AT+CPBR=?
    Fields(210, 20, kPhonebookFindRange),    // AT+CPBF=?
    Fields(211, 22, kPhonebookWriteRange),   // AT+CPBW=?
    Fields(212, 26, kMessageService),        // AT+CSMS?
    Fields(213, 27, kMessageServices),       // AT+CSMS=?
    Fields(214, 42, kMessageFormat),         // AT+CMGF?
    Fields(215, 43, kMessageFormats),        // AT+CMGF=?
    Fields(216, 46, kServiceCentre),         // AT+CSCA?
    Fields(217, 48, kTextParameters),        // AT+CSMP?
    Fields(218, 50, kShowHeader),            // AT+CSDH?
    Fields(219, 53, kIndicationModes),       // AT+CNMI?
    Fields(220, 54, kIndicationLists),       // AT+CNMI=?
    Fields(221, 30, kMessageStores),         // AT+CPMS?
    Fields(222, 31, kMessageStoreLists),     // AT+CPMS=?
    Fields(223, 33, kBroadcastSelection),    // AT+CSCB?
    Fields(224, 34, kBroadcastModes),        // AT+CSCB=?
    Fields(225, 36, kProfiles),              // AT+CSAS=?
    Fields(226, 38, kProfiles),              //
    Fields(228, 95, kListStates),            // AT+CMGL=?
    Fields(236, 151, kToneInfo),             // AT+RNGI
    Fields(237, 156, kImageInfo),            // AT+IMGINF
    Fields(238, 160, kLogoInfo),             // AT+LOGOINF
};

constexpr bool SortedById() {
    for (std::size_t i = 1; i < std::size(kCases); ++i) {
        if (kCases[i - 1].commandId >= kCases[i].commandId) return false;
    }
    return true;
}
static_assert(SortedById(), "the table of cases is searched by halves");

}  // namespace

SolicitedForm ChooseSolicitedForm(int32_t commandId, const ATResponseRecord& line,
                                  const ReplySelectors& selectors) {
    const auto* found =
        std::lower_bound(std::begin(kCases), std::end(kCases), commandId,
                         [](const SolicitedCase& row, int32_t id) { return row.commandId < id; });
    if (found == std::end(kCases) || found->commandId != commandId) return {};
    switch (found->style) {
        case CaseStyle::kFields:
            return {found->resultId, found->fields, nullptr};
        case CaseStyle::kPart:
            return {found->resultId, {}, found->part};
        case CaseStyle::kMessageRead:
            return MessageReadForm(line, selectors.messageReadForm);
        case CaseStyle::kMessageList:
            return MessageListForm(line, selectors.messageListForm);
        case CaseStyle::kServiceReply:
            return ServiceReplyForm(selectors.serviceReplyKind);
    }
    return {};
}

}  // namespace velk
