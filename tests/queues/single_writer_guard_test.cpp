#include "queues/single_writer_guard.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <string>

#include "child_process.h"  // UniqueName
#include "queues/queue_object_names.h"
#include "queues/shared_queue.h"

namespace velk {
namespace {

TEST(SingleWriterGuardNames, LongNamesLeaveTheGuardUnbuilt) {
    // The longest prefix, "SWMRGEventNoReaders", has 19 characters: with 80
    // more the name and its terminator fill the 100 bytes.
    const struct {
        std::size_t length;
        int built;
    } rows[] = {{80, 1}, {81, 0}};
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
