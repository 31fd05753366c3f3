#include "decode/solicited_cases.h"

#include <cstddef>
#include <iterator>

namespace velk {
namespace {

// ---- Message reads ----
// A message is a header line and a raw body line; the body block carries
// only `body`, at its place in the header form.

struct MessageForm {
    int32_t headerId;
    int32_t bodyId;
    FormVariant variant;
};

// By messageReadForm: deliver, submit, broadcast.
constexpr MessageForm kReadForms[] = {
    {62, 231, FormVariant::kDeliver},
    {62, 231, FormVariant::kSubmit},
    {64, 233, FormVariant::kOnly},
};
// By messageListForm: stored messages (0), broadcasts (any other value).
constexpr MessageForm kListForms[] = {
    {96, 229, FormVariant::kOnly},
    {97, 230, FormVariant::kOnly},
};

// ---- Service replies ----
// By serviceReplyKind: +CLCK, +CLIP, +CLIR, +COLP, +COLR, +CCFC, +CCWA, +EXATDST.
constexpr int32_t kServiceForms[] = {113, 107, 108, 109, 110, 111, 112, 101};

SolicitedForm FromMessageForm(const MessageForm& form, const ATResponseRecord& line) {
    if (line.firstParam.rawLine == 1) return LineForm(form.bodyId, form.variant);
    return LineForm(form.headerId, form.variant);
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
    return LineForm(kServiceForms[serviceReplyKind]);
}

}  // namespace velk
