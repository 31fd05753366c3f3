#include "platform/shared_sync_cell.h"

#include <linux/futex.h>
#include <signal.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <string>

#include "platform/thread_messages.h"

namespace velk::sync_detail {
namespace {

constexpr uint32_t kReady = 0x564B5259;  // "VKRY"
// How long an opener waits for a creator that is still setting a cell up.
constexpr int kSetupPatienceMs = 1000;

timespec Now(clockid_t clock) {
    timespec ts{};
    clock_gettime(clock, &ts);
    return ts;
}

timespec Add(timespec t, long long ms) {
    t.tv_sec += static_cast<time_t>(ms / 1000);
    t.tv_nsec += static_cast<long>((ms % 1000) * 1000000);
    if (t.tv_nsec >= 1000000000) {
        t.tv_sec += 1;
        t.tv_nsec -= 1000000000;
    }
    return t;
}

long long Difference(const timespec& later, const timespec& earlier) {
    return (static_cast<long long>(later.tv_sec) - earlier.tv_sec) * 1000000000LL +
           (later.tv_nsec - earlier.tv_nsec);
}

}  // namespace

Deadline::Deadline(uint32_t timeoutMs) : infinite_(timeoutMs == kInfinite) {
    if (!infinite_) end_ = Add(Now(CLOCK_MONOTONIC), timeoutMs);
}

bool Deadline::Passed() const {
    return !infinite_ && Difference(end_, Now(CLOCK_MONOTONIC)) <= 0;
}

Deadline Deadline::Within(uint32_t ms) const {
    Deadline sooner(ms);
    return infinite_ || Difference(sooner.end_, end_) < 0 ? sooner : *this;
}

bool InitSharedMutex(pthread_mutex_t* mutex, bool recursive) {
    pthread_mutexattr_t attr;
    if (pthread_mutexattr_init(&attr) != 0) return false;
    bool ok = pthread_mutexattr_setpshared(&attr, PTHREAD_PROCESS_SHARED) == 0 &&
              pthread_mutexattr_setrobust(&attr, PTHREAD_MUTEX_ROBUST) == 0 &&
              pthread_mutexattr_settype(
                  &attr, recursive ? PTHREAD_MUTEX_RECURSIVE : PTHREAD_MUTEX_NORMAL) == 0 &&
              pthread_mutex_init(mutex, &attr) == 0;
    pthread_mutexattr_destroy(&attr);
    return ok;
}

void WakeAll(SharedSignal* signal) {
    std::atomic_ref<uint32_t>(signal->sequence).fetch_add(1, std::memory_order_release);
    // Not the private form: the word is shared with other processes.
    syscall(SYS_futex, &signal->sequence, FUTEX_WAKE, INT_MAX, nullptr, nullptr, 0);
}

bool WaitSignal(SharedSignal* signal, pthread_mutex_t* mutex, const Deadline& deadline) {
    // The counter is read under the lock and every WakeAll moves it under the
    // same lock, so a wake between the unlock and the sleep makes the kernel
    // refuse the sleep: nothing is missed.
    const uint32_t seen =
        std::atomic_ref<uint32_t>(signal->sequence).load(std::memory_order_acquire);
    pthread_mutex_unlock(mutex);
    // The bitset form takes an absolute end on the monotonic clock.
    const timespec* end = deadline.Infinite() ? nullptr : &deadline.Monotonic();
    const long rc = syscall(SYS_futex, &signal->sequence, FUTEX_WAIT_BITSET, seen, end, nullptr,
                            FUTEX_BITSET_MATCH_ANY);
    const bool timedOut = rc == -1 && errno == ETIMEDOUT;
    LockRobust(mutex);
    return !timedOut;
}

bool AttachCell(SharedMemory& memory, const char* name, CellOpen open, const CellForm& form) {
    const std::size_t size = form.size;
    auto setUp = [&]() {
        auto* header = static_cast<SyncCellHeader*>(memory.View());
        header->kind = form.kind;
        if (!form.init(memory.View())) return false;
        header->ready.store(kReady, std::memory_order_release);
        return true;
    };
    if (name == nullptr) {
        if (!memory.CreateAnonymous(size)) return false;
        if (setUp()) return true;
        memory.Close();
        return false;
    }
    const std::string objectName(name);
    switch (memory.Open(objectName, open == CellOpen::kCreateIfMissing, size)) {
        case SharedMemory::OpenResult::kCreated:
            if (memory.Map(size) && setUp()) {
                memory.CloseObject();
                return true;
            }
            memory.Close();
            SharedMemory::Remove(objectName);
            return false;
        case SharedMemory::OpenResult::kOpened:
            break;
        default:
            return false;
    }
    // Another process made the cell and may still be setting it up; only
    // that rare race waits here, a little at a time.
    const Deadline patience(kSetupPatienceMs);
    auto settled = [&](auto&& done) {
        while (!done()) {
            if (patience.Passed()) return false;
            const timespec pause{0, 1000000};
            nanosleep(&pause, nullptr);
        }
        return true;
    };
    const std::size_t headerSize = sizeof(SyncCellHeader);
    SyncCellHeader* header = nullptr;
    bool ok = settled([&] { return memory.ObjectSize() >= headerSize; }) && memory.Map(headerSize);
    if (ok) {
        header = static_cast<SyncCellHeader*>(memory.View());
        ok = settled([&] { return header->ready.load(std::memory_order_acquire) == kReady; });
    }
    // A finished cell of another kind, or one shorter than this kind (made by
    // another build), is refused at once.
    ok = ok && header->kind == form.kind && memory.Map(size);
    memory.CloseObject();
    if (!ok) memory.Close();
    return ok;
}

bool LockRobust(pthread_mutex_t* mutex) {
    int rc = pthread_mutex_lock(mutex);
    if (rc == EOWNERDEAD) rc = pthread_mutex_consistent(mutex);
    return rc == 0;
}

bool ProcessEnded(int32_t pid) {
    return pid > 0 && kill(pid, 0) != 0 && errno == ESRCH;
}

}  // namespace velk::sync_detail
