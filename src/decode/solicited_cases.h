// How the solicited decoder finds the form of an information line: by the
// decoder case in the command's row (engine/command_table.h), then in the
// table of result forms. For each command id that has an
// information line, the result id its line gives; the form's fields come from
// the table of result forms.
#pragma once

#include <cstdint>

#include "decode/field_walk.h"
#include "decode/result_form_table.h"
#include "response/reply_forms.h"
#include "response/response_record.h"

namespace velk {

// The fixed head of a tone, image or logo part line and the three tails that
// follow it, chosen by the part number the head gave.
struct PartShape {
    FieldList head;
    uint16_t partOffset;  // of the `part` byte, read back after the head
    FieldList onlyPart;   // part 255
    FieldList firstPart;  // part 1
    FieldList laterPart;  // any other part
};

// What one information line becomes: a result id and its fields, or for a
// part line its shape. resultId 0: the line gives no block.
struct SolicitedForm {
    int32_t resultId = 0;
    FieldList fields;
    const PartShape* part = nullptr;
};

// The form of `resultId` in `variant` with the fields a line fills; resultId
// 0 when the table of result forms has no such form.
SolicitedForm LineForm(int32_t resultId, FormVariant variant = FormVariant::kOnly);

// The tone (153), image (158) or logo (162) part with its shape; resultId 0
// for any other id.
SolicitedForm PartForm(int32_t resultId);

// The forms chosen by the selectors: a +CMGR line by the message read form,
// a +CMGL line by the message list form (a raw line is the body of the
// message before it), a service line by the kind of the last service line.
SolicitedForm MessageReadForm(const ATResponseRecord& line, uint32_t readForm);
SolicitedForm MessageListForm(const ATResponseRecord& line, uint32_t listForm);
SolicitedForm ServiceReplyForm(uint32_t serviceReplyKind);

// Chooses the form for a line of the reply to `commandId`. Message reads pick
// their form by the message-form selectors and by whether the line is a
// header or a body line; service replies by the kind of the last service
// line seen.
SolicitedForm ChooseSolicitedForm(int32_t commandId, const ATResponseRecord& line,
                                  const ReplySelectors& selectors);

}  // namespace velk
