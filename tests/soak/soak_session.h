// A long run of random operations of all six kinds against the simulated
// phone, in stretches ("segments") of one phone each: a healthy phone, one
// that refuses a command, a silent one or one that hangs up, each of them
// perhaps noisy or sending its replies in small pieces. Every operation the
// library takes must end with exactly one final window message; what a read
// brings back must be what the phone holds, and what a write reports as
// written must be in the phone's store. On a healthy phone every operation
// must succeed.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "phone_sim/phone_simulator.h"
#include "platform/tick_clock.h"
#include "support/window_reader.h"

namespace velk::test {

enum class SoakFault { kNone, kRefusal, kSilence, kHangUp };
inline constexpr std::size_t kSoakFaults = 4;
inline constexpr std::size_t kSoakKinds = 6;

// What the process holds on the heap and in memory, in bytes. The heap
// figure is 0 under a sanitizer, whose allocator the C library cannot see.
struct MemoryUse {
    std::size_t heapInUse = 0;
    std::size_t resident = 0;
    static MemoryUse Now();
};

struct SoakFigures {
    std::size_t operations = 0;  // taken by the library
    std::array<std::size_t, kSoakKinds> byKind{};
    std::array<std::size_t, kSoakFaults> segmentsByFault{};
    std::size_t noisySegments = 0;
    std::size_t splitSegments = 0;
    std::size_t succeeded = 0;  // ended with the operation's good message
    std::size_t timedOut = 0;   // 1139
    std::size_t refused = 0;    // any other final message
    std::size_t checkedReads = 0;
    std::size_t checkedWrites = 0;
    MemoryUse start;  // after the first segment
    MemoryUse end;
};

// Environment variable `name` as a count, or `fallback`.
int CountFromEnvironment(const char* name, int fallback);

class SoakSession {
  public:
    // `clock` must be installed before the first link starts.
    SoakSession(TestTickClock& clock, uint32_t seed);

    // Runs `operations` operations; failures are reported to the running
    // test.
    void Run(int operations);
    const SoakFigures& Figures() const { return figures_; }
    std::string Summary() const;

  private:
    struct Segment {
        SoakFault fault = SoakFault::kNone;
        phonesim::SimulatorOptions options;
    };

    Segment PickSegment();
    // Runs up to `budget` operations on one phone; the number taken.
    int RunSegment(const Segment& segment, int budget);
    // One operation: false when the link is gone after it.
    bool RunOperation(const Segment& segment, phonesim::PhoneSimulator& phone);
    // The messages up to the first final one.
    std::vector<uint32_t> AwaitFinal(SoakFault fault);

    TestTickClock& clock_;
    std::mt19937 random_;
    WindowReader window_;
    SoakFigures figures_;
    std::size_t segments_ = 0;
};

}  // namespace velk::test
