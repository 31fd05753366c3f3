// Only the kernel's terminal structures may be seen here, never those of the
// C library, so this file includes no header that pulls in <termios.h>.
#include <asm/termbits.h>
#include <sys/ioctl.h>

#include "platform/tty_baud.h"

namespace velk {

bool SetArbitraryBaud(int fd, uint32_t baudRate) {  // NOLINT(bugprone-easily-swappable-parameters)
    struct termios2 settings {};
    if (ioctl(fd, TCGETS2, &settings) != 0) return false;
    settings.c_cflag &= ~static_cast<tcflag_t>(CBAUD);
    settings.c_cflag |= BOTHER;
    settings.c_cflag &= ~static_cast<tcflag_t>(CBAUD << IBSHIFT);
    settings.c_cflag |= BOTHER << IBSHIFT;
    settings.c_ispeed = baudRate;
    settings.c_ospeed = baudRate;
    return ioctl(fd, TCSETS2, &settings) == 0;
}

bool ReadArbitraryBaud(int fd, uint32_t& baudRate) {
    struct termios2 settings {};
    if (ioctl(fd, TCGETS2, &settings) != 0) return false;
    baudRate = settings.c_ospeed;
    return true;
}

}  // namespace velk
