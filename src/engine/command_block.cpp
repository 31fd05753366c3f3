#include "engine/command_block.h"

#include <cstdlib>

namespace velk {

ATCommandBlock* AllocCommandBlock() {
    return static_cast<ATCommandBlock*>(std::calloc(1, sizeof(ATCommandBlock)));
}

void FreeCommandBlock(ATCommandBlock* block) {
    std::free(block);
}

}  // namespace velk
