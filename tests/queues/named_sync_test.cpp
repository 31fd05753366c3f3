// The named event that the other process sets for the worker's watcher,
// when a process that waits on it is killed in its wait: the processes left
// must go on setting and waiting as before.
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <atomic>
#include <string>

#include "child_process.h"
#include "platform/named_sync.h"

namespace velk {
namespace {

using test::ChildProcess;
using test::UniqueName;

// Forks a child that opens the objects, says 'w' and blocks in `wait` until
// it is killed. Returns once it has been killed and reaped.
template <typename Wait>
void KillChildInsideWait(Wait wait) {
    ChildProcess child([&](const test::Channel& parent) {
        parent.Send('w');
        wait();
        return 0;
    });
    ASSERT_TRUE(child.Started());
    ASSERT_EQ(child.Receive(), 'w');
    usleep(50000);  // time for the child to fall asleep in the kernel
    kill(child.Pid(), SIGKILL);
    EXPECT_EQ(child.Wait(), -1);
}

TEST(NamedSyncAfterAKilledWaiter, EventStillSetsWakesAndCountsItsEdges) {
    const std::string name = UniqueName("ev");
    NamedEvent event;
    ASSERT_TRUE(event.Create(name.c_str(), false));
    KillChildInsideWait([&] {
        NamedEvent mine;
        if (mine.OpenExisting(name.c_str())) mine.Wait(kInfinite);
    });
    KillChildInsideWait([&] {
        NamedEvent mine;
        std::atomic<bool> stop{false};
        uint64_t seen = 0;
        if (mine.OpenExisting(name.c_str())) mine.WaitForEdge(seen, stop);
    });
    // A living waiter in another process is still woken by the Set below.
    ChildProcess waiter([&](const test::Channel& parent) {
        NamedEvent mine;
        if (!mine.OpenExisting(name.c_str())) return 1;
        parent.Send('w');
        return mine.Wait(test::Channel::kStepPatienceMs) == kWaitObject0 ? 0 : 2;
    });
    ASSERT_EQ(waiter.Receive(), 'w');
    usleep(50000);
    for (int round = 0; round < 3; ++round) {
        EXPECT_TRUE(event.Set());
        EXPECT_TRUE(event.Reset());
    }
    event.WakeEdgeWaiters();
    EXPECT_EQ(waiter.Wait(), 0);
    EXPECT_EQ(event.Edges(), 3u);
    EXPECT_EQ(event.Wait(0), kWaitTimeout);
    event.Close();
    RemoveNamedObject(name.c_str());
}

}  // namespace
}  // namespace velk
