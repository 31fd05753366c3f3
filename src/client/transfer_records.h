// The four records of the export boundary as the transfer thread holds them:
// each with the buffer it points to, released together. The records
// themselves are the plain C structs of the public header, so that the
// address handed to the application is the held object.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "velkport.h"

namespace velk {

struct MidInfoDeleter {
    void operator()(MidInfoRecord* record) const;
};
struct MidRecordDeleter {
    void operator()(MidRecord* record) const;
};
struct AnimInfoDeleter {
    void operator()(AnimInfoRecord* record) const;
};
struct AnimRecordDeleter {
    void operator()(AnimRecord* record) const;
};

using MidInfoPtr = std::unique_ptr<MidInfoRecord, MidInfoDeleter>;
using MidRecordPtr = std::unique_ptr<MidRecord, MidRecordDeleter>;
using AnimInfoPtr = std::unique_ptr<AnimInfoRecord, AnimInfoDeleter>;
using AnimRecordPtr = std::unique_ptr<AnimRecord, AnimRecordDeleter>;

// Zero-filled records; `dataSize` zeroed bytes at `data` (none for 0).
MidInfoPtr NewMidInfo();
MidRecordPtr NewMidRecord(std::size_t dataSize);
AnimInfoPtr NewAnimInfo(std::size_t rangeCount);
AnimRecordPtr NewAnimRecord(std::size_t dataSize);

// A new[] copy of `bytes`, nullptr when empty.
uint8_t* CopyBytes(std::string_view bytes);

// The longest name a record holds.
inline constexpr std::size_t kRecordNameBytes = 10;

// Copies min(count, capacity) bytes of `source` to `target` and returns the
// number copied; the rest of `target` is left as it was.
std::size_t CopyName(char* target, std::size_t capacity, const char* source, std::size_t count);

// The check value of a chunk: the exclusive-or of its bytes and of its
// length taken as one byte. "abc" gives 99.
uint8_t ChunkCheck(std::string_view chunk);

// The text at `data` up to its first zero byte, never past `limit` bytes.
std::string TextUpToZero(const uint8_t* data, std::size_t limit);

// Removes every double-quote character.
void RemoveQuotes(std::string& text);

}  // namespace velk
