// velkport-phone: prints the device path of a simulated phone, then serves it
// until SIGINT or SIGTERM (or until the line is hung up on purpose).
#include <poll.h>
#include <signal.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <string>
#include <vector>

#include "phone_sim/phone_simulator.h"

namespace {

constexpr int kExitFailure = 1;
constexpr int kExitUsage = 2;

}  // namespace

int main(int argc, char** argv) {
    using namespace velk::phonesim;
    SimulatorOptions options;
    std::string error;
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    if (arguments.size() == 1 && arguments[0] == "--version") {
        std::printf("velkport-phone %s\n", VELK_PROGRAM_VERSION);
        return 0;
    }
    switch (ParseSimulatorArguments(arguments, options, error)) {
        case ParseOutcome::kHelp:
            std::fputs(SimulatorHelpText(), stdout);
            return 0;
        case ParseOutcome::kUsageError:
            std::fprintf(stderr, "velkport-phone: %s\nTry 'velkport-phone --help'.\n",
                         error.c_str());
            return kExitUsage;
        case ParseOutcome::kRun:
            break;
    }

    // The signals are taken through a descriptor, before the serving thread
    // starts, so that it inherits them blocked and they arrive here.
    sigset_t stopSignals;
    sigemptyset(&stopSignals);
    sigaddset(&stopSignals, SIGINT);
    sigaddset(&stopSignals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &stopSignals, nullptr);
    const int signals = signalfd(-1, &stopSignals, SFD_CLOEXEC);
    if (signals < 0) {
        std::perror("velkport-phone: signalfd");
        return kExitFailure;
    }

    PhoneSimulator phone;
    if (!phone.Start(options, &error)) {
        std::fprintf(stderr, "velkport-phone: %s\n", error.c_str());
        return kExitFailure;
    }
    std::printf("%s\n", phone.DevicePath().c_str());
    std::fflush(stdout);

    pollfd entries[2] = {{signals, POLLIN, 0}, {phone.EndedDescriptor(), POLLIN, 0}};
    while (poll(entries, 2, -1) < 0 && errno == EINTR) {
    }
    if ((entries[1].revents & POLLIN) != 0) {
        std::fprintf(stderr, "velkport-phone: the line was hung up after %u command lines\n",
                     phone.CommandCount());
    }
    phone.Stop();
    close(signals);
    return 0;
}
