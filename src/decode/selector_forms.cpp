#include "decode/solicited_cases.h"

#include <cstddef>
#include <iterator>

#include "engine/result_forms.h"

namespace velk {
namespace {

// ---- Message reads ----
// A message is a header line and a raw body line; the body block carries
// only `body`, at its place in the header form.

struct MessageForm {
    int32_t headerId;
    FieldList header;
    int32_t bodyId;
    FieldEntry body;
};

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
};
// +CMGR: <stat>,<sn>,<mid>,<dcs>,<page>,<pages>
constexpr FieldEntry kBroadcastHeader[] = {
    VELK_LONG(ResultBroadcastHeader, state),    VELK_INT(ResultBroadcastHeader, serial),
    VELK_INT(ResultBroadcastHeader, messageId), VELK_INT(ResultBroadcastHeader, codingScheme),
    VELK_INT(ResultBroadcastHeader, page),      VELK_INT(ResultBroadcastHeader, pages),
};
// +CMGL: <index>,<stat>,<address>,[<alpha>],[<time>][,<type>,<length>]
constexpr FieldEntry kListHeader[] = {
    VELK_INT(ResultListHeader, index),          VELK_LONG(ResultListHeader, state),
    VELK_SHORT(ResultListHeader, address),      VELK_LONG_OPT(ResultListHeader, alpha),
    VELK_LONG_OPT(ResultListHeader, timestamp), VELK_INT_OPT(ResultListHeader, addressType),
    VELK_INT_OPT(ResultListHeader, length),
};
// +CMGL: <index>,<stat>,<sn>,<mid>,<page>,<pages>
constexpr FieldEntry kListBroadcastHeader[] = {
    VELK_INT(ResultListBroadcastHeader, index),  VELK_LONG(ResultListBroadcastHeader, state),
    VELK_INT(ResultListBroadcastHeader, serial), VELK_INT(ResultListBroadcastHeader, messageId),
    VELK_INT(ResultListBroadcastHeader, page),   VELK_INT(ResultListBroadcastHeader, pages),
};

// By messageReadForm: deliver, submit, broadcast.
constexpr MessageForm kReadForms[] = {
    {62, kDeliverHeader, 231, VELK_LONG(ResultMessageDeliverHeader, body)},
    {62, kSubmitHeader, 231, VELK_LONG(ResultMessageSubmitHeader, body)},
    {64, kBroadcastHeader, 233, VELK_LONG(ResultBroadcastHeader, body)},
};
// By messageListForm: stored messages (0), broadcasts (any other value).
constexpr MessageForm kListForms[] = {
    {96, kListHeader, 229, VELK_LONG(ResultListHeader, body)},
    {97, kListBroadcastHeader, 230, VELK_LONG(ResultListBroadcastHeader, body)},
};

// ---- Service replies ----
// By serviceReplyKind: +CLCK, +CLIP, +CLIR, +COLP, +COLR, +CCFC, +CCWA, +EXATDST.

// +CLIP, +CLIR, +COLP, +COLR, +CCFC: <n>[,<m>]
constexpr FieldEntry kServiceState[] = {
    VELK_INT(ResultTwoNumbers, values[0]),
    VELK_INT(ResultTwoNumbers, values[1]),
};
// +EXATDST: <a>,<b>,<c>
constexpr FieldEntry kExatdst[] = {
    VELK_INT(ResultThreeNumbers, values[0]),
    VELK_INT(ResultThreeNumbers, values[1]),
    VELK_INT(ResultThreeNumbers, values[2]),
};
// +CLCK: <status>
constexpr FieldEntry kServiceLock[] = {VELK_INT(ResultServiceLock, status)};
// +CCWA: <status>,<class>,<number>,<type>
constexpr FieldEntry kServiceDetail[] = {
    VELK_INT(ResultServiceDetail, status),
    VELK_INT(ResultServiceDetail, serviceClass),
    VELK_SHORT(ResultServiceDetail, number),
    VELK_INT(ResultServiceDetail, numberType),
};

struct ServiceForm {
    int32_t resultId;
    FieldList fields;
};

constexpr ServiceForm kServiceForms[] = {
    {113, kServiceLock},  {107, kServiceState}, {108, kServiceState},  {109, kServiceState},
    {110, kServiceState}, {111, kServiceState}, {112, kServiceDetail}, {101, kExatdst},
};

SolicitedForm FromMessageForm(const MessageForm& form, const ATResponseRecord& line) {
    if (line.firstParam.rawLine == 1) return {form.bodyId, FieldList(&form.body, 1), nullptr};
    return {form.headerId, form.header, nullptr};
}

}  // namespace

SolicitedForm MessageReadForm(const ATResponseRecord& line, uint32_t readForm) {
    if (readForm >= std::size(kReadForms)) return {};
    return FromMessageForm(kReadForms[readForm], line);
}

SolicitedForm MessageListForm(const ATResponseRecord& line, uint32_t listForm) {
    return FromMessageForm(kListForms[listForm == 0 ? 0 : 1], line);
}

SolicitedForm ServiceReplyForm(uint32_t serviceReplyKind) {
    if (serviceReplyKind >= std::size(kServiceForms)) return {};
    return {kServiceForms[serviceReplyKind].resultId, kServiceForms[serviceReplyKind].fields,
            nullptr};
}

}  // namespace velk
