// A look at the serial device before the link starts: the library's start
// says only yes or no, so the program opens and locks the device itself for
// a moment to tell its user which device failed and why.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "platform/tty_port.h"

namespace velk::cli {

// The device the library opens for port `port` when no other was mapped.
std::string DeviceOfPort(uint8_t port);

// Why `path` cannot carry the link, as one sentence that names it, or
// nothing when it opened and took the line settings. The device is closed
// again before this returns.
std::optional<std::string> CheckDevice(const std::string& path, uint32_t baud, bool softwareFlow);

// The sentence for a fault of `path`, with errno `error` of the failing call.
std::string DeviceFaultSentence(const std::string& path, TtyFault fault, int error, uint32_t baud);

}  // namespace velk::cli
