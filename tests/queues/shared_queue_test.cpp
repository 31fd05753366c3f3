#include "queues/shared_queue.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <numeric>
#include <string>
#include <vector>

#include "child_process.h"

namespace velk {
namespace {

using test::ChildProcess;

std::string ShmPath(const std::string& queue) {
    return "/dev/shm/" + QueueObjectName(QueueObject::kMapping, queue.c_str());
}

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

TEST(SharedQueueNames, EveryObjectOfAQueueHasItsName) {
    const struct {
        QueueObject object;
        const char* name;
    } rows[] = {
        {QueueObject::kMapping, "ATNEXUM_PB_FILEMAPPING"},
        {QueueObject::kEmptyEvent, "ATNEXUM_PB_EMPTY_EVENT"},
        {QueueObject::kEvent, "ATNEXUM_PB_EVENT"},
        {QueueObject::kMutex, "ATNEXUM_PB_MUTEX"},
        {QueueObject::kSemaphore, "ATNEXUM_PB_SEMAPHONE"},
    };
    for (const auto& row : rows) EXPECT_EQ(QueueObjectName(row.object, "PB"), row.name);
    EXPECT_EQ(GuardObjectName(GuardObject::kEventNoReaders, "PB"), "SWMRGEventNoReadersPB");
    // 8 + 79 + 12 characters and the terminator fill the 100 bytes exactly.
    EXPECT_EQ(QueueObjectName(QueueObject::kMapping, std::string(79, 'n').c_str()).size(), 99u);
    EXPECT_EQ(QueueObjectName(QueueObject::kMapping, std::string(80, 'n').c_str()), "");
    EXPECT_EQ(QueueObjectName(QueueObject::kMapping, nullptr), "");
}

TEST(SharedQueueWorker, PbIsMadeAsTheWorkerMakesIt) {
    // The worker's own way: join the queue if it is there, else make it. A
    // worker may be running beside this test, so only what it would not
    // change is looked at, and the queue stays in place afterwards, as the
    // worker leaves it.
    CSharedQueue pb;
    pb.Init("PB");
    const bool existed = pb.Exists() != 0;
    ASSERT_EQ(existed ? pb.Open("PB", 20, 3000) : pb.Create("PB", 20, 3000), 1);
    struct stat st {};
    ASSERT_EQ(stat("/dev/shm/ATNEXUM_PB_FILEMAPPING", &st), 0);
    EXPECT_EQ(st.st_mode & 0777, 0600u);
    EXPECT_EQ(st.st_size, 3432);
    SharedQueueHeader header{};
    std::FILE* file = std::fopen("/dev/shm/ATNEXUM_PB_FILEMAPPING", "rb");
    ASSERT_NE(file, nullptr);
    ASSERT_EQ(std::fread(&header, sizeof header, 1, file), 1u);
    std::fclose(file);
    EXPECT_EQ(header.totalSize, 3432u);
    EXPECT_EQ(header.capacity, 20);
    EXPECT_STREQ(header.name, "PB");
    EXPECT_EQ(header.lastIndex, -1);
    EXPECT_NE(pb.EmptyEvent(), nullptr);
}

TEST_F(SharedQueueTest, NewQueueHasItsHeaderAndNothingElse) {
    ASSERT_EQ(queue.Create(name.c_str(), 3, 50), 1);
    SharedQueueHeader header{};
    std::FILE* file = std::fopen(ShmPath(name).c_str(), "rb");
    ASSERT_NE(file, nullptr);
    std::vector<uint8_t> all(50 + 3 * 8 + 272);
    ASSERT_EQ(std::fread(all.data(), all.size(), 1, file), 1u);
    std::fclose(file);
    std::memcpy(&header, all.data(), sizeof header);
    EXPECT_EQ(header.totalSize, 346u);
    EXPECT_EQ(header.capacity, 3);
    EXPECT_EQ(std::string(header.name), name);
    // The name field is zero behind the terminator, and so is all after it.
    for (std::size_t i = 8 + name.size(); i < 268; ++i) ASSERT_EQ(all[i], 0) << i;
    EXPECT_EQ(header.lastIndex, -1);
    for (std::size_t i = 272; i < all.size(); ++i) ASSERT_EQ(all[i], 0) << i;
    EXPECT_TRUE(queue.IsEmpty());
    EXPECT_EQ(queue.FreeBytes(), 50);
}

TEST_F(SharedQueueTest, FullQueueRefusesHoweverSmallTheItem) {
    ASSERT_EQ(queue.Create(name.c_str(), 20, 3000), 1);
    const uint8_t byte = 7;
    for (int i = 0; i < 20; ++i) ASSERT_EQ(queue.Push(&byte, 1), 1) << i;
    EXPECT_EQ(queue.Push(&byte, 1), 0);
    EXPECT_EQ(queue.Push(&byte, 0), 0);
    uint8_t out = 0;
    EXPECT_EQ(queue.Pop(&out, 1), 1);
    EXPECT_EQ(queue.Push(&byte, 1), 1);
}

TEST_F(SharedQueueTest, ItemsAreBoundedAt10000Bytes) {
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
}

TEST_F(SharedQueueTest, ShortBufferLeavesTheItemInPlace) {
    ASSERT_EQ(queue.Create(name.c_str(), 4, 100), 1);
    const std::vector<uint8_t> item = Pattern(12, 40);
    ASSERT_EQ(queue.Push(item.data(), 12), 1);
    std::vector<uint8_t> out(12, 0);
    EXPECT_EQ(queue.Pop(out.data(), 11), -1);
    EXPECT_EQ(queue.ReadItem(0, out.data(), 11), -1);
    EXPECT_FALSE(queue.IsEmpty());
    EXPECT_EQ(queue.Pop(out.data(), 12), 12);
    EXPECT_EQ(out, item);
    EXPECT_EQ(queue.Pop(out.data(), 12), -1);
}

TEST_F(SharedQueueTest, ItemsAreAddressedByIndexFromTheOldest) {
    ASSERT_EQ(queue.Create(name.c_str(), 4, 100), 1);
    ASSERT_EQ(queue.Push("one", 3), 1);
    ASSERT_EQ(queue.Push("three", 5), 1);
    char out[8] = {};
    EXPECT_EQ(queue.ReadItem(1, out, sizeof out), 5);
    EXPECT_EQ(std::string(out, 5), "three");
    EXPECT_EQ(queue.ReadItem(2, out, sizeof out), -1);
    EXPECT_EQ(queue.ReadItem(-1, out, sizeof out), -1);
    EXPECT_EQ(queue.EraseItem(2), 0);
    EXPECT_EQ(queue.EraseItem(0), 1);
    EXPECT_EQ(queue.ReadItem(0, out, sizeof out), 3);
    EXPECT_EQ(std::string(out, 3), std::string(3, '\0'));
    queue.Clear();
    EXPECT_TRUE(queue.IsEmpty());
    EXPECT_EQ(queue.FreeBytes(), 100);
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
    EXPECT_EQ(access(ShmPath(name).c_str(), F_OK), -1);
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

TEST_F(SharedQueueTest, TwoProcessesPassItemsAcrossTheWrap) {
    ASSERT_EQ(queue.Create(name.c_str(), 4, 64), 1);
    struct Item {
        int length;
        uint8_t seed;
    };
    // A at 0..39 and B at 40..59; once A is gone, C goes in at 60: 4 bytes at
    // the end of the ring, 26 at its start.
    const Item a{40, 1}, b{20, 60}, c{30, 120}, reply{30, 200};
    // The child pops what the parent pushed and answers with its own item.
    ChildProcess child([&](const ChildProcess::Channel& parent) {
        CSharedQueue mine;
        if (mine.Open(name.c_str(), 1, 1) != 1) return 10;
        for (const std::vector<Item>& round : {std::vector<Item>{a}, std::vector<Item>{b, c}}) {
            if (parent.Receive() != 'p') return 11;
            for (const Item& item : round) {
                uint8_t out[64];
                if (mine.Pop(out, sizeof out) != item.length) return 12;
                if (std::memcmp(out, Pattern(item.length, item.seed).data(),
                                static_cast<std::size_t>(item.length)) != 0) {
                    return 13;
                }
            }
            parent.Send('d');
        }
        if (mine.Push(Pattern(reply.length, reply.seed).data(), reply.length) != 1) return 14;
        parent.Send('r');
        return 0;
    });
    ASSERT_TRUE(child.Started());
    for (const Item& item : {a, b}) {
        ASSERT_EQ(queue.Push(Pattern(item.length, item.seed).data(), item.length), 1);
    }
    child.Send('p');
    ASSERT_EQ(child.Receive(), 'd');
    ASSERT_EQ(queue.Push(Pattern(c.length, c.seed).data(), c.length), 1);
    child.Send('p');
    ASSERT_EQ(child.Receive(), 'd');
    ASSERT_EQ(child.Receive(), 'r');
    uint8_t out[30];
    EXPECT_EQ(queue.Pop(out, sizeof out), 30);
    EXPECT_EQ(std::memcmp(out, Pattern(reply.length, reply.seed).data(), 30), 0);
    EXPECT_EQ(child.Wait(), 0);
}

}  // namespace
}  // namespace velk
