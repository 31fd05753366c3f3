#include "platform/thread_messages.h"

#include <gtest/gtest.h>

#include <time.h>

#include <atomic>
#include <chrono>
#include <thread>

#include "platform/manual_event.h"
#include "platform/tick_clock.h"

namespace velk {
namespace {

// Runs `body` on a fresh thread that owns a queue, so tests do not share one.
template <typename F>
void OnOwnThread(F body) {
    std::thread t([&] {
        EnsureThreadQueue();
        body();
        CloseThreadQueue();
    });
    t.join();
}

TEST(ThreadMessages, KeepsOrderAndFiltersByRange) {
    OnOwnThread([] {
        const ThreadId self = CurrentThreadId();
        ASSERT_NE(self, kNoThread);
        ASSERT_TRUE(PostThreadMessage(self, 10, 0, 1));
        ASSERT_TRUE(PostThreadMessage(self, 20, 0, 2));
        ASSERT_TRUE(PostThreadMessage(self, 10, 0, 3));
        ThreadMessage m;
        ASSERT_TRUE(PeekThreadMessage(m, 20, 20, false));
        EXPECT_EQ(m.lParam, 2);
        ASSERT_TRUE(PeekThreadMessage(m, 20, 20, true));
        EXPECT_FALSE(PeekThreadMessage(m, 20, 20, true));
        ASSERT_TRUE(PeekThreadMessage(m));
        EXPECT_EQ(m.lParam, 1);
        GetThreadMessage(m);
        EXPECT_EQ(m.lParam, 3);
        EXPECT_FALSE(PeekThreadMessage(m));
    });
}

TEST(ThreadMessages, PostFailsWhenFullClosedOrUnknown) {
    ThreadId id = kNoThread;
    OnOwnThread([&] {
        id = CurrentThreadId();
        for (std::size_t i = 0; i < kMaxQueuedMessages; ++i) {
            ASSERT_TRUE(PostThreadMessage(id, 1, 0, 0));
        }
        EXPECT_FALSE(PostThreadMessage(id, 1, 0, 0));
        ThreadMessage m;
        ASSERT_TRUE(PeekThreadMessage(m));
        EXPECT_TRUE(PostThreadMessage(id, 1, 0, 0));
    });
    EXPECT_FALSE(ThreadQueueAlive(id));
    EXPECT_FALSE(PostThreadMessage(id, 1, 0, 0));
    EXPECT_FALSE(PostThreadMessage(999999, 1, 0, 0));
}

TEST(ThreadMessages, LeftoverMessagesAreHandedBackOnClose) {
    int disposed = 0;
    std::thread t([&] {
        const ThreadId self = EnsureThreadQueue();
        PostThreadMessage(self, 5, 0, 0);
        PostThreadMessage(self, 6, 0, 0);
        CloseThreadQueue([&](const ThreadMessage&) { ++disposed; });
    });
    t.join();
    EXPECT_EQ(disposed, 2);
}

TEST(ThreadMessages, PostWakesAWaiterAtOnce) {
    std::atomic<ThreadId> id{kNoThread};
    std::atomic<bool> woke{false};
    std::thread t([&] {
        id = EnsureThreadQueue();
        woke = WaitForThreadMessage(kInfinite);
        CloseThreadQueue();
    });
    while (id == kNoThread) std::this_thread::yield();
    const auto start = std::chrono::steady_clock::now();
    ASSERT_TRUE(PostThreadMessage(id, 1, 0, 0));
    t.join();
    EXPECT_TRUE(woke);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(500));
}

// Before it sleeps a waiter looks for its message for a moment; a wait that
// finds none must still give the core back rather than spin through it.
TEST(ThreadMessages, AWaitWithNoMessageUsesAlmostNoCpu) {
    double cpuMs = 0;
    bool got = true;
    OnOwnThread([&] {
        timespec before{}, after{};
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &before);
        got = WaitForThreadMessage(300);
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &after);
        cpuMs = (after.tv_sec - before.tv_sec) * 1e3 + (after.tv_nsec - before.tv_nsec) / 1e6;
    });
    EXPECT_FALSE(got);
    EXPECT_LT(cpuMs, 30.0);
}

// A wait with a habit teaches it: after a slow answer the next wait does not
// look, after a quick one it does again.
TEST(ThreadMessages, AHabitLearnsWhetherAnswersComeQuickly) {
    OnOwnThread([] {
        LookHabit habit;
        EXPECT_TRUE(habit.ShouldLook());
        EXPECT_FALSE(WaitForThreadMessage(20, &habit));
        EXPECT_FALSE(habit.ShouldLook()) << "20 ms without a message is a slow answer";
        ASSERT_TRUE(PostThreadMessage(CurrentThreadId(), 7, 0, 0));
        EXPECT_TRUE(WaitForThreadMessage(kInfinite, &habit));
        EXPECT_TRUE(habit.ShouldLook());
        ThreadMessage m;
        EXPECT_TRUE(PeekThreadMessage(m));
    });
}

TEST(TickClock, TestClockEndsTimedWaitsItPasses) {
    TestTickClock clock(0xFFFFFF00u);  // near the wrap
    std::atomic<int> state{0};
    std::thread t([&] {
        EnsureThreadQueue();
        state = 1;
        state = WaitForThreadMessage(10050) ? 2 : 3;
        CloseThreadQueue();
    });
    clock.AwaitWaiters(1);
    clock.Advance(10049);
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_EQ(state, 1) << "a wait must not end before its time";
    clock.Advance(1);
    t.join();
    EXPECT_EQ(state, 3);
    EXPECT_EQ(GetTickCount(), 0xFFFFFF00u + 10050u);
}

TEST(ManualEvent, StaysSetUntilResetAndTimesOutOnTheClock) {
    TestTickClock clock;
    ManualEvent event;
    std::atomic<int> result{-1};
    std::thread t([&] { result = event.Wait(100) ? 1 : 0; });
    clock.AwaitWaiters(1);
    clock.Advance(100);
    t.join();
    EXPECT_EQ(result, 0);
    event.Set();
    EXPECT_TRUE(event.Wait(0));
    EXPECT_TRUE(event.Wait(5));
    event.Reset();
    EXPECT_FALSE(event.IsSet());
}

}  // namespace
}  // namespace velk
