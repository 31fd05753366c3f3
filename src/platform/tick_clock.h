// The 32-bit millisecond tick of the library (it wraps after 49.7 days, and
// every user compares ticks by unsigned difference), behind a seam that tests
// replace with a clock they drive. Every timed wait of the library measures
// its time-out on this clock, so advancing a test clock ends the waits whose
// time has come.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <mutex>

namespace velk {

// A time-out that never ends.
inline constexpr uint32_t kInfinite = 0xFFFFFFFFu;

// Milliseconds since an arbitrary start, wrapping at 2^32.
uint32_t GetTickCount();

// A clock a test drives by hand. While one is installed, GetTickCount reads it
// and timed waits end only when Advance/Set moves it past their deadline.
class TestTickClock {
  public:
    explicit TestTickClock(uint32_t start = 0);
    ~TestTickClock();  // uninstalls itself
    TestTickClock(const TestTickClock&) = delete;
    TestTickClock& operator=(const TestTickClock&) = delete;

    uint32_t Now() const;
    void Advance(uint32_t ms);
    void Set(uint32_t tick);
    // Number of timed waits now blocked on this clock: lets a test advance the
    // clock only once the wait it means to end has begun.
    std::size_t Waiters() const;
    // Blocks (in real time) until at least `count` timed waits are blocked.
    void AwaitWaiters(std::size_t count) const;
};

// Waits on `cv` (with `lock` held on entry) until `ready()` is true or
// `timeoutMs` have passed on the tick clock since the call. kInfinite waits
// without limit. Returns ready(). All timed waits of the library go through
// here so that a test clock can end them.
bool WaitOnTickClock(std::condition_variable& cv, std::unique_lock<std::mutex>& lock,
                     uint32_t timeoutMs, const std::function<bool()>& ready);

}  // namespace velk
