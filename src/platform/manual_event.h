// A manual-reset event within one process: it stays signalled from Set until
// Reset, and every waiter sees it.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <mutex>

namespace velk {

class ManualEvent {
  public:
    explicit ManualEvent(bool signalled = false) : signalled_(signalled) {}
    void Set();
    void Reset();
    bool IsSet() const;
    // True when the event was or became signalled within `timeoutMs` on the
    // tick clock; kInfinite waits without limit.
    bool Wait(uint32_t timeoutMs);

  private:
    mutable std::mutex mutex_;
    std::condition_variable cv_;
    bool signalled_;
};

}  // namespace velk
