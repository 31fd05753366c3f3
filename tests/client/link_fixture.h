// A standing link over the scripted stand-in worker, with the window read
// from a real pipe: what every test of the exports and transfers starts from.
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "client/exports_state.h"
#include "engine/message_numbers.h"
#include "support/stand_in_worker.h"
#include "support/window_reader.h"
#include "velkport.h"

namespace velk::test {

inline constexpr uint8_t kPort = 3;
inline constexpr uint32_t kBaud = 115200;
inline constexpr int32_t kSoftwareFlow = 1;

using Messages = std::vector<uint32_t>;
using Ids = std::vector<int32_t>;

class LinkTest : public ::testing::Test {
  protected:
    void SetUp() override {
        ASSERT_EQ(velk_BeginThread(window.WriteEnd(), kPort, kBaud, kSoftwareFlow), 1);
    }
    void TearDown() override { velk_EndThread(); }

    // Waits until the transfer thread takes requests again: some final
    // messages go out just before readyFlag is set.
    static bool WaitIdle(int timeoutMs = 5000) {
        const auto until = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
        while (std::chrono::steady_clock::now() < until) {
            const auto s = CurrentTransferState();
            if (s.transferState == kStateIdle && s.readyFlag == 1) return true;
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        return false;
    }

    // The window messages of one operation, up to its final one, with the
    // link idle again afterwards.
    Messages Finish() {
        Messages m = window.UntilFinal();
        EXPECT_TRUE(WaitIdle());
        return m;
    }

    // The ids of the commands after the first `skip`.
    Ids IdsFrom(std::size_t skip) const {
        Ids all = worker.CommandIds();
        return Ids(all.begin() + static_cast<std::ptrdiff_t>(std::min(skip, all.size())),
                   all.end());
    }

    StandInWorker worker;
    WindowReader window;
};

inline constexpr int32_t AT = kCmdAttention;
inline constexpr int32_t ATE0 = kCmdEchoOff;

}  // namespace velk::test
