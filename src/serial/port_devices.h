// Which device stands behind a port number. Applications speak of ports by
// number, as on the machines the phones came with; on Linux port N is
// /dev/ttyS<N-1> unless the application maps it to another device (a USB
// adapter, a pseudo-terminal). The link reads the map each time it starts.
#pragma once

#include <cstdint>
#include <string>

namespace velk {

// Maps `port` to `devicePath`; a null path restores the default. Returns 1,
// or 0 for port 0 and for a path that does not fit PATH_MAX with its NUL.
int SetPortDevice(uint8_t port, const char* devicePath);

// The device of `port` now. False for port 0 when it has no mapping.
bool PortDevicePath(uint8_t port, std::string& devicePath);

}  // namespace velk
