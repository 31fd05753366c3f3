// The exports' own behaviour: what each answers with and without a link,
// while an operation runs, for bad arguments, and across the link's start,
// cancel, fall and end.
#include <fcntl.h>
#include <unistd.h>

#include <gmock/gmock.h>

#include "link_fixture.h"

namespace velk::test {
namespace {

using ::testing::ElementsAre;

// The request exports, each as a call that returns the export's answer.
struct RequestCall {
    const char* name;
    int32_t (*call)();
};

const std::string kAnimData(1536, 'a');
const std::string kMidData = "abc";

int32_t WriteMidOk() {
    MidRecord r{};
    r.size = 3;
    r.data = reinterpret_cast<uint8_t*>(const_cast<char*>(kMidData.data()));
    return velk_WriteMid(r);
}

int32_t WriteAnimOk() {
    AnimRecord r{};
    r.id = 1;
    r.size = static_cast<uint16_t>(kAnimData.size());
    r.data = reinterpret_cast<uint8_t*>(const_cast<char*>(kAnimData.data()));
    return velk_WriteAnim(r);
}

const RequestCall kRequests[] = {
    {"ReadMidInfo", [] { return velk_ReadMidInfo(); }},
    {"ReadMid", [] { return velk_ReadMid(1); }},
    {"WriteMid", WriteMidOk},
    {"ReadAnimInfo", [] { return velk_ReadAnimInfo(); }},
    {"ReadAnim", [] { return velk_ReadAnim(1); }},
    {"WriteAnim", WriteAnimOk},
};

// The fetch exports, each with a place for its out-parameter.
struct FetchCall {
    const char* name;
    int32_t (*call)(void** out);
};

const FetchCall kFetches[] = {
    {"GetMidInfo", [](void** o) { return velk_GetMidInfo(reinterpret_cast<MidInfoRecord**>(o)); }},
    {"GetMidData", [](void** o) { return velk_GetMidData(reinterpret_cast<MidRecord**>(o)); }},
    {"GetAnimInfo",
     [](void** o) { return velk_GetAnimInfo(reinterpret_cast<AnimInfoRecord**>(o)); }},
    {"GetAnimData", [](void** o) { return velk_GetAnimData(reinterpret_cast<AnimRecord**>(o)); }},
};

class ExportsWithoutLink : public ::testing::Test {
  protected:
    void TearDown() override { velk_EndThread(); }
    StandInWorker worker;
    WindowReader window;
};

TEST_F(ExportsWithoutLink, EverythingButBeginAndEndRefuses) {
    for (const RequestCall& r : kRequests) EXPECT_EQ(r.call(), 0) << r.name;
    void* untouched = &untouched;
    for (const FetchCall& f : kFetches) {
        EXPECT_EQ(f.call(&untouched), 0) << f.name;
        EXPECT_EQ(untouched, &untouched) << f.name;
    }
    EXPECT_EQ(velk_CancelCurrentAction(), 0);
    EXPECT_EQ(velk_EndThread(), 1);
    EXPECT_EQ(velk_EndThread(), 1);
    EXPECT_TRUE(worker.Starts().empty());
}

TEST_F(ExportsWithoutLink, BeginRefusesAWindowThatCannotBeWritten) {
    int fds[2];
    ASSERT_EQ(pipe(fds), 0);
    EXPECT_EQ(velk_BeginThread(fds[0], kPort, kBaud, 0), 0) << "the read end";
    close(fds[0]);
    close(fds[1]);
    EXPECT_EQ(velk_BeginThread(fds[1], kPort, kBaud, 0), 0) << "a closed descriptor";
    EXPECT_EQ(velk_BeginThread(-1, kPort, kBaud, 0), 0);
    EXPECT_TRUE(worker.Starts().empty());
}

TEST_F(ExportsWithoutLink, BeginThatCannotOpenThePortMayBeRepeated) {
    worker.RefuseStart(true);
    EXPECT_EQ(velk_BeginThread(window.WriteEnd(), 9, kBaud, 0), 0);
    EXPECT_EQ(velk_ReadMidInfo(), 0);
    worker.RefuseStart(false);
    ASSERT_EQ(velk_BeginThread(window.WriteEnd(), kPort, kBaud, 0), 1);
    ASSERT_EQ(velk_ReadMidInfo(), 1);
    EXPECT_THAT(window.UntilFinal(), ElementsAre(VELK_MSG_MID_INFO_READ));
}

TEST_F(ExportsWithoutLink, SecondBeginChangesNothing) {
    ASSERT_EQ(velk_BeginThread(window.WriteEnd(), kPort, kBaud, 1), 1);
    WindowReader other;
    EXPECT_EQ(velk_BeginThread(other.WriteEnd(), 8, 9600, 0), 1);
    ASSERT_EQ(worker.Starts().size(), 1u);
    EXPECT_EQ(worker.Starts()[0].port, kPort);
    ASSERT_EQ(velk_ReadMidInfo(), 1);
    EXPECT_THAT(window.UntilFinal(), ElementsAre(VELK_MSG_MID_INFO_READ));
    EXPECT_TRUE(other.Quiet());
}

TEST_F(ExportsWithoutLink, TheLibraryWritesToItsOwnCopyOfTheWindow) {
    ASSERT_EQ(velk_BeginThread(window.WriteEnd(), kPort, kBaud, 0), 1);
    window.CloseWriteEnd();
    ASSERT_EQ(velk_ReadMidInfo(), 1);
    EXPECT_THAT(window.UntilFinal(), ElementsAre(VELK_MSG_MID_INFO_READ));
}

TEST_F(ExportsWithoutLink, EndFromTwoThreadsEndsTheLinkOnce) {
    ASSERT_EQ(velk_BeginThread(window.WriteEnd(), kPort, kBaud, 0), 1);
    int32_t first = 0;
    int32_t second = 0;
    std::thread a([&] { first = velk_EndThread(); });
    std::thread b([&] { second = velk_EndThread(); });
    a.join();
    b.join();
    EXPECT_EQ(first, 1);
    EXPECT_EQ(second, 1);
    EXPECT_FALSE(worker.Running());
    EXPECT_EQ(velk_ReadMidInfo(), 0);
}

TEST_F(ExportsWithoutLink, PortDeviceMapping) {
    const std::string tooLong(5000, 'd');
    EXPECT_EQ(velk_SetPortDevice(0, "/dev/ttyUSB0"), 0) << "port 0 has no device";
    EXPECT_EQ(velk_SetPortDevice(250, tooLong.c_str()), 0);
    EXPECT_EQ(velk_SetPortDevice(250, "/dev/pts/7"), 1);
    EXPECT_EQ(velk_SetPortDevice(250, nullptr), 1) << "back to the default";
}

using Exports = LinkTest;

TEST_F(Exports, FetchesRefuseBeforeAnyResultAndLeaveTheOutParameter) {
    for (const FetchCall& f : kFetches) {
        void* untouched = &untouched;
        EXPECT_EQ(f.call(&untouched), 0) << f.name;
        EXPECT_EQ(untouched, &untouched) << f.name;
    }
}

TEST_F(Exports, FetchesWithANullOutParameterRefuse) {
    ASSERT_EQ(velk_ReadAnimInfo(), 1);
    window.UntilFinal();
    ASSERT_TRUE(WaitIdle());
    for (const FetchCall& f : kFetches) EXPECT_EQ(f.call(nullptr), 0) << f.name;
}

TEST_F(Exports, FlagsDoNotSayWhichKindOfResultWaits) {
    ASSERT_EQ(velk_ReadMidInfo(), 1);
    Finish();
    AnimInfoRecord* info = reinterpret_cast<AnimInfoRecord*>(&info);
    EXPECT_EQ(velk_GetAnimInfo(&info), 1);
    EXPECT_EQ(info, nullptr);
    MidRecord* tone = reinterpret_cast<MidRecord*>(&tone);
    EXPECT_EQ(velk_GetMidData(&tone), 0) << "no tone is held";
    EXPECT_EQ(tone, nullptr);
}

TEST_F(Exports, EveryRequestIsRefusedWhileAnOperationRuns) {
    worker.AnswerNext(AT, {});
    ASSERT_EQ(velk_ReadMidInfo(), 1);
    ASSERT_TRUE(worker.WaitForCommands(1));
    for (const RequestCall& r : kRequests) EXPECT_EQ(r.call(), 0) << r.name;
    for (const FetchCall& f : kFetches) {
        void* out = nullptr;
        EXPECT_EQ(f.call(&out), 0) << f.name;
    }
    EXPECT_EQ(worker.CommandIds().size(), 1u);
}

TEST_F(Exports, WritesWithBadRecordsAreRefusedAndChangeNothing) {
    struct Case {
        const char* name;
        bool anim;
        uint16_t nameLength;
        uint16_t size;
        bool withData;
    };
    const Case cases[] = {
        {"tone name of 11", false, 11, 3, true},
        {"tone of 32512 bytes", false, 0, 32512, true},
        {"tone without data", false, 0, 3, false},
        {"image name of 11", true, 11, 1536, true},
        {"image shorter than a frame", true, 0, 1535, true},
        {"image without data", true, 0, 1536, false},
    };
    static std::vector<uint8_t> buffer(40000, 'b');
    for (const Case& c : cases) {
        uint8_t* data = c.withData ? buffer.data() : nullptr;
        int32_t answer;
        if (c.anim) {
            AnimRecord r{};
            r.id = 1;
            r.nameLength = static_cast<uint8_t>(c.nameLength);
            r.size = c.size;
            r.data = data;
            answer = velk_WriteAnim(r);
        } else {
            MidRecord r{};
            r.nameLength = c.nameLength;
            r.size = c.size;
            r.data = data;
            answer = velk_WriteMid(r);
        }
        EXPECT_EQ(answer, 0) << c.name;
        EXPECT_EQ(CurrentTransferState().readyFlag, 1) << c.name;
    }
    EXPECT_TRUE(worker.CommandIds().empty());
    MidRecord empty{};
    EXPECT_EQ(velk_WriteMid(empty), 1) << "an empty tone with no data is fine";
    EXPECT_THAT(Finish(), ElementsAre(VELK_MSG_MID_WRITTEN));
}

TEST_F(Exports, CancelOnAnIdleLinkLeavesItStanding) {
    EXPECT_EQ(velk_CancelCurrentAction(), 0);
    EXPECT_EQ(worker.Starts().size(), 1u);
    ASSERT_EQ(velk_ReadMidInfo(), 1);
    EXPECT_THAT(Finish(), ElementsAre(VELK_MSG_MID_INFO_READ));
}

TEST_F(Exports, ALinkThatFallsEndsTheOperationAndRefusesFromThenOn) {
    worker.AnswerNext(AT, {});
    ASSERT_EQ(velk_ReadMidInfo(), 1);
    ASSERT_TRUE(worker.WaitForCommands(1));
    worker.Fall();
    EXPECT_THAT(window.UntilFinal(), ElementsAre(VELK_MSG_TIMED_OUT));
    EXPECT_TRUE(window.Quiet(100));
    const auto until = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    while (CurrentTransferState().linkStands && std::chrono::steady_clock::now() < until) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    for (const RequestCall& r : kRequests) EXPECT_EQ(r.call(), 0) << r.name;
    EXPECT_EQ(velk_CancelCurrentAction(), 0);

    // A later begin builds a new link.
    ASSERT_EQ(velk_BeginThread(window.WriteEnd(), kPort, kBaud, kSoftwareFlow), 1);
    EXPECT_EQ(worker.Starts().size(), 2u);
    ASSERT_EQ(velk_ReadMidInfo(), 1);
    EXPECT_THAT(Finish(), ElementsAre(VELK_MSG_MID_INFO_READ));
}

TEST_F(Exports, EndReturnsWhileAFinalMessageWaitsForRoom) {
    // Fill the pipe from our side so the library's final message cannot go.
    const int flags = fcntl(window.WriteEnd(), F_GETFL);
    ASSERT_EQ(fcntl(window.WriteEnd(), F_SETFL, flags | O_NONBLOCK), 0);
    const char filler[4096] = {};
    while (write(window.WriteEnd(), filler, sizeof filler) > 0) {
    }
    ASSERT_EQ(fcntl(window.WriteEnd(), F_SETFL, flags), 0);
    worker.AnswerNext(ATE0, {TimedOut()});
    ASSERT_EQ(velk_ReadMidInfo(), 1);
    ASSERT_TRUE(worker.WaitForCommands(2));
    EXPECT_EQ(velk_EndThread(), 1);
}

}  // namespace
}  // namespace velk::test
