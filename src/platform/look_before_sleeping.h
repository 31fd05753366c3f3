// How long a thread that expects its next piece of work at once looks for it
// before it goes to sleep in the kernel.
//
// While a dialogue with the phone runs, the library's threads hand work to
// one another within microseconds: a line goes from the serial reader to the
// worker, a result to the transfer thread, the next command back, and the
// phone's reply follows the command in tens of microseconds on a fast line.
// A thread asleep in the kernel takes tens of microseconds to wake on another
// core, several times what the work itself takes, and that time would sit
// between a reply and the next command. So a waiting thread first looks for
// its work for a short while, yielding its core between looks so that any
// thread with work (the one it waits for, above all) runs first. A thread
// that finds nothing pays this once and then sleeps; an idle link costs
// nothing.
#pragma once

#include <chrono>

namespace velk {

inline constexpr std::chrono::microseconds kLookBeforeSleeping{100};

// The span of one look; `look` false makes it over from the start.
class LookWindow {
  public:
    explicit LookWindow(bool look = true)
        : until_(look ? std::chrono::steady_clock::now() + kLookBeforeSleeping
                      : std::chrono::steady_clock::time_point{}) {}

    // True while the thread should look again, after giving way to any other
    // thread that has work.
    bool LookAgain() const;

  private:
    std::chrono::steady_clock::time_point until_;
};

// An answer that comes within this comes from a fast line or a phone that
// answers at once. On a serial line a reply takes longer: a chunk and its
// "OK" are 15 ms at 115200 Bd, still 2 ms at 921600 Bd.
inline constexpr std::chrono::microseconds kQuickAnswer{1000};

// Whether the waits of one kind should look before they sleep. On a fast line
// a look catches the work, or most of the time it does; on a serial line the
// reply comes milliseconds later and a look would only burn the processor. So
// such waits look while the last of them ended within kQuickAnswer: a slow
// line stops the looks at its first answer, and a fast one brings them back
// with its first. A habit belongs to one thread.
class LookHabit {
  public:
    bool ShouldLook() const { return lastWasQuick_; }

    // Learns from a wait that began at `start` and has just ended.
    void Learn(std::chrono::steady_clock::time_point start) {
        lastWasQuick_ = std::chrono::steady_clock::now() - start <= kQuickAnswer;
    }

  private:
    bool lastWasQuick_ = true;
};

}  // namespace velk
