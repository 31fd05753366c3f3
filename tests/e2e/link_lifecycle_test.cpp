// The life of a link on a real device: the start on a good and a bad device,
// the close-down that leaves nothing behind, a phone that hangs up, a write
// that flow control holds for ever, calls from many threads, and a window
// without a reader.
#include <sys/resource.h>
#include <unistd.h>

#include <cerrno>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <future>
#include <set>
#include <string>

#include <gmock/gmock.h>

#include "client/failure_causes.h"
#include "e2e_link.h"
#include "support/process_resources.h"

namespace velk::test {
namespace {

// The names of the threads of this process that run one nice step below the
// calling one.
std::multiset<std::string> ThreadsOneStepLower() {
    const int own = getpriority(PRIO_PROCESS, static_cast<id_t>(gettid()));
    std::multiset<std::string> names;
    for (const auto& task : std::filesystem::directory_iterator("/proc/self/task")) {
        const auto tid = static_cast<id_t>(std::stoi(task.path().filename()));
        if (getpriority(PRIO_PROCESS, tid) != own + 1) continue;
        std::ifstream comm(task.path() / "comm");
        std::string name;
        std::getline(comm, name);
        names.insert(name);
    }
    return names;
}

using LinkLifecycleTest = PhoneLinkTest;

// The threads a start made before its device failed are gone when it returns.
TEST_F(LinkLifecycleTest, BadDeviceRefusesTheStartAndLeavesNothingThenAGoodOneStarts) {
    const ProcessResources before = ProcessResources::Now();
    ASSERT_EQ(velk_SetPortDevice(kPhonePort, "/dev/null"), 1);
    EXPECT_EQ(Begin(), 0);
    EXPECT_EQ(LastError(), Cause(ENOTTY, "the device is no serial port (not a terminal)"));
    EXPECT_EQ(ProcessResources::Now(), before) << "the failed start returns with all ended";
    EXPECT_EQ(velk_ReadMidInfo(), 0);
    ASSERT_EQ(velk_SetPortDevice(kPhonePort, phone.DevicePath().c_str()), 1);
    ASSERT_EQ(Begin(), 1);
    ASSERT_EQ(velk_ReadMidInfo(), 1);
    EXPECT_EQ(window.UntilFinal(), Messages{VELK_MSG_MID_INFO_READ});
}

// Ended from two threads at once, the link goes once and leaves nothing.
TEST_F(LinkLifecycleTest, StartSendsNothingAndTheEndLeavesNoThreadNorDescriptor) {
    const ProcessResources before = ProcessResources::Now();
    ASSERT_EQ(Begin(), 1);
    EXPECT_TRUE(window.Quiet(50));
    EXPECT_EQ(phone.ReceivedBytes(), "");
    EXPECT_THAT(ThreadsOneStepLower(),
                ::testing::IsSupersetOf({"velk-transfer", "velk-worker", "velk-reader"}));
    ASSERT_EQ(velk_ReadMidInfo(), 1);
    EXPECT_EQ(window.UntilFinal(), Messages{VELK_MSG_MID_INFO_READ});

    auto other = std::async(std::launch::async, velk_EndThread);
    EXPECT_EQ(velk_EndThread(), 1);
    EXPECT_EQ(other.get(), 1);
    EXPECT_TRUE(ResourcesBecome(before, std::chrono::seconds(1)))
        << "before: " << ::testing::PrintToString(before)
        << ", now: " << ::testing::PrintToString(ProcessResources::Now());
    EXPECT_EQ(velk_ReadMidInfo(), 0);
    EXPECT_EQ(velk_EndThread(), 1) << "a second end does nothing";
}

// The phone goes away in the middle of an operation, while the worker waits
// for a reply or is blocked in a write: the operation ends with a time-out,
// the fallen link takes nothing, its end leaves nothing behind, and a new
// start builds a new link, whether or not the application ended the fallen
// one first. (The soak's phones hang up at random points of every transfer.)
TEST_F(LinkLifecycleTest, PhoneHangingUpEndsTheOperationAndTheLink) {
    const struct {
        bool writeHeld;  // the worker is blocked in a write when the line goes
        bool endFirst;   // the application ends the fallen link before a new start
    } cases[] = {{false, false}, {true, true}};
    for (const auto& c : cases) {
        SCOPED_TRACE(std::to_string(c.writeHeld) + std::to_string(c.endFirst));
        FakePhone dying;
        model.Attach(dying);
        dying.AddRule({"AT+RNGI", false, PhoneAction::kHangUp, {}});
        ASSERT_EQ(velk_SetPortDevice(kPhonePort, dying.DevicePath().c_str()), 1);
        ProcessResources before = ProcessResources::Now();
        ASSERT_EQ(Begin(), 1);

        if (c.writeHeld) dying.BlockWrites();
        ASSERT_EQ(velk_ReadMidInfo(), 1);
        if (c.writeHeld) {
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
            dying.HangUp();
        }
        EXPECT_EQ(window.UntilFinal(), Messages{VELK_MSG_TIMED_OUT});
        EXPECT_EQ(LastError(), Cause(-1, std::string(kLinkLostText)));
        EXPECT_TRUE(window.Quiet(20));
        EXPECT_EQ(velk_ReadMidInfo(), 0);
        EXPECT_EQ(velk_CancelCurrentAction(), 0);
        if (c.endFirst) {
            int32_t ended = 0;
            EXPECT_LT(MillisecondsOf([&] { ended = velk_EndThread(); }), 1000);
            EXPECT_EQ(ended, 1);
            // Counted once a link has come and gone before (a thread sanitizer
            // starts a thread of its own with the first); the hang-up took the
            // dying phone's two sides of the line.
            before.descriptors -= 2;
            EXPECT_TRUE(ResourcesBecome(before, std::chrono::seconds(1)))
                << "before: " << ::testing::PrintToString(before)
                << ", now: " << ::testing::PrintToString(ProcessResources::Now());
        }

        ASSERT_EQ(velk_SetPortDevice(kPhonePort, phone.DevicePath().c_str()), 1);
        ASSERT_EQ(Begin(), 1);
        ASSERT_TRUE(Request(velk_ReadMidInfo));
        EXPECT_EQ(window.UntilFinal(), Messages{VELK_MSG_MID_INFO_READ});
        EXPECT_EQ(LastError(), Cause(0, "")) << "the request cleared the cause";
        EXPECT_EQ(velk_EndThread(), 1);
    }
}

// XON/XOFF: the phone sends XOFF and stops reading, so the worker's write
// of the next command can never finish.
TEST_F(LinkLifecycleTest, WriteHeldByFlowControlLetsCancelAndEndReturnAtOnce) {
    // A call that does not return in time fails the test; the phone then
    // lets the write go, so that the call and the test can end.
    const auto returnsAtOnce = [&](int32_t (*call)()) {
        auto result = std::async(std::launch::async, call);
        if (result.wait_for(std::chrono::seconds(1)) == std::future_status::ready) {
            return result.get() == 1;
        }
        ADD_FAILURE() << "still held after a second";
        phone.ResumeWrites();
        return result.get() == 1;
    };
    ASSERT_EQ(Begin(kXonXoff), 1);
    phone.BlockWrites();
    ASSERT_EQ(velk_ReadMidInfo(), 1);
    // Give the worker the moment it needs to reach the write.
    std::this_thread::sleep_for(std::chrono::milliseconds(50));

    EXPECT_TRUE(returnsAtOnce(velk_CancelCurrentAction));
    EXPECT_TRUE(window.Quiet(50)) << "no message follows a cancel";

    // The rebuilt link meets the same held line.
    ASSERT_EQ(velk_ReadMidInfo(), 1);
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_TRUE(returnsAtOnce(velk_EndThread));
    EXPECT_EQ(phone.ReceivedLines(), Lines{});
    phone.ResumeWrites();
}

// Every call from several threads at once: requests and fetches on one,
// cancels, ends and new starts on another, the window read on a third. Nothing
// may hang or race, and a link started afterwards works as ever.
TEST_F(LinkLifecycleTest, CallsFromSeveralThreadsAtOnceLeaveAWorkingLibrary) {
    model.AddImage(2, 10);
    for (int f : {10, 11}) model.SetFrame(f, "6040" + Pattern(kFrame, f));
    model.SetTone(3, "Tone", Pattern(300, 3));
    ASSERT_EQ(Begin(), 1);
    std::atomic<bool> stop{false};
    std::thread reader([&] {
        while (!stop) window.Next(5);
    });
    std::thread requests([&] {
        std::string frames = Frames(2, 4);
        std::string tone = "abcdef";
        MidInfoRecord* midInfo;
        MidRecord* mid;
        AnimInfoRecord* animInfo;
        AnimRecord* anim;
        while (!stop) {
            velk_ReadMidInfo();
            velk_ReadMid(3);
            velk_ReadAnim(1);
            velk_WriteAnim(ImageRecord(1, "A", frames));
            velk_WriteMid(ToneRecord(3, "B", tone));
            velk_GetMidInfo(&midInfo);
            velk_GetMidData(&mid);
            velk_GetAnimInfo(&animInfo);
            velk_GetAnimData(&anim);
        }
    });
    for (int i = 0; i < 30; ++i) {
        velk_CancelCurrentAction();
        std::this_thread::sleep_for(std::chrono::milliseconds(3));
        if (i % 7 == 0) {
            velk_EndThread();
            Begin();
        }
    }
    stop = true;
    requests.join();
    reader.join();

    EXPECT_EQ(velk_EndThread(), 1);
    WindowReader freshWindow;  // nothing left over from the storm
    ASSERT_EQ(velk_BeginThread(freshWindow.WriteEnd(), kPhonePort, kPhoneBaud, kXonXoff), 1);
    ASSERT_EQ(velk_ReadMidInfo(), 1);
    EXPECT_EQ(freshWindow.UntilFinal(), Messages{VELK_MSG_MID_INFO_READ});
}

// The application stops reading its window: the messages are dropped, the
// process gets no SIGPIPE, and the operations go on.
TEST_F(LinkLifecycleTest, WindowWithoutReaderDropsMessagesAndTheLinkGoesOn) {
    ASSERT_EQ(Begin(), 1);
    window.CloseReadEnd();
    ASSERT_EQ(velk_ReadMidInfo(), 1);
    ASSERT_TRUE(phone.WaitForLines(3, std::chrono::seconds(3)));
    ASSERT_TRUE(Request(velk_ReadMidInfo)) << "the first operation ended";
    ASSERT_TRUE(phone.WaitForLines(6, std::chrono::seconds(3)));
    EXPECT_EQ(phone.ReceivedLines(), (Lines{"AT", "ATE0", "AT+RNGI", "AT", "ATE0", "AT+RNGI"}));
    MidInfoRecord* info = nullptr;
    EXPECT_TRUE(Eventually([&] { return velk_GetMidInfo(&info) == 1; }));
}

}  // namespace
}  // namespace velk::test
