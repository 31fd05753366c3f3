#include "queues/named_event_watcher.h"

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>

#include "child_process.h"
#include "queues/shared_queue.h"

namespace velk {
namespace {

using namespace std::chrono_literals;
using test::ChildProcess;

// Counts the watcher's calls and lets the test wait for a number of them.
class CallCounter {
  public:
    void Call() {
        std::lock_guard<std::mutex> hold(mutex_);
        ++calls_;
        changed_.notify_all();
    }
    // True when `calls` were reached within `patience` of real time.
    bool WaitFor(int calls, std::chrono::milliseconds patience) {
        std::unique_lock<std::mutex> lock(mutex_);
        return changed_.wait_for(lock, patience, [&] { return calls_ >= calls; });
    }
    int Calls() {
        std::lock_guard<std::mutex> hold(mutex_);
        return calls_;
    }

  private:
    std::mutex mutex_;
    std::condition_variable changed_;
    int calls_ = 0;
};

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
    std::string EventName() const {
        return QueueObjectName(QueueObject::kEmptyEvent, name.c_str());
    }

    const std::string name = test::UniqueName("w");
    CSharedQueue queue;
    CNamedEventWatcher watcher;
    CallCounter counter;
};

TEST_F(NamedEventWatcherTest, EachNewSignalFromAnotherProcessGivesOneCall) {
    // The child is forked before the watcher's thread exists.
    ChildProcess other([this](const ChildProcess::Channel& parent) {
        NamedEvent event;
        if (!event.OpenExisting(EventName().c_str())) return 10;
        if (parent.Receive() != 'g') return 11;
        // Reset then set: a new signal. The second Set finds it signalled.
        if (!event.Reset() || !event.Set() || !event.Set()) return 12;
        return 0;
    });
    ASSERT_TRUE(other.Started());
    // The empty event starts signalled: a signal already there is no call.
    ASSERT_TRUE(watcher.Start(*queue.EmptyEvent(), [this] { counter.Call(); }));
    other.Send('g');
    ASSERT_EQ(other.Wait(), 0);
    EXPECT_TRUE(counter.WaitFor(1, 2s));
    // A new edge of our own gives exactly the second call; a watcher that
    // fired on the lasting level would be far beyond it by now.
    queue.EmptyEvent()->Reset();
    queue.EmptyEvent()->Set();
    EXPECT_TRUE(counter.WaitFor(2, 2s));
    watcher.Stop();
    EXPECT_EQ(counter.Calls(), 2);
}

TEST_F(NamedEventWatcherTest, StopsPromptlyAndCallsNoMore) {
    ASSERT_TRUE(watcher.Start(*queue.EmptyEvent(), [this] { counter.Call(); }));
    EXPECT_FALSE(watcher.Start(*queue.EmptyEvent(), [] {}));
    const auto before = std::chrono::steady_clock::now();
    watcher.Stop();
    EXPECT_LT(std::chrono::steady_clock::now() - before, 500ms);
    EXPECT_FALSE(watcher.Running());
    queue.EmptyEvent()->Reset();
    queue.EmptyEvent()->Set();
    watcher.Stop();
    EXPECT_EQ(counter.Calls(), 0);
    // A watch can start again after a stop.
    ASSERT_TRUE(watcher.Start(*queue.EmptyEvent(), [this] { counter.Call(); }));
    queue.EmptyEvent()->Reset();
    queue.EmptyEvent()->Set();
    EXPECT_TRUE(counter.WaitFor(1, 2s));
}

}  // namespace
}  // namespace velk
