#include "engine/thread_ids.h"

#include <chrono>
#include <thread>

#include "engine/message_numbers.h"

namespace velk {

std::atomic<ThreadId> controllerThreadId{kNoThread};
std::atomic<ThreadId> workerThreadId{kNoThread};

void PostResultBlock(ATCommandBlock* block, uint32_t retryPauseMs) {
    for (;;) {
        ThreadId target = controllerThreadId.load();
        if (PostThreadMessage(target, MessageForId(block->resultId), kResultParam,
                              reinterpret_cast<intptr_t>(block))) {
            return;
        }
        if (!ThreadQueueAlive(target)) {
            // Nobody is left to own the block.
            if (block->resultId == kResultImageInfo) delete block->result.imageInfo.frameRanges;
            FreeCommandBlock(block);
            return;
        }
        if (retryPauseMs != 0) {
            std::this_thread::sleep_for(std::chrono::milliseconds(retryPauseMs));
        } else {
            std::this_thread::yield();
        }
    }
}

}  // namespace velk
