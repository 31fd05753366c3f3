#include "queues/named_event_watcher.h"

#include <utility>

#include "platform/thread_messages.h"

namespace velk {

bool CNamedEventWatcher::Start(NamedEvent& event, std::function<void()> onSignalled) {
    if (Running() || !event.IsOpen() || !onSignalled) return false;
    event_ = &event;
    onSignalled_ = std::move(onSignalled);
    stopping_.store(false);
    // The count is read here, not on the new thread, so that an edge that
    // comes while the thread starts is not lost.
    const uint64_t seen = event.Edges();
    thread_ = std::thread([this, seen] { Run(seen); });
    return true;
}

void CNamedEventWatcher::Stop() {
    if (!Running()) return;
    stopping_.store(true);
    event_->WakeEdgeWaiters();
    thread_.join();
    event_ = nullptr;
    onSignalled_ = nullptr;
}

void CNamedEventWatcher::Run(uint64_t seen) {
    BlockSignalsOnThisThread();
    NameThisThread("velk-watcher");
    while (event_->WaitForEdge(seen, stopping_)) {
        if (stopping_.load()) break;
        onSignalled_();
    }
}

}  // namespace velk
