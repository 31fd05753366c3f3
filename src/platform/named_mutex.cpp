#include <cerrno>

#include "platform/named_sync.h"
#include "platform/shared_sync_cell.h"

namespace velk {
namespace {

using sync_detail::Deadline;

constexpr uint32_t kMutexKind = 0x564B4D58;  // "VKMX"

struct MutexCell {
    sync_detail::SyncCellHeader header;
    pthread_mutex_t mutex;
};

bool InitMutexCell(void* cell, const void* /*arg*/) {
    return sync_detail::InitSharedMutex(&static_cast<MutexCell*>(cell)->mutex, true);
}

}  // namespace

bool NamedMutex::Create(const char* name) {
    return sync_detail::AttachCell(memory_, name, true, sizeof(MutexCell), kMutexKind,
                                   InitMutexCell, nullptr);
}

uint32_t NamedMutex::Wait(uint32_t timeoutMs) {
    if (!IsOpen()) return kWaitFailed;
    pthread_mutex_t* mutex = &static_cast<MutexCell*>(memory_.View())->mutex;
    int rc = 0;
    if (timeoutMs == 0) {
        rc = pthread_mutex_trylock(mutex);
        if (rc == EBUSY) return kWaitTimeout;
    } else if (timeoutMs == kInfinite) {
        rc = pthread_mutex_lock(mutex);
    } else {
        // The lock only waits on the wall clock; the deadline is kept on the
        // monotonic one, and a wall clock that jumps ahead only costs a round.
        const Deadline deadline(timeoutMs);
        for (;;) {
            const timespec until = deadline.Realtime();
            rc = pthread_mutex_timedlock(mutex, &until);
            if (rc != ETIMEDOUT) break;
            if (deadline.Passed()) return kWaitTimeout;
        }
    }
    if (rc == EOWNERDEAD) {
        return pthread_mutex_consistent(mutex) == 0 ? kWaitAbandoned : kWaitFailed;
    }
    return rc == 0 ? kWaitObject0 : kWaitFailed;
}

bool NamedMutex::Release() {
    return IsOpen() && pthread_mutex_unlock(&static_cast<MutexCell*>(memory_.View())->mutex) == 0;
}

bool RemoveNamedObject(const char* name) {
    return name != nullptr && SharedMemory::Remove(name);
}

}  // namespace velk
