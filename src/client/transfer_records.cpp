#include "client/transfer_records.h"

#include <algorithm>
#include <cstring>
#include <new>

namespace velk {
namespace {

// Records and their buffers come from plain new so that the deleters can
// release any record whatever path made it.
uint8_t* NewBytes(std::size_t size) {
    return size == 0 ? nullptr : new uint8_t[size]();
}

}  // namespace

void MidInfoDeleter::operator()(MidInfoRecord* record) const {
    delete record;
}

void MidRecordDeleter::operator()(MidRecord* record) const {
    if (!record) return;
    delete[] record->data;
    delete record;
}

void AnimInfoDeleter::operator()(AnimInfoRecord* record) const {
    if (!record) return;
    delete[] record->frameRanges;
    delete record;
}

void AnimRecordDeleter::operator()(AnimRecord* record) const {
    if (!record) return;
    delete[] record->data;
    delete record;
}

MidInfoPtr NewMidInfo() {
    return MidInfoPtr(new MidInfoRecord());
}

MidRecordPtr NewMidRecord(std::size_t dataSize) {
    MidRecordPtr record(new MidRecord());
    record->data = NewBytes(dataSize);
    return record;
}

AnimInfoPtr NewAnimInfo(std::size_t rangeCount) {
    AnimInfoPtr record(new AnimInfoRecord());
    if (rangeCount != 0) record->frameRanges = new uint16_t[rangeCount]();
    return record;
}

AnimRecordPtr NewAnimRecord(std::size_t dataSize) {
    AnimRecordPtr record(new AnimRecord());
    record->data = NewBytes(dataSize);
    return record;
}

uint8_t* CopyBytes(std::string_view bytes) {
    uint8_t* copy = NewBytes(bytes.size());
    if (copy) std::memcpy(copy, bytes.data(), bytes.size());
    return copy;
}

std::size_t CopyName(char* target, std::size_t capacity, const char* source, std::size_t count) {
    const std::size_t n = std::min(count, capacity);
    std::memcpy(target, source, n);
    return n;
}

uint8_t ChunkCheck(std::string_view chunk) {
    uint8_t check = 0;
    for (char c : chunk) check ^= static_cast<uint8_t>(c);
    return check ^ static_cast<uint8_t>(chunk.size());
}

std::string TextUpToZero(const uint8_t* data, std::size_t limit) {
    if (!data) return {};
    const auto* text = reinterpret_cast<const char*>(data);
    return std::string(text, strnlen(text, limit));
}

void RemoveQuotes(std::string& text) {
    std::erase(text, '"');
}

}  // namespace velk
