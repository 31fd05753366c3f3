// One AT on the line before the link starts. The library's opening tries AT
// three times with 10 s each before it gives up; a phone that is not there at
// all is told much sooner by asking once and waiting a few seconds.
#pragma once

#include <cstdint>
#include <string_view>

#include "velkport/interrupt_pipe.h"

namespace velk::cli {

inline constexpr uint32_t kProbeMs = 3000;

enum class ProbeResult {
    kAnswered,     // a final line came: OK, ERROR or an error code
    kSilent,       // nothing but the echo, noise or nothing at all in time
    kHungUp,       // the line ended
    kInterrupted,  // Ctrl-C
};

// Whether `received` holds a line that ends a command.
bool HoldsFinalLine(std::string_view received);

// Sends AT on the open, configured port `fd` and waits up to `timeoutMs` on
// the tick clock for the phone's final line. Ctrl-C (through `interrupt`)
// ends the wait at once.
ProbeResult ProbeLine(int fd, InterruptPipe& interrupt, uint32_t timeoutMs = kProbeMs);

}  // namespace velk::cli
