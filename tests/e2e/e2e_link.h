// The whole library against the fake phone on a pseudo-terminal, and the
// window as a real pipe. Behind the fake phone, the simulated phone's store
// and handlers take the tone and frame transfers (checking every chunk); the
// model here answers the information lines and frame reads from a table the
// test sets, and misbehaves when a test asks it to. The test clock is
// installed before any link starts, so a time-out happens only when a test
// moves it; the test thread itself polls in real time.
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "phone_sim/chunk_line.h"
#include "phone_sim/part_lines.h"
#include "phone_sim/phone_commands.h"
#include "phone_sim/phone_model.h"
#include "platform/tick_clock.h"
#include "support/fake_phone.h"
#include "support/window_reader.h"
#include "velkport.h"

namespace velk::test {

// `count` letters and digits in a pattern that differs with `seed`.
// NOLINTNEXTLINE(bugprone-easily-swappable-parameters): a length, then a seed
inline std::string Pattern(std::size_t count, unsigned seed) {
    static const char kChars[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";
    std::string text(count, ' ');
    for (std::size_t i = 0; i < count; ++i) text[i] = kChars[(i * 7 + seed * 13 + i / 62) % 62];
    return text;
}

class PhoneModel {
  public:
    void Attach(FakePhone& phone) {
        phone.SetResponder(
            [this](const std::string& c, std::vector<std::string>& l) { return Answer(c, l); });
    }

    void SetTone(int slot, std::string name, std::string body) {
        std::lock_guard<std::mutex> hold(mutex_);
        store_.PutTone(slot, {std::move(name), std::move(body)});
    }
    std::optional<phonesim::Tone> ToneAt(int slot) const {
        std::lock_guard<std::mutex> hold(mutex_);
        const phonesim::Tone* tone = store_.FindTone(slot);
        return tone != nullptr ? std::optional(*tone) : std::nullopt;
    }
    // An image of `frames` frames from `first` on, listed in +IMGINF in call order.
    void AddImage(uint16_t frames, uint16_t first) {
        std::lock_guard<std::mutex> hold(mutex_);
        table_.emplace_back(frames, first);
    }
    // A frame as it travels on the line: the head "6040", then its characters.
    void SetFrame(int frame, const std::string& lineText) {
        std::lock_guard<std::mutex> hold(mutex_);
        store_.PutFrame(frame, "Sunrise", "250310", lineText.substr(4));
    }
    std::optional<std::string> FrameAt(int frame) const {
        std::lock_guard<std::mutex> hold(mutex_);
        const std::string* text = store_.Frame(frame);
        return text != nullptr ? std::optional("6040" + *text) : std::nullopt;
    }
    // The next `times` commands `command` get `lines` (none: no answer).
    void AnswerNext(std::string command, int times, std::vector<std::string> lines) {
        std::lock_guard<std::mutex> hold(mutex_);
        next_ = {std::move(command), times, std::move(lines)};
    }

    // Runs on the phone's thread.
    bool Answer(const std::string& command, std::vector<std::string>& lines) {
        std::lock_guard<std::mutex> hold(mutex_);
        int frame = 0;
        if (command == next_.command && next_.times > 0) {
            --next_.times;
            lines = next_.lines;
        } else if (command == "AT+RNGI") {
            lines = {"+RNGI: \"Melodies\",12,3,40", "OK"};
        } else if (command == "AT+IMGINF") {
            std::string line = "+IMGINF: \"Pictures\",1,2,3,4,5";
            for (const auto& [frames, first] : table_)
                line += "," + std::to_string(frames) + "," + std::to_string(first);
            lines = {line, "OK"};
        } else if (command.rfind("AT+IMGR=", 0) == 0 &&
                   phonesim::ReadNumber(command.substr(8), frame) &&
                   store_.Frame(frame) != nullptr) {
            lines = phonesim::FramePartLines(frame, "Sunrise", "250310", *store_.Frame(frame));
            lines.push_back("OK");
        } else {
            lines = sim_.Answer(command);
        }
        return true;
    }

  private:
    mutable std::mutex mutex_;
    phonesim::PhoneStore store_;
    phonesim::PhoneModel sim_{store_};
    std::vector<std::pair<uint16_t, uint16_t>> table_;
    struct {
        std::string command;
        int times = 0;
        std::vector<std::string> lines;
    } next_;
};

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

// Whether `message` ends an operation.
inline bool IsFinal(uint32_t message) {
    return (message >= VELK_MSG_MID_INFO_REFUSED && message <= VELK_MSG_ANIM_READ_REFUSED) ||
           message == VELK_MSG_COMMAND_DONE || message == VELK_MSG_COMMAND_REFUSED;
}

template <typename Call>
long long MillisecondsOf(Call call) {
    const auto start = std::chrono::steady_clock::now();
    call();
    const auto took = std::chrono::steady_clock::now() - start;
    return std::chrono::duration_cast<std::chrono::milliseconds>(took).count();
}

inline constexpr std::size_t kFrame = 1536;

// What velk_GetLastError says: its number and its text.
using Cause = std::pair<int, std::string>;
inline Cause LastError() {
    const char* text = nullptr;
    const int code = velk_GetLastError(&text);
    return {code, text != nullptr ? text : "(null)"};
}

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
template <typename Record>
Record Named(Record r, const std::string& name, std::string& data) {
    r.nameLength = static_cast<decltype(r.nameLength)>(name.size());
    name.copy(r.name, sizeof r.name);
    r.size = static_cast<uint16_t>(data.size());
    r.data = data.empty() ? nullptr : reinterpret_cast<uint8_t*>(data.data());
    return r;
}
inline MidRecord ToneRecord(uint8_t slot, const std::string& name, std::string& data) {
    MidRecord r{};
    r.id = slot;
    return Named(r, name, data);
}
inline AnimRecord ImageRecord(uint8_t id, const std::string& name, std::string& data) {
    AnimRecord r{};
    r.id = id;
    r.animParamFirst = 25;
    r.animParamLast = 4;
    return Named(r, name, data);
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

    // Near the wrap of the 32-bit tick, so every lapse measured crosses it.
    TestTickClock clock{0xFFFFF000u};
    PhoneModel model;  // outlives the phone, whose thread asks it
    FakePhone phone;
    WindowReader window;
};

}  // namespace velk::test
