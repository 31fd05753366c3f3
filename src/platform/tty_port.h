// The serial device of the link, in the terms of a Linux terminal: opening it
// for this process alone, setting the line up, DTR, waiting for input or for
// room to write beside a stop descriptor, and closing it so that the next
// user, of this process or another, can open it again. Every terminal call of
// the library is made here.
#pragma once

#include <cstddef>
#include <cstdint>

namespace velk {

// Why a device could not be made ready. errno, kept by the failing call,
// tells more for kOpenRefused, kLocked and kRateRefused.
enum class TtyFault {
    kNone,
    kOpenRefused,      // open() failed: no such device, no permission, ...
    kLocked,           // another open of the device holds it
    kNotATerminal,     // the path names something that is no terminal
    kSettingsRefused,  // the driver refused the line settings or did not keep them
    kRateRefused,      // the driver refused the baud rate
};

// One sentence for a fault, for a program to show its user.
const char* DescribeTtyFault(TtyFault fault);

// Opens `path` for reading and writing, non-blocking and without making it
// the controlling terminal, takes an exclusive lock on it, marks it
// exclusive, and throws away whatever waits in its buffers. Returns the
// descriptor, or -1 with `fault` set and nothing left open.
int OpenTtyPort(const char* path, TtyFault& fault);

// Raw 8N1 at `baudRate` (any rate the driver takes), receiver on, modem
// lines ignored, DTR dropped on the last close, reads that never wait; XON/XOFF
// flow with `softwareFlow`, else RTS/CTS. The settings are read back: a driver
// that silently keeps other ones fails too.
TtyFault ConfigureTtyPort(int fd, uint32_t baudRate, bool softwareFlow);

// Raises or drops DTR. A device with no modem lines (a pseudo-terminal) has
// nothing to raise, which is no fault.
void SetTtyDtr(int fd, bool raised);

// Throws away unread input and unsent output.
void FlushTtyPort(int fd);

// Drops DTR, clears the exclusive mark (else no ordinary user could open
// the device again), throws away unsent output so that close() never waits
// for a line held by flow control, and closes. The lock goes with the close.
void CloseTtyPort(int fd);

enum class PortEvent {
    kReadable,  // input is there (or the port is about to report its end)
    kStopped,   // the stop descriptor is set
    kFailed,    // the device hung up or failed
    kQuiet,     // nothing came within the time asked for (WaitForPortInputWithin)
};

// Waits without limit for input on `fd` or for `stopFd` to become readable.
// A stop wins over input that came at the same time. With `lookFirst` it
// looks for either for a short while before it sleeps (look_before_sleeping.h):
// the next reply may be on its way already.
PortEvent WaitForPortInput(int fd, int stopFd, bool lookFirst);

// The same, but kQuiet once `quietMs` have passed with neither. The span is
// the kernel's own poll time-out, real time: it measures how long the line
// was silent, which no test clock can stand for.
PortEvent WaitForPortInputWithin(int fd, int stopFd, int quietMs);

// Reads what is there, at most `size` bytes, without waiting. Returns the
// count, 0 when nothing is there after all (the input was flushed since the
// wait), or -1 when the port is gone (end of file on a line that hung up,
// EIO or any other error).
long ReadTtyPort(int fd, char* buffer, std::size_t size);

// Writes all `count` bytes, waiting for room as long as needed. False when
// the stop descriptor was set before all went out, or the port failed.
bool WriteTtyPort(int fd, int stopFd, const char* bytes, std::size_t count);

}  // namespace velk
