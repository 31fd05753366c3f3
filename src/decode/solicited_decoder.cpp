#include "decode/solicited_decoder.h"

#include "decode/field_walk.h"
#include "decode/solicited_cases.h"
#include "decode/value_conversions.h"
#include "engine/command_block.h"
#include "engine/message_numbers.h"
#include "engine/thread_ids.h"
#include "response/reply_forms.h"

namespace velk {
namespace {

// A part line has a fixed head of four parameters; the rest of the line is
// read by the part number the head gave, and a line that ends after the head
// is posted as it stands.
const ATResponseParam* DecodePart(ATCommandBlock& block, const PartShape& shape,
                                  const ATResponseParam* cursor) {
    cursor = WalkFields(block, cursor, shape.head);
    if (cursor == nullptr) return nullptr;
    uint8_t part = PayloadOf(block)[shape.partOffset];
    FieldList tail = part == 255 ? shape.onlyPart : part == 1 ? shape.firstPart : shape.laterPart;
    return WalkFields(block, cursor, tail);
}

}  // namespace

void DecodeSolicitedResult(DecoderState& state, const ATResponseRecord& line) {
    state.currentResult = 0;
    SolicitedForm form = ChooseSolicitedForm(state.currentCommand, line);
    if (form.resultId == 0) return;
    ATCommandBlock* block = AllocCommandBlock();
    if (block == nullptr) return;

    state.currentResult = form.resultId;
    block->resultId = form.resultId;
    // The image information always carries its list of frame ranges, empty
    // when the phone names no animation.
    if (form.resultId == kResultImageInfo) block->result.imageInfo.frameRanges = NewWordList();

    state.paramCursor = &line.firstParam;
    if (form.part != nullptr) {
        state.paramCursor = DecodePart(*block, *form.part, state.paramCursor);
    } else {
        state.paramCursor = WalkFields(*block, state.paramCursor, form.fields);
    }
    PostResultBlock(block, kPostRetryPauseMs);
}

void SetMessageForms(uint32_t listForm, uint32_t readForm) {
    messageListForm.store(listForm);
    messageReadForm.store(readForm);
}

}  // namespace velk
