// The ring-tone operations of CATTransferThread: the information read, the
// read of one tone and the write of one tone. A tone's body is text that the
// library passes through; on the line it travels in +RNGR lines when read and
// in AT+RNGW= chunks of at most 128 characters when written.
#include <algorithm>
#include <cstring>

#include "client/transfer_thread.h"
#include "engine/message_numbers.h"

namespace velk {
namespace {

constexpr std::size_t kToneChunkChars = 128;
// The part number of a +RNGR line that carries the whole tone.
constexpr uint8_t kOnlyPart = 255;

}  // namespace

void CATTransferThread::OnRequestReadMidInfo(const ThreadMessage&) {
    OpenWith(kStateToneInfo);
}

void CATTransferThread::OnRequestReadMid(const ThreadMessage& message) {
    midSlot = static_cast<uint8_t>(message.lParam);
    {
        std::lock_guard<std::mutex> hold(stateLock);
        if (transferState != kStateIdle) return;
    }
    midReadStarted = false;
    OpenWith(kStateToneRead);
}

void CATTransferThread::OnRequestWriteMid(const ThreadMessage&) {
    midChunkIndex = 1;
    OpenWith(kStateToneWrite);
}

void CATTransferThread::SendToneInfo() {
    SendCommand(NewCommand(kCmdToneInfo));
}

void CATTransferThread::SendToneRead() {
    SendSingle(kCmdToneRead, midSlot);
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
    midInfo = std::move(info);
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
        midReadRecord = std::move(record);
        midReadText.clear();
        midReadStarted = true;
    } else if (!midReadStarted) {
        // A later part with no first part has no record to go with.
        return;
    }
    midReadText += '"';
    midReadText.append(line.text, strnlen(line.text, sizeof line.text));
    midReadText += '"';
}

void CATTransferThread::OnToneInfoDone() {
    EndOperation(1);
    PostWindow(VELK_MSG_MID_INFO_READ);
}

void CATTransferThread::OnToneReadDone() {
    if (!midReadStarted) {
        // The slot holds nothing: the client gets an empty tone, never the
        // one an earlier read left behind.
        MidRecordPtr record = NewMidRecord(0);
        record->id = midSlot;
        midReadRecord = std::move(record);
        midReadText.clear();
    }
    EndOperation(1);
    PostWindow(VELK_MSG_MID_READ);
}

// One chunk of the tone: the whole chunks of 128 characters first, then the
// short rest, which always goes out, empty when the size is a multiple of 128.
void CATTransferThread::ToneChunkStep() {
    if (!midWriteRecord) {
        PostWindow(VELK_MSG_MID_WRITE_REFUSED);
        EndOperation(0);
        return;
    }
    // Chunk n starts at character 128 (n - 1) of the text, which stays whole
    // until the last chunk: no chunk moves the rest of the tone.
    const std::size_t start = std::min<std::size_t>(
        static_cast<std::size_t>(midChunkIndex - 1) * kToneChunkChars, midWriteText.size());
    midChunkText.assign(midWriteText, start, kToneChunkChars);
    if (midChunkIndex > midChunkCount) midWriteText.clear();

    CommandBlockPtr block = NewCommand(kCmdToneWrite);
    if (!block) {
        // Out of memory counts as a post that failed.
        ResetToneWrite();
        return;
    }
    RequestToneChunk& chunk = block->request.toneChunk;
    chunk.slot = midWriteRecord->id;
    chunk.nameLength = static_cast<uint8_t>(
        CopyName(chunk.name, sizeof chunk.name, midWriteRecord->name, midWriteRecord->nameLength));
    chunk.kind = 2;
    chunk.flag = 1;
    chunk.chunkIndex = midChunkIndex;
    if (midChunkIndex == 1) {
        chunk.chunkCount = midChunkCount;
        chunk.chunkRest = midChunkRest;
    }
    chunk.bodyLength = static_cast<uint8_t>(midChunkText.size());
    std::memcpy(chunk.body, midChunkText.data(), midChunkText.size());
    chunk.check = ChunkCheck(midChunkText);
    // One chunk only may be in flight.
    pendingCommands.clear();
    if (!SendCommand(std::move(block))) ResetToneWrite();
}

void CATTransferThread::OnToneChunkDone() {
    ++midChunkIndex;
    if (midChunkIndex <= midChunkCount + 1) {
        ToneChunkStep();
        return;
    }
    ResetToneWrite();
    PostWindow(VELK_MSG_MID_WRITTEN);
    EndOperation(1);
}

void CATTransferThread::ResetToneWrite() {
    midChunkIndex = 1;
    midWriteRecord.reset();
}

// The joined text loses its quotes and fills the record's buffer, never past
// the size that the phone stated nor past the text that came.
void CATTransferThread::FillMidData() {
    RemoveQuotes(midReadText);
    const std::size_t count = std::min<std::size_t>(midReadRecord->size, midReadText.size());
    if (count != 0) std::memcpy(midReadRecord->data, midReadText.data(), count);
    midReadRecord->size = static_cast<uint16_t>(count);
}

}  // namespace velk
