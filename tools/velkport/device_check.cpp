#include "velkport/device_check.h"

#include <cerrno>
#include <cstring>

#include "velkport/command_io.h"
#include "velkport/line_probe.h"

namespace velk::cli {
namespace {

std::string InUseSentence(const std::string& path, const std::optional<DeviceHolder>& holder) {
    const std::string device = "the device " + path + " is in use by ";
    if (!holder) return device + "another program";
    const std::string process = "process " + std::to_string(holder->pid);
    if (holder->command.empty()) return device + process;
    if (holder->command == "ModemManager") {
        return device + "ModemManager (" + process +
               "), which probes every new modem device: tell it to leave the phone alone with a "
               "udev rule (see velkport(1))";
    }
    return device + holder->command + " (" + process + ")";
}

}  // namespace

std::string DeviceOfPort(uint8_t port) {
    return "/dev/ttyS" + std::to_string(port - 1);
}

// NOLINTNEXTLINE(bugprone-easily-swappable-parameters): the device, then what it did
std::string DeviceFaultSentence(const std::string& path, TtyFault fault, int error, uint32_t baud,
                                const std::optional<DeviceHolder>& holder) {
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
            if (error == EISDIR) return device + " is a directory, no serial port";
            // Another open marked the device exclusive.
            if (error == EBUSY) return InUseSentence(path, holder);
            return device + " could not be opened: " + std::strerror(error);
        case TtyFault::kLocked:
            return InUseSentence(path, holder);
        case TtyFault::kNotATerminal:
            return device + " is no serial port";
        case TtyFault::kSettingsRefused:
            return device + " refused the line settings (8 data bits, no parity, one stop bit)";
        case TtyFault::kRateRefused:
            return device + " refused the rate of " + std::to_string(baud) + " baud";
    }
    return device + " could not be opened";
}

// NOLINTNEXTLINE(bugprone-easily-swappable-parameters): the device, then how
std::optional<DeviceProblem> CheckDevice(const std::string& path, uint32_t baud, bool softwareFlow,
                                         bool probe, InterruptPipe& interrupt) {
    TtyFault fault = TtyFault::kNone;
    const int fd = OpenTtyPort(path.c_str(), fault);
    if (fd < 0) {
        const int error = errno;
        const bool busy = fault == TtyFault::kLocked || error == EBUSY;
        return DeviceProblem{kExitNoDevice,
                             DeviceFaultSentence(path, fault, error, baud,
                                                 busy ? FindDeviceHolder(path) : std::nullopt)};
    }
    fault = ConfigureTtyPort(fd, baud, softwareFlow);
    const int error = errno;
    ProbeResult answer = ProbeResult::kAnswered;
    if (fault == TtyFault::kNone && probe) answer = ProbeLine(fd, interrupt);
    CloseTtyPort(fd);
    if (fault != TtyFault::kNone) {
        return DeviceProblem{kExitNoDevice, DeviceFaultSentence(path, fault, error, baud)};
    }
    switch (answer) {
        case ProbeResult::kAnswered:
            return std::nullopt;
        case ProbeResult::kSilent:
            return DeviceProblem{kExitNoAnswer,
                                 "no answer to AT on " + path + " within " +
                                     std::to_string(kProbeMs / 1000) +
                                     " s: is the phone connected, switched on, and is this its "
                                     "port?"};
        case ProbeResult::kHungUp:
            return DeviceProblem{kExitLinkLost, "the line on " + path + " ended as AT was sent"};
        case ProbeResult::kInterrupted:
            return DeviceProblem{kExitInterrupted, "interrupted before the link started"};
    }
    return std::nullopt;
}

}  // namespace velk::cli
