// The opening that every operation runs (AT up to three times, then ATE0),
// and what the phone may answer around it: echo, silence, refusals.
#include <cstring>

#include "e2e_link.h"

namespace velk::test {
namespace {

using OpeningTest = PhoneLinkTest;

// Each operation opens anew, the first on a phone that echoes, the later
// ones on a phone whose echo ATE0 turned off; names that fill or overrun
// the record's 10 bytes have no terminator.
TEST_F(OpeningTest, ToneInformationReadPutsItsThreeCommandsOnTheLineInOrder) {
    const struct {
        const char* line;
        const char* name;
        std::size_t nameBytes;  // compared, with the terminator when there is one
        uint16_t numbers[3];
    } cases[] = {
        {"+RNGI: \"Melodies\",12,3,40", "Melodies", 9, {12, 3, 40}},
        {"+RNGI: \"ABCDEFGHIJ\",1,2,3", "ABCDEFGHIJ", 10, {1, 2, 3}},
        {"+RNGI: \"ElevenChars\",1,2,3", "ElevenChar", 10, {1, 2, 3}},
    };
    ASSERT_EQ(Begin(), 1);
    for (const auto& c : cases) {
        SCOPED_TRACE(c.line);
        model.AnswerNext("AT+RNGI", 1, {c.line, "OK"});
        const std::size_t before = phone.ReceivedBytes().size();
        ASSERT_TRUE(Request(velk_ReadMidInfo));
        EXPECT_EQ(window.UntilFinal(), Messages{VELK_MSG_MID_INFO_READ});
        EXPECT_EQ(phone.ReceivedBytes().substr(before), "AT\r\nATE0\r\nAT+RNGI\r\n");
        MidInfoRecord* info = nullptr;
        ASSERT_EQ(velk_GetMidInfo(&info), 1);
        ASSERT_NE(info, nullptr);
        EXPECT_EQ(std::memcmp(info->name, c.name, c.nameBytes), 0);
        EXPECT_EQ(info->infoNumber1, c.numbers[0]);
        EXPECT_EQ(info->infoNumber2, c.numbers[1]);
        EXPECT_EQ(info->infoNumber3, c.numbers[2]);
    }
}

// AT has three tries and ATE0 one; an error text other than "ERROR" leaves
// AT in flight until its time runs out, with no new try. The phone gave no
// error number for any of these ends.
TEST_F(OpeningTest, SilenceInTheOpeningEndsItAfterItsTries) {
    const struct {
        PhoneRule rule;
        int unheard;                      // ATs the phone does not hear
        std::vector<std::size_t> lapses;  // once the phone has so many lines, time runs out
        int waiters;                      // on the clock before it moves
        uint32_t message;
        Lines lines;
        Cause cause;
    } cases[] = {
        {{"AT", false, PhoneAction::kSilence, {}},
         0,
         {1, 2, 3},
         1,
         VELK_MSG_TIMED_OUT,
         {"AT", "AT", "AT"},
         {-1, "no answer from the phone to AT in 3 tries of 10 s each"}},
        {{"ATE0", false, PhoneAction::kSilence, {}},
         0,
         {2},
         1,
         VELK_MSG_TIMED_OUT,
         {"AT", "ATE0"},
         {-1, "no answer from the phone to ATE0 within 10 s"}},
        {{}, 2, {1, 2}, 1, VELK_MSG_MID_INFO_READ, {"AT", "AT", "AT", "ATE0", "AT+RNGI"}, {0, ""}},
        // The worker, and the transfer thread waiting for more.
        {{"AT", false, PhoneAction::kReply, {"+CME ERROR: 100"}},
         0,
         {1},
         2,
         VELK_MSG_TIMED_OUT,
         {"AT"},
         {-1, "the phone answered AT with \"+CME ERROR: 100\" and then nothing for 10 s"}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.lines.size());
        PhoneModel freshModel;
        FakePhone fresh;
        freshModel.Attach(fresh);
        freshModel.AnswerNext("AT", c.unheard, {});
        fresh.AddRule(c.rule);  // an empty command fits none
        ASSERT_EQ(velk_SetPortDevice(kPhonePort, fresh.DevicePath().c_str()), 1);
        ASSERT_EQ(Begin(), 1);
        ASSERT_EQ(velk_ReadMidInfo(), 1);
        for (std::size_t lines : c.lapses) {
            EXPECT_TRUE(window.Quiet(20)) << "before " << lines << " lines";
            ASSERT_TRUE(fresh.WaitForLines(lines, std::chrono::seconds(3)));
            clock.AwaitWaiters(c.waiters);
            clock.Advance(10050);
        }
        EXPECT_EQ(window.UntilFinal(), Messages{c.message});
        EXPECT_EQ(fresh.ReceivedLines(), c.lines);
        EXPECT_EQ(LastError(), c.cause);
        EXPECT_EQ(velk_EndThread(), 1);
    }
}

// 50 operations of three commands each take far less than one pause of
// 50 ms per command would.
TEST_F(OpeningTest, OperationsFollowEachOtherWithoutPauses) {
    ASSERT_EQ(Begin(), 1);
    const long long took = MillisecondsOf([&] {
        for (int i = 0; i < 50; ++i) {
            ASSERT_TRUE(Request(velk_ReadMidInfo));
            ASSERT_EQ(window.UntilFinal(), Messages{VELK_MSG_MID_INFO_READ});
        }
    });
    EXPECT_LT(took, 2500);
    EXPECT_EQ(phone.ReceivedLines().size(), 150u);
}

// A refusal ends the operation with the message of the command refused, and
// velk_GetLastError gives the phone's error number and line; a frame reply
// that cannot make an image ends the same way, with no number of the phone.
TEST_F(OpeningTest, EveryRefusalEndsTheOperationWithItsMessage) {
    struct Case {
        const char* command;  // or its beginning, when it ends in '='
        Lines reply;
        int32_t (*start)();
        uint32_t message;
        Cause cause;
    };
    // clang-format off
    const Case cases[] = {
        {"AT", {"ERROR"}, velk_ReadMidInfo, VELK_MSG_OPENING_REFUSED, {0, "ERROR"}},
        {"ATE0", {"ERROR"}, ReadTone, VELK_MSG_OPENING_REFUSED, {0, "ERROR"}},
        {"AT+RNGI", {"+CME ERROR: 10"}, velk_ReadMidInfo, VELK_MSG_MID_INFO_REFUSED,
            {10, "+CME ERROR: 10"}},
        {"AT+RNGR=", {"+CMS ERROR: 500"}, ReadTone, VELK_MSG_MID_READ_REFUSED,
            {500, "+CMS ERROR: 500"}},
        {"AT+RNGW=", {"+CME ERROR: \"SIM not inserted\""}, WriteTone, VELK_MSG_MID_WRITE_REFUSED,
            {0, "+CME ERROR: SIM not inserted"}},
        {"AT+IMGINF", {"ERROR"}, velk_ReadAnimInfo, VELK_MSG_ANIM_INFO_REFUSED, {0, "ERROR"}},
        {"AT+IMGINF", {"+CME ERROR: 3"}, ReadImage, VELK_MSG_ANIM_INFO_REFUSED,
            {3, "+CME ERROR: 3"}},
        {"AT+IMGR=", {"ERROR"}, ReadImage, VELK_MSG_ANIM_READ_REFUSED, {0, "ERROR"}},
        // Without the image's start; with an image parameter not of three numbers.
        {"AT+IMGR=", {"+IMGR: 20,\"Sun\",2,2,,,\"250310\",\"abc\",1", "OK"}, ReadImage,
            VELK_MSG_ANIM_READ_REFUSED,
            {-1, "the phone sent frames of the image but not its start"}},
        {"AT+IMGR=", {"+IMGR: 20,\"Sun\",1,1,0,7,\"2503\",\"6040abc\",1", "OK"}, ReadImage,
            VELK_MSG_ANIM_READ_REFUSED, {-1, "animParam 2503 is not right"}},
        {"AT+IMGW=", {"+CME ERROR: 4"}, WriteImage, VELK_MSG_ANIM_WRITE_REFUSED,
            {4, "+CME ERROR: 4"}},
    };
    // clang-format on
    for (const auto& c : cases) {
        SCOPED_TRACE(c.command + (" " + c.reply[0]));
        PhoneModel freshModel;  // outlives the phone, whose thread asks it
        FakePhone fresh;
        freshModel.Attach(fresh);
        freshModel.AddImage(1, 20);
        freshModel.SetFrame(20, "6040" + Pattern(1536, 2));
        const std::string command = c.command;
        fresh.AddRule({command, command.back() == '=', PhoneAction::kReply, c.reply});
        ASSERT_EQ(velk_SetPortDevice(kPhonePort, fresh.DevicePath().c_str()), 1);
        ASSERT_EQ(Begin(), 1);

        ASSERT_EQ(c.start(), 1);
        EXPECT_EQ(window.UntilFinal(), Messages{c.message});
        EXPECT_EQ(LastError(), c.cause);
        EXPECT_TRUE(window.Quiet(20));
        MidInfoRecord* info = nullptr;
        EXPECT_FALSE(Eventually([&] { return velk_GetMidInfo(&info) == 1; }, 20))
            << "nothing to fetch after a refusal";
        EXPECT_EQ(velk_EndThread(), 1);
    }
}

}  // namespace
}  // namespace velk::test
