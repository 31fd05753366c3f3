#include "queues/shared_queue.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

#include "child_process.h"
#include "queues/named_event_watcher.h"

namespace velk {
namespace {

using namespace std::chrono_literals;
using test::ChildProcess;

std::string ShmPath(const std::string& queue) {
    return "/dev/shm/" + QueueObjectName(QueueObject::kMapping, queue.c_str());
}

// The queue's mapping as the other process sees it.
std::vector<uint8_t> Bytes(const std::string& queue) {
    std::ifstream file(ShmPath(queue), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

// A queue under a name of its own, removed with all its objects at the end.
class SharedQueueTest : public ::testing::Test {
  protected:
    void TearDown() override {
        queue.Close();
        CSharedQueue::RemoveObjects(name.c_str());
    }
    const std::string name = test::UniqueName("q");
    CSharedQueue queue;
};

// The names under which the other process finds a queue and its guard.
TEST(SharedQueueNames, TheOtherProcessFindsTheObjectsByTheirNames) {
    EXPECT_EQ(QueueObjectName(QueueObject::kMapping, "PB"), "ATNEXUM_PB_FILEMAPPING");
    EXPECT_EQ(QueueObjectName(QueueObject::kEmptyEvent, "PB"), "ATNEXUM_PB_EMPTY_EVENT");
    EXPECT_EQ(GuardObjectName(GuardObject::kEventNoReaders, "PB"), "SWMRGEventNoReadersPB");
    // 8 + 79 + 12 characters and the terminator fill the 100 bytes exactly.
    EXPECT_EQ(QueueObjectName(QueueObject::kMapping, std::string(79, 'n').c_str()).size(), 99u);
    EXPECT_EQ(QueueObjectName(QueueObject::kMapping, std::string(80, 'n').c_str()), "");
    EXPECT_EQ(QueueObjectName(QueueObject::kMapping, nullptr), "");
}

// The worker's queue size: a 272-byte header, 8 bytes a slot, the data area.
TEST_F(SharedQueueTest, NewQueueIsPrivateAndHasItsHeaderAndNothingElse) {
    ASSERT_EQ(queue.Create(name.c_str(), 20, 3000), 1);
    ASSERT_NE(queue.EmptyEvent(), nullptr);
    struct stat st {};
    ASSERT_EQ(stat(ShmPath(name).c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 0777, 0600u);
    const std::vector<uint8_t> all = Bytes(name);
    ASSERT_EQ(all.size(), 3432u);
    SharedQueueHeader header{};
    std::memcpy(&header, all.data(), sizeof header);
    EXPECT_EQ(header.totalSize, 3432u);
    EXPECT_EQ(header.capacity, 20);
    EXPECT_EQ(std::string(header.name), name);
    EXPECT_EQ(header.lastIndex, -1);
    // The name field is zero behind the terminator, and so is all after the header.
    for (std::size_t i = 8 + name.size(); i < 268; ++i) ASSERT_EQ(all[i], 0) << i;
    for (std::size_t i = 272; i < all.size(); ++i) ASSERT_EQ(all[i], 0) << i;
}

// A link that starts again joins the queue that the other process holds,
// as it is: its numbers, and the items in it.
TEST_F(SharedQueueTest, OpenTakesTheQueueItFindsAsItIs) {
    ASSERT_EQ(queue.Create(name.c_str(), 5, 100), 1);
    queue.Close();
    std::fstream(ShmPath(name), std::ios::in | std::ios::out | std::ios::binary)
        .seekp(272 + 5 * 8)
        .write("kept", 4);
    const std::vector<uint8_t> before = Bytes(name);
    ASSERT_EQ(before.size(), 412u);
    ASSERT_EQ(queue.Open(name.c_str(), 20, 3000), 1);
    queue.Close();
    EXPECT_EQ(Bytes(name), before);
}

TEST_F(SharedQueueTest, NamesTooLongOrMissingQueuesMakeNothing) {
    // Too long for the mapping's name, though not for the guard's.
    const std::string tooLong = name + std::string(80 - name.size(), 'n');
    EXPECT_EQ(queue.Create(tooLong.c_str(), 20, 3000), 0);
    EXPECT_FALSE(queue.IsOpen());
    queue.Close();
    CSharedQueue::RemoveObjects(tooLong.c_str());
    EXPECT_EQ(queue.Open(name.c_str(), 20, 3000), 0);
    EXPECT_FALSE(queue.IsOpen());
    EXPECT_EQ(queue.Create(name.c_str(), 0, 3000), 0);
    EXPECT_EQ(access(ShmPath(name).c_str(), F_OK), -1);
}

TEST_F(SharedQueueTest, QueuesThatAreNotOursAreRefused) {
    ASSERT_EQ(queue.Create(name.c_str(), 2, 10), 1);
    queue.Close();
    ASSERT_EQ(chmod(ShmPath(name).c_str(), 0644), 0);
    EXPECT_EQ(queue.Open(name.c_str(), 2, 10), 0);
    if (geteuid() != 0) return;  // only root can give an object away
    ASSERT_EQ(chmod(ShmPath(name).c_str(), 0600), 0);
    ASSERT_EQ(chown(ShmPath(name).c_str(), 65534, 65534), 0);
    EXPECT_EQ(queue.Open(name.c_str(), 2, 10), 0);
    EXPECT_EQ(queue.Create(name.c_str(), 2, 10), 0);
}

// The watcher of the empty event calls once for each new signal, from any
// process; never for a signal already there, nor after its stop.
TEST_F(SharedQueueTest, EmptyEventWatcherCallsOnceForEachNewSignal) {
    ASSERT_EQ(queue.Create(name.c_str(), 20, 3000), 1);
    NamedEvent& empty = *queue.EmptyEvent();
    // The child is forked before the watcher's thread exists.
    ChildProcess other([&](const test::Channel& parent) {
        NamedEvent event;
        if (!event.OpenExisting(QueueObjectName(QueueObject::kEmptyEvent, name.c_str()).c_str()))
            return 10;
        // Reset then set: a new signal. The second Set finds it signalled.
        return parent.Receive() == 'g' && event.Reset() && event.Set() && event.Set() ? 0 : 11;
    });
    std::atomic<int> calls{0};
    const auto reached = [&](int count) {
        for (int i = 0; i < 2000 && calls < count; ++i) std::this_thread::sleep_for(1ms);
        return calls >= count;
    };
    CNamedEventWatcher watcher;
    ASSERT_TRUE(watcher.Start(empty, [&] { ++calls; }));  // the event starts signalled
    EXPECT_FALSE(watcher.Start(empty, [] {}));
    other.Send('g');
    ASSERT_EQ(other.Wait(), 0);
    EXPECT_TRUE(reached(1));
    EXPECT_TRUE(empty.Reset() && empty.Set());
    EXPECT_TRUE(reached(2));
    const auto before = std::chrono::steady_clock::now();
    watcher.Stop();
    EXPECT_LT(std::chrono::steady_clock::now() - before, 500ms);
    EXPECT_FALSE(watcher.Running());
    EXPECT_TRUE(empty.Reset() && empty.Set());
    ASSERT_TRUE(watcher.Start(empty, [&] { ++calls; }));
    EXPECT_TRUE(empty.Reset() && empty.Set());
    EXPECT_TRUE(reached(3));
    watcher.Stop();
    // A watcher that fired on the lasting level would be far beyond by now.
    EXPECT_EQ(calls, 3);
}

}  // namespace
}  // namespace velk
