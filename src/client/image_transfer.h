// What CATTransferThread keeps of the image operations: the image table of
// the last information read, the records read or written, the frames still
// to be written and the cursors of a transfer.
//
// The phone keeps pictures as numbered frames; image n (from 1) has its
// number of frames at place 2n-2 of the table and the number of its first
// frame at place 2n-1. An image crosses the export boundary as frames of
// 1536 characters with nothing between them.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>

#include "client/transfer_records.h"

namespace velk {

inline constexpr std::size_t kFrameChars = 1536;
inline constexpr std::size_t kImageChunkChars = 128;

// What follows a good image information read (`followUpAction`).
inline constexpr int32_t kFollowUpNone = 0;
inline constexpr int32_t kFollowUpRead = 1;
inline constexpr int32_t kFollowUpWrite = 2;

struct ImageTransfer {
    // Handed out to, or taken over from, the exports under stateLock.
    AnimInfoPtr info;           // last image information
    AnimRecordPtr readRecord;   // last image read
    AnimRecordPtr writeRecord;  // the image being written

    // Written by the exports as well as by the transfer thread.
    std::atomic<int32_t> followUpAction{kFollowUpNone};
    std::atomic<uint8_t> id{1};  // image number of the running read

    // The transfer thread's own.
    std::string readText;            // the parts read so far, each between double quotes
    bool readStarted = false;        // the running read has had the image's start
    std::deque<std::string> frames;  // frames still to be written, front first
    uint8_t frameNumber = 1;         // the phone's frame the running step works on
    uint8_t firstFrame = 1;          // the phone's number of the image's first frame
    uint16_t imageFrames = 0;        // frames of the image being read
    int32_t frameCount = 0;          // frames of the image being written
    uint8_t frameChunks = 0;         // whole chunks of the frame being written
    uint8_t frameRest = 0;           // length of its last, short chunk
    std::string frameText;           // the frame being written, with its head
    // The chunk within the frame being written, from 1. It once belonged to
    // the process rather than to one link; held here the difference cannot
    // be seen, since every write sets it to 1 before its first chunk.
    uint8_t chunkIndex = 1;

    // Whether the table lists image `number`.
    bool Listed(uint8_t number) const;
    // Only the low byte of a frame number goes on the line.
    uint8_t FirstFrameOf(uint8_t number) const;
    // Frame numbers are single bytes, so no image spans more than 256 frames.
    uint16_t FrameCountOf(uint8_t number) const;

    // Takes the next frame to be written off `frames`, with the head "6040"
    // in front of it as it travels on the line, and counts its chunks.
    void StartFrame();
    // The body of chunk `chunkIndex` of the frame. Chunk n starts at
    // character 128 (n - 1) of the frame, which stays whole until its last.
    std::string ChunkBody();
};

}  // namespace velk
