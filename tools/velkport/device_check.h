// A look at the serial device before the link starts: the library's start
// says only yes or no, so the program opens and locks the device itself for
// a moment to tell its user which device failed and why, and asks the phone
// one AT to tell a phone that is not there from one that stops answering.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "platform/tty_port.h"
#include "velkport/device_holder.h"
#include "velkport/interrupt_pipe.h"

namespace velk::cli {

// The device the library opens for port `port` when no other was mapped.
std::string DeviceOfPort(uint8_t port);

struct DeviceProblem {
    int exitCode;
    std::string sentence;
};

// Why `path` cannot carry the link, or nothing when it opened, took the line
// settings and (with `probe`) answered AT. The device is closed again
// before this returns.
std::optional<DeviceProblem> CheckDevice(const std::string& path, uint32_t baud, bool softwareFlow,
                                         bool probe, InterruptPipe& interrupt);

// The sentence for a fault of `path`, with errno `error` of the failing call
// and, for a device in use, the process that holds it when known.
std::string DeviceFaultSentence(const std::string& path, TtyFault fault, int error, uint32_t baud,
                                const std::optional<DeviceHolder>& holder = std::nullopt);

}  // namespace velk::cli
