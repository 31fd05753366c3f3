#include "velkport/device_check.h"

#include <cerrno>
#include <cstring>

namespace velk::cli {

std::string DeviceOfPort(uint8_t port) {
    return "/dev/ttyS" + std::to_string(port - 1);
}

// NOLINTNEXTLINE(bugprone-easily-swappable-parameters): the device, then what it did
std::string DeviceFaultSentence(const std::string& path, TtyFault fault, int error, uint32_t baud) {
    const std::string device = "the device " + path;
    switch (fault) {
        case TtyFault::kNone:
            break;
        case TtyFault::kOpenRefused:
            if (error == ENOENT || error == ENXIO || error == ENODEV) {
                return device + " does not exist: is the phone plugged in, and is this its name?";
            }
            if (error == EACCES || error == EPERM) {
                return "no permission to open " + path +
                       ": add yourself to the group that owns it (usually dialout: sudo "
                       "usermod -aG dialout $USER, then log in again)";
            }
            if (error == EBUSY) {
                return device +
                       " is held by another program; ModemManager is the usual one, as it "
                       "probes every new modem device";
            }
            return device + " could not be opened: " + std::strerror(error);
        case TtyFault::kLocked:
            return device +
                   " is in use by another program; ModemManager is the usual one, as it probes "
                   "every new modem device";
        case TtyFault::kNotATerminal:
            return device + " is no serial port";
        case TtyFault::kSettingsRefused:
            return device + " refused the line settings (8 data bits, no parity, one stop bit)";
        case TtyFault::kRateRefused:
            return device + " refused the rate of " + std::to_string(baud) + " baud";
    }
    return device + " could not be opened";
}

std::optional<std::string> CheckDevice(const std::string& path, uint32_t baud, bool softwareFlow) {
    TtyFault fault = TtyFault::kNone;
    const int fd = OpenTtyPort(path.c_str(), fault);
    if (fd < 0) return DeviceFaultSentence(path, fault, errno, baud);
    fault = ConfigureTtyPort(fd, baud, softwareFlow);
    const int error = errno;
    CloseTtyPort(fd);
    if (fault != TtyFault::kNone) return DeviceFaultSentence(path, fault, error, baud);
    return std::nullopt;
}

}  // namespace velk::cli
