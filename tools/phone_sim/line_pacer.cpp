#include "phone_sim/line_pacer.h"

#include <algorithm>

namespace velk::phonesim {
namespace {

constexpr int64_t kBitsPerByte = 10;
constexpr int64_t kNanosPerSecond = 1'000'000'000;

}  // namespace

LinePacer::LinePacer(uint32_t baud) {
    if (baud > 0) {
        // Rounded to the nearest nanosecond: a drift of under one in a
        // hundred thousand at the usual rates.
        byteTime_ = std::chrono::nanoseconds((kBitsPerByte * kNanosPerSecond + baud / 2) / baud);
    }
}

LinePacer::Clock::time_point LinePacer::Finish(Clock::time_point ready, std::size_t count) const {
    return std::max(free_, ready) + byteTime_ * static_cast<int64_t>(count);
}

// NOLINTNEXTLINE(bugprone-easily-swappable-parameters): earlier point first
std::size_t LinePacer::Crossed(Clock::time_point ready, Clock::time_point now,
                               std::size_t count) const {
    if (!Paced()) return count;
    const auto start = std::max(free_, ready);
    if (now <= start) return 0;
    const auto whole = static_cast<std::size_t>((now - start) / byteTime_);
    return std::min(whole, count);
}

void LinePacer::Take(Clock::time_point ready, std::size_t count) {
    if (Paced()) free_ = Finish(ready, count);
}

}  // namespace velk::phonesim
