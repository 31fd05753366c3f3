// The whole library against a phone on a pseudo-terminal: the exports, the
// transfer thread, the real worker and serial link, and the fake phone with
// a small phone model behind it. The window is a real pipe.
//
// The test clock is installed before any link starts, so that every timed
// wait of the library runs on it: a time-out happens only when a test moves
// the clock, and only after the wait it means to end has begun. The test
// thread itself never waits on that clock; it polls in real time.
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "phone_model.h"
#include "platform/tick_clock.h"
#include "support/fake_phone.h"
#include "support/window_reader.h"
#include "velkport.h"

namespace velk::test {

inline constexpr uint8_t kPhonePort = 5;
inline constexpr uint32_t kPhoneBaud = 115200;
inline constexpr int32_t kXonXoff = 1;

using Messages = std::vector<uint32_t>;
using Lines = std::vector<std::string>;

// True once `condition` holds, polled in real time for up to `timeoutMs`.
inline bool Eventually(const std::function<bool()>& condition, int timeoutMs = 3000) {
    const auto until = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > until) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

// How long `call` took, in real milliseconds.
template <typename Call>
long long MillisecondsOf(Call call) {
    const auto start = std::chrono::steady_clock::now();
    call();
    return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() -
                                                                 start)
        .count();
}

class PhoneLinkTest : public ::testing::Test {
  protected:
    void SetUp() override {
        ASSERT_TRUE(phone.IsOpen());
        model.Attach(phone);
        ASSERT_EQ(velk_SetPortDevice(kPhonePort, phone.DevicePath().c_str()), 1);
    }

    void TearDown() override {
        EXPECT_EQ(velk_EndThread(), 1);
        velk_SetPortDevice(kPhonePort, nullptr);
    }

    int32_t Begin(int32_t softwareFlow = kXonXoff) {
        return velk_BeginThread(window.WriteEnd(), kPhonePort, kPhoneBaud, softwareFlow);
    }

    // A request export tried until the link takes it: a final message of
    // some operations goes out just before the link is ready again.
    static bool Request(const std::function<int32_t()>& request) {
        return Eventually([&] { return request() == 1; });
    }

    // The command lines the phone got after the first `skip`.
    Lines LinesFrom(std::size_t skip) const {
        Lines all = phone.ReceivedLines();
        if (skip >= all.size()) return {};
        return Lines(all.begin() + static_cast<std::ptrdiff_t>(skip), all.end());
    }

    // Ends the wait the worker is in once the phone has got `lines`
    // command lines in all: the command's lapse of 10000 ms has passed.
    void LapseAfter(std::size_t lines) {
        ASSERT_TRUE(phone.WaitForLines(lines, std::chrono::seconds(3)));
        clock.AwaitWaiters(1);
        clock.Advance(10050);
    }

    // Started close to the wrap of the 32-bit tick, so that every lapse
    // measured in these tests crosses it.
    TestTickClock clock{0xFFFFF000u};
    PhoneModel model;  // outlives the phone, whose thread asks it
    FakePhone phone;
    WindowReader window;
};

}  // namespace velk::test
