#include "engine/command_block.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "engine/command_table.h"
#include "engine/message_numbers.h"

namespace velk {

ATCommandBlock* AllocCommandBlock() {
    return static_cast<ATCommandBlock*>(std::calloc(1, sizeof(ATCommandBlock)));
}

void FreeCommandBlock(ATCommandBlock* block) {
    std::free(block);
}

void FreeResultBlock(ATCommandBlock* block) {
    if (block == nullptr) return;
    // The image-information list is the one thing a result block owns.
    if (block->resultId == kResultImageInfo) {
        delete block->result.imageInfo.frameRanges;
        block->result.imageInfo.frameRanges = nullptr;
    }
    FreeCommandBlock(block);
}

BodyFault SetMessageBody(ATCommandBlock& block, std::string_view body) {
    if (!SendsBodyAfterPrompt(block.commandId)) return BodyFault::kNoBody;
    if (body.size() > kMessageBodyWidth) return BodyFault::kTooLong;
    constexpr char kEndingBytes[] = {kBodyEnd, kBodyCancel};
    if (body.find_first_of(std::string_view(kEndingBytes, 2)) != std::string_view::npos) {
        return BodyFault::kEndingByte;
    }
    MessageBody& room = block.request.withBody.body;
    if (!body.empty()) std::memcpy(room.text, body.data(), body.size());
    room.length = static_cast<uint16_t>(body.size());
    return BodyFault::kNone;
}

std::string_view MessageBodyOf(const RequestForms& request) {
    const MessageBody& room = request.withBody.body;
    // The length comes with the block: it never leads the read past the text.
    return {room.text, std::min<size_t>(room.length, kMessageBodyWidth)};
}

}  // namespace velk
