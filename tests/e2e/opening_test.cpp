// The opening that every operation runs (AT up to three times, then ATE0),
// and what the phone may answer around it: echo, silence, refusals, RING.
#include <cstring>

#include "e2e_link.h"

namespace velk::test {
namespace {

using OpeningTest = PhoneLinkTest;

struct ToneInfoCase {
    const char* what;
    bool echoAtStart;
    const char* line;
    const char* name;
    std::size_t nameBytes;  // compared, the terminator included when there is one
    uint16_t numbers[3];    // infoNumber1..3
};

// A phone that echoes until ATE0, one that never echoes, and a name that
// fills the record's 10 bytes with no terminator.
const ToneInfoCase kToneInfoCases[] = {
    {"echo until ATE0", true, "+RNGI: \"Melodies\",12,3,40", "Melodies", 9, {12, 3, 40}},
    {"no echo", false, "+RNGI: \"Melodies\",12,3,40", "Melodies", 9, {12, 3, 40}},
    {"ten-character name", true, "+RNGI: \"ABCDEFGHIJ\",1,2,3", "ABCDEFGHIJ", 10, {1, 2, 3}},
    {"longer name, cut", true, "+RNGI: \"ElevenChars\",1,2,3", "ElevenChar", 10, {1, 2, 3}},
};

TEST_F(OpeningTest, ToneInformationReadPutsItsThreeCommandsOnTheLineInOrder) {
    for (const ToneInfoCase& c : kToneInfoCases) {
        SCOPED_TRACE(c.what);
        FakePhone freshPhone;
        model.Attach(freshPhone);
        model.SetToneInfoLine(c.line);
        freshPhone.SetEcho(c.echoAtStart);
        ASSERT_EQ(velk_SetPortDevice(kPhonePort, freshPhone.DevicePath().c_str()), 1);
        ASSERT_EQ(Begin(), 1);

        ASSERT_EQ(velk_ReadMidInfo(), 1);
        EXPECT_EQ(window.UntilFinal(), Messages{VELK_MSG_MID_INFO_READ});
        EXPECT_EQ(freshPhone.ReceivedBytes(), "AT\r\nATE0\r\nAT+RNGI\r\n");
        MidInfoRecord* info = nullptr;
        ASSERT_EQ(velk_GetMidInfo(&info), 1);
        ASSERT_NE(info, nullptr);
        EXPECT_EQ(std::memcmp(info->name, c.name, c.nameBytes), 0);
        EXPECT_EQ(info->infoNumber1, c.numbers[0]);
        EXPECT_EQ(info->infoNumber2, c.numbers[1]);
        EXPECT_EQ(info->infoNumber3, c.numbers[2]);
        EXPECT_EQ(velk_EndThread(), 1);
    }
}

TEST_F(OpeningTest, SilentPhoneGetsThreeAttentionsThenTheOperationTimesOut) {
    phone.AddRule({"AT", false, PhoneAction::kSilence, {}, 0});
    ASSERT_EQ(Begin(), 1);
    ASSERT_EQ(velk_ReadMidInfo(), 1);
    for (std::size_t tries = 1; tries <= 3; ++tries) {
        LapseAfter(tries);
        if (tries < 3) {
            EXPECT_TRUE(window.Quiet(20)) << "after try " << tries;
        }
    }
    EXPECT_EQ(window.UntilFinal(), Messages{VELK_MSG_TIMED_OUT});
    EXPECT_EQ(phone.ReceivedLines(), (Lines{"AT", "AT", "AT"}));

    // The link stays and takes the next operation, which opens afresh.
    ASSERT_TRUE(Request(velk_ReadMidInfo));
    EXPECT_TRUE(phone.WaitForLines(4, std::chrono::seconds(3)));
}

// No pause sits on the way of a command or a reply: 50 operations of three
// commands each take far less than one pause of 50 ms per command would.
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

TEST_F(OpeningTest, AttentionAnsweredAtTheThirdTryOpensTheOperation) {
    phone.SetEcho(false);
    model.IgnoreAttentions(2);
    ASSERT_EQ(Begin(), 1);
    ASSERT_EQ(velk_ReadMidInfo(), 1);
    LapseAfter(1);
    LapseAfter(2);
    EXPECT_EQ(window.UntilFinal(), Messages{VELK_MSG_MID_INFO_READ});
    EXPECT_EQ(phone.ReceivedLines(), (Lines{"AT", "AT", "AT", "ATE0", "AT+RNGI"}));
}

// An error text other than "ERROR" leaves AT in flight; when nothing more
// comes within the command time the operation ends as timed out, without a
// new try.
TEST_F(OpeningTest, OtherErrorTextToAttentionEndsAsTimedOut) {
    phone.Reply("AT", {"+CME ERROR: 100"});
    ASSERT_EQ(Begin(), 1);
    ASSERT_EQ(velk_ReadMidInfo(), 1);
    ASSERT_TRUE(phone.WaitForLines(1, std::chrono::seconds(3)));
    clock.AwaitWaiters(2);  // the worker, and the transfer thread waiting for more
    EXPECT_TRUE(window.Quiet(20));
    clock.Advance(10050);
    EXPECT_EQ(window.UntilFinal(), Messages{VELK_MSG_TIMED_OUT});
    EXPECT_EQ(phone.ReceivedLines(), Lines{"AT"});
}

struct RefusalCase {
    const char* what;
    const char* command;
    bool isPrefix;
    std::vector<std::string> reply;
    int32_t (*start)();
    uint32_t message;
};

int32_t StartMidInfo() {
    return velk_ReadMidInfo();
}
int32_t StartMidRead() {
    return velk_ReadMid(3);
}
int32_t StartMidWrite() {
    uint8_t body[] = "abc";
    MidRecord record{3, 4, {'T', 'u', 'n', 'e'}, 3, body};
    return velk_WriteMid(record);
}
int32_t StartAnimInfo() {
    return velk_ReadAnimInfo();
}
int32_t StartAnimRead() {
    return velk_ReadAnim(1);
}
int32_t StartAnimWrite() {
    static std::string frame = Pattern(1536, 1);
    AnimRecord record{1,  4, {'A', 'n', 'i', 'm'}, 1536, reinterpret_cast<uint8_t*>(frame.data()),
                      25, 4};
    return velk_WriteAnim(record);
}

// A refusal ends the operation with the message of the command refused; so
// does a frame reply that cannot make an image.
const RefusalCase kRefusals[] = {
    {"AT refused", "AT", false, {"ERROR"}, StartMidInfo, VELK_MSG_OPENING_REFUSED},
    {"ATE0 refused", "ATE0", false, {"ERROR"}, StartMidRead, VELK_MSG_OPENING_REFUSED},
    {"tone information, error with a code",
     "AT+RNGI",
     false,
     {"+CME ERROR: 10"},
     StartMidInfo,
     VELK_MSG_MID_INFO_REFUSED},
    {"tone read", "AT+RNGR=", true, {"ERROR"}, StartMidRead, VELK_MSG_MID_READ_REFUSED},
    {"tone write", "AT+RNGW=", true, {"ERROR"}, StartMidWrite, VELK_MSG_MID_WRITE_REFUSED},
    {"image information", "AT+IMGINF", false, {"ERROR"}, StartAnimInfo, VELK_MSG_ANIM_INFO_REFUSED},
    {"image information before a read",
     "AT+IMGINF",
     false,
     {"+CME ERROR: 3"},
     StartAnimRead,
     VELK_MSG_ANIM_INFO_REFUSED},
    {"frame read", "AT+IMGR=", true, {"ERROR"}, StartAnimRead, VELK_MSG_ANIM_READ_REFUSED},
    {"frame reply without the image's start",
     "AT+IMGR=",
     true,
     {"+IMGR: 20,\"Sun\",2,2,,,\"250310\",\"abc\",1", "OK"},
     StartAnimRead,
     VELK_MSG_ANIM_READ_REFUSED},
    {"frame reply whose image parameter is not three numbers",
     "AT+IMGR=",
     true,
     {"+IMGR: 20,\"Sun\",1,1,0,7,\"2503\",\"6040abc\",1", "OK"},
     StartAnimRead,
     VELK_MSG_ANIM_READ_REFUSED},
    {"frame write",
     "AT+IMGW=",
     true,
     {"+CME ERROR: 4"},
     StartAnimWrite,
     VELK_MSG_ANIM_WRITE_REFUSED},
};

TEST_F(OpeningTest, EveryRefusalEndsTheOperationWithItsMessage) {
    for (const RefusalCase& c : kRefusals) {
        SCOPED_TRACE(c.what);
        PhoneModel freshModel;  // outlives the phone, whose thread asks it
        FakePhone freshPhone;
        freshModel.Attach(freshPhone);
        freshModel.AddImage(1, 20);
        freshModel.SetFrame(20, "6040" + Pattern(1536, 2));
        freshPhone.AddRule({c.command, c.isPrefix, PhoneAction::kReply, c.reply, 0});
        ASSERT_EQ(velk_SetPortDevice(kPhonePort, freshPhone.DevicePath().c_str()), 1);
        ASSERT_EQ(Begin(), 1);

        ASSERT_EQ(c.start(), 1);
        EXPECT_EQ(window.UntilFinal(), Messages{c.message});
        EXPECT_TRUE(window.Quiet(20));
        EXPECT_EQ(velk_EndThread(), 1);
    }
}

TEST_F(OpeningTest, RingBetweenTheLinesOfAReplyChangesNothing) {
    model.SetRingBetweenLines(true);
    const std::string body = Pattern(300, 4);
    model.SetTone(6, {"Chime", body});
    ASSERT_EQ(Begin(), 1);

    ASSERT_EQ(velk_ReadMidInfo(), 1);
    EXPECT_EQ(window.UntilFinal(), Messages{VELK_MSG_MID_INFO_READ});
    MidInfoRecord* info = nullptr;
    ASSERT_EQ(velk_GetMidInfo(&info), 1);
    EXPECT_STREQ(info->name, "Melodies");
    EXPECT_EQ(info->infoNumber3, 40);

    ASSERT_TRUE(Request([] { return velk_ReadMid(6); }));
    EXPECT_EQ(window.UntilFinal(), Messages{VELK_MSG_MID_READ});
    MidRecord* tone = nullptr;
    ASSERT_EQ(velk_GetMidData(&tone), 1);
    ASSERT_EQ(tone->size, body.size());
    EXPECT_EQ(std::string(reinterpret_cast<char*>(tone->data), tone->size), body);
    EXPECT_EQ(LinesFrom(3), (Lines{"AT", "ATE0", "AT+RNGR=6"}));
}

}  // namespace
}  // namespace velk::test
