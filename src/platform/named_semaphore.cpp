#include <unistd.h>

#include <algorithm>

#include "platform/named_sync.h"
#include "platform/shared_sync_cell.h"

namespace velk {
namespace {

using sync_detail::Deadline;

constexpr uint32_t kSemaphoreKind = 0x564B5332;  // "VKS2": the layout with a wake-up word

// Who released the units still counted. Units of processes beyond the last
// entry are counted but cannot be reclaimed.
constexpr int kLedgerEntries = 32;

struct LedgerEntry {
    int32_t pid;
    int32_t units;
};

struct SemaphoreCell {
    sync_detail::SyncCellHeader header;
    pthread_mutex_t lock;
    sync_detail::SharedSignal changed;
    int32_t count;
    int32_t maximum;
    LedgerEntry ledger[kLedgerEntries];
};

class SemaphoreLock : public sync_detail::RobustLockGuard {
  public:
    explicit SemaphoreLock(SemaphoreCell* cell)
        : RobustLockGuard(cell != nullptr ? &cell->lock : nullptr) {}
};

void Credit(SemaphoreCell* cell, int32_t pid, int32_t units) {
    LedgerEntry* free = nullptr;
    for (LedgerEntry& entry : cell->ledger) {
        if (entry.pid == pid) {
            entry.units += units;
            return;
        }
        if (entry.units <= 0 && free == nullptr) free = &entry;
    }
    if (free != nullptr) *free = {pid, units};
}

// A unit taken is charged to the taker's own releases first, else to the
// oldest entry, so that the ledger never holds more than the count.
void Debit(SemaphoreCell* cell, int32_t pid) {
    LedgerEntry* any = nullptr;
    for (LedgerEntry& entry : cell->ledger) {
        if (entry.units <= 0) continue;
        if (entry.pid == pid) {
            --entry.units;
            return;
        }
        if (any == nullptr) any = &entry;
    }
    if (any != nullptr) --any->units;
}

// Takes one unit if there is one; the lock is held.
bool TakeLocked(SemaphoreCell* cell) {
    if (cell->count <= 0) return false;
    --cell->count;
    Debit(cell, static_cast<int32_t>(getpid()));
    return true;
}

}  // namespace

bool NamedSemaphore::Create(const char* name, int32_t initialCount, int32_t maximumCount) {
    if (maximumCount < 1 || initialCount < 0 || initialCount > maximumCount) return false;
    const sync_detail::CellForm form{sizeof(SemaphoreCell), kSemaphoreKind, [=](void* raw) {
                                         auto* cell = static_cast<SemaphoreCell*>(raw);
                                         cell->count = initialCount;
                                         cell->maximum = maximumCount;
                                         return sync_detail::InitSharedMutex(&cell->lock, false);
                                     }};
    return sync_detail::AttachCell(memory_, name, sync_detail::CellOpen::kCreateIfMissing, form);
}

bool NamedSemaphore::Release(int32_t count, int32_t* previous) {
    auto* cell = static_cast<SemaphoreCell*>(memory_.View());
    SemaphoreLock lock(cell);
    if (!lock.Held() || count < 1 || count > cell->maximum - cell->count) return false;
    if (previous != nullptr) *previous = cell->count;
    cell->count += count;
    Credit(cell, static_cast<int32_t>(getpid()), count);
    sync_detail::WakeAll(&cell->changed);
    return true;
}

uint32_t NamedSemaphore::Wait(uint32_t timeoutMs) {
    auto* cell = static_cast<SemaphoreCell*>(memory_.View());
    SemaphoreLock lock(cell);
    if (!lock.Held()) return kWaitFailed;
    const Deadline deadline(timeoutMs);
    while (!TakeLocked(cell)) {
        if (timeoutMs == 0 || !sync_detail::WaitSignal(&cell->changed, &cell->lock, deadline)) {
            return TakeLocked(cell) ? kWaitObject0 : kWaitTimeout;
        }
    }
    return kWaitObject0;
}

bool NamedSemaphore::TryTake() {
    auto* cell = static_cast<SemaphoreCell*>(memory_.View());
    SemaphoreLock lock(cell);
    return lock.Held() && TakeLocked(cell);
}

uint32_t NamedSemaphore::WaitAvailable(uint32_t timeoutMs) {
    auto* cell = static_cast<SemaphoreCell*>(memory_.View());
    SemaphoreLock lock(cell);
    if (!lock.Held()) return kWaitFailed;
    const Deadline deadline(timeoutMs);
    while (cell->count <= 0) {
        if (timeoutMs == 0 || !sync_detail::WaitSignal(&cell->changed, &cell->lock, deadline)) {
            return cell->count > 0 ? kWaitObject0 : kWaitTimeout;
        }
    }
    return kWaitObject0;
}

int32_t NamedSemaphore::Count() {
    auto* cell = static_cast<SemaphoreCell*>(memory_.View());
    SemaphoreLock lock(cell);
    return lock.Held() ? cell->count : 0;
}

int32_t NamedSemaphore::ReclaimFromEndedProcesses() {
    auto* cell = static_cast<SemaphoreCell*>(memory_.View());
    SemaphoreLock lock(cell);
    if (!lock.Held()) return 0;
    int32_t reclaimed = 0;
    for (LedgerEntry& entry : cell->ledger) {
        if (entry.units <= 0 || !sync_detail::ProcessEnded(entry.pid)) continue;
        const int32_t units = std::min(entry.units, cell->count);
        cell->count -= units;
        reclaimed += units;
        entry = {0, 0};
    }
    return reclaimed;
}

}  // namespace velk
