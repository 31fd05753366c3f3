// The ring-tone operations end to end over the stand-in worker: the commands
// that go out, the window messages that come back and the records fetched.
#include <gmock/gmock.h>

#include "link_fixture.h"
#include "platform/tick_clock.h"

namespace velk::test {
namespace {

using ::testing::ElementsAre;
using ToneTransfers = LinkTest;

std::vector<RequestToneChunk> ToneChunks(const StandInWorker& worker) {
    std::vector<RequestToneChunk> chunks;
    for (const ATCommandBlock& b : worker.Commands()) {
        if (b.commandId == kCmdToneWrite) chunks.push_back(b.request.toneChunk);
    }
    return chunks;
}

MidRecord Tone(uint8_t slot, const char* name, const std::string& body) {
    MidRecord r{};
    r.id = slot;
    r.nameLength = static_cast<uint16_t>(std::strlen(name));
    std::memcpy(r.name, name, r.nameLength);
    r.size = static_cast<uint16_t>(body.size());
    r.data = reinterpret_cast<uint8_t*>(const_cast<char*>(body.data()));
    return r;
}

TEST_F(ToneTransfers, InformationReadRunsTheOpeningThenHandsOutTheRecord) {
    worker.AnswerNext(kCmdToneInfo, {});  // the phone is still thinking
    ASSERT_EQ(velk_ReadMidInfo(), 1);
    ASSERT_TRUE(worker.WaitForCommands(3));
    EXPECT_THAT(worker.CommandIds(), ElementsAre(AT, ATE0, kCmdToneInfo));
    auto during = CurrentTransferState();
    EXPECT_EQ(during.transferState, kStateToneInfo);
    EXPECT_EQ(during.readyFlag, 0);

    worker.PostResult(ToneInfo("Bells", 7, 8, 9), kCmdToneInfo);
    worker.PostResult(Done(), kCmdToneInfo);
    EXPECT_THAT(Finish(), ElementsAre(VELK_MSG_MID_INFO_READ));
    auto after = CurrentTransferState();
    EXPECT_EQ(after.transferState, kStateIdle);
    EXPECT_EQ(after.resultFlag, 1);

    MidInfoRecord* info = nullptr;
    ASSERT_EQ(velk_GetMidInfo(&info), 1);
    EXPECT_STREQ(info->name, "Bells");
    EXPECT_EQ(info->infoNumber1, 7);
    EXPECT_EQ(info->infoNumber2, 8);
    EXPECT_EQ(info->infoNumber3, 9);
}

TEST_F(ToneTransfers, AttentionIsTriedThreeTimesAndTheCountStartsAfreshNextTime) {
    for (int i = 0; i < 3; ++i) worker.AnswerNext(AT, {TimedOut()});
    ASSERT_EQ(velk_ReadMidInfo(), 1);
    EXPECT_THAT(Finish(), ElementsAre(VELK_MSG_TIMED_OUT));
    EXPECT_THAT(worker.CommandIds(), ElementsAre(AT, AT, AT));

    // Two more silences are still within the three tries of a new operation.
    for (int i = 0; i < 2; ++i) worker.AnswerNext(AT, {TimedOut()});
    ASSERT_EQ(velk_ReadMidInfo(), 1);
    EXPECT_THAT(Finish(), ElementsAre(VELK_MSG_MID_INFO_READ));
    EXPECT_THAT(IdsFrom(3), ElementsAre(AT, AT, AT, ATE0, kCmdToneInfo));
}

TEST_F(ToneTransfers, EchoOffIsNotRetriedOnTimeOut) {
    worker.AnswerNext(ATE0, {TimedOut()});
    ASSERT_EQ(velk_ReadMid(4), 1);
    EXPECT_THAT(Finish(), ElementsAre(VELK_MSG_TIMED_OUT));
    EXPECT_THAT(worker.CommandIds(), ElementsAre(AT, ATE0));
    EXPECT_EQ(CurrentTransferState().resultFlag, 0);
}

TEST_F(ToneTransfers, ErrorToEitherOpeningCommandEndsWithOpeningRefused) {
    for (int32_t refused : {AT, ATE0}) {
        SCOPED_TRACE(refused);
        const std::size_t before = worker.CommandIds().size();
        worker.AnswerNext(refused, {Error("ERROR")});
        ASSERT_EQ(velk_ReadMidInfo(), 1);
        EXPECT_THAT(Finish(), ElementsAre(VELK_MSG_OPENING_REFUSED));
        EXPECT_EQ(IdsFrom(before).back(), refused);
        EXPECT_EQ(CurrentTransferState().resultFlag, 0);
    }
}

TEST_F(ToneTransfers, OpeningGoesOnWhenTheAnswerFollowsAnOtherErrorText) {
    TestTickClock clock(0);
    worker.AnswerNext(AT, {Error("NO CARRIER")});
    ASSERT_EQ(velk_ReadMidInfo(), 1);
    ASSERT_TRUE(worker.WaitForCommands(1));
    worker.PostResult(Done(), AT);
    EXPECT_THAT(Finish(), ElementsAre(VELK_MSG_MID_INFO_READ));
}

struct RefusalCase {
    const char* name;
    int32_t refusedId;
    uint32_t message;
};

TEST_F(ToneTransfers, EachRefusalHasItsMessageAndClearsTheWorkerQueue) {
    const RefusalCase cases[] = {
        {"information", kCmdToneInfo, VELK_MSG_MID_INFO_REFUSED},
        {"read", kCmdToneRead, VELK_MSG_MID_READ_REFUSED},
        {"write", kCmdToneWrite, VELK_MSG_MID_WRITE_REFUSED},
    };
    const std::string body = "abc";
    int clears = 0;
    for (const RefusalCase& c : cases) {
        SCOPED_TRACE(c.name);
        worker.AnswerNext(c.refusedId, {Error("ERROR")});
        const int32_t accepted = c.refusedId == kCmdToneInfo   ? velk_ReadMidInfo()
                                 : c.refusedId == kCmdToneRead ? velk_ReadMid(2)
                                                               : velk_WriteMid(Tone(2, "x", body));
        ASSERT_EQ(accepted, 1);
        EXPECT_THAT(Finish(), ElementsAre(c.message));
        EXPECT_TRUE(worker.WaitForClearPending(++clears));
        EXPECT_EQ(worker.ClearPendingCount(), clears);
        MidInfoRecord* info = nullptr;
        EXPECT_EQ(velk_GetMidInfo(&info), 0) << "nothing to fetch after a refusal";
    }
}

TEST_F(ToneTransfers, ReadResultsFollowWhatThePhoneSent) {
    struct Case {
        const char* name;
        std::vector<Reply> replies;
        uint16_t size;
        std::string text;
        std::string toneName;
    };
    const Case cases[] = {
        {"parts join without their quotes",
         {TonePart(1, "Song", 1, "AAAA", 0, 10), TonePart(1, "Song", 2, "BBBB"),
          TonePart(1, "Song", 3, "CC"), Done()},
         10,
         "AAAABBBBCC",
         "Song"},
        {"an only part states its own length",
         {TonePart(1, "One", 255, "xyz"), Done()},
         3,
         "xyz",
         "One"},
        {"size 128 counts 128 for the high byte",
         {TonePart(1, "Hi", 1, std::string(128, 'h'), 1, 2), TonePart(1, "Hi", 2, "lo"), Done()},
         130,
         std::string(128, 'h') + "lo",
         "Hi"},
        {"text shorter than the size stops the copy",
         {TonePart(1, "S", 1, "ab", 0, 9), Done()},
         2,
         "ab",
         "S"},
        {"a later part without a first part is dropped",
         {TonePart(1, "S", 2, "stray"), Done()},
         0,
         "",
         ""},
        {"no part at all gives an empty tone", {Done()}, 0, "", ""},
        {"a name longer than ten is cut",
         {TonePart(1, "ABCDEFGHIJKL", 255, "q"), Done()},
         1,
         "q",
         "ABCDEFGHIJ"},
    };
    // A first read that leaves text behind, which no later read may show.
    worker.AnswerNext(kCmdToneRead, {TonePart(9, "Old", 255, "old text"), Done()});
    ASSERT_EQ(velk_ReadMid(9), 1);
    Finish();
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        worker.AnswerNext(kCmdToneRead, c.replies);
        ASSERT_EQ(velk_ReadMid(1), 1);
        EXPECT_THAT(Finish(), ElementsAre(VELK_MSG_MID_READ));
        MidRecord* tone = nullptr;
        ASSERT_EQ(velk_GetMidData(&tone), 1);
        EXPECT_EQ(tone->id, 1);
        EXPECT_EQ(tone->size, c.size);
        EXPECT_EQ(std::string(reinterpret_cast<char*>(tone->data), tone->size), c.text);
        EXPECT_EQ(std::string(tone->name, tone->nameLength), c.toneName);
    }
}

TEST_F(ToneTransfers, WriteStopsAtAZeroByteButKeepsTheDeclaredChunkCount) {
    std::string body(200, 'z');
    body[130] = '\0';
    ASSERT_EQ(velk_WriteMid(Tone(1, "T", body)), 1);
    Finish();
    const auto chunks = ToneChunks(worker);
    ASSERT_EQ(chunks.size(), 2u);
    EXPECT_EQ(chunks[0].bodyLength, 128);
    EXPECT_EQ(chunks[1].bodyLength, 2);
}

}  // namespace
}  // namespace velk::test
