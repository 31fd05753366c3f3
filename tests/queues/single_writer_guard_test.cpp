#include "queues/single_writer_guard.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <string>

#include "child_process.h"
#include "queues/queue_object_names.h"
#include "queues/shared_queue.h"

namespace velk {
namespace {

using test::ChildProcess;

// Sends a step to the partner and gives its answer.
char Step(const ChildProcess& partner, char step) {
    partner.Send(step);
    return partner.Receive();
}

// A guard under a name of its own, with its event and count seen from
// outside, as another process would have them.
class SingleWriterGuardTest : public ::testing::Test {
  protected:
    void SetUp() override {
        ASSERT_EQ(guard.Initialize(name.c_str()), 1);
        ASSERT_TRUE(noReaders.OpenExisting(
            GuardObjectName(GuardObject::kEventNoReaders, name.c_str()).c_str()));
        ASSERT_TRUE(numReaders.Create(
            GuardObjectName(GuardObject::kSemNumReaders, name.c_str()).c_str(), 0, 1));
    }
    void TearDown() override {
        noReaders.Close();
        numReaders.Close();
        guard.Delete();
        CSharedQueue::RemoveObjects(name.c_str());
    }

    // A child on the same guard that runs the parent's steps: 'r' enter as
    // reader, 'd' leave, 'w' try to write at once, 'W' write, 'x' end at once
    // holding whatever it holds, as a process that crashes does. It answers
    // 'k', or 't' for a write that timed out, or 'f' when a wait failed.
    ChildProcess StartPartner() {
        return ChildProcess([this](const test::Channel& parent) {
            CSingleWriterGuard mine;
            if (mine.Initialize(name.c_str()) != 1) return 10;
            for (char step = parent.Receive(); step != '\0'; step = parent.Receive()) {
                char answer = 'k';
                if (step == 'r') answer = mine.WaitToRead(kInfinite) == kWaitObject0 ? 'k' : 'f';
                if (step == 'd') mine.DoneReading();
                if (step == 'w') answer = mine.WaitToWrite(0) == kWaitTimeout ? 't' : 'k';
                if (step == 'W') answer = mine.WaitToWrite(kInfinite) == kWaitObject0 ? 'k' : 'f';
                parent.Send(answer);
                if (step == 'x') _exit(0);
            }
            return 0;
        });
    }

    const std::string name = test::UniqueName("g");
    CSingleWriterGuard guard;
    NamedEvent noReaders;
    NamedSemaphore numReaders;
};

TEST_F(SingleWriterGuardTest, FirstReaderResetsTheEventAndTheLastSetsIt) {
    ChildProcess partner = StartPartner();
    ASSERT_TRUE(noReaders.IsSet());
    ASSERT_EQ(Step(partner, 'r'), 'k');
    EXPECT_FALSE(noReaders.IsSet());
    ASSERT_EQ(guard.WaitToRead(0), kWaitObject0);
    EXPECT_EQ(numReaders.Count(), 2);
    ASSERT_EQ(Step(partner, 'd'), 'k');
    EXPECT_FALSE(noReaders.IsSet());
    EXPECT_EQ(numReaders.Count(), 1);
    guard.DoneReading();
    EXPECT_TRUE(noReaders.IsSet());
    EXPECT_EQ(numReaders.Count(), 0);
    EXPECT_EQ(Step(partner, 'x'), 'k');
    EXPECT_EQ(partner.Wait(), 0);
}

TEST_F(SingleWriterGuardTest, AWriterAndReadersKeepEachOtherOut) {
    ChildProcess partner = StartPartner();
    ASSERT_EQ(guard.WaitToWrite(kInfinite), kWaitObject0);
    EXPECT_EQ(Step(partner, 'w'), 't');
    EXPECT_EQ(numReaders.Count(), 0);
    guard.DoneWriting();
    ASSERT_EQ(Step(partner, 'r'), 'k');
    // A writer that times out on a reader changes nothing and lets the mutex
    // go: the reader can still leave, which needs it.
    EXPECT_EQ(guard.WaitToWrite(0), kWaitTimeout);
    EXPECT_EQ(numReaders.Count(), 1);
    EXPECT_FALSE(noReaders.IsSet());
    ASSERT_EQ(Step(partner, 'd'), 'k');
    EXPECT_TRUE(noReaders.IsSet());
    EXPECT_EQ(guard.WaitToWrite(0), kWaitObject0);
    guard.DoneWriting();
    EXPECT_EQ(Step(partner, 'x'), 'k');
}

TEST_F(SingleWriterGuardTest, AProcessThatEndsInsideDoesNotLockTheGuardForEver) {
    for (const char inside : {'W', 'r'}) {
        ChildProcess partner = StartPartner();
        ASSERT_EQ(Step(partner, inside), 'k');
        ASSERT_EQ(Step(partner, 'x'), 'k');
        ASSERT_EQ(partner.Wait(), 0);
        if (inside == 'W') {
            EXPECT_EQ(guard.WaitToWrite(2000), kWaitAbandoned);
            guard.DoneWriting();
        }
    }
    EXPECT_FALSE(noReaders.IsSet());
    EXPECT_EQ(guard.WaitToWrite(2000), kWaitObject0);
    EXPECT_EQ(numReaders.Count(), 0);
    EXPECT_TRUE(noReaders.IsSet());
    guard.DoneWriting();
}

TEST(SingleWriterGuardNames, LongNamesLeaveTheGuardUnbuilt) {
    // The longest prefix, "SWMRGEventNoReaders", has 19 characters: with 80
    // more the name and its terminator fill the 100 bytes.
    const struct {
        std::size_t length;
        int built;
    } rows[] = {{80, 1}, {81, 0}, {90, 0}};
    const std::string unique = test::UniqueName("");
    for (const auto& row : rows) {
        const std::string name = unique + std::string(row.length - unique.size(), 'n');
        CSingleWriterGuard guard;
        EXPECT_EQ(guard.Initialize(name.c_str()), row.built) << row.length;
        EXPECT_EQ(guard.WaitToRead(0), row.built ? kWaitObject0 : kWaitFailed);
        if (row.built) guard.DoneReading();
        guard.Delete();
        // Not even the mutex, whose name alone would have fitted, is made.
        EXPECT_EQ(access(("/dev/shm/SWMRGMutexNoWriter" + name).c_str(), F_OK) == 0,
                  row.built == 1);
        CSharedQueue::RemoveObjects(name.c_str());
    }
    CSingleWriterGuard own;  // a null name makes a guard of its own
    ASSERT_EQ(own.Initialize(nullptr), 1);
    EXPECT_EQ(own.WaitToWrite(0), kWaitObject0);
    own.DoneWriting();
}

TEST(SingleWriterGuardNames, AnObjectOfAnotherKindUnderItsNameIsRefusedAtOnce) {
    const std::string name = test::UniqueName("k");
    NamedEvent squatter;
    ASSERT_TRUE(
        squatter.Create(GuardObjectName(GuardObject::kMutexNoWriter, name.c_str()).c_str(), true));
    CSingleWriterGuard guard;
    const auto before = std::chrono::steady_clock::now();
    EXPECT_EQ(guard.Initialize(name.c_str()), 0);
    EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::milliseconds(500));
    EXPECT_EQ(guard.WaitToWrite(0), kWaitFailed);
    squatter.Close();
    CSharedQueue::RemoveObjects(name.c_str());
}

}  // namespace
}  // namespace velk
