// The image operations of CATTransferThread: the image information read, and
// the read and the write of one image. The phone keeps pictures as numbered
// frames; the +IMGINF reply tells which run of frames makes which image, so
// a read or a write is an information read first and the transfer second,
// each with its own opening.
//
// An image crosses the export boundary as frames of 1536 characters with
// nothing between them. On the line each frame has the four characters
// "6040" in front: the write puts them there, the read drops the first four
// characters of a frame whatever they are.
#include <algorithm>
#include <cstring>
#include <string_view>

#include "client/transfer_thread.h"
#include "engine/message_numbers.h"

namespace velk {
namespace {

constexpr std::size_t kFrameChars = 1536;
constexpr std::size_t kImageChunkChars = 128;
constexpr char kFrameHead[] = "6040";
// The opening quote and the frame head that a frame's first part drops.
constexpr std::size_t kFirstPartDrop = 5;
constexpr std::size_t kLargestImage = 0xFFFF;
// Frame numbers are single bytes, so no image spans more frames than this.
constexpr uint16_t kMostFrames = 256;

constexpr int32_t kFollowUpNone = 0;
constexpr int32_t kFollowUpRead = 1;
constexpr int32_t kFollowUpWrite = 2;

// Number of the chunk within the frame being written, from 1. It belongs to
// the process rather than to one link; only the transfer thread of the link
// that stands uses it.
uint8_t animChunkIndex = 1;

}  // namespace

void CATTransferThread::ResetImageChunkIndex() {
    animChunkIndex = 1;
}

// ---- the image table -----------------------------------------------------

// Image n (from 1) has its number of frames at place 2n-2 of the table and
// the number of its first frame at place 2n-1.
bool CATTransferThread::ImageListed(uint8_t id) const {
    return animInfo && id >= 1 && 2u * id <= animInfo->frameRangeCount;
}

uint8_t CATTransferThread::FirstFrameOf(uint8_t id) const {
    return static_cast<uint8_t>(animInfo->frameRanges[2 * id - 1] & 0xFF);
}

uint16_t CATTransferThread::FrameCountOf(uint8_t id) const {
    return std::min(animInfo->frameRanges[2 * id - 2], kMostFrames);
}

void CATTransferThread::ReleaseAnimInfo() {
    animInfo.reset();
}

void CATTransferThread::ReleaseAnimWrite() {
    animWriteRecord.reset();
}

void CATTransferThread::ReleaseAnimRead() {
    animReadRecord.reset();
}

// ---- information -----------------------------------------------------------

void CATTransferThread::OnRequestReadAnimInfo(const ThreadMessage&) {
    OpenWith(kStateImageInfo);
}

void CATTransferThread::SendImageInfo() {
    SendCommand(NewCommand(kCmdImageInfo));
}

// +IMGINF: <name>,<n1>,<n2>,<n3>,<n4>,<n5>,<frames of image 1>,<first frame of image 1>,...
void CATTransferThread::OnImageInfo(ATCommandBlock& block) {
    const ResultImageInfo& line = block.result.imageInfo;
    const WordList* ranges = line.frameRanges;
    const std::size_t count = ranges ? (ranges->size() & 0xFF) : 0;
    AnimInfoPtr info = NewAnimInfo(count);
    info->nameLength = static_cast<uint16_t>(
        CopyName(info->name, kRecordNameBytes, line.infoName, line.nameLength));
    info->infoNumber1 = line.infoNumber1;
    info->infoNumber2 = line.infoNumber2;
    info->infoNumber3 = line.infoNumber3;
    info->infoNumber4 = line.infoNumber4;
    info->infoNumber5 = line.infoNumber5;
    info->frameRangeCount = static_cast<uint8_t>(count);
    if (count != 0) std::copy_n(ranges->begin(), count, info->frameRanges);
    animInfo = std::move(info);
}

// The information step of a read or a write goes on to the transfer through
// the idle state, without telling the client; an image that the table does
// not list ends the operation here.
void CATTransferThread::OnImageInfoDone() {
    const int32_t followUp = followUpAction.exchange(kFollowUpNone);
    if (followUp == kFollowUpRead || followUp == kFollowUpWrite) {
        const bool read = followUp == kFollowUpRead;
        const uint8_t id = read ? animId.load() : (animWriteRecord ? animWriteRecord->id : 0);
        if (!ImageListed(id)) {
            if (!read) ReleaseAnimWrite();
            PostWindow(read ? VELK_MSG_ANIM_READ_REFUSED : VELK_MSG_ANIM_WRITE_REFUSED);
            EndOperation(0);
            return;
        }
        EndOperation(1);
        if (read) {
            PostToSelf(kMsgReadAnimFrames, id);
        } else {
            PostToSelf(kMsgWriteAnimFrames);
        }
        return;
    }
    EndOperation(1);
    PostWindow(VELK_MSG_ANIM_INFO_READ);
}

// ---- read ------------------------------------------------------------------

void CATTransferThread::OnRequestReadAnimFrames(const ThreadMessage& message) {
    const auto id = static_cast<uint8_t>(message.lParam);
    animId = id;
    {
        std::lock_guard<std::mutex> hold(stateLock);
        if (transferState != kStateIdle) return;
    }
    if (!ImageListed(id)) {
        EndIfIdle(VELK_MSG_ANIM_READ_REFUSED);
        return;
    }
    animFirstFrame = FirstFrameOf(id);
    animImageFrames = FrameCountOf(id);
    animFrameNumber = animFirstFrame;
    animReadStarted = false;
    OpenWith(kStateImageRead);
}

void CATTransferThread::SendImageRead() {
    SendSingle(kCmdImageRead, animFrameNumber);
}

// +IMGR: <frame>,<name>,<part>,<parts>,...,"<animParam digits>",<text>,<check>
// The first part of the image's first frame starts the record; every text is
// kept between double quotes, a frame's first part without its head.
void CATTransferThread::OnImagePart(const ATCommandBlock& block) {
    const ResultImagePart& line = block.result.imagePart;
    if (line.index == animFirstFrame && line.part == 1) {
        AnimRecordPtr record = NewAnimRecord(0);
        record->id = animId;
        record->nameLength = static_cast<uint8_t>(
            CopyName(record->name, sizeof record->name, line.name, line.nameLength));
        record->animParamFirst = line.animParam1;
        record->animParamLast = line.animParam3;
        animReadRecord = std::move(record);
        animReadText.clear();
        animReadStarted = true;
    }
    // The part goes on as '"' text '"', straight onto the image's text; a
    // frame's first part without its first kFirstPartDrop characters.
    const std::size_t start = animReadText.size();
    animReadText += '"';
    animReadText.append(line.text, strnlen(line.text, sizeof line.text));
    animReadText += '"';
    if (line.part == 1) {
        animReadText.erase(start, std::min(kFirstPartDrop, animReadText.size() - start));
    }
}

void CATTransferThread::OnImageFrameDone() {
    const int framesDone = static_cast<uint8_t>(animFrameNumber - animFirstFrame) + 1;
    if (framesDone < animImageFrames) {
        ++animFrameNumber;
        SendImageRead();
        PostProgress(VELK_MSG_ANIM_READ_PROGRESS);
        return;
    }
    if (!animReadStarted || !animReadRecord) {
        // The phone never sent the start of the image.
        ReleaseAnimRead();
        PostWindow(VELK_MSG_ANIM_READ_REFUSED);
        EndOperation(0);
        return;
    }
    RemoveQuotes(animReadText);
    const std::size_t size = std::min(animReadText.size(), kLargestImage);
    delete[] animReadRecord->data;
    animReadRecord->data = CopyBytes(std::string_view(animReadText).substr(0, size));
    animReadRecord->size = static_cast<uint16_t>(size);
    EndOperation(1);
    PostWindow(VELK_MSG_ANIM_READ);
}

// ---- write -----------------------------------------------------------------

void CATTransferThread::OnRequestWriteAnimFrames(const ThreadMessage&) {
    {
        std::lock_guard<std::mutex> hold(stateLock);
        if (transferState != kStateIdle) return;
        transferState = kStateImageWrite;
        readyFlag = 0;
        resultFlag = 0;
    }
    const uint8_t id = animWriteRecord ? animWriteRecord->id : 0;
    animFrameCount =
        animWriteRecord ? static_cast<int32_t>(animWriteRecord->size / kFrameChars) : 0;
    if (!ImageListed(id) || animFrameCount == 0) {
        ReleaseAnimWrite();
        PostWindow(VELK_MSG_ANIM_WRITE_REFUSED);
        EndOperation(0);
        return;
    }
    // Each frame is the text at its place up to a zero byte; a rest shorter
    // than a frame is not sent.
    animFrames.clear();
    for (int32_t i = 0; i < animFrameCount; ++i) {
        animFrames.push_back(TextUpToZero(animWriteRecord->data + kFrameChars * i, kFrameChars));
    }
    animFirstFrame = FirstFrameOf(id);
    animFrameNumber = animFirstFrame;
    animChunkIndex = 1;
    SendAttention();
}

// One chunk of a frame. The frame's last chunk carries the rest after its
// whole chunks of 128 (4 characters for a full frame with its head: 13 chunks
// a frame) and moves the frame number on once its own field is set.
void CATTransferThread::ImageChunkStep() {
    if (!animWriteRecord || (animChunkIndex == 1 && animFrames.empty())) {
        ReleaseAnimWrite();
        PostWindow(VELK_MSG_ANIM_WRITE_REFUSED);
        EndOperation(0);
        return;
    }
    CommandBlockPtr block = NewCommand(kCmdImageWrite);
    if (!block) {
        // Out of memory counts as a post that failed.
        ReleaseAnimWrite();
        animChunkIndex = 1;
        return;
    }
    RequestImageChunk& chunk = block->request.imageChunk;
    if (animChunkIndex == 1) {
        animFrameText = kFrameHead + animFrames.front();
        animFrames.pop_front();
        animFrameChunks = static_cast<uint8_t>(animFrameText.size() / kImageChunkChars);
        animFrameRest = static_cast<uint8_t>(animFrameText.size() % kImageChunkChars);
        chunk.chunkCount = animFrameChunks;
        chunk.chunkRest = animFrameRest;
    }
    chunk.slot = animFrameNumber;
    if (animChunkIndex == animFrameChunks + 1) {
        ++animFrameNumber;
        PostProgress(VELK_MSG_ANIM_WRITE_PROGRESS);
    }
    chunk.nameLength = static_cast<uint8_t>(CopyName(
        chunk.name, sizeof chunk.name, animWriteRecord->name, animWriteRecord->nameLength));
    chunk.kind = 2;
    chunk.flag = 1;
    chunk.chunkIndex = animChunkIndex;
    chunk.animParamFirst = animWriteRecord->animParamFirst;
    chunk.animParamSecond = static_cast<uint8_t>(animFrameCount & 0xFF);
    chunk.animParamLast = animWriteRecord->animParamLast;

    // Chunk n starts at character 128 (n - 1) of the frame, which stays
    // whole until its last chunk: no chunk moves the rest of the frame.
    const std::size_t start = std::min<std::size_t>(
        static_cast<std::size_t>(animChunkIndex - 1) * kImageChunkChars, animFrameText.size());
    const std::string_view body = std::string_view(animFrameText).substr(start, kImageChunkChars);
    chunk.bodyLength = static_cast<uint8_t>(body.size());
    std::memcpy(chunk.body, body.data(), body.size());
    chunk.check = ChunkCheck(body);
    if (animChunkIndex > animFrameChunks) animFrameText.clear();

    pendingCommands.clear();
    if (!SendCommand(std::move(block))) {
        ReleaseAnimWrite();
        animChunkIndex = 1;
    }
}

void CATTransferThread::OnImageChunkDone() {
    const int framesStarted = static_cast<uint8_t>(animFrameNumber - animFirstFrame) + 1;
    if (framesStarted <= animFrameCount) {
        ++animChunkIndex;
        if (animChunkIndex > animFrameChunks + 1) animChunkIndex = 1;
        ImageChunkStep();
        return;
    }
    ReleaseAnimWrite();
    PostWindow(VELK_MSG_ANIM_WRITTEN);
    EndOperation(1);
}

}  // namespace velk
