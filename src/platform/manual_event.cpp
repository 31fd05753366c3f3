#include "platform/manual_event.h"

#include "platform/tick_clock.h"

namespace velk {

void ManualEvent::Set() {
    std::lock_guard<std::mutex> hold(mutex_);
    signalled_ = true;
    cv_.notify_all();
}

void ManualEvent::Reset() {
    std::lock_guard<std::mutex> hold(mutex_);
    signalled_ = false;
}

bool ManualEvent::IsSet() const {
    std::lock_guard<std::mutex> hold(mutex_);
    return signalled_;
}

bool ManualEvent::Wait(uint32_t timeoutMs) {
    std::unique_lock<std::mutex> lock(mutex_);
    return WaitOnTickClock(cv_, lock, timeoutMs, [this] { return signalled_; });
}

}  // namespace velk
