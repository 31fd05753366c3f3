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

#include "client/last_failure.h"
#include "client/transfer_thread.h"
#include "engine/message_numbers.h"

namespace velk {
namespace {

// The opening quote and the frame head that a frame's first part drops.
constexpr std::size_t kFirstPartDrop = 5;
constexpr std::size_t kLargestImage = 0xFFFF;

}  // namespace

void CATTransferThread::ReleaseAnimInfo() {
    image.info.reset();
}

void CATTransferThread::ReleaseAnimWrite() {
    image.writeRecord.reset();
}

void CATTransferThread::ReleaseAnimRead() {
    image.readRecord.reset();
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
    image.info = std::move(info);
}

// The information step of a read or a write goes on to the transfer through
// the idle state, without telling the client; an image that the table does
// not list ends the operation here.
void CATTransferThread::OnImageInfoDone() {
    const int32_t followUp = image.followUpAction.exchange(kFollowUpNone);
    if (followUp == kFollowUpRead || followUp == kFollowUpWrite) {
        const bool read = followUp == kFollowUpRead;
        const uint8_t id = read ? image.id.load() : (image.writeRecord ? image.writeRecord->id : 0);
        if (!image.Listed(id)) {
            if (!read) ReleaseAnimWrite();
            RecordLastFailure(CauseOfUnlistedImage(id));
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
    image.id = id;
    {
        std::lock_guard<std::mutex> hold(stateLock);
        if (transferState != kStateIdle) return;
    }
    if (!image.Listed(id)) {
        EndIfIdle(VELK_MSG_ANIM_READ_REFUSED, CauseOfUnlistedImage(id));
        return;
    }
    image.firstFrame = image.FirstFrameOf(id);
    image.imageFrames = image.FrameCountOf(id);
    image.frameNumber = image.firstFrame;
    image.readStarted = false;
    OpenWith(kStateImageRead);
}

void CATTransferThread::SendImageRead() {
    SendSingle(kCmdImageRead, image.frameNumber);
}

// +IMGR: <frame>,<name>,<part>,<parts>,...,"<animParam digits>",<text>,<check>
// The first part of the image's first frame starts the record; every text is
// kept between double quotes, a frame's first part without its head.
void CATTransferThread::OnImagePart(const ATCommandBlock& block) {
    const ResultImagePart& line = block.result.imagePart;
    if (line.index == image.firstFrame && line.part == 1) {
        AnimRecordPtr record = NewAnimRecord(0);
        record->id = image.id;
        record->nameLength = static_cast<uint8_t>(
            CopyName(record->name, sizeof record->name, line.name, line.nameLength));
        record->animParamFirst = line.animParam1;
        record->animParamLast = line.animParam3;
        image.readRecord = std::move(record);
        image.readText.clear();
        image.readStarted = true;
    }
    // The part goes on as '"' text '"', straight onto the image's text; a
    // frame's first part without its first kFirstPartDrop characters.
    std::string& text = image.readText;
    const std::size_t start = text.size();
    text += '"';
    text.append(line.text, strnlen(line.text, sizeof line.text));
    text += '"';
    if (line.part == 1) text.erase(start, std::min(kFirstPartDrop, text.size() - start));
}

void CATTransferThread::OnImageFrameDone() {
    const int framesDone = static_cast<uint8_t>(image.frameNumber - image.firstFrame) + 1;
    if (framesDone < image.imageFrames) {
        ++image.frameNumber;
        SendImageRead();
        PostProgress(VELK_MSG_ANIM_READ_PROGRESS);
        return;
    }
    if (!image.readStarted || !image.readRecord) {
        // The phone never sent the start of the image.
        ReleaseAnimRead();
        RecordLastFailure(kNoPhoneError, kNoImageStartText);
        PostWindow(VELK_MSG_ANIM_READ_REFUSED);
        EndOperation(0);
        return;
    }
    RemoveQuotes(image.readText);
    const std::size_t size = std::min(image.readText.size(), kLargestImage);
    AnimRecord& record = *image.readRecord;
    delete[] record.data;
    record.data = CopyBytes(std::string_view(image.readText).substr(0, size));
    record.size = static_cast<uint16_t>(size);
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
    const AnimRecord* record = image.writeRecord.get();
    const uint8_t id = record ? record->id : 0;
    image.frameCount = record ? static_cast<int32_t>(record->size / kFrameChars) : 0;
    if (!image.Listed(id) || image.frameCount == 0) {
        RecordLastFailure(record && !image.Listed(id)
                              ? CauseOfUnlistedImage(id)
                              : FailureCause{kNoPhoneError, std::string(kNothingToWriteText)});
        ReleaseAnimWrite();
        PostWindow(VELK_MSG_ANIM_WRITE_REFUSED);
        EndOperation(0);
        return;
    }
    // Each frame is the text at its place up to a zero byte; a rest shorter
    // than a frame is not sent.
    image.frames.clear();
    for (int32_t i = 0; i < image.frameCount; ++i) {
        image.frames.push_back(TextUpToZero(record->data + kFrameChars * i, kFrameChars));
    }
    image.firstFrame = image.FirstFrameOf(id);
    image.frameNumber = image.firstFrame;
    image.chunkIndex = 1;
    SendAttention();
}

// One chunk of a frame. The frame's last chunk carries the rest after its
// whole chunks of 128 (4 characters for a full frame with its head: 13 chunks
// a frame) and moves the frame number on once its own field is set.
void CATTransferThread::ImageChunkStep() {
    if (!image.writeRecord || (image.chunkIndex == 1 && image.frames.empty())) {
        RecordLastFailure(kNoPhoneError, kNothingToWriteText);
        ReleaseAnimWrite();
        PostWindow(VELK_MSG_ANIM_WRITE_REFUSED);
        EndOperation(0);
        return;
    }
    CommandBlockPtr block = NewCommand(kCmdImageWrite);
    if (!block) {
        // Out of memory counts as a post that failed.
        ReleaseAnimWrite();
        image.chunkIndex = 1;
        return;
    }
    RequestImageChunk& chunk = block->request.imageChunk;
    if (image.chunkIndex == 1) {
        image.StartFrame();
        chunk.chunkCount = image.frameChunks;
        chunk.chunkRest = image.frameRest;
    }
    chunk.slot = image.frameNumber;
    if (image.chunkIndex == image.frameChunks + 1) {
        ++image.frameNumber;
        PostProgress(VELK_MSG_ANIM_WRITE_PROGRESS);
    }
    const AnimRecord& record = *image.writeRecord;
    chunk.nameLength = static_cast<uint8_t>(
        CopyName(chunk.name, sizeof chunk.name, record.name, record.nameLength));
    chunk.kind = 2;
    chunk.flag = 1;
    chunk.chunkIndex = image.chunkIndex;
    chunk.animParamFirst = record.animParamFirst;
    chunk.animParamSecond = static_cast<uint8_t>(image.frameCount & 0xFF);
    chunk.animParamLast = record.animParamLast;

    const std::string body = image.ChunkBody();
    chunk.bodyLength = static_cast<uint8_t>(body.size());
    std::memcpy(chunk.body, body.data(), body.size());
    chunk.check = ChunkCheck(body);

    pendingCommands.clear();
    if (!SendCommand(std::move(block))) {
        ReleaseAnimWrite();
        image.chunkIndex = 1;
    }
}

void CATTransferThread::OnImageChunkDone() {
    const int framesStarted = static_cast<uint8_t>(image.frameNumber - image.firstFrame) + 1;
    if (framesStarted <= image.frameCount) {
        ++image.chunkIndex;
        if (image.chunkIndex > image.frameChunks + 1) image.chunkIndex = 1;
        ImageChunkStep();
        return;
    }
    ReleaseAnimWrite();
    PostWindow(VELK_MSG_ANIM_WRITTEN);
    EndOperation(1);
}

}  // namespace velk
