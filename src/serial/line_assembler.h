// Cuts the byte stream from the phone into lines. A line is whatever ends in
// CR LF; it is handed on with its CR LF. A line of CR LF alone (the blank
// line a phone puts before each reply) is dropped. A CR or an LF on its own
// is an ordinary byte of the line, also as the first byte.
//
// The phone's lines are far shorter than the buffer. Should one not fit all
// the same (line noise, a stuck sender), the assembler drops that whole line
// up to its CR LF and starts the next one fresh, rather than going deaf.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <utility>

namespace velk {

class LineAssembler {
  public:
    static constexpr uint32_t kLineCapacity = 8192;

    // Gets each complete line with its CR LF; the bytes stay valid only for
    // the call.
    using LineSink = std::function<void(const char* line, uint32_t length)>;

    explicit LineAssembler(LineSink sink) : sink_(std::move(sink)) {}

    // Takes the next bytes from the port, in the order they came.
    void Feed(const char* bytes, std::size_t count);

    // Forgets the line being collected.
    void Reset();

    // The bytes of the line being collected; never above kLineCapacity.
    uint32_t LineLength() const { return lineLength_; }

    // True while the rest of an over-long line is being dropped.
    bool Discarding() const { return discarding_; }

  private:
    void Deliver(char byte);
    void Discard(char byte);

    LineSink sink_;
    std::array<char, kLineCapacity> lineBuffer_{};
    uint32_t lineLength_ = 0;
    bool discarding_ = false;
    bool discardSawCr_ = false;  // the last dropped byte was CR
};

}  // namespace velk
