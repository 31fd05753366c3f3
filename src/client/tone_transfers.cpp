// The ring-tone operations of CATTransferThread: the information read, the
// read of one tone and the write of one tone. A tone's body is text that the
// library passes through; on the line it travels in +RNGR lines when read and
// in AT+RNGW= chunks of at most 128 characters when written.
#include <algorithm>
#include <cstring>

#include "client/last_failure.h"
#include "client/transfer_thread.h"
#include "engine/message_numbers.h"

namespace velk {
namespace {

// The part number of a +RNGR line that carries the whole tone.
constexpr uint8_t kOnlyPart = 255;

}  // namespace

void CATTransferThread::OnRequestReadMidInfo(const ThreadMessage&) {
    OpenWith(kStateToneInfo);
}

void CATTransferThread::OnRequestReadMid(const ThreadMessage& message) {
    tone.slot = static_cast<uint8_t>(message.lParam);
    {
        std::lock_guard<std::mutex> hold(stateLock);
        if (transferState != kStateIdle) return;
    }
    tone.readStarted = false;
    OpenWith(kStateToneRead);
}

void CATTransferThread::OnRequestWriteMid(const ThreadMessage&) {
    tone.chunkIndex = 1;
    OpenWith(kStateToneWrite);
}

void CATTransferThread::SendToneInfo() {
    SendCommand(NewCommand(kCmdToneInfo));
}

void CATTransferThread::SendToneRead() {
    SendSingle(kCmdToneRead, tone.slot);
}

// +RNGI: <name>,<number1>,<number2>,<number3>
// A reply of several lines leaves the last.
void CATTransferThread::OnToneInfo(const ATCommandBlock& block) {
    const ResultToneInfo& line = block.result.toneInfo;
    MidInfoPtr info = NewMidInfo();
    CopyName(info->name, sizeof info->name, line.infoName,
             strnlen(line.infoName, sizeof line.infoName));
    info->infoNumber1 = line.infoNumber1;
    info->infoNumber2 = line.infoNumber2;
    info->infoNumber3 = line.infoNumber3;
    tone.info = std::move(info);
}

// +RNGR: <slot>,<name>,<part>,<parts>,<size or length>,...,<text>,<check>
// Part 1 of several states the tone's size as a high and a low count (128
// and not 256 the weight of the high one); an only part (255) states the
// length of its text. Every text waits between double quotes until the
// client fetches the tone.
void CATTransferThread::OnTonePart(const ATCommandBlock& block) {
    const ResultTonePart& line = block.result.tonePart;
    if (line.part == 1 || line.part == kOnlyPart) {
        const uint16_t size = line.part == kOnlyPart
                                  ? line.textLength
                                  : static_cast<uint16_t>(line.sizeHigh * 128 + line.sizeLow);
        MidRecordPtr record = NewMidRecord(size);
        record->id = line.index;
        record->nameLength = static_cast<uint16_t>(
            CopyName(record->name, sizeof record->name, line.name, line.nameLength));
        record->size = size;
        tone.readRecord = std::move(record);
        tone.readText.clear();
        tone.readStarted = true;
    } else if (!tone.readStarted) {
        // A later part with no first part has no record to go with.
        return;
    }
    tone.readText += '"';
    tone.readText.append(line.text, strnlen(line.text, sizeof line.text));
    tone.readText += '"';
}

void CATTransferThread::OnToneInfoDone() {
    EndOperation(1);
    PostWindow(VELK_MSG_MID_INFO_READ);
}

void CATTransferThread::OnToneReadDone() {
    if (!tone.readStarted) {
        // The slot holds nothing: the client gets an empty tone, never the
        // one an earlier read left behind.
        MidRecordPtr record = NewMidRecord(0);
        record->id = tone.slot;
        tone.readRecord = std::move(record);
        tone.readText.clear();
    }
    EndOperation(1);
    PostWindow(VELK_MSG_MID_READ);
}

// One chunk of the tone; the last one always goes out.
void CATTransferThread::ToneChunkStep() {
    if (!tone.writeRecord) {
        RecordLastFailure(kNoPhoneError, kNothingToWriteText);
        PostWindow(VELK_MSG_MID_WRITE_REFUSED);
        EndOperation(0);
        return;
    }
    const std::string body = tone.ChunkBody();
    CommandBlockPtr block = NewCommand(kCmdToneWrite);
    if (!block) {
        // Out of memory counts as a post that failed.
        ResetToneWrite();
        return;
    }
    const MidRecord& record = *tone.writeRecord;
    RequestToneChunk& chunk = block->request.toneChunk;
    chunk.slot = record.id;
    chunk.nameLength = static_cast<uint8_t>(
        CopyName(chunk.name, sizeof chunk.name, record.name, record.nameLength));
    chunk.kind = 2;
    chunk.flag = 1;
    chunk.chunkIndex = tone.chunkIndex;
    if (tone.chunkIndex == 1) {
        chunk.chunkCount = tone.chunkCount;
        chunk.chunkRest = tone.chunkRest;
    }
    chunk.bodyLength = static_cast<uint8_t>(body.size());
    std::memcpy(chunk.body, body.data(), body.size());
    chunk.check = ChunkCheck(body);
    // One chunk only may be in flight.
    pendingCommands.clear();
    if (!SendCommand(std::move(block))) ResetToneWrite();
}

void CATTransferThread::OnToneChunkDone() {
    ++tone.chunkIndex;
    if (tone.chunkIndex <= tone.chunkCount + 1) {
        ToneChunkStep();
        return;
    }
    ResetToneWrite();
    PostWindow(VELK_MSG_MID_WRITTEN);
    EndOperation(1);
}

void CATTransferThread::ResetToneWrite() {
    tone.EndWrite();
}

}  // namespace velk
