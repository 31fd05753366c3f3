#include "engine/thread_ids.h"

#include "engine/message_numbers.h"
#include "platform/post_until_taken.h"

namespace velk {

std::atomic<ThreadId> controllerThreadId{kNoThread};
std::atomic<ThreadId> workerThreadId{kNoThread};

void PostResultBlock(ATCommandBlock* block, uint32_t retryPauseMs) {
    const std::size_t lost =
        PostUntilTaken(controllerThreadId, MessageForId(block->resultId), kResultParam,
                       reinterpret_cast<intptr_t>(block), 1, PostRetry{retryPauseMs});
    // Nobody is left to own the block.
    if (lost != 0) FreeResultBlock(block);
}

}  // namespace velk
