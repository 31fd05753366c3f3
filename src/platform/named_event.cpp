#include "platform/named_sync.h"
#include "platform/shared_sync_cell.h"

namespace velk {
namespace {

using sync_detail::Deadline;

constexpr uint32_t kEventKind = 0x564B4532;  // "VKE2": the layout with a wake-up word

struct EventCell {
    sync_detail::SyncCellHeader header;
    pthread_mutex_t lock;
    sync_detail::SharedSignal changed;
    uint32_t signalled;
    uint64_t edges;
};

sync_detail::CellForm EventForm(bool initiallySignalled) {
    return {sizeof(EventCell), kEventKind, [initiallySignalled](void* raw) {
                auto* cell = static_cast<EventCell*>(raw);
                cell->signalled = initiallySignalled ? 1 : 0;
                cell->edges = 0;
                return sync_detail::InitSharedMutex(&cell->lock, false);
            }};
}

// The event's lock, held for one scope; holds nothing when the event is not
// open.
class EventLock : public sync_detail::RobustLockGuard {
  public:
    explicit EventLock(EventCell* cell)
        : RobustLockGuard(cell != nullptr ? &cell->lock : nullptr) {}
};

}  // namespace

bool NamedEvent::Create(const char* name, bool initiallySignalled) {
    return sync_detail::AttachCell(memory_, name, sync_detail::CellOpen::kCreateIfMissing,
                                   EventForm(initiallySignalled));
}

bool NamedEvent::OpenExisting(const char* name) {
    return name != nullptr &&
           sync_detail::AttachCell(memory_, name, sync_detail::CellOpen::kExistingOnly,
                                   EventForm(false));
}

bool NamedEvent::Set() {
    auto* cell = static_cast<EventCell*>(memory_.View());
    EventLock lock(cell);
    if (!lock.Held()) return false;
    if (cell->signalled == 0) {
        cell->signalled = 1;
        ++cell->edges;
        sync_detail::WakeAll(&cell->changed);
    }
    return true;
}

bool NamedEvent::Reset() {
    auto* cell = static_cast<EventCell*>(memory_.View());
    EventLock lock(cell);
    if (!lock.Held()) return false;
    cell->signalled = 0;
    return true;
}

bool NamedEvent::IsSet() {
    auto* cell = static_cast<EventCell*>(memory_.View());
    EventLock lock(cell);
    return lock.Held() && cell->signalled != 0;
}

uint32_t NamedEvent::Wait(uint32_t timeoutMs) {
    auto* cell = static_cast<EventCell*>(memory_.View());
    EventLock lock(cell);
    if (!lock.Held()) return kWaitFailed;
    const Deadline deadline(timeoutMs);
    // A Set releases everyone who waits at that moment, even when a Reset
    // follows before a waiter gets the lock back: a new edge ends the wait.
    const uint64_t edgesAtStart = cell->edges;
    auto released = [&] { return cell->signalled != 0 || cell->edges != edgesAtStart; };
    while (!released()) {
        if (timeoutMs == 0 || !sync_detail::WaitSignal(&cell->changed, &cell->lock, deadline)) {
            return released() ? kWaitObject0 : kWaitTimeout;
        }
    }
    return kWaitObject0;
}

uint64_t NamedEvent::Edges() {
    auto* cell = static_cast<EventCell*>(memory_.View());
    EventLock lock(cell);
    return lock.Held() ? cell->edges : 0;
}

bool NamedEvent::WaitForEdge(uint64_t& seen, const std::atomic<bool>& stop) {
    auto* cell = static_cast<EventCell*>(memory_.View());
    EventLock lock(cell);
    if (!lock.Held()) return false;
    const Deadline never(kInfinite);
    while (cell->edges == seen) {
        if (stop.load()) return false;
        sync_detail::WaitSignal(&cell->changed, &cell->lock, never);
    }
    seen = cell->edges;
    return true;
}

void NamedEvent::WakeEdgeWaiters() {
    auto* cell = static_cast<EventCell*>(memory_.View());
    EventLock lock(cell);
    if (lock.Held()) sync_detail::WakeAll(&cell->changed);
}

}  // namespace velk
