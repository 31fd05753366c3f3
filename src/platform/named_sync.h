// Named mutex, manual-reset event and counting semaphore that any process of
// the same user can reach by name: the objects that the single-writer guard
// and the shared queues are built of.
//
// Each object lives in a small shared-memory object "/name" of mode 0600
// (shared_memory.h): two processes that use the same name meet the same
// object, another user's object is refused, and an object stays in place when
// it is closed, so that a later Create takes it over with the state it has.
// A null name makes an anonymous object, shared only with children forked
// after it was made.
//
// Waits answer with the numbers callers of such objects know:
//   kWaitObject0    the object was signalled (and, for a mutex, is now ours)
//   kWaitAbandoned  the mutex is ours, but its last owner ended holding it
//   kWaitTimeout    the time ran out; nothing was changed
//   kWaitFailed     the object is not open or not usable
// A time-out of 0 only tries; kInfinite waits without limit. Time-outs are
// measured on the system's monotonic clock: the party that ends such a wait
// is another process, which a test clock of this one cannot move.
//
// Any thread may use an object, but one object must not be closed while
// another thread waits on it.
#pragma once

#include <atomic>
#include <cstdint>

#include "platform/shared_memory.h"
#include "platform/thread_messages.h"  // kInfinite

namespace velk {

inline constexpr uint32_t kWaitObject0 = 0;
inline constexpr uint32_t kWaitAbandoned = 0x80;
inline constexpr uint32_t kWaitTimeout = 258;
inline constexpr uint32_t kWaitFailed = 0xFFFFFFFFu;

// Owned by one thread at a time, recursively. When its owner ends while
// holding it, the next waiter gets it with kWaitAbandoned.
class NamedMutex {
  public:
    // Opens the mutex of that name, making it (not owned) when it is missing.
    bool Create(const char* name);
    void Close() { memory_.Close(); }
    bool IsOpen() const { return memory_.View() != nullptr; }
    uint32_t Wait(uint32_t timeoutMs);
    // False when the calling thread does not own the mutex.
    bool Release();

  private:
    SharedMemory memory_;
};

// A manual-reset event: it stays signalled from Set to Reset and releases
// every waiter. Besides its state it counts its rising edges (each Set that
// found it unsignalled), so that a watcher can tell a new signal from a
// lasting one.
class NamedEvent {
  public:
    // Opens the event of that name, making it with `initiallySignalled` when
    // it is missing; an existing event keeps its state.
    bool Create(const char* name, bool initiallySignalled);
    // Opens the event only when it exists.
    bool OpenExisting(const char* name);
    void Close() { memory_.Close(); }
    bool IsOpen() const { return memory_.View() != nullptr; }
    bool Set();
    bool Reset();
    bool IsSet();
    // Waits until the event is signalled, or was signalled (and reset again)
    // while this call waited; takes nothing from it.
    uint32_t Wait(uint32_t timeoutMs);
    // The number of rising edges so far.
    uint64_t Edges();
    // Blocks until the edge count differs from `seen` (then stores it there
    // and returns true) or `stop` is true after a WakeEdgeWaiters (false).
    bool WaitForEdge(uint64_t& seen, const std::atomic<bool>& stop);
    // Wakes the WaitForEdge callers of this process, which look at their
    // `stop` again; waiters elsewhere go back to sleep.
    void WakeEdgeWaiters();

  private:
    SharedMemory memory_;
};

// A counting semaphore with a maximum. It remembers which processes released
// the units that are still counted, so that the units of a process that ended
// without taking them back can be reclaimed.
class NamedSemaphore {
  public:
    // Opens the semaphore of that name, making it with the given counts when
    // it is missing; an existing one keeps its count.
    bool Create(const char* name, int32_t initialCount, int32_t maximumCount);
    void Close() { memory_.Close(); }
    bool IsOpen() const { return memory_.View() != nullptr; }
    // Adds `count`; false, changing nothing, when that would pass the
    // maximum. `previous` (may be null) receives the count before.
    bool Release(int32_t count, int32_t* previous);
    // Waits until the count is above 0 and takes one.
    uint32_t Wait(uint32_t timeoutMs);
    // Takes one when the count is above 0, without waiting.
    bool TryTake();
    // Waits until the count is above 0; takes nothing.
    uint32_t WaitAvailable(uint32_t timeoutMs);
    int32_t Count();
    // Takes back the units released by processes that have ended since and
    // returns how many; the count never goes below 0.
    int32_t ReclaimFromEndedProcesses();

  private:
    SharedMemory memory_;
};

// Removes the object of that name from the namespace; processes that hold it
// keep it. For tests and for cleaning up after a crash.
bool RemoveNamedObject(const char* name);

}  // namespace velk
