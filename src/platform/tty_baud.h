// The kernel's arbitrary-rate interface of a terminal: any rate in bits per
// second, not only the Bxxx constants. It is kept apart from tty_port.cpp
// because its structures come from the kernel's own headers, which clash with
// those of the C library's <termios.h>; this header names neither.
#pragma once

#include <cstdint>

namespace velk {

// Sets the input and output rate of the terminal `fd` to `baudRate`, leaving
// every other setting as it is. False when the driver refuses (errno kept).
bool SetArbitraryBaud(int fd, uint32_t baudRate);

// Reads back the output rate that the driver really uses. False on failure.
bool ReadArbitraryBaud(int fd, uint32_t& baudRate);

}  // namespace velk
