#include "decode/result_blocks.h"

#include "decode/value_conversions.h"
#include "engine/message_numbers.h"

namespace velk {

ResultBlockPtr ErrorBlock(const std::string& message) {
    ResultBlockPtr block(AllocCommandBlock());
    if (!block) return block;
    block->resultId = kResultError;
    ParamToText256(block->result.error.message, message);
    return block;
}

}  // namespace velk
