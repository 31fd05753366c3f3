// The phone behind the fake phone's responder: the simulated phone's store and
// command handlers take the tone and frame transfers (checking every chunk), and
// this model answers the information lines and frame reads from a table the
// test sets, plus a few misbehaviours a test may ask for.
#pragma once

#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "phone_sim/chunk_line.h"
#include "phone_sim/part_lines.h"
#include "phone_sim/phone_commands.h"
#include "phone_sim/phone_model.h"
#include "support/fake_phone.h"

namespace velk::test {

inline uint8_t LineCheck(const std::string& text) {
    return phonesim::ChunkCheck(text);
}

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
    // The next `count` AT commands get no answer.
    void IgnoreAttentions(int count) {
        std::lock_guard<std::mutex> hold(mutex_);
        ignoredAttentions_ = count;
    }
    // The next command that begins with `prefix` is answered "ERROR".
    void RefuseNext(std::string prefix) {
        std::lock_guard<std::mutex> hold(mutex_);
        refusal_ = std::move(prefix);
    }

    // Runs on the phone's thread.
    bool Answer(const std::string& command, std::vector<std::string>& lines) {
        std::lock_guard<std::mutex> hold(mutex_);
        int frame = 0;
        if (!refusal_.empty() && command.rfind(refusal_, 0) == 0) {
            refusal_.clear();
            lines = {"ERROR"};
            return true;
        } else if (command == "AT" && ignoredAttentions_ > 0) {
            --ignoredAttentions_;
            return true;
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
    int ignoredAttentions_ = 0;
    std::string refusal_;
};

}  // namespace velk::test
