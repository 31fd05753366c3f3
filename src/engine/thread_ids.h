// Process-wide thread ids of the link: where the worker posts its results
// (the transfer thread) and where commands go (the worker).
#pragma once

#include <atomic>
#include <memory>

#include "engine/command_block.h"
#include "platform/thread_messages.h"

namespace velk {

extern std::atomic<ThreadId> controllerThreadId;
extern std::atomic<ThreadId> workerThreadId;

// A result block with its one owner, until the post hands it over.
struct ResultBlockFree {
    void operator()(ATCommandBlock* block) const { FreeResultBlock(block); }
};
using ResultBlockPtr = std::unique_ptr<ATCommandBlock, ResultBlockFree>;

// Posts a result block to the transfer thread as message 1224 + resultId,
// wParam 1, repeating until the post succeeds with `retryPauseMs` between
// tries (0: no pause). Gives up, freeing the block, only when no transfer
// thread exists.
void PostResultBlock(ATCommandBlock* block, uint32_t retryPauseMs);

// The block that a command or result message carries as its lParam integer.
inline ATCommandBlock* BlockOf(const ThreadMessage& message) {
    return reinterpret_cast<ATCommandBlock*>(message.lParam);  // NOLINT(performance-no-int-to-ptr)
}

}  // namespace velk
