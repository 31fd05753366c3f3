// Reads a fuzzer's input as a stream of small values. Past the end every
// read gives zero or an empty text, so a short input is still a valid one.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

namespace velk::fuzz {

class FuzzInput {
  public:
    FuzzInput(const uint8_t* data, std::size_t size) : data_(data), size_(size) {}

    bool Empty() const { return pos_ >= size_; }
    std::size_t Left() const { return size_ - pos_; }

    uint8_t Byte() { return pos_ < size_ ? data_[pos_++] : 0; }

    uint16_t Word() {
        const uint16_t high = Byte();
        return static_cast<uint16_t>(high << 8 | Byte());
    }

    uint32_t Long() {
        const uint32_t high = Word();
        return high << 16 | Word();
    }

    // Up to `count` bytes as they come, NUL bytes included.
    std::string Text(std::size_t count) {
        count = std::min(count, Left());
        std::string text(reinterpret_cast<const char*>(data_ + pos_), count);
        pos_ += count;
        return text;
    }

    // A length byte, then that many bytes (at most `limit`).
    std::string ShortText(std::size_t limit) { return Text(std::min<std::size_t>(Byte(), limit)); }

    // Fills `field` with up to its size in bytes; the rest stays as it was.
    void Fill(void* field, std::size_t size) {
        const std::size_t count = std::min(size, Left());
        if (count != 0) std::memcpy(field, data_ + pos_, count);
        pos_ += count;
    }

    // Everything not read yet.
    std::string Rest() { return Text(Left()); }

  private:
    const uint8_t* data_;
    std::size_t size_;
    std::size_t pos_ = 0;
};

}  // namespace velk::fuzz
