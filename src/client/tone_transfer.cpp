#include "client/tone_transfer.h"

#include <algorithm>
#include <cstring>

namespace velk {

void ToneTransfer::TakeWrite(MidRecordPtr record, std::string text) {
    chunkCount = static_cast<uint8_t>(record->size / kToneChunkChars);
    chunkRest = static_cast<uint8_t>(record->size % kToneChunkChars);
    writeRecord = std::move(record);
    writeText = std::move(text);
}

std::string ToneTransfer::ChunkBody() {
    const std::size_t start = std::min<std::size_t>(
        static_cast<std::size_t>(chunkIndex - 1) * kToneChunkChars, writeText.size());
    std::string body = writeText.substr(start, kToneChunkChars);
    if (chunkIndex > chunkCount) writeText.clear();
    return body;
}

void ToneTransfer::EndWrite() {
    chunkIndex = 1;
    writeRecord.reset();
}

void ToneTransfer::FillReadData() {
    RemoveQuotes(readText);
    const std::size_t count = std::min<std::size_t>(readRecord->size, readText.size());
    if (count != 0) std::memcpy(readRecord->data, readText.data(), count);
    readRecord->size = static_cast<uint16_t>(count);
}

}  // namespace velk
