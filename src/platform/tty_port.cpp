#include "platform/tty_port.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <iterator>
#include <optional>

#include "platform/look_before_sleeping.h"
#include "platform/tty_baud.h"

namespace velk {
namespace {

struct StandardRate {
    uint32_t baudRate;
    speed_t code;
};

// The rates that have a constant of their own; any other goes through the
// kernel's arbitrary-rate interface.
constexpr StandardRate kStandardRates[] = {
    {50, B50},           {75, B75},           {110, B110},         {134, B134},
    {150, B150},         {200, B200},         {300, B300},         {600, B600},
    {1200, B1200},       {1800, B1800},       {2400, B2400},       {4800, B4800},
    {9600, B9600},       {19200, B19200},     {38400, B38400},     {57600, B57600},
    {115200, B115200},   {230400, B230400},   {460800, B460800},   {500000, B500000},
    {576000, B576000},   {921600, B921600},   {1000000, B1000000}, {1152000, B1152000},
    {1500000, B1500000}, {2000000, B2000000}, {2500000, B2500000}, {3000000, B3000000},
    {3500000, B3500000}, {4000000, B4000000},
};

const StandardRate* FindStandardRate(uint32_t baudRate) {
    for (const StandardRate& rate : kStandardRates) {
        if (rate.baudRate == baudRate) return &rate;
    }
    return nullptr;
}

// The start and stop characters of XON/XOFF flow: DC1 and DC3.
constexpr cc_t kXon = 17;
constexpr cc_t kXoff = 19;

// A driver may round an arbitrary rate to what its clock divides down to.
// Beyond this it is no longer the rate the phone listens at.
constexpr uint32_t kRateToleranceDivisor = 50;  // 2 %

constexpr tcflag_t kFrameBits = CSIZE | PARENB | CSTOPB | CRTSCTS | CREAD | CLOCAL;
constexpr tcflag_t kFlowInputBits = IXON | IXOFF | IXANY;

void WantedSettings(termios& settings, bool softwareFlow) {
    cfmakeraw(&settings);
    settings.c_cflag &= ~(CSIZE | PARENB | CSTOPB | CRTSCTS);
    settings.c_cflag |= CS8 | CREAD | CLOCAL | HUPCL;
    settings.c_iflag &= ~(kFlowInputBits | INPCK | IGNPAR | PARMRK);
    if (softwareFlow) {
        settings.c_iflag |= IXON | IXOFF;
        settings.c_cc[VSTART] = kXon;
        settings.c_cc[VSTOP] = kXoff;
    } else {
        settings.c_cflag |= CRTSCTS;
    }
    // A read returns at once with what is there; the reader waits in poll().
    settings.c_cc[VMIN] = 0;
    settings.c_cc[VTIME] = 0;
}

bool SameLineSettings(const termios& wanted, const termios& got, bool softwareFlow) {
    if ((wanted.c_cflag & kFrameBits) != (got.c_cflag & kFrameBits)) return false;
    if ((wanted.c_iflag & kFlowInputBits) != (got.c_iflag & kFlowInputBits)) return false;
    if ((got.c_lflag & (ICANON | ECHO | ISIG)) != 0 || (got.c_oflag & OPOST) != 0) return false;
    if (softwareFlow && (got.c_cc[VSTART] != kXon || got.c_cc[VSTOP] != kXoff)) return false;
    return got.c_cc[VMIN] == 0 && got.c_cc[VTIME] == 0;
}

bool RateIsClose(uint32_t wanted, uint32_t got) {
    const uint32_t difference = wanted > got ? wanted - got : got - wanted;
    return difference <= wanted / kRateToleranceDivisor;
}

bool LineHungUp(int fd) {
    pollfd entry{fd, POLLIN, 0};
    int ready;
    do {
        ready = poll(&entry, 1, 0);
    } while (ready < 0 && errno == EINTR);
    return ready < 0 || (entry.revents & (POLLHUP | POLLERR | POLLNVAL)) != 0;
}

}  // namespace

const char* DescribeTtyFault(TtyFault fault) {
    switch (fault) {
        case TtyFault::kNone:
            return "The port is open.";
        case TtyFault::kOpenRefused:
            return "The device could not be opened.";
        case TtyFault::kLocked:
            return "The device is in use by another program or link.";
        case TtyFault::kNotATerminal:
            return "The device is not a serial port.";
        case TtyFault::kSettingsRefused:
            return "The serial port refused the line settings.";
        case TtyFault::kRateRefused:
            return "The serial port refused the baud rate.";
    }
    return "The port could not be opened.";
}

int OpenTtyPort(const char* path, TtyFault& fault) {
    const int fd = open(path, O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0) {
        fault = TtyFault::kOpenRefused;
        return -1;
    }
    // The lock keeps out every other open, also by root and by other
    // processes; the exclusive mark adds the kernel's own refusal for
    // ordinary users. Both end with the close.
    if (flock(fd, LOCK_EX | LOCK_NB) != 0) {
        const int error = errno;
        close(fd);
        errno = error;
        fault = TtyFault::kLocked;
        return -1;
    }
    if (!isatty(fd)) {
        close(fd);
        fault = TtyFault::kNotATerminal;
        return -1;
    }
    (void)ioctl(fd, TIOCEXCL);
    FlushTtyPort(fd);
    fault = TtyFault::kNone;
    return fd;
}

TtyFault ConfigureTtyPort(int fd, uint32_t baudRate, bool softwareFlow) {
    if (baudRate == 0) return TtyFault::kRateRefused;  // B0 would mean: hang up
    termios wanted{};
    if (tcgetattr(fd, &wanted) != 0) return TtyFault::kSettingsRefused;
    WantedSettings(wanted, softwareFlow);
    const StandardRate* standard = FindStandardRate(baudRate);
    if (standard != nullptr &&
        (cfsetispeed(&wanted, standard->code) != 0 || cfsetospeed(&wanted, standard->code) != 0)) {
        return TtyFault::kRateRefused;
    }
    if (tcsetattr(fd, TCSANOW, &wanted) != 0) return TtyFault::kSettingsRefused;
    if (standard == nullptr && !SetArbitraryBaud(fd, baudRate)) return TtyFault::kRateRefused;

    // tcsetattr() succeeds when any one setting took, so look at what stuck.
    termios got{};
    if (tcgetattr(fd, &got) != 0 || !SameLineSettings(wanted, got, softwareFlow)) {
        return TtyFault::kSettingsRefused;
    }
    uint32_t rate = 0;
    if (standard != nullptr) {
        if (cfgetospeed(&got) != standard->code) return TtyFault::kRateRefused;
    } else if (!ReadArbitraryBaud(fd, rate) || !RateIsClose(baudRate, rate)) {
        return TtyFault::kRateRefused;
    }
    return TtyFault::kNone;
}

void SetTtyDtr(int fd, bool raised) {
    const int dtr = TIOCM_DTR;
    // A pseudo-terminal has no modem lines and answers ENOTTY or EINVAL.
    (void)ioctl(fd, raised ? TIOCMBIS : TIOCMBIC, &dtr);
}

void FlushTtyPort(int fd) {
    (void)tcflush(fd, TCIOFLUSH);
}

void CloseTtyPort(int fd) {
    if (fd < 0) return;
    SetTtyDtr(fd, false);
    (void)ioctl(fd, TIOCNXCL);
    FlushTtyPort(fd);
    close(fd);
}

namespace {

// What a poll of the port and its stop descriptor found; nothing when it
// woke for neither (the stop comes first).
std::optional<PortEvent> EventOf(const pollfd (&entries)[2]) {
    if (entries[1].revents != 0) return PortEvent::kStopped;
    // Input that came just before a hang-up is still read; the read that
    // follows it reports the end.
    if ((entries[0].revents & POLLIN) != 0) return PortEvent::kReadable;
    if ((entries[0].revents & (POLLHUP | POLLERR | POLLNVAL)) != 0) return PortEvent::kFailed;
    return std::nullopt;
}

}  // namespace

PortEvent WaitForPortInput(int fd, int stopFd, bool lookFirst) {
    pollfd entries[2] = {{fd, POLLIN, 0}, {stopFd, POLLIN, 0}};
    const LookWindow window(lookFirst);
    bool looking = lookFirst;
    for (;;) {
        const int ready = poll(entries, 2, looking ? 0 : -1);
        if (ready == 0) {
            looking = window.LookAgain();
            continue;
        }
        if (ready < 0) {
            if (errno == EINTR) continue;
            return PortEvent::kFailed;
        }
        if (const std::optional<PortEvent> event = EventOf(entries)) return *event;
    }
}

// NOLINTNEXTLINE(bugprone-easily-swappable-parameters): the port, then its stop descriptor
PortEvent WaitForPortInputWithin(int fd, int stopFd, int quietMs) {
    pollfd entries[2] = {{fd, POLLIN, 0}, {stopFd, POLLIN, 0}};
    const auto until = std::chrono::steady_clock::now() + std::chrono::milliseconds(quietMs);
    for (;;) {
        // A signal does not start the span again: the rest of it is waited.
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
            until - std::chrono::steady_clock::now());
        const int ready = poll(entries, 2, left.count() > 0 ? static_cast<int>(left.count()) : 0);
        if (ready == 0) return PortEvent::kQuiet;
        if (ready < 0) {
            if (errno == EINTR) continue;
            return PortEvent::kFailed;
        }
        if (const std::optional<PortEvent> event = EventOf(entries)) return *event;
    }
}

long ReadTtyPort(int fd, char* buffer, std::size_t size) {
    for (;;) {
        const ssize_t count = read(fd, buffer, size);
        if (count > 0) return static_cast<long>(count);
        // With no minimum count a read finds nothing and returns 0 both when
        // the line has hung up and when the input that woke the reader was
        // flushed before it got to it; only the first is the end.
        if (count == 0) return LineHungUp(fd) ? -1 : 0;
        if (errno == EINTR) continue;
        if (errno == EAGAIN || errno == EWOULDBLOCK) return 0;
        return -1;
    }
}

bool WriteTtyPort(int fd, int stopFd, const char* bytes, std::size_t count) {
    std::size_t done = 0;
    while (done < count) {
        const ssize_t written = write(fd, bytes + done, count - done);
        if (written > 0) {
            done += static_cast<std::size_t>(written);
            continue;
        }
        if (written < 0 && errno == EINTR) continue;
        if (written < 0 && errno != EAGAIN && errno != EWOULDBLOCK) return false;
        // No room: flow control holds the line, or the driver's buffer is
        // full. Wait for room or for the link to stop.
        pollfd entries[2] = {{fd, POLLOUT, 0}, {stopFd, POLLIN, 0}};
        int ready;
        do {
            ready = poll(entries, 2, -1);
        } while (ready < 0 && errno == EINTR);
        if (ready < 0 || entries[1].revents != 0) return false;
        if ((entries[0].revents & (POLLHUP | POLLERR | POLLNVAL)) != 0) return false;
    }
    return true;
}

}  // namespace velk
