// One direction of a serial line at a given rate: ten bits a byte (start bit,
// eight data bits, stop bit), one byte after the other. A byte that is ready
// starts when the line is free and has crossed one byte time later. At rate
// 0 the line is unpaced: every byte has crossed at once.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>

namespace velk::phonesim {

class LinePacer {
  public:
    using Clock = std::chrono::steady_clock;

    explicit LinePacer(uint32_t baud = 0);

    bool Paced() const { return byteTime_.count() > 0; }
    std::chrono::nanoseconds ByteTime() const { return byteTime_; }

    // When `count` more bytes, ready from `ready` on, have crossed.
    Clock::time_point Finish(Clock::time_point ready, std::size_t count) const;
    // How many of `count` bytes, ready from `ready` on, have crossed by `now`.
    std::size_t Crossed(Clock::time_point ready, Clock::time_point now, std::size_t count) const;
    // The line carries `count` bytes ready from `ready` on.
    void Take(Clock::time_point ready, std::size_t count);

  private:
    std::chrono::nanoseconds byteTime_{0};
    Clock::time_point free_{};  // when the line has carried all it took
};

}  // namespace velk::phonesim
