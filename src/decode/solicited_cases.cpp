#include "decode/solicited_cases.h"

#include "engine/command_table.h"

namespace velk {

SolicitedForm LineForm(int32_t resultId, FormVariant variant) {
    const ResultForm* form = FindResultForm(resultId, variant);
    if (form == nullptr) return {};
    return {resultId, LineFields(*form), nullptr};
}

SolicitedForm ChooseSolicitedForm(int32_t commandId, const ATResponseRecord& line,
                                  const ReplySelectors& selectors) {
    // What a command's information lines become is part of its row.
    const CommandRow* row = FindCommandRow(commandId);
    if (row == nullptr) return {};
    switch (row->decode.style) {
        case DecodeStyle::kNone:
            return {};
        case DecodeStyle::kFields:
            return LineForm(row->decode.resultId);
        case DecodeStyle::kPart:
            return PartForm(row->decode.resultId);
        case DecodeStyle::kMessageRead:
            return MessageReadForm(line, selectors.messageReadForm);
        case DecodeStyle::kMessageList:
            return MessageListForm(line, selectors.messageListForm);
        case DecodeStyle::kServiceReply:
            return ServiceReplyForm(selectors.serviceReplyKind);
    }
    return {};
}

}  // namespace velk
