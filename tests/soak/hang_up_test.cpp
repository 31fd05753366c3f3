// The simulated phone hangs up in the middle of a transfer: the operation
// ends with a time-out, the link is gone (the exports refuse), the end
// returns at once and leaves nothing behind, and a new link works.
#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "phone_sim/phone_simulator.h"
#include "support/process_resources.h"
#include "support/window_reader.h"
#include "velkport.h"

namespace velk::test {
namespace {

using SteadyClock = std::chrono::steady_clock;
using Messages = std::vector<uint32_t>;

constexpr uint8_t kPort = 11;

std::string imageFrames(std::size_t{3} * 1536, 'W');

int32_t ReadTone() {
    return velk_ReadMid(1);
}
int32_t ReadImage() {
    return velk_ReadAnim(2);
}
int32_t WriteImage() {
    AnimRecord image{};
    image.id = 2;
    image.size = static_cast<uint16_t>(imageFrames.size());
    image.data = reinterpret_cast<uint8_t*>(imageFrames.data());
    image.animParamFirst = 25;
    return velk_WriteAnim(image);
}

struct Transfer {
    const char* what;
    int32_t (*request)();
    uint32_t success;
};

const Transfer kTransfers[] = {
    {"tone read", ReadTone, VELK_MSG_MID_READ},
    {"image read", ReadImage, VELK_MSG_ANIM_READ},
    {"image write", WriteImage, VELK_MSG_ANIM_WRITTEN},
};

class HangUp : public ::testing::Test {
  protected:
    void TearDown() override {
        velk_EndThread();
        velk_SetPortDevice(kPort, nullptr);
    }

    // Starts `phone` and a link on it; the messages of `request` to its end.
    Messages RunOn(phonesim::PhoneSimulator& phone, const phonesim::SimulatorOptions& options,
                   int32_t (*request)()) {
        std::string error;
        if (!phone.Start(options, &error)) {
            ADD_FAILURE() << error;
            return {};
        }
        EXPECT_EQ(velk_SetPortDevice(kPort, phone.DevicePath().c_str()), 1);
        EXPECT_EQ(velk_BeginThread(window.WriteEnd(), kPort, 115200, 1), 1);
        EXPECT_EQ(request(), 1);
        return window.UntilFinal(5000);
    }

    WindowReader window;
};

TEST_F(HangUp, PhoneHangingUpInTheMiddleOfATransferEndsTheLinkCleanly) {
    for (const Transfer& transfer : kTransfers) {
        SCOPED_TRACE(transfer.what);
        // How many commands the transfer takes on a phone that stays.
        unsigned commands = 0;
        {
            phonesim::PhoneSimulator phone;
            const Messages seen = RunOn(phone, {}, transfer.request);
            ASSERT_FALSE(seen.empty());
            ASSERT_EQ(seen.back(), transfer.success);
            commands = phone.CommandCount();
            EXPECT_EQ(velk_EndThread(), 1);
        }
        ASSERT_GE(commands, 3u) << "AT, ATE0 and the transfer's commands";
        // Counted once a link has come and gone: a thread sanitizer starts a
        // thread of its own with the process's first.
        const ProcessResources before = ProcessResources::Now();

        // The phone hangs up as the transfer's middle command comes (the one
        // command of a short tone's read).
        phonesim::SimulatorOptions dying;
        dying.hangupAfter = 3 + (commands - 3) / 2;
        phonesim::PhoneSimulator phone;
        const Messages seen = RunOn(phone, dying, transfer.request);
        ASSERT_FALSE(seen.empty()) << "no final message after the hang-up";
        EXPECT_EQ(seen.back(), static_cast<uint32_t>(VELK_MSG_TIMED_OUT));
        EXPECT_TRUE(phone.Ended());
        EXPECT_TRUE(window.Quiet(20));
        EXPECT_EQ(velk_ReadMidInfo(), 0);
        EXPECT_EQ(velk_ReadAnimInfo(), 0);
        EXPECT_EQ(transfer.request(), 0);
        EXPECT_EQ(velk_CancelCurrentAction(), 0);

        const auto started = SteadyClock::now();
        EXPECT_EQ(velk_EndThread(), 1);
        EXPECT_LT(SteadyClock::now() - started, std::chrono::seconds(1));
        phone.Stop();
        EXPECT_TRUE(ResourcesBecome(before, std::chrono::seconds(1)))
            << "before: " << ::testing::PrintToString(before)
            << ", now: " << ::testing::PrintToString(ProcessResources::Now());

        phonesim::PhoneSimulator next;
        const Messages again = RunOn(next, {}, transfer.request);
        ASSERT_FALSE(again.empty());
        EXPECT_EQ(again.back(), transfer.success) << "a new link after the hang-up";
        EXPECT_EQ(velk_EndThread(), 1);
    }
}

}  // namespace
}  // namespace velk::test
