#include "platform/post_until_taken.h"

#include <chrono>
#include <thread>

namespace velk {
namespace {

void PauseBeforeRetry(uint32_t pauseMs) {
    if (pauseMs != 0) {
        std::this_thread::sleep_for(std::chrono::milliseconds(pauseMs));
    } else {
        std::this_thread::yield();
    }
}

bool GivenUp(const PostRetry& retry) {
    return retry.giveUp != nullptr && retry.giveUp->load();
}

}  // namespace

std::size_t PostUntilTaken(const std::atomic<ThreadId>& target, uint32_t message, uintptr_t wParam,
                           intptr_t lParam, std::size_t count, PostRetry retry) {
    while (count > 0) {
        const ThreadId id = target.load();
        if (id == kNoThread) return count;
        count -= count == 1 ? (PostThreadMessage(id, message, wParam, lParam) ? 1 : 0)
                            : PostThreadMessages(id, message, wParam, lParam, count);
        if (count == 0) return 0;
        if (!ThreadQueueAlive(id) || GivenUp(retry)) return count;
        PauseBeforeRetry(retry.pauseMs);
    }
    return 0;
}

bool PostUntilTaken(ThreadId target, uint32_t message, uintptr_t wParam, intptr_t lParam,
                    PostRetry retry) {
    for (;;) {
        if (PostThreadMessage(target, message, wParam, lParam)) return true;
        if (!ThreadQueueAlive(target) || GivenUp(retry)) return false;
        PauseBeforeRetry(retry.pauseMs);
    }
}

}  // namespace velk
