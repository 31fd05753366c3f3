// The link to the phone as an application holds it: a window pipe handed to
// velk_BeginThread, one operation at a time, its window messages read with
// poll beside the Ctrl-C pipe, and velk_EndThread at the end. The phone is a
// serial device, a port number, or the simulated phone built into the
// program, served on a pseudo-terminal of this process.
#pragma once

#include <cstdint>
#include <functional>
#include <iosfwd>
#include <memory>
#include <string>

#include "phone_sim/phone_simulator.h"
#include "velkport/interrupt_pipe.h"
#include "velkport/last_failure.h"
#include "velkport/link_options.h"

namespace velk::cli {

// How one operation ended.
struct OperationEnd {
    enum class Kind {
        kFinal,        // a window message from 1133 to 1148 came
        kInterrupted,  // Ctrl-C: the operation was cancelled and the link closed
        kNotTaken,     // the library did not take the request: the link is gone
    };
    Kind kind = Kind::kFinal;
    uint32_t message = 0;    // the final message
    bool linkLost = false;   // a 1139 that came from a fallen link, not a silent phone
    unsigned progress = 0;   // progress messages seen (some may have been dropped)
    LibraryFailure failure;  // the cause, asked of the library after a failed end
};

class PhoneLink {
  public:
    explicit PhoneLink(LinkOptions options);
    ~PhoneLink();
    PhoneLink(const PhoneLink&) = delete;
    PhoneLink& operator=(const PhoneLink&) = delete;

    // Starts the built-in phone or looks at the device (and asks it AT),
    // then the link. kExitDone when it stands; otherwise the exit code, with
    // `problem` set to a sentence. `note` gets the line that says the
    // built-in phone serves because no device was named.
    int Open(std::string& problem, std::ostream& note);

    // Makes `request` (an export that starts an operation) until the library
    // takes it, then waits for the operation's end. `onProgress` sees 1224
    // and 1225.
    OperationEnd Run(const std::function<int32_t()>& request,
                     const std::function<void(uint32_t)>& onProgress = {});

    // Hands each window message that comes outside of any operation (the
    // notices) to `onMessage`, until Ctrl-C (kInterrupted, the link ended)
    // or the link falls.
    OperationEnd Listen(const std::function<void(uint32_t)>& onMessage);

    // Ends the link and the built-in phone. Also done by the destructor.
    void Close();

    // The device the link runs on, for sentences.
    const std::string& Device() const { return device_; }

  private:
    bool DeviceGone() const;
    // Ends the link at once after Ctrl-C.
    void EndOnInterrupt();

    LinkOptions options_;
    std::string device_;
    uint8_t port_ = 0;
    bool mapped_ = false;
    bool begun_ = false;
    int windowRead_ = -1;
    std::unique_ptr<phonesim::PhoneSimulator> simulator_;
    InterruptPipe interrupt_;
};

}  // namespace velk::cli
