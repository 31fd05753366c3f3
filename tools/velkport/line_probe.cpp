#include "velkport/line_probe.h"

#include <atomic>
#include <string>
#include <thread>

#include "platform/manual_event.h"
#include "platform/tty_port.h"

namespace velk::cli {
namespace {

constexpr char kProbe[] = "AT\r\n";

// The lines a phone ends a command with; anything else (the echo, RING, a
// blank line) is no answer yet.
constexpr std::string_view kFinalLines[] = {"OK", "ERROR", "+CME ERROR", "+CMS ERROR"};

}  // namespace

bool HoldsFinalLine(std::string_view received) {
    std::size_t start = 0;
    while (start < received.size()) {
        std::size_t end = received.find_first_of("\r\n", start);
        if (end == std::string_view::npos) return false;  // the line is not whole yet
        const std::string_view line = received.substr(start, end - start);
        for (const std::string_view final : kFinalLines) {
            if (line.starts_with(final)) return true;
        }
        start = end + 1;
    }
    return false;
}

ProbeResult ProbeLine(int fd, InterruptPipe& interrupt, uint32_t timeoutMs) {
    // Without the pipe nothing could end the wait: leave the question to
    // the library's own opening.
    if (interrupt.Descriptor() < 0) return ProbeResult::kAnswered;

    // The time limit wakes the same descriptor as Ctrl-C, the one stop that
    // the port's wait and write take.
    ManualEvent finished;
    std::atomic<bool> timedOut{false};
    std::thread timer([&] {
        if (!finished.Wait(timeoutMs)) {
            timedOut.store(true);
            interrupt.Wake();
        }
    });

    SetTtyDtr(fd, true);
    ProbeResult result = ProbeResult::kSilent;
    if (!WriteTtyPort(fd, interrupt.Descriptor(), kProbe, sizeof kProbe - 1)) {
        // Held by flow control until the time ran out, or the line failed.
        if (!timedOut.load()) result = ProbeResult::kHungUp;
    } else {
        std::string received;
        char buffer[256];
        for (;;) {
            const PortEvent event = WaitForPortInput(fd, interrupt.Descriptor(), false);
            if (event == PortEvent::kStopped) break;
            const long got =
                event == PortEvent::kFailed ? -1 : ReadTtyPort(fd, buffer, sizeof buffer);
            if (got < 0) {
                result = ProbeResult::kHungUp;
                break;
            }
            received.append(buffer, static_cast<std::size_t>(got));
            if (HoldsFinalLine(received)) {
                result = ProbeResult::kAnswered;
                break;
            }
        }
    }
    finished.Set();
    timer.join();
    if (interrupt.Signalled()) return ProbeResult::kInterrupted;
    // The time limit's wake-up must not end the transfer that follows.
    if (timedOut.load()) interrupt.Drain();
    return result;
}

}  // namespace velk::cli
