// The image operations end to end over the stand-in worker: the information
// step, the frames on the line, the progress and final window messages.
#include <gmock/gmock.h>

#include "link_fixture.h"

namespace velk::test {
namespace {

using ::testing::ElementsAre;
using ImageTransfers = LinkTest;

constexpr std::size_t kFrame = 1536;

// Image 1: 2 frames from frame 5; image 2: 3 frames from frame 10; image 3:
// 1 frame, number 300, of which only the low byte (44) counts.
const std::vector<uint16_t> kTable = {2, 5, 3, 10, 1, 300};

std::string FrameText(char fill) {
    std::string frame;
    for (std::size_t i = 0; i < kFrame; ++i) frame += static_cast<char>(fill + i % 7);
    return frame;
}

// The +IMGR lines of one frame as the phone sends it: the head in front of
// the first part, 128 characters a part.
std::vector<Reply> FrameLines(uint8_t frame, const std::string& text, uint8_t p1 = 25,
                              uint8_t p3 = 4) {
    const std::string line = "6040" + text;
    std::vector<Reply> replies;
    for (std::size_t at = 0, part = 1; at < line.size(); at += 128, ++part) {
        replies.push_back(
            ImagePart(frame, "Pic", static_cast<uint8_t>(part), line.substr(at, 128), p1, p3));
    }
    replies.push_back(Done());
    return replies;
}

std::vector<RequestImageChunk> ImageChunks(const StandInWorker& worker) {
    std::vector<RequestImageChunk> chunks;
    for (const ATCommandBlock& b : worker.Commands()) {
        if (b.commandId == kCmdImageWrite) chunks.push_back(b.request.imageChunk);
    }
    return chunks;
}

AnimRecord Image(uint8_t id, const std::string& data) {
    AnimRecord r{};
    r.id = id;
    r.nameLength = 3;
    std::memcpy(r.name, "Pic", 3);
    r.size = static_cast<uint16_t>(data.size());
    r.data = reinterpret_cast<uint8_t*>(const_cast<char*>(data.data()));
    r.animParamFirst = 25;
    r.animParamLast = 4;
    return r;
}

class ImageTransfersWithTable : public ImageTransfers {
  protected:
    void SetUp() override {
        ImageTransfers::SetUp();
        worker.Answer(kCmdImageInfo, {ImageInfo("Album", kTable), Done()});
    }
};

TEST_F(ImageTransfersWithTable, InformationAloneIsTold) {
    ASSERT_EQ(velk_ReadAnimInfo(), 1);
    EXPECT_THAT(Finish(), ElementsAre(VELK_MSG_ANIM_INFO_READ));
    EXPECT_THAT(worker.CommandIds(), ElementsAre(AT, ATE0, kCmdImageInfo));
    AnimInfoRecord* info = nullptr;
    ASSERT_EQ(velk_GetAnimInfo(&info), 1);
    ASSERT_NE(info, nullptr);
    EXPECT_STREQ(info->name, "Album");
    EXPECT_EQ(info->nameLength, 5);
    EXPECT_EQ(info->infoNumber1, 1);
    EXPECT_EQ(info->infoNumber5, 5);
    ASSERT_EQ(info->frameRangeCount, kTable.size());
    EXPECT_EQ(std::vector<uint16_t>(info->frameRanges, info->frameRanges + info->frameRangeCount),
              kTable);
}

TEST_F(ImageTransfersWithTable, ReadOfOneFrameHasNoProgressAndUsesTheLowByte) {
    worker.AnswerNext(kCmdImageRead, FrameLines(44, FrameText('q')));
    ASSERT_EQ(velk_ReadAnim(3), 1);
    EXPECT_THAT(Finish(), ElementsAre(VELK_MSG_ANIM_READ));
    EXPECT_EQ(worker.Commands().back().request.slot.slot, 44);
}

TEST_F(ImageTransfersWithTable, ReadWithoutTheImageStartEndsRefused) {
    // Frame 11's lines answer the question for frame 10: no start comes.
    worker.AnswerNext(kCmdImageRead, FrameLines(11, FrameText('a')));
    worker.AnswerNext(kCmdImageRead, FrameLines(11, FrameText('a')));
    worker.AnswerNext(kCmdImageRead, FrameLines(12, FrameText('a')));
    ASSERT_EQ(velk_ReadAnim(2), 1);
    EXPECT_EQ(Finish().back(), VELK_MSG_ANIM_READ_REFUSED);
}

TEST_F(ImageTransfersWithTable, WriteSendsOnlyWholeFrames) {
    const std::string data = FrameText('a') + std::string(3000 - kFrame, 'r');
    ASSERT_EQ(velk_WriteAnim(Image(1, data)), 1);
    EXPECT_THAT(Finish(), ElementsAre(VELK_MSG_ANIM_WRITE_PROGRESS, VELK_MSG_ANIM_WRITTEN));
    const auto chunks = ImageChunks(worker);
    ASSERT_EQ(chunks.size(), 13u);
    EXPECT_EQ(chunks[0].slot, 5);
    EXPECT_EQ(chunks[0].animParamSecond, 1);
}

TEST_F(ImageTransfersWithTable, EachRefusalHasItsMessage) {
    struct Case {
        const char* name;
        int32_t refusedId;
        int (*start)();
        uint32_t message;
    };
    static const std::string data = FrameText('a') + FrameText('b');
    const Case cases[] = {
        {"information alone", kCmdImageInfo, [] { return velk_ReadAnimInfo(); },
         VELK_MSG_ANIM_INFO_REFUSED},
        {"information of a read", kCmdImageInfo, [] { return velk_ReadAnim(1); },
         VELK_MSG_ANIM_INFO_REFUSED},
        {"information of a write", kCmdImageInfo, [] { return velk_WriteAnim(Image(1, data)); },
         VELK_MSG_ANIM_INFO_REFUSED},
        {"a frame of a read", kCmdImageRead, [] { return velk_ReadAnim(1); },
         VELK_MSG_ANIM_READ_REFUSED},
        {"a chunk of a write", kCmdImageWrite, [] { return velk_WriteAnim(Image(1, data)); },
         VELK_MSG_ANIM_WRITE_REFUSED},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        worker.AnswerNext(c.refusedId, {Error("ERROR")});
        ASSERT_EQ(c.start(), 1);
        EXPECT_EQ(Finish().back(), c.message);
        EXPECT_EQ(CurrentTransferState().resultFlag, 0);
    }
}

}  // namespace
}  // namespace velk::test
