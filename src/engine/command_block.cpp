#include "engine/command_block.h"

#include <cstdlib>

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

}  // namespace velk
