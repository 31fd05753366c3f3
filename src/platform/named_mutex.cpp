#include <cerrno>

#include "platform/named_sync.h"
#include "platform/shared_sync_cell.h"

namespace velk {
namespace {

using sync_detail::Deadline;

constexpr uint32_t kMutexKind = 0x564B4D32;  // "VKM2": the layout with a wake-up word

// How often a waiter with a time-out tries the mutex again even when nobody
// released it: that is how it finds an owner that ended holding it.
constexpr uint32_t kOwnerCheckMs = 1000;

// The mutex itself, and a gate with a wake-up word on which a timed waiter
// sleeps until the mutex is released. (A timed lock of the mutex itself would
// do without the gate, but the tools that check our locking cannot follow a
// timed lock that inherits the mutex of a dead owner.)
struct MutexCell {
    sync_detail::SyncCellHeader header;
    pthread_mutex_t mutex;
    pthread_mutex_t gate;
    sync_detail::SharedSignal released;
};

bool InitMutexCell(void* raw) {
    auto* cell = static_cast<MutexCell*>(raw);
    return sync_detail::InitSharedMutex(&cell->mutex, true) &&
           sync_detail::InitSharedMutex(&cell->gate, false);
}

}  // namespace

bool NamedMutex::Create(const char* name) {
    return sync_detail::AttachCell(memory_, name, sync_detail::CellOpen::kCreateIfMissing,
                                   {sizeof(MutexCell), kMutexKind, InitMutexCell});
}

uint32_t NamedMutex::Wait(uint32_t timeoutMs) {
    if (!IsOpen()) return kWaitFailed;
    auto* cell = static_cast<MutexCell*>(memory_.View());
    int rc = 0;
    if (timeoutMs == kInfinite) {
        rc = pthread_mutex_lock(&cell->mutex);
    } else {
        // The gate is held from each try until the wait, and a release
        // signals under it, so no release falls between the two.
        const Deadline deadline(timeoutMs);
        sync_detail::RobustLockGuard gate(&cell->gate);
        if (!gate.Held()) return kWaitFailed;
        while ((rc = pthread_mutex_trylock(&cell->mutex)) == EBUSY) {
            if (timeoutMs == 0 || deadline.Passed()) return kWaitTimeout;
            sync_detail::WaitSignal(&cell->released, &cell->gate, deadline.Within(kOwnerCheckMs));
        }
    }
    if (rc == EOWNERDEAD) {
        return pthread_mutex_consistent(&cell->mutex) == 0 ? kWaitAbandoned : kWaitFailed;
    }
    return rc == 0 ? kWaitObject0 : kWaitFailed;
}

bool NamedMutex::Release() {
    if (!IsOpen()) return false;
    auto* cell = static_cast<MutexCell*>(memory_.View());
    if (pthread_mutex_unlock(&cell->mutex) != 0) return false;
    sync_detail::RobustLockGuard gate(&cell->gate);
    if (gate.Held()) sync_detail::WakeAll(&cell->released);
    return true;
}

bool RemoveNamedObject(const char* name) {
    return name != nullptr && SharedMemory::Remove(name);
}

}  // namespace velk
