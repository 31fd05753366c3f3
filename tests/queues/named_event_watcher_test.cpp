#include "queues/named_event_watcher.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <string>
#include <thread>

#include "child_process.h"
#include "queues/shared_queue.h"

namespace velk {
namespace {

using namespace std::chrono_literals;
using test::ChildProcess;

class NamedEventWatcherTest : public ::testing::Test {
  protected:
    void SetUp() override {
        ASSERT_EQ(queue.Create(name.c_str(), 20, 3000), 1);
        ASSERT_NE(queue.EmptyEvent(), nullptr);
    }
    void TearDown() override {
        watcher.Stop();
        queue.Close();
        CSharedQueue::RemoveObjects(name.c_str());
    }
    bool Watch() {
        return watcher.Start(*queue.EmptyEvent(), [this] { ++calls; });
    }
    void NewEdge() {
        queue.EmptyEvent()->Reset();
        queue.EmptyEvent()->Set();
    }
    // True when the watcher made `count` calls within two seconds.
    bool Reached(int count) {
        for (int i = 0; i < 2000 && calls < count; ++i) std::this_thread::sleep_for(1ms);
        return calls >= count;
    }

    const std::string name = test::UniqueName("w");
    CSharedQueue queue;
    CNamedEventWatcher watcher;
    std::atomic<int> calls{0};
};

TEST_F(NamedEventWatcherTest, EachNewSignalFromAnotherProcessGivesOneCall) {
    // The child is forked before the watcher's thread exists.
    ChildProcess other([this](const test::Channel& parent) {
        NamedEvent event;
        if (!event.OpenExisting(QueueObjectName(QueueObject::kEmptyEvent, name.c_str()).c_str()))
            return 10;
        if (parent.Receive() != 'g') return 11;
        // Reset then set: a new signal. The second Set finds it signalled.
        return event.Reset() && event.Set() && event.Set() ? 0 : 12;
    });
    ASSERT_TRUE(other.Started());
    // The empty event starts signalled: a signal already there is no call.
    ASSERT_TRUE(Watch());
    other.Send('g');
    ASSERT_EQ(other.Wait(), 0);
    EXPECT_TRUE(Reached(1));
    // A new edge of our own gives exactly the second call; a watcher that
    // fired on the lasting level would be far beyond it by now.
    NewEdge();
    EXPECT_TRUE(Reached(2));
    watcher.Stop();
    EXPECT_EQ(calls, 2);
}

TEST_F(NamedEventWatcherTest, StopsPromptlyCallsNoMoreAndCanStartAgain) {
    ASSERT_TRUE(Watch());
    EXPECT_FALSE(watcher.Start(*queue.EmptyEvent(), [] {}));
    const auto before = std::chrono::steady_clock::now();
    watcher.Stop();
    EXPECT_LT(std::chrono::steady_clock::now() - before, 500ms);
    EXPECT_FALSE(watcher.Running());
    NewEdge();
    watcher.Stop();
    EXPECT_EQ(calls, 0);
    ASSERT_TRUE(Watch());
    NewEdge();
    EXPECT_TRUE(Reached(1));
}

}  // namespace
}  // namespace velk
