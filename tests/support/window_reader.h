// The application's side of the window: a real pipe whose write end the test
// hands to velk_BeginThread and whose read end it reads the 16-byte window
// messages from.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

namespace velk::test {

class WindowReader {
  public:
    WindowReader();
    ~WindowReader();
    WindowReader(const WindowReader&) = delete;
    WindowReader& operator=(const WindowReader&) = delete;

    int WriteEnd() const { return writeFd_; }
    int ReadEnd() const { return readFd_; }
    void CloseWriteEnd();
    void CloseReadEnd();

    // The next message within `timeoutMs` of real time. A record that is not
    // 16 bytes or has a parameter other than 0 fails the running test.
    std::optional<uint32_t> Next(int timeoutMs = 5000);
    // Every message up to and including the first one that ends an
    // operation (1133 to 1146); empty when none came in time.
    std::vector<uint32_t> UntilFinal(int timeoutMs = 5000);
    // True when no message arrives within `ms`.
    bool Quiet(int ms = 100);

  private:
    int readFd_ = -1;
    int writeFd_ = -1;
};

}  // namespace velk::test
