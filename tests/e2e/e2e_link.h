// The whole library against the fake phone on a pseudo-terminal, with the
// phone model behind it and the window as a real pipe. The test clock is
// installed before any link starts, so a time-out happens only when a test
// moves it; the test thread itself polls in real time.
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

inline bool Eventually(const std::function<bool()>& condition, int timeoutMs = 3000) {
    const auto until = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > until) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

template <typename Call>
long long MillisecondsOf(Call call) {
    const auto start = std::chrono::steady_clock::now();
    call();
    const auto took = std::chrono::steady_clock::now() - start;
    return std::chrono::duration_cast<std::chrono::milliseconds>(took).count();
}

inline constexpr std::size_t kFrame = 1536;

// NOLINTNEXTLINE(bugprone-easily-swappable-parameters): frames, then their pattern
inline std::string Frames(std::size_t count, unsigned seed) {
    std::string frames;
    for (std::size_t i = 0; i < count; ++i) frames += Pattern(kFrame, seed + i);
    return frames;
}

inline std::string Text(const uint8_t* data, std::size_t size) {
    return size == 0 ? std::string() : std::string(reinterpret_cast<const char*>(data), size);
}

// Records over `data`, which outlives the call that takes them.
inline MidRecord ToneRecord(uint8_t slot, const std::string& name, std::string& data) {
    MidRecord r{slot,
                static_cast<uint16_t>(name.size()),
                {},
                static_cast<uint16_t>(data.size()),
                data.empty() ? nullptr : reinterpret_cast<uint8_t*>(data.data())};
    name.copy(r.name, sizeof r.name);
    return r;
}
inline AnimRecord ImageRecord(uint8_t id, const std::string& name, std::string& data) {
    AnimRecord r{id,
                 static_cast<uint8_t>(name.size()),
                 {},
                 static_cast<uint16_t>(data.size()),
                 reinterpret_cast<uint8_t*>(data.data()),
                 25,
                 4};
    name.copy(r.name, sizeof r.name);
    return r;
}

// Requests on tone slot 3 and image 1, as plain calls.
inline int32_t ReadTone() {
    return velk_ReadMid(3);
}
inline int32_t ReadImage() {
    return velk_ReadAnim(1);
}
inline int32_t WriteTone() {
    static std::string body = "abc";
    return velk_WriteMid(ToneRecord(3, "Tune", body));
}
inline int32_t WriteImage() {
    static std::string frame = Frames(1, 1);
    return velk_WriteAnim(ImageRecord(1, "Anim", frame));
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

    // A request retried until the link takes it: some final messages go out
    // just before the link is ready again.
    static bool Request(const std::function<int32_t()>& request) {
        return Eventually([&] { return request() == 1; });
    }

    Lines LinesFrom(std::size_t skip) const {
        Lines all = phone.ReceivedLines();
        return Lines(all.begin() + static_cast<std::ptrdiff_t>(std::min(skip, all.size())),
                     all.end());
    }

    // Once the phone has `lines` command lines in all, lets the command's
    // 10000 ms run out.
    void LapseAfter(std::size_t lines) {
        ASSERT_TRUE(phone.WaitForLines(lines, std::chrono::seconds(3)));
        clock.AwaitWaiters(1);
        clock.Advance(10050);
    }

    // Near the wrap of the 32-bit tick, so every lapse measured crosses it.
    TestTickClock clock{0xFFFFF000u};
    PhoneModel model;  // outlives the phone, whose thread asks it
    FakePhone phone;
    WindowReader window;
};

}  // namespace velk::test
