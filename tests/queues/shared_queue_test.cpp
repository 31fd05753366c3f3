#include "queues/shared_queue.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstring>
#include <fstream>
#include <numeric>
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

// NOLINTNEXTLINE(bugprone-easily-swappable-parameters): a length, then a seed
std::vector<uint8_t> Pattern(int length, uint8_t seed) {
    std::vector<uint8_t> bytes(static_cast<std::size_t>(length));
    std::iota(bytes.begin(), bytes.end(), seed);
    return bytes;
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
    ASSERT_EQ(st.st_size, 3432);
    std::vector<uint8_t> all(3432);
    std::ifstream(ShmPath(name), std::ios::binary).read(reinterpret_cast<char*>(all.data()), 3432);
    SharedQueueHeader header{};
    std::memcpy(&header, all.data(), sizeof header);
    EXPECT_EQ(header.totalSize, 3432u);
    EXPECT_EQ(header.capacity, 20);
    EXPECT_EQ(std::string(header.name), name);
    EXPECT_EQ(header.lastIndex, -1);
    // The name field is zero behind the terminator, and so is all after the header.
    for (std::size_t i = 8 + name.size(); i < 268; ++i) ASSERT_EQ(all[i], 0) << i;
    for (std::size_t i = 272; i < all.size(); ++i) ASSERT_EQ(all[i], 0) << i;
    EXPECT_TRUE(queue.IsEmpty());
    EXPECT_EQ(queue.FreeBytes(), 3000);
}

TEST_F(SharedQueueTest, RefusesItemsBeyondItsSlotsItsSpaceOr10000Bytes) {
    ASSERT_EQ(queue.Create(name.c_str(), 4, 25000), 1);
    const std::vector<uint8_t> big = Pattern(10001, 1);
    EXPECT_EQ(queue.Push(big.data(), 10001), 0);
    EXPECT_TRUE(queue.IsEmpty());
    EXPECT_EQ(queue.Push(big.data(), 10000), 1);
    EXPECT_EQ(queue.Push(big.data(), 10000), 1);
    // 5000 bytes are left: 10000 more no longer fit, 5000 do.
    EXPECT_EQ(queue.Push(big.data(), 10000), 0);
    EXPECT_EQ(queue.Push(big.data(), -1), 0);
    EXPECT_EQ(queue.FreeBytes(), 5000);
    EXPECT_EQ(queue.Push(big.data(), 5000), 1);
    EXPECT_EQ(queue.FreeBytes(), 0);
    queue.Clear();
    EXPECT_EQ(queue.FreeBytes(), 25000);
    // With every slot taken no item goes in, however small.
    for (int i = 0; i < 4; ++i) ASSERT_EQ(queue.Push(big.data(), 1), 1) << i;
    EXPECT_EQ(queue.Push(big.data(), 1), 0);
    EXPECT_EQ(queue.Push(big.data(), 0), 0);
    uint8_t out = 0;
    EXPECT_EQ(queue.Pop(&out, 1), 1);
    EXPECT_EQ(queue.Push(big.data(), 1), 1);
}

TEST_F(SharedQueueTest, ReadsByIndexFromTheOldestAndShortBuffersTakeNothing) {
    ASSERT_EQ(queue.Create(name.c_str(), 4, 100), 1);
    ASSERT_EQ(queue.Push("one", 3), 1);
    ASSERT_EQ(queue.Push("three", 5), 1);
    char out[8] = {};
    EXPECT_EQ(queue.ReadItem(1, out, sizeof out), 5);
    EXPECT_EQ(std::string(out, 5), "three");
    EXPECT_EQ(queue.ReadItem(1, out, 4), -1);
    EXPECT_EQ(queue.ReadItem(2, out, sizeof out), -1);
    EXPECT_EQ(queue.ReadItem(-1, out, sizeof out), -1);
    EXPECT_EQ(queue.Pop(out, 2), -1);
    EXPECT_EQ(queue.EraseItem(2), 0);
    EXPECT_EQ(queue.EraseItem(0), 1);
    EXPECT_EQ(queue.ReadItem(0, out, sizeof out), 3);
    EXPECT_EQ(std::string(out, 3), std::string(3, '\0'));
    EXPECT_EQ(queue.Pop(out, sizeof out), 3);
    EXPECT_EQ(queue.Pop(out, sizeof out), 5);
    EXPECT_EQ(std::string(out, 5), "three");
    EXPECT_EQ(queue.Pop(out, sizeof out), -1);
}

TEST_F(SharedQueueTest, OpenTakesTheNumbersOfTheQueueItFinds) {
    ASSERT_EQ(queue.Create(name.c_str(), 5, 100), 1);
    ASSERT_EQ(queue.Push("kept", 4), 1);
    queue.Close();
    // Closing leaves the queue in place, items included.
    CSharedQueue other;
    ASSERT_EQ(other.Open(name.c_str(), 20, 3000), 1);
    EXPECT_EQ(other.Capacity(), 5);
    EXPECT_EQ(other.DataSize(), 100);
    EXPECT_EQ(other.FreeBytes(), 96);
    char out[4] = {};
    EXPECT_EQ(other.Pop(out, 4), 4);
    EXPECT_EQ(std::string(out, 4), "kept");
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
    EXPECT_EQ(queue.Push("x", 1), 0);
    char out[1];
    EXPECT_EQ(queue.Pop(out, 1), -1);
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
    queue.Init(name.c_str());
    EXPECT_EQ(queue.Exists(), 0);
    EXPECT_EQ(queue.Open(name.c_str(), 2, 10), 0);
    EXPECT_EQ(queue.Create(name.c_str(), 2, 10), 0);
}

TEST_F(SharedQueueTest, GarbledDirectoryFailsWithoutTouchingOtherMemory) {
    ASSERT_EQ(queue.Create(name.c_str(), 2, 16), 1);
    ASSERT_EQ(queue.Push("abcd", 4), 1);
    // The other party scribbles over the directory and then over lastIndex.
    std::FILE* file = std::fopen(ShmPath(name).c_str(), "r+b");
    ASSERT_NE(file, nullptr);
    const SharedQueueSlot bad{14, 9000};
    std::fseek(file, 272, SEEK_SET);
    std::fwrite(&bad, sizeof bad, 1, file);
    std::fflush(file);
    char out[16];
    EXPECT_EQ(queue.Pop(out, sizeof out), -1);
    EXPECT_EQ(queue.Push("e", 1), 0);
    const int32_t wild = 7;
    std::fseek(file, 268, SEEK_SET);
    std::fwrite(&wild, sizeof wild, 1, file);
    std::fclose(file);
    EXPECT_EQ(queue.Push("e", 1), 0);
    EXPECT_EQ(queue.ReadItem(5, out, sizeof out), -1);
    EXPECT_EQ(queue.FreeBytes(), 0);
}

// A at 0..39 and B at 40..59; once A is gone, C goes in at 60: 4 bytes at the
// end of the ring, 26 at its start. The child pops what the parent pushed and
// answers with an item of its own.
TEST_F(SharedQueueTest, TwoProcessesPassItemsAcrossTheWrap) {
    ASSERT_EQ(queue.Create(name.c_str(), 4, 64), 1);
    const std::vector<uint8_t> a = Pattern(40, 1), b = Pattern(20, 60), c = Pattern(30, 120),
                               reply = Pattern(30, 200);
    ChildProcess child([&](const test::Channel& parent) {
        CSharedQueue mine;
        if (mine.Open(name.c_str(), 1, 1) != 1) return 10;
        const auto pops = [&](const std::vector<uint8_t>& item) {
            uint8_t out[64];
            return mine.Pop(out, sizeof out) == static_cast<int>(item.size()) &&
                   std::equal(item.begin(), item.end(), out);
        };
        if (parent.Receive() != 'p' || !pops(a) || !parent.Send('d')) return 11;
        if (parent.Receive() != 'p' || !pops(b) || !pops(c) || !parent.Send('d')) return 12;
        return mine.Push(reply.data(), 30) == 1 && parent.Send('r') ? 0 : 13;
    });
    ASSERT_TRUE(child.Started());
    ASSERT_EQ(queue.Push(a.data(), 40), 1);
    ASSERT_EQ(queue.Push(b.data(), 20), 1);
    child.Send('p');
    ASSERT_EQ(child.Receive(), 'd');
    ASSERT_EQ(queue.Push(c.data(), 30), 1);
    child.Send('p');
    ASSERT_EQ(child.Receive(), 'd');
    ASSERT_EQ(child.Receive(), 'r');
    std::vector<uint8_t> out(30);
    EXPECT_EQ(queue.Pop(out.data(), 30), 30);
    EXPECT_EQ(out, reply);
    EXPECT_EQ(child.Wait(), 0);
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
