// What CATTransferThread keeps of the ring-tone operations: the records they
// fill or send, the text of the tone on its way, and the cursor of a write.
// A tone's body is text that the library passes through; it is written in
// chunks of 128 characters, the whole chunks first and then the short rest,
// which always goes out, empty when the size is a multiple of 128.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "client/transfer_records.h"

namespace velk {

inline constexpr std::size_t kToneChunkChars = 128;
// The chunk index is one byte and must reach count + 2 to end a write.
inline constexpr uint16_t kLargestTone = 32512;

struct ToneTransfer {
    // Handed out to, or taken over from, the exports under stateLock.
    MidInfoPtr info;           // last ring-tone information
    MidRecordPtr readRecord;   // last ring tone read
    MidRecordPtr writeRecord;  // the ring tone being written
    std::string readText;      // the parts read so far, each between double quotes
    std::string writeText;     // the text of the tone being written
    uint8_t chunkCount = 0;    // whole chunks of the tone being written
    uint8_t chunkRest = 0;     // length of its last, short chunk

    // The transfer thread's own.
    uint8_t chunkIndex = 1;    // the chunk being written, from 1
    uint8_t slot = 0;          // slot of the running read
    bool readStarted = false;  // the running read has had its first part

    // Takes over the record and text of a write; the size gives the chunks.
    void TakeWrite(MidRecordPtr record, std::string text);
    // The body of chunk `chunkIndex`. Chunk n starts at character 128 (n - 1)
    // of the text, which stays whole until the last chunk.
    std::string ChunkBody();
    // After a write, good or not, the next one starts at chunk 1.
    void EndWrite();
    // The joined text loses its quotes and fills the read record's buffer,
    // never past the size that the phone stated nor past the text that came.
    void FillReadData();
};

}  // namespace velk
