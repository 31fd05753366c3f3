// Per-thread message queues addressed by thread id: the way the library's
// threads talk to each other. A thread gets its queue by calling
// EnsureThreadQueue(); from then on others can post to its id.
//
// Properties the callers rely on:
//  - PostThreadMessage never blocks; it fails when the queue holds
//    kMaxQueuedMessages already or when its thread has closed the queue.
//  - Messages of one poster arrive in the order they were posted.
//  - PeekThreadMessage filters by a number range and may leave the message.
//  - WaitForThreadMessage ends on a posted message or a time-out measured on
//    the tick clock (tick_clock.h), whichever comes first.
//  - A waiter looks for its message for a moment before it sleeps
//    (look_before_sleeping.h), so that a message posted right after is
//    taken without a wake-up.
#pragma once

#include <cstdint>
#include <functional>

#include "platform/look_before_sleeping.h"
#include "platform/tick_clock.h"

namespace velk {

using ThreadId = uint32_t;
inline constexpr ThreadId kNoThread = 0;
inline constexpr std::size_t kMaxQueuedMessages = 10000;

struct ThreadMessage {
    uint32_t message = 0;
    uintptr_t wParam = 0;
    intptr_t lParam = 0;
};

// Creates the calling thread's queue if it has none and returns its id.
// Ids are never reused within a process.
ThreadId EnsureThreadQueue();

// The calling thread's id, kNoThread when it has no queue.
ThreadId CurrentThreadId();

// Closes the calling thread's queue: later posts to it fail. Messages still
// queued are handed to `disposeLeftover` (to free blocks they carry).
void CloseThreadQueue(const std::function<void(const ThreadMessage&)>& disposeLeftover = {});

// Queues a message for thread `target`. False when the queue is full, closed
// or unknown.
bool PostThreadMessage(ThreadId target, uint32_t message, uintptr_t wParam, intptr_t lParam);

// Queues `count` copies of one message for thread `target` at once, as many
// as there is room for, and wakes it once. Returns how many were queued.
std::size_t PostThreadMessages(ThreadId target, uint32_t message, uintptr_t wParam, intptr_t lParam,
                               std::size_t count);

// Looks at the first queued message of the calling thread whose number lies in
// [first, last] (both 0: any). When `remove` is set it is taken off the queue.
// False when there is none.
bool PeekThreadMessage(ThreadMessage& out, uint32_t first = 0, uint32_t last = 0,
                       bool remove = true);

// True while thread `target` has an open queue.
bool ThreadQueueAlive(ThreadId target);

// Blocks until a message is there and takes the first one. With a `habit`
// the wait looks before it sleeps only as the habit says, and teaches it.
void GetThreadMessage(ThreadMessage& out, LookHabit* habit = nullptr);

// Blocks until a message is queued for the calling thread or `timeoutMs` have
// passed on the tick clock (kInfinite: no limit). True when a message is there.
// `habit` as for GetThreadMessage.
bool WaitForThreadMessage(uint32_t timeoutMs, LookHabit* habit = nullptr);

// Blocks all asynchronous signals on the calling thread, so that the library's
// threads never take a signal meant for the application (SIGPIPE above all).
void BlockSignalsOnThisThread();

// Lowers the calling thread by one nice step where the system allows it.
void LowerThisThreadPriority();

// Names the calling thread, as `top -H`, `ps -L` and debuggers show it; the
// system keeps the first 15 bytes.
void NameThisThread(const char* name);

// What each thread of a link does first: blocks the signals, lowers itself
// one step and takes its name.
void SetUpLinkThread(const char* name);

}  // namespace velk
