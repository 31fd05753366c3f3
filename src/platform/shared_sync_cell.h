// The common ground of the named mutex, event and semaphore (named_sync.h):
// a small shared-memory object that holds a kind tag, a process-shared robust
// lock, a wake-up word that waiters sleep on, and the object's own state
// behind them. Only named_*.cpp use it.
#pragma once

#include <pthread.h>
#include <time.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>

#include "platform/shared_memory.h"

namespace velk::sync_detail {

// A time-out turned into a point in time, so that a wait that wakes early
// and waits again keeps its end.
class Deadline {
  public:
    explicit Deadline(uint32_t timeoutMs);
    bool Infinite() const { return infinite_; }
    bool Passed() const;
    // The end on the monotonic clock, for the kernel's waits.
    const timespec& Monotonic() const { return end_; }
    // This deadline, or the one `ms` from now if that comes first.
    Deadline Within(uint32_t ms) const;

  private:
    bool infinite_;
    timespec end_{};
};

// What every shared synchronisation object starts with. `ready` is written
// last by the creator, once the lock and the condition are usable.
struct SyncCellHeader {
    std::atomic<uint32_t> ready;
    uint32_t kind;
};

// Initialises a process-shared robust mutex (recursive when asked).
bool InitSharedMutex(pthread_mutex_t* mutex, bool recursive);

// What the waiters of a shared object sleep on until its state changes: a
// counter that every change moves on, slept on through the kernel's futex.
// Unlike a process-shared condition variable it keeps no record of who
// waits, so a process killed in the middle of a wait or a wake leaves nothing
// that could hold up the others. A fresh (zeroed) signal is ready for use.
struct SharedSignal {
    uint32_t sequence;
};

// What a kind of cell is: its size, its tag, and how a new one's state
// behind the header is set up (false on failure).
struct CellForm {
    std::size_t size;
    uint32_t kind;
    std::function<bool(void* cell)> init;
};

enum class CellOpen { kCreateIfMissing, kExistingOnly };

// Opens the named cell "name" (null: an anonymous one), creating and
// initialising it when it is missing and `open` allows. A cell of another
// kind, of another user, or one whose creator never finished, is refused.
bool AttachCell(SharedMemory& memory, const char* name, CellOpen open, const CellForm& form);

// Takes a robust lock. When its last holder died with it, the state it
// guards is taken over as it stands. False only when the lock is unusable.
bool LockRobust(pthread_mutex_t* mutex);

// Holds a robust lock for one scope (null: holds nothing).
class RobustLockGuard {
  public:
    explicit RobustLockGuard(pthread_mutex_t* mutex)
        : mutex_(mutex), held_(mutex != nullptr && LockRobust(mutex)) {}
    ~RobustLockGuard() {
        if (held_) pthread_mutex_unlock(mutex_);
    }
    RobustLockGuard(const RobustLockGuard&) = delete;
    RobustLockGuard& operator=(const RobustLockGuard&) = delete;
    bool Held() const { return held_; }

  private:
    pthread_mutex_t* mutex_;
    bool held_;
};

// Wakes every waiter of `signal`, in any process; called with the object's
// lock held, after its state changed.
void WakeAll(SharedSignal* signal);

// Called with `mutex` held: lets go of it, sleeps until a WakeAll after this
// call began or the deadline passes, and takes the lock again. False on
// time-out (the lock is held again either way). A wake may come for another
// change, so callers look at their state again.
bool WaitSignal(SharedSignal* signal, pthread_mutex_t* mutex, const Deadline& deadline);

// True when no process of that id is alive any more.
bool ProcessEnded(int32_t pid);

}  // namespace velk::sync_detail
