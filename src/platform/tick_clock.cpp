#include "platform/tick_clock.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

namespace velk {
namespace {

struct Waiter {
    std::condition_variable* cv;
    std::mutex* mutex;
};

// State of the installed test clock. Waiters that started while it was
// installed are listed so that moving the clock can wake them.
struct TestClockState {
    std::atomic<bool> installed{false};
    std::atomic<uint32_t> now{0};
    std::mutex registryMutex;
    std::vector<Waiter> waiters;
};

TestClockState& State() {
    static TestClockState state;
    return state;
}

uint32_t RealTick() {
    auto ms = std::chrono::duration_cast<std::chrono::milliseconds>(
        std::chrono::steady_clock::now().time_since_epoch());
    return static_cast<uint32_t>(ms.count());
}

// Wakes every waiter of the test clock. The registry lock is taken before a
// waiter's mutex; a waiter never holds its mutex while it takes the registry
// lock, so the two orders cannot meet.
void WakeTestWaiters() {
    TestClockState& s = State();
    std::lock_guard<std::mutex> registry(s.registryMutex);
    for (const Waiter& w : s.waiters) {
        std::lock_guard<std::mutex> hold(*w.mutex);
        w.cv->notify_all();
    }
}

}  // namespace

uint32_t GetTickCount() {
    TestClockState& s = State();
    return s.installed.load(std::memory_order_acquire) ? s.now.load() : RealTick();
}

TestTickClock::TestTickClock(uint32_t start) {
    State().now.store(start);
    State().installed.store(true, std::memory_order_release);
}

TestTickClock::~TestTickClock() {
    State().installed.store(false, std::memory_order_release);
    WakeTestWaiters();
}

uint32_t TestTickClock::Now() const {
    return State().now.load();
}

void TestTickClock::Advance(uint32_t ms) {
    State().now.fetch_add(ms);
    WakeTestWaiters();
}

void TestTickClock::Set(uint32_t tick) {
    State().now.store(tick);
    WakeTestWaiters();
}

std::size_t TestTickClock::Waiters() const {
    std::lock_guard<std::mutex> registry(State().registryMutex);
    return State().waiters.size();
}

void TestTickClock::AwaitWaiters(std::size_t count) const {
    while (Waiters() < count) std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

bool WaitOnTickClock(std::condition_variable& cv, std::unique_lock<std::mutex>& lock,
                     uint32_t timeoutMs, const std::function<bool()>& ready) {
    if (ready()) return true;
    if (timeoutMs == 0) return false;
    if (timeoutMs == kInfinite) {
        cv.wait(lock, ready);
        return true;
    }
    TestClockState& s = State();
    if (!s.installed.load(std::memory_order_acquire)) {
        return cv.wait_for(lock, std::chrono::milliseconds(timeoutMs), ready);
    }
    const uint32_t start = GetTickCount();
    lock.unlock();
    {
        std::lock_guard<std::mutex> registry(s.registryMutex);
        s.waiters.push_back({&cv, lock.mutex()});
    }
    lock.lock();
    bool result = false;
    for (;;) {
        if (ready()) {
            result = true;
            break;
        }
        if (!s.installed.load() || GetTickCount() - start >= timeoutMs) break;
        cv.wait(lock);
    }
    lock.unlock();
    {
        std::lock_guard<std::mutex> registry(s.registryMutex);
        auto it = std::find_if(s.waiters.begin(), s.waiters.end(),
                               [&](const Waiter& w) { return w.cv == &cv; });
        if (it != s.waiters.end()) s.waiters.erase(it);
    }
    lock.lock();
    return result || ready();
}

}  // namespace velk
