// Commands that came while another one was on the line, in order of arrival.
// Each entry is a heap copy of a whole request block. Worker thread only.
#pragma once

#include <cstddef>
#include <deque>
#include <vector>

namespace velk {

class ParkedCommands {
  public:
    // Appends a copy of `size` bytes; false when memory ran out (the command
    // is then lost without a word).
    bool Push(const void* block, std::size_t size) noexcept;
    // Copies the oldest entry into `buffer`, unlinks and frees it. False when
    // the list is empty or the entry does not fit in `size` bytes.
    bool Pop(void* buffer, std::size_t size);
    // Size of the oldest entry, 0 when empty.
    std::size_t FrontSize() const;
    std::size_t Count() const { return entries_.size(); }
    bool Empty() const { return entries_.empty(); }
    void Clear() { entries_.clear(); }

  private:
    std::deque<std::vector<unsigned char>> entries_;
};

}  // namespace velk
