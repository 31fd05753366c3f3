#include "phone_sim/pty_line.h"

#include <fcntl.h>
#include <stdlib.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <climits>
#include <cstring>

namespace velk::phonesim {

bool PtyLine::Open(std::string& error) {
    Close();
    master_ = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    std::array<char, PATH_MAX> name{};
    if (master_ < 0 || grantpt(master_) != 0 || unlockpt(master_) != 0 ||
        ptsname_r(master_, name.data(), name.size()) != 0 ||
        fcntl(master_, F_SETFL, fcntl(master_, F_GETFL) | O_NONBLOCK) != 0) {
        error = std::string("cannot open a pseudo-terminal: ") + std::strerror(errno);
        Close();
        return false;
    }
    slavePath_ = name.data();
    slave_ = open(slavePath_.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC);
    termios settings{};
    if (slave_ < 0 || tcgetattr(slave_, &settings) != 0 ||
        (cfmakeraw(&settings), tcsetattr(slave_, TCSANOW, &settings)) != 0) {
        error = "cannot set up " + slavePath_ + ": " + std::strerror(errno);
        Close();
        return false;
    }
    return true;
}

void PtyLine::Close() {
    if (master_ >= 0) close(master_);
    if (slave_ >= 0) close(slave_);
    master_ = -1;
    slave_ = -1;
}

}  // namespace velk::phonesim
