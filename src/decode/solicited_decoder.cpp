#include "decode/solicited_decoder.h"

#include "decode/field_walk.h"
#include "decode/solicited_cases.h"
#include "decode/value_conversions.h"
#include "engine/command_block.h"
#include "engine/message_numbers.h"

namespace velk {
namespace {

// A part line has a fixed head of four parameters; the rest of the line is
// read by the part number the head gave, and a line that ends after the head
// is given as it stands.
void DecodePart(ATCommandBlock& block, const PartShape& shape, const ATResponseParam* cursor,
                ResultBlockPtr& error) {
    cursor = WalkFields(block, cursor, shape.head, error);
    if (cursor == nullptr) return;
    uint8_t part = PayloadOf(block)[shape.partOffset];
    FieldList tail = part == 255 ? shape.onlyPart : part == 1 ? shape.firstPart : shape.laterPart;
    WalkFields(block, cursor, tail, error);
}

}  // namespace

DecodedBlocks DecodeSolicitedResult(int32_t commandId, const ATResponseRecord& line,
                                    const ReplySelectors& selectors) {
    DecodedBlocks blocks;
    SolicitedForm form = ChooseSolicitedForm(commandId, line, selectors);
    if (form.resultId == 0) return blocks;
    blocks.result.reset(AllocCommandBlock());
    if (!blocks.result) return blocks;

    ATCommandBlock& block = *blocks.result;
    block.resultId = form.resultId;
    // The image information always carries its list of frame ranges, empty
    // when the phone names no animation.
    if (form.resultId == kResultImageInfo) block.result.imageInfo.frameRanges = NewWordList();

    if (form.part != nullptr) {
        DecodePart(block, *form.part, &line.firstParam, blocks.error);
    } else {
        WalkFields(block, &line.firstParam, form.fields, blocks.error);
    }
    return blocks;
}

}  // namespace velk
