// The memory of a shared queue, byte for byte as every process that maps it
// sees it (little-endian):
//
//   offset  size        field
//   0       4           totalSize   whole mapping: dataSize + capacity * 8 + 272
//   4       4           capacity    most items held, at least 1
//   8       260         name        the queue's name, NUL-ended, zero-filled
//   268     4           lastIndex   index of the newest item; -1 when empty
//   272     8 * cap.    directory   per item: offset into the data area and
//                                   length, slot 0 the oldest
//   ...     dataSize    data area   a ring of item bytes; an item may run
//                                   over the end and go on at the start
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>

namespace velk {

static_assert(std::endian::native == std::endian::little,
              "the queue's memory is little-endian for both parties");

inline constexpr std::size_t kQueueNameFieldSize = 260;
inline constexpr int32_t kMaxQueueItemLength = 10000;

struct SharedQueueHeader {
    uint32_t totalSize;
    int32_t capacity;
    char name[kQueueNameFieldSize];
    int32_t lastIndex;
};

struct SharedQueueSlot {
    int32_t offset;
    int32_t length;
};

static_assert(offsetof(SharedQueueHeader, capacity) == 4);
static_assert(offsetof(SharedQueueHeader, name) == 8);
static_assert(offsetof(SharedQueueHeader, lastIndex) == 268);
static_assert(sizeof(SharedQueueHeader) == 272);
static_assert(sizeof(SharedQueueSlot) == 8);

inline constexpr std::size_t kQueueHeaderSize = sizeof(SharedQueueHeader);

// The size of a queue's mapping; 0 when the numbers give no queue or one too
// big for the 32-bit fields.
inline constexpr uint32_t QueueTotalSize(int64_t capacity, int64_t dataSize) {
    if (capacity < 1 || dataSize < 1) return 0;
    const int64_t total = dataSize + capacity * 8 + static_cast<int64_t>(kQueueHeaderSize);
    return total > INT32_MAX ? 0 : static_cast<uint32_t>(total);
}

}  // namespace velk
