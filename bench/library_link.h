// The library as an application uses it: a window pipe, a link to a phone,
// one operation after another, each timed from its request to the window
// message that ends it, with the process's CPU time over the same span.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

namespace velk::bench {

struct Operation {
    uint32_t final = 0;     // the window message that ended it; 0: none in time
    int64_t requestNs = 0;  // monotonic clock just before the request that was taken
    int64_t wallNs = 0;     // request to final message
    int64_t cpuNs = 0;      // process CPU time (user + system) over the same span
};

class LibraryLink {
  public:
    static constexpr uint8_t kPort = 9;

    LibraryLink();
    ~LibraryLink();
    LibraryLink(const LibraryLink&) = delete;
    LibraryLink& operator=(const LibraryLink&) = delete;

    // Maps the port to `device` and opens the link with XON/XOFF or RTS/CTS
    // flow; the wall time of velk_BeginThread in `wallNs`. False when it
    // refused.
    bool Begin(const std::string& device, uint32_t baud, bool softwareFlow, int64_t& wallNs);
    // velk_EndThread; its wall time.
    int64_t End();

    // Makes `request` until it is taken and waits for the message that ends
    // the operation; progress messages are passed over.
    Operation Run(const std::function<int32_t()>& request, int timeoutMs);

  private:
    uint32_t NextFinal(int timeoutMs);

    int readFd_ = -1;
    int writeFd_ = -1;
    bool linked_ = false;
};

// The process's CPU time so far (getrusage, user + system), in ns.
int64_t ProcessCpuNs();

}  // namespace velk::bench
