// A pseudo-terminal pair for the phone: the phone reads and writes the
// master side, the computer opens the slave by its path. The phone keeps a
// slave descriptor of its own open, so that its side never reads an end of
// file or EIO while a client closes the port and the next one opens it.
#pragma once

#include <string>

namespace velk::phonesim {

class PtyLine {
  public:
    PtyLine() = default;
    ~PtyLine() { Close(); }
    PtyLine(const PtyLine&) = delete;
    PtyLine& operator=(const PtyLine&) = delete;

    // Opens a new pair, raw from the start (so that the line discipline
    // echoes nothing before the computer sets the line up), the master not
    // blocking. False with `error` set when that fails.
    bool Open(std::string& error);
    // Closes both sides: the computer sees the line hang up.
    void Close();

    bool IsOpen() const { return master_ >= 0; }
    int Master() const { return master_; }
    const std::string& SlavePath() const { return slavePath_; }

  private:
    int master_ = -1;
    int slave_ = -1;
    std::string slavePath_;
};

}  // namespace velk::phonesim
