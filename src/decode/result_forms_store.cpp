// The forms of what the phone stores: the phone book, short messages and
// their settings, tones, images and logos.
#include <cstddef>

#include "decode/result_form_table.h"
#include "engine/result_forms.h"

namespace velk {
namespace {

// ---- Phone book ----

// +CPBR: <index>,<number>,<type>,<text>   (also +CPBF)
constexpr FieldEntry kPhonebookEntry[] = {
    VELK_INT(ResultPhonebookEntry, index),
    VELK_SHORT(ResultPhonebookEntry, number),
    VELK_INT(ResultPhonebookEntry, numberType),
    VELK_LONG(ResultPhonebookEntry, text),
};
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

// ---- Short-message settings ----

// +CSMS: <mt>,<mo>,<bm>
constexpr FieldEntry kMessageServiceSet[] = {
    VELK_INT(ResultMessageServiceSet, mobileTerminated),
    VELK_INT(ResultMessageServiceSet, mobileOriginated),
    VELK_INT(ResultMessageServiceSet, broadcast),
};
// +CSMS: <service>,<mt>,<mo>,<bm>
constexpr FieldEntry kMessageService[] = {
    VELK_INT(ResultMessageService, service),
    VELK_INT(ResultMessageService, mobileTerminated),
    VELK_INT(ResultMessageService, mobileOriginated),
    VELK_INT(ResultMessageService, broadcast),
};
constexpr FieldEntry kMessageServices[] = {VELK_LIST(ResultMessageServices, services)};
// +CPMS: <used1>,<total1>,<used2>,<total2>,<used3>,<total3>
constexpr FieldEntry kMessageStoresSet[] = {
    VELK_INT(ResultMessageStoresSet, used1), VELK_INT(ResultMessageStoresSet, total1),
    VELK_INT(ResultMessageStoresSet, used2), VELK_INT(ResultMessageStoresSet, total2),
    VELK_INT(ResultMessageStoresSet, used3), VELK_INT(ResultMessageStoresSet, total3),
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
// +CSDH: (<show>s)
constexpr FieldEntry kShowHeaderValues[] = {VELK_LIST(ResultShowHeaderValues, values)};
// +CNMI: (<mode>s),(<mt>s),(<bm>s),(<ds>s),(<bfr>s)
constexpr FieldEntry kIndicationLists[] = {
    VELK_LIST(ResultIndicationLists, modes),      VELK_LIST(ResultIndicationLists, delivers),
    VELK_LIST(ResultIndicationLists, broadcasts), VELK_LIST(ResultIndicationLists, statusReports),
    VELK_LIST(ResultIndicationLists, buffereds),
};
constexpr FieldEntry kListStates[] = {VELK_LIST(ResultListStates, states)};

// ---- Short messages ----
// A message is a header line and a raw body line; the body block carries
// only `body`, at its place in the header form.

// +CMGC: <mr>   +CMGS: <mr>   +CMSS: <mr>
constexpr FieldEntry kMessageReference[] = {VELK_INT(ResultMessageReference, reference)};
// +CMGW: <index>
constexpr FieldEntry kMessageWritten[] = {VELK_INT(ResultMessageWritten, index)};
// +CMGR: <stat>,<oa>,[<alpha>],<scts>[,<tooa>,<fo>,<pid>,<dcs>,<sca>,<tosca>,<length>]
constexpr FieldEntry kDeliverHeader[] = {
    VELK_LONG(ResultMessageDeliverHeader, state),
    VELK_SHORT(ResultMessageDeliverHeader, originator),
    VELK_LONG_OPT(ResultMessageDeliverHeader, alpha),
    VELK_LONG(ResultMessageDeliverHeader, timestamp),
    VELK_INT_OPT(ResultMessageDeliverHeader, originatorType),
    VELK_INT_OPT(ResultMessageDeliverHeader, firstOctet),
    VELK_INT_OPT(ResultMessageDeliverHeader, protocolId),
    VELK_INT_OPT(ResultMessageDeliverHeader, codingScheme),
    VELK_SHORT_OPT(ResultMessageDeliverHeader, serviceCentre),
    VELK_INT_OPT(ResultMessageDeliverHeader, serviceCentreType),
    VELK_INT_OPT(ResultMessageDeliverHeader, length),
    VELK_BODY(ResultMessageDeliverHeader, body),
};
// +CMGR: <stat>,<da>,[<alpha>],<time>[,<toda>,<fo>,<pid>,<dcs>,<vp>,<sca>,<tosca>,<length>]
constexpr FieldEntry kSubmitHeader[] = {
    VELK_LONG(ResultMessageSubmitHeader, state),
    VELK_SHORT(ResultMessageSubmitHeader, destination),
    VELK_LONG_OPT(ResultMessageSubmitHeader, alpha),
    VELK_LONG(ResultMessageSubmitHeader, timestamp),
    VELK_INT_OPT(ResultMessageSubmitHeader, destinationType),
    VELK_INT_OPT(ResultMessageSubmitHeader, firstOctet),
    VELK_INT_OPT(ResultMessageSubmitHeader, protocolId),
    VELK_INT_OPT(ResultMessageSubmitHeader, codingScheme),
    VELK_INT_OPT(ResultMessageSubmitHeader, validity),
    VELK_SHORT_OPT(ResultMessageSubmitHeader, serviceCentre),
    VELK_INT_OPT(ResultMessageSubmitHeader, serviceCentreType),
    VELK_INT_OPT(ResultMessageSubmitHeader, length),
    VELK_BODY(ResultMessageSubmitHeader, body),
};
// +CMGR: <stat>,<sn>,<mid>,<dcs>,<page>,<pages>
constexpr FieldEntry kBroadcastHeader[] = {
    VELK_LONG(ResultBroadcastHeader, state),    VELK_INT(ResultBroadcastHeader, serial),
    VELK_INT(ResultBroadcastHeader, messageId), VELK_INT(ResultBroadcastHeader, codingScheme),
    VELK_INT(ResultBroadcastHeader, page),      VELK_INT(ResultBroadcastHeader, pages),
    VELK_BODY(ResultBroadcastHeader, body),
};
// +CMGL: <index>,<stat>,<address>,[<alpha>],[<time>][,<type>,<length>]
constexpr FieldEntry kListHeader[] = {
    VELK_INT(ResultListHeader, index),          VELK_LONG(ResultListHeader, state),
    VELK_SHORT(ResultListHeader, address),      VELK_LONG_OPT(ResultListHeader, alpha),
    VELK_LONG_OPT(ResultListHeader, timestamp), VELK_INT_OPT(ResultListHeader, addressType),
    VELK_INT_OPT(ResultListHeader, length),     VELK_BODY(ResultListHeader, body),
};
// +CMGL: <index>,<stat>,<sn>,<mid>,<page>,<pages>
constexpr FieldEntry kListBroadcastHeader[] = {
    VELK_INT(ResultListBroadcastHeader, index),  VELK_LONG(ResultListBroadcastHeader, state),
    VELK_INT(ResultListBroadcastHeader, serial), VELK_INT(ResultListBroadcastHeader, messageId),
    VELK_INT(ResultListBroadcastHeader, page),   VELK_INT(ResultListBroadcastHeader, pages),
    VELK_BODY(ResultListBroadcastHeader, body),
};

// ---- Tone, image and logo information: single bytes ----

// +RNGI: <name>,<n1>,<n2>,<n3>
constexpr FieldEntry kToneInfo[] = {
    VELK_NAME(ResultToneInfo, infoName, nameLength), VELK_BYTE(ResultToneInfo, infoNumber1),
    VELK_BYTE(ResultToneInfo, infoNumber2),          VELK_LENGTH(ResultToneInfo, nameLength),
    VELK_BYTE(ResultToneInfo, infoNumber3),
};
// +IMGINF: <name>,<n1>,<n2>,<n3>,<n4>,<n5>{,<frames>,<first frame>}
constexpr FieldEntry kImageInfo[] = {
    VELK_NAME(ResultImageInfo, infoName, nameLength),
    VELK_LENGTH(ResultImageInfo, nameLength),
    VELK_BYTE(ResultImageInfo, infoNumber1),
    VELK_BYTE(ResultImageInfo, infoNumber2),
    VELK_BYTE(ResultImageInfo, infoNumber3),
    VELK_BYTE(ResultImageInfo, infoNumber4),
    VELK_BYTE(ResultImageInfo, infoNumber5),
    // NOLINTNEXTLINE(bugprone-sizeof-expression): the field is the list's pointer
    VELK_WORDS(ResultImageInfo, frameRanges),
};
// +LOGOINF: <name>,<n1>,<n2>,<n3>,<n4>
constexpr FieldEntry kLogoInfo[] = {
    VELK_NAME(ResultLogoInfo, infoName, nameLength), VELK_LENGTH(ResultLogoInfo, nameLength),
    VELK_BYTE(ResultLogoInfo, infoNumber1),          VELK_BYTE(ResultLogoInfo, infoNumber2),
    VELK_BYTE(ResultLogoInfo, infoNumber3),          VELK_BYTE(ResultLogoInfo, infoNumber4),
};

// The part lines are read by their part shapes; these lists give their
// blocks' fields in order for printing.
#define VELK_PART_FIELDS(Form)                                                                \
    VELK_BYTE(Form, index), VELK_NAME(Form, name, nameLength), VELK_LENGTH(Form, nameLength), \
        VELK_BYTE(Form, part), VELK_BYTE(Form, totalParts), VELK_BYTE(Form, textLength),      \
        VELK_BYTE(Form, sizeHigh), VELK_BYTE(Form, sizeLow), VELK_LONG(Form, text),           \
        VELK_BYTE(Form, partCheck)

constexpr FieldEntry kTonePart[] = {VELK_PART_FIELDS(ResultTonePart)};
constexpr FieldEntry kImagePart[] = {
    VELK_PART_FIELDS(ResultImagePart),
    VELK_BYTE(ResultImagePart, animParam1),
    VELK_BYTE(ResultImagePart, animParam2),
    VELK_BYTE(ResultImagePart, animParam3),
};
constexpr FieldEntry kLogoPart[] = {
    VELK_BYTE(ResultLogoPart, index),
    VELK_FIELD(kName, false, ResultLogoPart, countryCode),
    VELK_FIELD(kName, false, ResultLogoPart, networkCode),
    VELK_BYTE(ResultLogoPart, logoType),
    VELK_BYTE(ResultLogoPart, part),
    VELK_BYTE(ResultLogoPart, totalParts),
    VELK_BYTE(ResultLogoPart, textLength),
    VELK_BYTE(ResultLogoPart, sizeHigh),
    VELK_BYTE(ResultLogoPart, sizeLow),
    VELK_LONG(ResultLogoPart, text),
    VELK_BYTE(ResultLogoPart, partCheck),
};

#undef VELK_PART_FIELDS

constexpr FormVariant kDeliver = FormVariant::kDeliver;
constexpr FormVariant kSubmit = FormVariant::kSubmit;
constexpr FormVariant kOnly = FormVariant::kOnly;

constexpr ResultForm kStoreForms[] = {
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
    {54, "ResultIndicationLists", kIndicationLists},
    {62, "ResultMessageHeader", kDeliverHeader, kDeliver},
    {62, "ResultMessageHeader", kSubmitHeader, kSubmit},
    {64, "ResultBroadcastHeader", kBroadcastHeader},
    {66, "ResultMessageSent", kMessageReference},
    {68, "ResultStoredSent", kMessageReference},
    {70, "ResultMessageWritten", kMessageWritten},
    {95, "ResultListStates", kListStates},
    {96, "ResultListHeader", kListHeader},
    {97, "ResultListBroadcastHeader", kListBroadcastHeader},
    {151, "ResultToneInfo", kToneInfo},
    {153, "ResultTonePart", kTonePart},
    {156, "ResultImageInfo", kImageInfo},
    {158, "ResultImagePart", kImagePart},
    {160, "ResultLogoInfo", kLogoInfo},
    {162, "ResultLogoPart", kLogoPart},
    {229, "ResultListBody", kListHeader, kOnly, true},
    {230, "ResultListBroadcastBody", kListBroadcastHeader, kOnly, true},
    {231, "ResultMessageBody", kDeliverHeader, kDeliver, true},
    {231, "ResultMessageBody", kSubmitHeader, kSubmit, true},
    {233, "ResultBroadcastBody", kBroadcastHeader, kOnly, true},
};
static_assert(WellFormed(kStoreForms));

}  // namespace

std::span<const ResultForm> StoreForms() {
    return kStoreForms;
}

}  // namespace velk
