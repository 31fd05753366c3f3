// A descriptor that a thread can wait on with poll() beside the port: once
// set it stays readable until closed, so every waiter sees the stop, also one
// that starts waiting later. It wakes the serial reader and a writer held up
// by flow control when the link is stopped.
#pragma once

#include <atomic>
#include <cstdint>

namespace velk {

class StopDescriptor {
  public:
    StopDescriptor() = default;
    ~StopDescriptor();
    StopDescriptor(const StopDescriptor&) = delete;
    StopDescriptor& operator=(const StopDescriptor&) = delete;

    // Makes a fresh, unset descriptor (closing an older one). False when the
    // system has none to give.
    bool Open();
    void Close();
    bool IsOpen() const { return fd_.load() >= 0; }

    // Makes the descriptor readable for good; does nothing when it is closed.
    void Set();

    // The descriptor to poll for POLLIN; -1 when closed.
    int Fd() const { return fd_.load(); }

    // Waits up to `timeoutMs` for the stop. True when it is set.
    bool WaitFor(uint32_t timeoutMs) const;

  private:
    std::atomic<int> fd_{-1};
};

}  // namespace velk
