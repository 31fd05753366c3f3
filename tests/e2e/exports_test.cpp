// The exports' own answers: without a link, while an operation runs, for bad
// arguments, and around the link's start and end.
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

#include "e2e_link.h"

namespace velk::test {
namespace {

const struct {
    const char* name;
    int32_t (*call)();
} kRequests[] = {
    {"ReadMidInfo", velk_ReadMidInfo},
    {"ReadMid", ReadTone},
    {"WriteMid", WriteTone},
    {"ReadAnimInfo", velk_ReadAnimInfo},
    {"ReadAnim", ReadImage},
    {"WriteAnim", WriteImage},
    {"RunCommand", [] { return velk_RunCommand("AT+CSQ"); }},
};

const struct {
    const char* name;
    int32_t (*call)(void** out);
} kFetches[] = {
    {"GetMidInfo", [](void** o) { return velk_GetMidInfo(reinterpret_cast<MidInfoRecord**>(o)); }},
    {"GetMidData", [](void** o) { return velk_GetMidData(reinterpret_cast<MidRecord**>(o)); }},
    {"GetAnimInfo",
     [](void** o) { return velk_GetAnimInfo(reinterpret_cast<AnimInfoRecord**>(o)); }},
    {"GetAnimData", [](void** o) { return velk_GetAnimData(reinterpret_cast<AnimRecord**>(o)); }},
    {"GetCommandResult",
     [](void** o) {
         return velk_GetCommandResult(static_cast<const char**>(static_cast<void*>(o)));
     }},
};

// Every fetch refuses and leaves its out-parameter as it was.
void ExpectFetchesRefuse() {
    for (const auto& f : kFetches) {
        void* untouched = &untouched;
        EXPECT_EQ(f.call(&untouched), 0) << f.name;
        EXPECT_EQ(untouched, &untouched) << f.name;
    }
}

using Exports = PhoneLinkTest;

TEST_F(Exports, WithoutALinkEverythingButBeginAndEndRefuses) {
    for (const auto& r : kRequests) EXPECT_EQ(r.call(), 0) << r.name;
    ExpectFetchesRefuse();
    EXPECT_EQ(velk_CancelCurrentAction(), 0);
    EXPECT_EQ(velk_EndThread(), 1);
}

TEST_F(Exports, BeginRefusesAWindowThatCannotBeWritten) {
    int fds[2];
    ASSERT_EQ(pipe(fds), 0);
    EXPECT_EQ(velk_BeginThread(fds[0], kPhonePort, kPhoneBaud, 0), 0) << "the read end";
    close(fds[0]);
    close(fds[1]);
    EXPECT_EQ(velk_BeginThread(fds[1], kPhonePort, kPhoneBaud, 0), 0) << "a closed descriptor";
    EXPECT_EQ(velk_BeginThread(-1, kPhonePort, kPhoneBaud, 0), 0);
    EXPECT_EQ(LastError().first, EBADF);
    EXPECT_EQ(velk_ReadMidInfo(), 0) << "no link stands";
}

// The library writes to its own copy of the window; a second start and a
// cancel on an idle link leave the link as it stands.
TEST_F(Exports, StandingLinkKeepsItsWindowThroughASecondBeginAndAnIdleCancel) {
    ASSERT_EQ(Begin(), 1);
    window.CloseWriteEnd();
    WindowReader other;
    EXPECT_EQ(velk_BeginThread(other.WriteEnd(), 8, 9600, 0), 1);
    EXPECT_EQ(velk_CancelCurrentAction(), 0);
    ASSERT_EQ(velk_ReadMidInfo(), 1);
    EXPECT_EQ(window.UntilFinal(), Messages{VELK_MSG_MID_INFO_READ});
    EXPECT_TRUE(other.Quiet());
    EXPECT_EQ(phone.ReceivedLines(), (Lines{"AT", "ATE0", "AT+RNGI"}));
}

// The flags say that a result waits, not which kind: a fetch of another kind
// answers 1 with nothing, except a tone, of which none is held.
TEST_F(Exports, FetchesRefuseBeforeAnyResultAndDoNotKnowTheKindOfOne) {
    ASSERT_EQ(Begin(), 1);
    ExpectFetchesRefuse();
    ASSERT_EQ(velk_ReadMidInfo(), 1);
    EXPECT_EQ(window.UntilFinal(), Messages{VELK_MSG_MID_INFO_READ});
    AnimInfoRecord* info = reinterpret_cast<AnimInfoRecord*>(&info);
    EXPECT_TRUE(Eventually([&] { return velk_GetAnimInfo(&info) == 1; }));
    EXPECT_EQ(info, nullptr);
    MidRecord* tone = reinterpret_cast<MidRecord*>(&tone);
    EXPECT_EQ(velk_GetMidData(&tone), 0);
    EXPECT_EQ(tone, nullptr);
    for (const auto& f : kFetches) EXPECT_EQ(f.call(nullptr), 0) << f.name;
}

TEST_F(Exports, EveryRequestIsRefusedWhileAnOperationRuns) {
    phone.AddRule({"AT", false, PhoneAction::kSilence, {}});
    ASSERT_EQ(Begin(), 1);
    ASSERT_EQ(velk_ReadMidInfo(), 1);
    ASSERT_TRUE(phone.WaitForLines(1, std::chrono::seconds(3)));
    for (const auto& r : kRequests) EXPECT_EQ(r.call(), 0) << r.name;
    for (const auto& f : kFetches) {
        void* out = nullptr;
        EXPECT_EQ(f.call(&out), 0) << f.name;
    }
    EXPECT_EQ(phone.ReceivedLines().size(), 1u);
}

TEST_F(Exports, WritesWithBadRecordsAreRefusedAndChangeNothing) {
    const struct {
        const char* name;
        bool anim;
        uint16_t nameLength;
        uint16_t size;
        bool withData;
    } cases[] = {
        {"tone name of 11", false, 11, 3, true},
        {"tone of 32512 bytes", false, 0, 32512, true},
        {"tone without data", false, 0, 3, false},
        {"image name of 11", true, 11, 1536, true},
        {"image shorter than a frame", true, 0, 1535, true},
        {"image without data", true, 0, 1536, false},
    };
    ASSERT_EQ(Begin(), 1);
    static std::vector<uint8_t> buffer(40000, 'b');
    for (const auto& c : cases) {
        uint8_t* data = c.withData ? buffer.data() : nullptr;
        const int32_t answer =
            c.anim ? velk_WriteAnim(
                         AnimRecord{1, static_cast<uint8_t>(c.nameLength), {}, c.size, data, 0, 0})
                   : velk_WriteMid(MidRecord{1, c.nameLength, {}, c.size, data});
        EXPECT_EQ(answer, 0) << c.name;
    }
    EXPECT_TRUE(window.Quiet(20));
    EXPECT_TRUE(phone.ReceivedLines().empty());
    // No refusal left the link busy.
    EXPECT_EQ(velk_WriteMid(MidRecord{4, 0, {}, 0, nullptr}), 1) << "an empty tone is fine";
    EXPECT_EQ(window.UntilFinal(), Messages{VELK_MSG_MID_WRITTEN});
}

// The library's final message cannot go into the full window: the end
// returns all the same.
TEST_F(Exports, EndReturnsWhileAFinalMessageWaitsForRoom) {
    phone.AddRule({"ATE0", false, PhoneAction::kSilence, {}});
    ASSERT_EQ(Begin(), 1);
    const int flags = fcntl(window.WriteEnd(), F_GETFL);
    ASSERT_EQ(fcntl(window.WriteEnd(), F_SETFL, flags | O_NONBLOCK), 0);
    const char filler[4096] = {};
    while (write(window.WriteEnd(), filler, sizeof filler) > 0) {
    }
    ASSERT_EQ(velk_ReadMidInfo(), 1);
    ASSERT_TRUE(phone.WaitForLines(2, std::chrono::seconds(3)));
    clock.AwaitWaiters(1);
    clock.Advance(10050);  // ATE0's time runs out
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    int32_t ended = 0;
    EXPECT_LT(MillisecondsOf([&] { ended = velk_EndThread(); }), 1000);
    EXPECT_EQ(ended, 1);
}

}  // namespace
}  // namespace velk::test
