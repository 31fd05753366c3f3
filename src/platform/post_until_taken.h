// Posting a thread message that must not be lost: the post is tried again
// until the target's queue takes it. A full queue is no reason to drop a
// result or a stop; a queue that is gone is, since nobody is left to read it.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

#include "platform/thread_messages.h"

namespace velk {

// The pause between two tries when the target's queue is full.
inline constexpr uint32_t kPostRetryPauseMs = 50;

struct PostRetry {
    // Pause between tries; 0 gives the processor up once instead.
    uint32_t pauseMs = kPostRetryPauseMs;
    // Once this is set the posting stops, taken or not: a thread that is
    // stopping may itself be the one that would drain the target.
    const std::atomic<bool>* giveUp = nullptr;
};

// Posts `count` copies of the message to the thread whose id `target` holds,
// reading the id again before each try (the thread may be replaced while the
// post waits). Stops when all are taken, when the id is kNoThread or its
// queue is gone, or when `retry.giveUp` is set. Returns how many were not
// taken.
std::size_t PostUntilTaken(const std::atomic<ThreadId>& target, uint32_t message, uintptr_t wParam,
                           intptr_t lParam, std::size_t count = 1, PostRetry retry = {});

// The same for a fixed target. True when the message was taken.
bool PostUntilTaken(ThreadId target, uint32_t message, uintptr_t wParam, intptr_t lParam,
                    PostRetry retry = {});

}  // namespace velk
