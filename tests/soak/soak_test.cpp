// The soak, short here (VELK_SOAK_OPERATIONS and VELK_SOAK_CANCELS make it
// long), and cancels at random moments of random operations on a phone that
// answers at a serial line's pace.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <functional>
#include <random>
#include <string>
#include <thread>

#include "phone_sim/phone_simulator.h"
#include "platform/tick_clock.h"
#include "soak_session.h"
#include "support/process_resources.h"
#include "support/window_reader.h"
#include "velkport.h"

namespace velk::test {
namespace {

using SteadyClock = std::chrono::steady_clock;

// The heap may hold a little more at the end (the library keeps the last
// record of each kind), never a growth that comes with every operation.
constexpr std::size_t kHeapGrowthAllowed = std::size_t{256} * 1024;

TEST(Soak, EveryOperationEndsOnceReadsMatchThePhoneAndTheHeapStaysFlat) {
    const int operations = CountFromEnvironment("VELK_SOAK_OPERATIONS", 60);
    const auto seed = static_cast<uint32_t>(CountFromEnvironment("VELK_SOAK_SEED", 20261123));
    TestTickClock clock{0xFFFF0000u};  // every lapse crosses the tick's wrap
    SoakSession session(clock, seed);
    session.Run(operations);
    const SoakFigures& figures = session.Figures();
    std::printf("soak (seed %u):\n%s", seed, session.Summary().c_str());

    EXPECT_GE(figures.operations, static_cast<std::size_t>(operations));
    EXPECT_GT(figures.checkedReads, 0u);
    EXPECT_GT(figures.checkedWrites, 0u);
    if (figures.start.heapInUse != 0) {
        EXPECT_LT(figures.end.heapInUse, figures.start.heapInUse + kHeapGrowthAllowed)
            << "the heap grew over the run";
    }
}

constexpr uint8_t kCancelPort = 10;

// One of the six operations, on what the simulated phone holds at the start.
int32_t RequestOne(unsigned which, std::string& body) {
    switch (which % 6) {
        case 0:
            return velk_ReadMidInfo();
        case 1:
            return velk_ReadMid(1);
        case 2: {
            body.assign(2000, 'T');
            MidRecord tone{};
            tone.id = 4;
            tone.nameLength = 1;
            tone.name[0] = 'T';
            tone.size = static_cast<uint16_t>(body.size());
            tone.data = reinterpret_cast<uint8_t*>(body.data());
            return velk_WriteMid(tone);
        }
        case 3:
            return velk_ReadAnimInfo();
        case 4:
            return velk_ReadAnim(2);
        default: {
            body.assign(std::size_t{2} * 1536, 'F');
            AnimRecord image{};
            image.id = 1;
            image.size = static_cast<uint16_t>(body.size());
            image.data = reinterpret_cast<uint8_t*>(body.data());
            image.animParamFirst = 25;
            return velk_WriteAnim(image);
        }
    }
}

bool IsFinal(uint32_t message) {
    return message >= VELK_MSG_MID_INFO_REFUSED && message <= VELK_MSG_ANIM_READ_REFUSED;
}

TEST(SoakCancels, CancelAtAnyMomentReturnsAndTheLinkComesBackWithNothingLeft) {
    const int cancels = CountFromEnvironment("VELK_SOAK_CANCELS", 30);
    phonesim::SimulatorOptions options;
    options.baud = 115200;  // operations long enough to be caught in the middle
    options.split = true;
    options.seed = 5;
    phonesim::PhoneSimulator phone;
    std::string error;
    ASSERT_TRUE(phone.Start(options, &error)) << error;
    ASSERT_EQ(velk_SetPortDevice(kCancelPort, phone.DevicePath().c_str()), 1);
    WindowReader window;
    ASSERT_EQ(velk_BeginThread(window.WriteEnd(), kCancelPort, 115200, 1), 1);
    // The link's threads are all up once it has served an operation.
    ASSERT_EQ(velk_ReadMidInfo(), 1);
    ASSERT_EQ(window.UntilFinal(5000), std::vector<uint32_t>{VELK_MSG_MID_INFO_READ});
    const ProcessResources standing = ProcessResources::Now();

    std::mt19937 random(99);
    int caught = 0;
    std::string body;
    for (int i = 0; i < cancels && !HasFatalFailure(); ++i) {
        SCOPED_TRACE(i);
        const unsigned which = random();
        const auto until = SteadyClock::now() + std::chrono::seconds(3);
        while (RequestOne(which, body) != 1) {
            ASSERT_LT(SteadyClock::now(), until) << "the link takes no operation";
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(random() % 150));

        int32_t cancelled = 0;
        const auto started = SteadyClock::now();
        cancelled = velk_CancelCurrentAction();
        EXPECT_LT(SteadyClock::now() - started, std::chrono::seconds(1)) << "the cancel hung";
        if (cancelled == 1) {
            ++caught;
            // A message of the cancelled operation may have gone before it.
            while (const auto m = window.Next(20)) {
                EXPECT_FALSE(IsFinal(*m)) << "a final message of a cancelled operation";
            }
        } else {
            const auto seen = window.UntilFinal(5000);
            ASSERT_FALSE(seen.empty()) << "an operation that no cancel caught did not end";
        }
        EXPECT_TRUE(window.Quiet(5));

        // The rebuilt link serves.
        const auto again = SteadyClock::now() + std::chrono::seconds(3);
        while (velk_ReadMidInfo() != 1) {
            ASSERT_LT(SteadyClock::now(), again) << "the link did not come back";
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        EXPECT_EQ(window.UntilFinal(5000), std::vector<uint32_t>{VELK_MSG_MID_INFO_READ});
        EXPECT_TRUE(ResourcesBecome(standing, std::chrono::seconds(1)))
            << "standing: " << ::testing::PrintToString(standing)
            << ", now: " << ::testing::PrintToString(ProcessResources::Now());
    }
    std::printf("cancels: %d, caught in an operation: %d\n", cancels, caught);
    EXPECT_GT(caught, cancels / 4) << "too few cancels met a running operation to mean much";

    EXPECT_EQ(velk_EndThread(), 1);
    velk_SetPortDevice(kCancelPort, nullptr);
    phone.Stop();
}

}  // namespace
}  // namespace velk::test
