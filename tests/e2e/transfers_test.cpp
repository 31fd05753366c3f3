// Ring tones and images crossing the line whole: the exact command lines of
// a write, what a read hands back, what stays in the phone, and how a chunk
// without an answer and a cancel in the middle of a write end.
#include "e2e_link.h"

namespace velk::test {
namespace {

// One AT+RNGW= line of the tone "Tune" in slot 4.
std::string ToneChunk(int index, const std::string& sizes, const std::string& body) {
    return "AT+RNGW=4,\"Tune\",2,1," + std::to_string(index) + "," + sizes + "," + body + "," +
           std::to_string(phonesim::ChunkCheck(body));
}

class TransferTest : public PhoneLinkTest {
  protected:
    void SetUp() override {
        PhoneLinkTest::SetUp();
        // Image 1: frames 1 and 2; image 2: frames 10 to 12; image 3: frame
        // 300, of which only the low byte (44) goes on the line.
        model.AddImage(2, 1);
        model.AddImage(3, 10);
        model.AddImage(1, 300);
        ASSERT_EQ(Begin(), 1);
    }

    bool SentLast(const std::string& prefix) {
        return Eventually([&] {
            const Lines lines = phone.ReceivedLines();
            return !lines.empty() && lines.back().rfind(prefix, 0) == 0;
        });
    }
    // Lets the phone's silence to the line beginning with `prefix` run out.
    void LapseWhenSent(const std::string& prefix) {
        ASSERT_TRUE(SentLast(prefix));
        clock.AwaitWaiters(1);
        clock.Advance(10050);
    }

    MidRecord* FetchTone(uint8_t slot) {
        MidRecord* tone = nullptr;
        EXPECT_TRUE(Request([&] { return velk_ReadMid(slot); }));
        EXPECT_EQ(window.UntilFinal(), Messages{VELK_MSG_MID_READ});
        EXPECT_EQ(velk_GetMidData(&tone), 1);
        return tone;
    }
};

// The text ends at a zero byte, but the size still gives the chunk count.
TEST_F(TransferTest, ToneWriteSendsItsChunksByteExactAndThePhoneKeepsTheTone) {
    const std::string p = Pattern(261, 3);
    std::string zero = p;
    zero[100] = '\0';
    const struct {
        std::string body;
        Lines lines;
    } cases[] = {
        {"", {"AT+RNGW=4,\"Tune\",2,1,1,0,0,,0"}},
        {"abc", {"AT+RNGW=4,\"Tune\",2,1,1,0,3,abc,99"}},
        {p.substr(0, 100), {ToneChunk(1, "0,100", p.substr(0, 100))}},
        {p.substr(0, 128),
         {ToneChunk(1, "1,0", p.substr(0, 128)), "AT+RNGW=4,\"Tune\",2,1,2,,,,0"}},
        {p,
         {ToneChunk(1, "2,5", p.substr(0, 128)), ToneChunk(2, ",", p.substr(128, 128)),
          ToneChunk(3, ",", p.substr(256, 5))}},
        {zero,
         {ToneChunk(1, "2,5", p.substr(0, 100)), ToneChunk(2, ",", ""), ToneChunk(3, ",", "")}},
    };
    for (auto c : cases) {
        SCOPED_TRACE(c.body.size());
        const std::size_t before = phone.ReceivedLines().size();
        ASSERT_TRUE(Request([&] { return velk_WriteMid(ToneRecord(4, "Tune", c.body)); }));
        EXPECT_EQ(window.UntilFinal(), Messages{VELK_MSG_MID_WRITTEN});
        Lines expected{"AT", "ATE0"};
        expected.insert(expected.end(), c.lines.begin(), c.lines.end());
        EXPECT_EQ(LinesFrom(before), expected);
        const auto held = model.ToneAt(4);
        ASSERT_TRUE(held.has_value());
        EXPECT_EQ(held->name, "Tune");
        EXPECT_EQ(held->text, c.body.substr(0, c.body.find('\0')));
    }
}

TEST_F(TransferTest, ToneReadReturnsWhatThePhoneSent) {
    const std::string part = Pattern(128, 8);
    const std::string check = std::to_string(phonesim::ChunkCheck(part));
    // A tone the phone holds (`reply` empty), or a reply of odd shape.
    const struct {
        uint8_t slot;
        std::string name, text;
        Lines reply{};
    } cases[] = {
        {7, "Bells", Pattern(1, 1)},
        {7, "Bells", Pattern(128, 2)},
        {7, "Bells", Pattern(129, 3)},
        {7, "Bells", Pattern(300, 4)},
        {7, "Bells", Pattern(1000, 5)},
        {5, "NameOfTwelve", "abc"},  // the name is cut to its field
        {8, "", "", {"OK"}},         // an empty slot: an empty tone, not the last one read
        // More stated than brought: the tone is what came.
        {2, "Short", part, {"+RNGR: 2,\"Short\",1,3,2,44,\"" + part + "\"," + check, "OK"}},
        // A later part without a first one is dropped.
        {9,
         "",
         "",
         {"+RNGR: 9,\"S\",2,2,,,\"stray\"," + std::to_string(phonesim::ChunkCheck("stray")), "OK"}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name + " " + std::to_string(c.text.size()));
        if (c.reply.empty()) model.SetTone(c.slot, c.name, c.text);
        if (!c.reply.empty()) phone.Reply("AT+RNGR=" + std::to_string(c.slot), c.reply);
        MidRecord* tone = FetchTone(c.slot);
        ASSERT_NE(tone, nullptr);
        EXPECT_EQ(tone->id, c.slot);
        EXPECT_EQ(std::string(tone->name, tone->nameLength), c.name.substr(0, 10));
        EXPECT_EQ(Text(tone->data, tone->size), c.text);
    }
}

// The largest tone a write takes, with a name that fills its field.
TEST_F(TransferTest, LargestToneWrittenThenReadComesBackTheSame) {
    std::string body = Pattern(32511, 9);
    ASSERT_TRUE(Request([&] { return velk_WriteMid(ToneRecord(4, "TenLetters", body)); }));
    EXPECT_EQ(window.UntilFinal(), Messages{VELK_MSG_MID_WRITTEN});
    MidRecord* tone = FetchTone(4);
    ASSERT_NE(tone, nullptr);
    EXPECT_EQ(std::string(tone->name, tone->nameLength), "TenLetters");
    EXPECT_EQ(Text(tone->data, tone->size), body);
}

TEST_F(TransferTest, ImageWriteSendsThirteenChunksAFrameFromTheImagesFirstFrame) {
    const struct {
        std::size_t size;
        std::size_t frames;  // written: a rest shorter than a frame is not sent
        Messages messages;
    } cases[] = {
        {3 * kFrame, 3, {1224, 1224, 1224, VELK_MSG_ANIM_WRITTEN}},
        {3000, 1, {1224, VELK_MSG_ANIM_WRITTEN}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.size);
        std::string data = Frames(3, 20).substr(0, c.size);
        const std::size_t before = phone.ReceivedLines().size();
        ASSERT_TRUE(Request([&] { return velk_WriteAnim(ImageRecord(2, "Anim", data)); }));
        EXPECT_EQ(window.UntilFinal(), c.messages);

        const Lines lines = LinesFrom(before);
        ASSERT_EQ(lines.size(), 5 + 13 * c.frames);
        EXPECT_EQ(Lines(lines.begin(), lines.begin() + 5),
                  (Lines{"AT", "ATE0", "AT+IMGINF", "AT", "ATE0"}));
        for (std::size_t f = 0; f < c.frames; ++f) {
            const std::string onLine = "6040" + data.substr(f * kFrame, kFrame);
            for (std::size_t chunk = 1; chunk <= 13; ++chunk) {
                const std::string body = onLine.substr((chunk - 1) * 128, 128);
                // animParam: 25, the frame count in two digits, 04
                const std::string expected =
                    "AT+IMGW=" + std::to_string(10 + f) + ",\"Anim\",2,1," + std::to_string(chunk) +
                    "," + (chunk == 1 ? "12,4" : ",") + ",\"250" + std::to_string(c.frames) +
                    "04\"," + body + "," + std::to_string(phonesim::ChunkCheck(body));
                EXPECT_EQ(lines[5 + f * 13 + chunk - 1], expected) << f << " " << chunk;
            }
            EXPECT_EQ(model.FrameAt(static_cast<int>(10 + f)), onLine);
        }
    }
}

TEST_F(TransferTest, ImageReadJoinsTheFramesWithoutTheirHeads) {
    const std::string frames = Frames(3, 40);
    for (int f = 0; f < 3; ++f) model.SetFrame(10 + f, "6040" + frames.substr(f * kFrame, kFrame));
    ASSERT_EQ(velk_ReadAnim(2), 1);
    EXPECT_EQ(window.UntilFinal(), (Messages{VELK_MSG_ANIM_READ_PROGRESS,
                                             VELK_MSG_ANIM_READ_PROGRESS, VELK_MSG_ANIM_READ}));
    EXPECT_EQ(phone.ReceivedLines(), (Lines{"AT", "ATE0", "AT+IMGINF", "AT", "ATE0", "AT+IMGR=10",
                                            "AT+IMGR=11", "AT+IMGR=12"}));
    AnimRecord* image = nullptr;
    ASSERT_EQ(velk_GetAnimData(&image), 1);
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(image->id, 2);
    EXPECT_EQ(std::string(image->name, image->nameLength), "Sunrise");
    EXPECT_EQ(Text(image->data, image->size), frames);
    EXPECT_EQ(image->animParamFirst, 25);
    EXPECT_EQ(image->animParamLast, 10);

    // The information read on the way is there too.
    AnimInfoRecord* info = nullptr;
    ASSERT_EQ(velk_GetAnimInfo(&info), 1);
    ASSERT_NE(info, nullptr);
    EXPECT_EQ(std::string(info->name, info->nameLength), "Pictures");
    EXPECT_EQ(info->infoNumber1, 1);
    EXPECT_EQ(info->infoNumber5, 5);
    EXPECT_EQ(std::vector<uint16_t>(info->frameRanges, info->frameRanges + info->frameRangeCount),
              (std::vector<uint16_t>{2, 1, 3, 10, 1, 300}));

    // A one-frame image has no progress; only the low byte of its number counts.
    model.SetFrame(44, "6040" + Frames(1, 7));
    ASSERT_TRUE(Request([] { return velk_ReadAnim(3); }));
    EXPECT_EQ(window.UntilFinal(), Messages{VELK_MSG_ANIM_READ});
    EXPECT_EQ(phone.ReceivedLines().back(), "AT+IMGR=44");
}

// Any number the phone does not list ends the operation after the
// information step, with nothing read or written.
TEST_F(TransferTest, ImageNumberThePhoneDoesNotListEndsAfterTheInformation) {
    for (const uint8_t id : {0, 4}) {
        SCOPED_TRACE(static_cast<int>(id));
        const std::size_t before = phone.ReceivedLines().size();
        ASSERT_TRUE(Request([&] { return velk_ReadAnim(id); }));
        EXPECT_EQ(window.UntilFinal(), Messages{VELK_MSG_ANIM_READ_REFUSED});
        EXPECT_EQ(LastError(), Cause(-1, "the phone lists no image " + std::to_string(id)));
        std::string frames = Frames(1, 1);
        ASSERT_TRUE(Request([&] { return velk_WriteAnim(ImageRecord(id, "Anim", frames)); }));
        EXPECT_EQ(window.UntilFinal(), Messages{VELK_MSG_ANIM_WRITE_REFUSED});
        EXPECT_EQ(LinesFrom(before), (Lines{"AT", "ATE0", "AT+IMGINF", "AT", "ATE0", "AT+IMGINF"}));
    }
}

// A refused information step ends the transfer and releases the image table
// it would have used; the next information read is only that.
TEST_F(TransferTest, RefusedInformationStepEndsTheTransferForGood) {
    std::string frames = Frames(1, 2);
    const std::function<int32_t()> transfers[] = {
        [] { return velk_ReadAnim(1); },
        [&] { return velk_WriteAnim(ImageRecord(1, "Anim", frames)); },
    };
    for (const auto& transfer : transfers) {
        ASSERT_TRUE(Request(velk_ReadAnimInfo));
        EXPECT_EQ(window.UntilFinal(), Messages{VELK_MSG_ANIM_INFO_READ});
        model.AnswerNext("AT+IMGINF", 1, {"ERROR"});
        ASSERT_TRUE(Request(transfer));
        EXPECT_EQ(window.UntilFinal(), Messages{VELK_MSG_ANIM_INFO_REFUSED});

        ASSERT_TRUE(Request(velk_ReadMidInfo));
        EXPECT_EQ(window.UntilFinal(), Messages{VELK_MSG_MID_INFO_READ});
        AnimInfoRecord* info = reinterpret_cast<AnimInfoRecord*>(1);
        EXPECT_EQ(velk_GetAnimInfo(&info), 1);
        EXPECT_EQ(info, nullptr) << "the refused read released the table";

        const std::size_t before = phone.ReceivedLines().size();
        ASSERT_TRUE(Request(velk_ReadAnimInfo));
        EXPECT_EQ(window.UntilFinal(), Messages{VELK_MSG_ANIM_INFO_READ});
        EXPECT_TRUE(window.Quiet(50));
        EXPECT_EQ(LinesFrom(before), (Lines{"AT", "ATE0", "AT+IMGINF"}));
    }
}

// A chunk without an answer ends the write as timed out; the next write
// starts again at chunk 1, with all of its tone or image.
TEST_F(TransferTest, ChunkWithoutAnswerTimesOutAndTheNextWriteStartsAtChunkOne) {
    phone.AddRule({"AT+RNGW=4,\"Stall\",2,1,2,", true, PhoneAction::kSilence, {}});
    std::string tone = Pattern(300, 5);
    ASSERT_EQ(velk_WriteMid(ToneRecord(4, "Stall", tone)), 1);
    LapseWhenSent("AT+RNGW=4,\"Stall\",2,1,2,");
    EXPECT_EQ(window.UntilFinal(), Messages{VELK_MSG_TIMED_OUT});
    ASSERT_TRUE(Request([&] { return velk_WriteMid(ToneRecord(4, "Tune", tone)); }));
    EXPECT_EQ(window.UntilFinal(), Messages{VELK_MSG_MID_WRITTEN});
    EXPECT_EQ(model.ToneAt(4)->text, tone);

    phone.AddRule({"AT+IMGW=10,\"Stall\",2,1,5,", true, PhoneAction::kSilence, {}});
    std::string frames = Frames(2, 7);
    ASSERT_TRUE(Request([&] { return velk_WriteAnim(ImageRecord(2, "Stall", frames)); }));
    LapseWhenSent("AT+IMGW=10,\"Stall\",2,1,5,");
    EXPECT_EQ(window.UntilFinal(), Messages{VELK_MSG_TIMED_OUT});
    const std::size_t before = phone.ReceivedLines().size();
    ASSERT_TRUE(Request([&] { return velk_WriteAnim(ImageRecord(2, "Anim", frames)); }));
    EXPECT_EQ(window.UntilFinal(), (Messages{1224, 1224, VELK_MSG_ANIM_WRITTEN}));
    const Lines lines = LinesFrom(before);
    ASSERT_GT(lines.size(), 5u);
    EXPECT_EQ(lines[5].rfind("AT+IMGW=10,\"Anim\",2,1,1,12,4,", 0), 0u) << lines[5];
    EXPECT_EQ(model.FrameAt(11), "6040" + frames.substr(kFrame));
}

TEST_F(TransferTest, CancelDuringAnImageWriteIsSilentAndTheRebuiltLinkServes) {
    phone.AddRule({"AT+IMGW=11,\"Stall\",2,1,3,", true, PhoneAction::kSilence, {}});
    std::string frames = Frames(3, 11);
    ASSERT_EQ(velk_WriteAnim(ImageRecord(2, "Stall", frames)), 1);
    ASSERT_TRUE(SentLast("AT+IMGW=11,\"Stall\",2,1,3,"));
    EXPECT_EQ(window.Next(), std::optional<uint32_t>(VELK_MSG_ANIM_WRITE_PROGRESS));

    int32_t cancelled = 0;
    EXPECT_LT(MillisecondsOf([&] { cancelled = velk_CancelCurrentAction(); }), 1000);
    EXPECT_EQ(cancelled, 1);
    EXPECT_TRUE(window.Quiet(100)) << "no message follows a cancel";
    EXPECT_EQ(velk_CancelCurrentAction(), 0) << "nothing runs on the rebuilt link";
    EXPECT_EQ(model.FrameAt(10), "6040" + frames.substr(0, kFrame)) << "the phone keeps frame 10";
    // The restart set the line up again with the rate and flow of the start.
    termios line{};
    ASSERT_TRUE(phone.LineSettings(line));
    EXPECT_EQ(cfgetospeed(&line), static_cast<speed_t>(B115200));
    EXPECT_NE(line.c_iflag & IXON, 0u);
    EXPECT_EQ(line.c_cflag & CRTSCTS, 0u);

    ASSERT_EQ(velk_ReadMidInfo(), 1);
    EXPECT_EQ(window.UntilFinal(), Messages{VELK_MSG_MID_INFO_READ});
    ASSERT_TRUE(Request([&] { return velk_WriteAnim(ImageRecord(2, "Anim", frames)); }));
    EXPECT_EQ(window.UntilFinal(), (Messages{1224, 1224, 1224, VELK_MSG_ANIM_WRITTEN}));
    EXPECT_EQ(model.FrameAt(12), "6040" + frames.substr(2 * kFrame));
}

}  // namespace
}  // namespace velk::test
