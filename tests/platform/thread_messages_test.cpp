#include "platform/thread_messages.h"

#include <gtest/gtest.h>

#include <time.h>

#include <thread>

namespace velk {
namespace {

// Runs `body` on a fresh thread that owns a queue, so tests do not share one.
template <typename F>
void OnOwnThread(F body) {
    std::thread([&] {
        EnsureThreadQueue();
        body();
        CloseThreadQueue();
    }).join();
}

TEST(ThreadMessages, PostsFailWhenFullClosedOrUnknownAndCloseHandsBackTheRest) {
    ThreadId id = kNoThread;
    int disposed = 0;
    std::thread([&] {
        id = EnsureThreadQueue();
        const std::size_t half = kMaxQueuedMessages / 2;
        for (std::size_t i = 0; i < half; ++i) ASSERT_TRUE(PostThreadMessage(id, 1, 0, 0));
        EXPECT_EQ(PostThreadMessages(id, 1, 0, 0, kMaxQueuedMessages), kMaxQueuedMessages - half)
            << "a batch takes what room there is";
        EXPECT_FALSE(PostThreadMessage(id, 1, 0, 0));
        EXPECT_EQ(PostThreadMessages(id, 1, 0, 0, 3), 0u);
        ThreadMessage m;
        ASSERT_TRUE(PeekThreadMessage(m));
        EXPECT_TRUE(PostThreadMessage(id, 1, 0, 0));
        CloseThreadQueue([&](const ThreadMessage&) { ++disposed; });
    }).join();
    EXPECT_EQ(disposed, static_cast<int>(kMaxQueuedMessages));
    EXPECT_FALSE(ThreadQueueAlive(id));
    EXPECT_FALSE(PostThreadMessage(id, 1, 0, 0));
    EXPECT_FALSE(PostThreadMessage(999999, 1, 0, 0));
}

// Before it sleeps a waiter looks for its message for a moment; a wait that
// finds none must still give the core back rather than spin through it. A
// habit teaches the wait: after a slow answer it does not look, after a
// quick one it does again.
TEST(ThreadMessages, WaitsGiveTheCoreBackAndLearnWhetherToLook) {
    OnOwnThread([] {
        timespec before{}, after{};
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &before);
        EXPECT_FALSE(WaitForThreadMessage(300));
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &after);
        EXPECT_LT((after.tv_sec - before.tv_sec) * 1e3 + (after.tv_nsec - before.tv_nsec) / 1e6,
                  30.0);

        LookHabit habit;
        EXPECT_TRUE(habit.ShouldLook());
        EXPECT_FALSE(WaitForThreadMessage(20, &habit));
        EXPECT_FALSE(habit.ShouldLook()) << "20 ms without a message is a slow answer";
        ASSERT_TRUE(PostThreadMessage(CurrentThreadId(), 7, 0, 0));
        EXPECT_TRUE(WaitForThreadMessage(kInfinite, &habit));
        EXPECT_TRUE(habit.ShouldLook());
    });
}

}  // namespace
}  // namespace velk
