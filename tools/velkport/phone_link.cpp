#include "velkport/phone_link.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <ostream>

#include "platform/tick_clock.h"
#include "velkport.h"
#include "velkport/device_check.h"

namespace velk::cli {
namespace {

// The port number a named device is mapped to.
constexpr uint8_t kMappedPort = 1;
// A command ends in a time-out only after this long without a line from the
// phone; a 1139 that comes sooner means the link fell.
constexpr uint32_t kCommandLapseMs = 10000;
// A request may be refused for a moment after the message that ended the
// operation before it, until the link is ready again.
constexpr int kRequestRetryMs = 2000;

bool IsFinal(uint32_t message) {
    return (message >= VELK_MSG_MID_INFO_REFUSED && message <= VELK_MSG_ANIM_READ_REFUSED) ||
           message == VELK_MSG_COMMAND_DONE || message == VELK_MSG_COMMAND_REFUSED;
}

}  // namespace

PhoneLink::PhoneLink(LinkOptions options) : options_(std::move(options)) {}

PhoneLink::~PhoneLink() {
    Close();
}

int PhoneLink::Open(std::string& problem, std::ostream& note) {
    const bool softwareFlow = options_.flow == FlowControl::kXonXoff;
    if (options_.UsesSimulator()) {
        if (!options_.simulate) {
            note << "velkport: no --device or --port given: talking to the simulated phone "
                    "built into this program.\n";
        }
        phonesim::SimulatorOptions simulated = options_.simulator;
        // The built-in phone's line runs at the link's own rate, as a cable would.
        if (simulated.baud == 0) simulated.baud = options_.baud;
        simulator_ = std::make_unique<phonesim::PhoneSimulator>();
        std::string error;
        if (!simulator_->Start(simulated, &error)) {
            problem = "the simulated phone could not be started: " + error;
            simulator_.reset();
            return kExitNoDevice;
        }
        device_ = simulator_->DevicePath();
        port_ = kMappedPort;
    } else if (!options_.device.empty()) {
        device_ = options_.device;
        port_ = kMappedPort;
    } else {
        port_ = options_.port;
        device_ = DeviceOfPort(port_);
    }
    if (simulator_ || !options_.device.empty()) {
        if (velk_SetPortDevice(port_, device_.c_str()) != 1) {
            problem = "the device path " + device_ + " is too long";
            return kExitNoDevice;
        }
        mapped_ = true;
    }
    if (std::optional<DeviceProblem> fault =
            CheckDevice(device_, options_.baud, softwareFlow, options_.probe, interrupt_)) {
        problem = fault->sentence;
        return fault->exitCode;
    }

    int fds[2];
    if (pipe2(fds, O_CLOEXEC) != 0) {
        problem = "no pipe for the library's messages could be made";
        return kExitInternal;
    }
    windowRead_ = fds[0];
    const int32_t begun = velk_BeginThread(fds[1], port_, options_.baud, softwareFlow ? 1 : 0);
    // The library holds its own copy: once it lets go, the read end sees the
    // end of the pipe.
    close(fds[1]);
    if (begun != 1) {
        problem = "the link on " + device_ + " could not be started";
        if (const LibraryFailure cause = LastFailure(); cause.known) problem += ": " + cause.text;
        return kExitNoDevice;
    }
    begun_ = true;
    return kExitDone;
}

OperationEnd PhoneLink::Run(const std::function<int32_t()>& request,
                            const std::function<void(uint32_t)>& onProgress) {
    OperationEnd end;
    auto interrupted = [&] {
        velk_CancelCurrentAction();
        EndOnInterrupt();
        end.kind = OperationEnd::Kind::kInterrupted;
        return end;
    };
    pollfd entries[2] = {{windowRead_, POLLIN, 0}, {interrupt_.Descriptor(), POLLIN, 0}};

    const auto giveUp =
        std::chrono::steady_clock::now() + std::chrono::milliseconds(kRequestRetryMs);
    while (request() != 1) {
        if (std::chrono::steady_clock::now() > giveUp) {
            end.kind = OperationEnd::Kind::kNotTaken;
            return end;
        }
        // The wait doubles as a look for Ctrl-C.
        if (poll(&entries[1], 1, 1) == 1) return interrupted();
    }

    uint32_t lastSign = GetTickCount();
    for (;;) {
        entries[0].revents = entries[1].revents = 0;
        if (poll(entries, 2, -1) < 0) {
            if (errno == EINTR) continue;
            end.kind = OperationEnd::Kind::kNotTaken;
            return end;
        }
        if ((entries[1].revents & POLLIN) != 0) return interrupted();
        VelkWindowMessage message{};
        const ssize_t got = read(windowRead_, &message, sizeof message);
        if (got < 0 && errno == EINTR) continue;
        if (got != static_cast<ssize_t>(sizeof message)) {
            // The library let go of the window: the link has ended.
            end.message = VELK_MSG_TIMED_OUT;
            end.linkLost = true;
            return end;
        }
        if (IsFinal(message.message)) {
            end.message = message.message;
            if (message.message == VELK_MSG_TIMED_OUT) {
                end.linkLost = GetTickCount() - lastSign < kCommandLapseMs || DeviceGone();
            }
            end.failure = LastFailure();
            return end;
        }
        lastSign = GetTickCount();
        ++end.progress;
        if (onProgress) onProgress(message.message);
    }
}

OperationEnd PhoneLink::Listen(const std::function<void(uint32_t)>& onMessage) {
    pollfd entries[2] = {{windowRead_, POLLIN, 0}, {interrupt_.Descriptor(), POLLIN, 0}};
    for (;;) {
        entries[0].revents = entries[1].revents = 0;
        if (poll(entries, 2, -1) < 0) {
            if (errno == EINTR) continue;
            OperationEnd end;
            end.kind = OperationEnd::Kind::kNotTaken;
            return end;
        }
        if ((entries[1].revents & POLLIN) != 0) {
            EndOnInterrupt();
            OperationEnd end;
            end.kind = OperationEnd::Kind::kInterrupted;
            return end;
        }
        VelkWindowMessage message{};
        const ssize_t got = read(windowRead_, &message, sizeof message);
        if (got < 0 && errno == EINTR) continue;
        if (got != static_cast<ssize_t>(sizeof message)) {
            // The library let go of the window: the link has ended.
            OperationEnd end;
            end.message = VELK_MSG_TIMED_OUT;
            end.linkLost = true;
            return end;
        }
        onMessage(message.message);
    }
}

void PhoneLink::EndOnInterrupt() {
    velk_EndThread();
    begun_ = false;
}

bool PhoneLink::DeviceGone() const {
    struct stat status {};
    return stat(device_.c_str(), &status) != 0 && errno == ENOENT;
}

void PhoneLink::Close() {
    if (begun_) velk_EndThread();
    begun_ = false;
    if (mapped_) velk_SetPortDevice(port_, nullptr);
    mapped_ = false;
    if (simulator_) simulator_->Stop();
    simulator_.reset();
    if (windowRead_ >= 0) close(windowRead_);
    windowRead_ = -1;
}

}  // namespace velk::cli
