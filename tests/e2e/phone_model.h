// A small phone behind the fake phone's responder: the ring tones and image
// frames it holds, answering the transfer commands as a phone does. Reads are
// answered from what it holds; writes are taken chunk by chunk and kept only
// when the last chunk of a tone or frame came, each chunk checked the way the
// phone checks it (sequence, declared size, check value), so that a wrong
// line ends in "ERROR" instead of passing unnoticed.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "support/fake_phone.h"

namespace velk::test {

// Exclusive-or of the bytes and of the length as one byte: the check value
// of a chunk on the line.
inline uint8_t LineCheck(const std::string& text) {
    uint8_t check = static_cast<uint8_t>(text.size());
    for (char c : text) check ^= static_cast<uint8_t>(c);
    return check;
}

// `count` characters of a pattern that differs with `seed`: letters and
// digits only, so that nothing in it is a separator of the line.
// NOLINTNEXTLINE(bugprone-easily-swappable-parameters): a length, then a seed
inline std::string Pattern(std::size_t count, unsigned seed) {
    static const char kChars[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";
    const std::size_t offset = std::size_t{seed} * 13;
    std::string text(count, ' ');
    for (std::size_t i = 0; i < count; ++i) text[i] = kChars[(i * 7 + offset + i / 62) % 62];
    return text;
}

class PhoneModel {
  public:
    static constexpr std::size_t kPartChars = 128;
    static constexpr uint8_t kOnlyPart = 255;

    struct Tone {
        std::string name;
        std::string body;
    };

    // A phone as the tests like it: the information lines below and no
    // tones or frames yet.
    PhoneModel() = default;

    void Attach(FakePhone& phone) {
        phone.SetResponder([this](const std::string& command, std::vector<std::string>& lines) {
            return Answer(command, lines);
        });
    }

    void SetTone(uint8_t slot, Tone tone) {
        std::lock_guard<std::mutex> hold(mutex_);
        tones_[slot] = std::move(tone);
    }
    std::optional<Tone> ToneAt(uint8_t slot) const {
        std::lock_guard<std::mutex> hold(mutex_);
        auto it = tones_.find(slot);
        if (it == tones_.end()) return std::nullopt;
        return it->second;
    }

    // An image of `frames` frames from `firstFrame` on, listed in +IMGINF in
    // the order of the calls.
    void AddImage(uint16_t frames, uint16_t firstFrame) {
        std::lock_guard<std::mutex> hold(mutex_);
        imageTable_.emplace_back(frames, firstFrame);
    }
    // A frame as it travels on the line: its four-character head, then the
    // frame's characters.
    void SetFrame(uint8_t frame, std::string lineText) {
        std::lock_guard<std::mutex> hold(mutex_);
        frames_[frame] = std::move(lineText);
    }
    std::optional<std::string> FrameAt(uint8_t frame) const {
        std::lock_guard<std::mutex> hold(mutex_);
        auto it = frames_.find(frame);
        if (it == frames_.end()) return std::nullopt;
        return it->second;
    }

    // A RING from the network between every two lines of a reply.
    void SetRingBetweenLines(bool on) {
        std::lock_guard<std::mutex> hold(mutex_);
        ringBetweenLines_ = on;
    }

    // The next `count` AT commands get no answer.
    void IgnoreAttentions(int count) {
        std::lock_guard<std::mutex> hold(mutex_);
        ignoredAttentions_ = count;
    }

    // The next command that begins with `prefix` is answered "ERROR".
    void RefuseNext(std::string prefix) {
        std::lock_guard<std::mutex> hold(mutex_);
        refusals_.push_back(std::move(prefix));
    }

    // Runs on the phone's thread.
    bool Answer(const std::string& command, std::vector<std::string>& lines) {
        std::lock_guard<std::mutex> hold(mutex_);
        for (auto it = refusals_.begin(); it != refusals_.end(); ++it) {
            if (command.rfind(*it, 0) == 0) {
                refusals_.erase(it);
                lines = {"ERROR"};
                return true;
            }
        }
        std::vector<std::string> info;
        bool ok = true;
        if (command == "AT" && ignoredAttentions_ > 0) {
            --ignoredAttentions_;
            return true;  // no line at all: the phone is not listening yet
        } else if (command == "AT" || command == "ATE0") {
        } else if (command == "AT+RNGI") {
            info.push_back(toneInfoLine_);
        } else if (command.rfind("AT+RNGR=", 0) == 0) {
            ok = ToneLines(Number(command.substr(8)), info);
        } else if (command.rfind("AT+RNGW=", 0) == 0) {
            ok = TakeToneChunk(Fields(command.substr(8)));
        } else if (command == "AT+IMGINF") {
            info.push_back(ImageInfoLine());
        } else if (command.rfind("AT+IMGR=", 0) == 0) {
            ok = FrameLines(Number(command.substr(8)), info);
        } else if (command.rfind("AT+IMGW=", 0) == 0) {
            ok = TakeFrameChunk(Fields(command.substr(8)));
        } else {
            return false;
        }
        if (!ok) {
            lines = {"ERROR"};
            return true;
        }
        for (const std::string& line : info) {
            lines.push_back(line);
            if (ringBetweenLines_) lines.push_back("RING");
        }
        lines.push_back("OK");
        return true;
    }

    // The +RNGI line of the phone.
    void SetToneInfoLine(std::string line) {
        std::lock_guard<std::mutex> hold(mutex_);
        toneInfoLine_ = std::move(line);
    }

  private:
    struct Collecting {
        bool active = false;
        std::string name;
        int nextChunk = 1;
        int chunks = 0;
        std::size_t declared = 0;
        std::string text;
        std::string animParam;
    };

    static int Number(const std::string& text) {
        if (text.empty() || text.find_first_not_of("0123456789") != std::string::npos) return -1;
        return std::stoi(text);
    }

    static std::string Unquoted(const std::string& text) {
        if (text.size() >= 2 && text.front() == '"' && text.back() == '"') {
            return text.substr(1, text.size() - 2);
        }
        return text;
    }

    static std::vector<std::string> Fields(const std::string& text) {
        std::vector<std::string> fields;
        std::stringstream in(text);
        std::string field;
        while (std::getline(in, field, ',')) fields.push_back(field);
        if (!text.empty() && text.back() == ',') fields.emplace_back();
        return fields;
    }

    // How the part lines of one reply begin, and what stands between the
    // sizes and the text.
    struct PartForm {
        std::string head;  // up to the part number
        std::string extra;
    };

    // The text in parts of 128: the first part states the size as whole parts of 128
    // and the rest; the others leave both empty.
    static void PartLines(const PartForm& form, const std::string& text,
                          std::vector<std::string>& info) {
        const std::size_t parts = (text.size() + kPartChars - 1) / kPartChars;
        for (std::size_t part = 1; part <= parts; ++part) {
            const std::string piece = text.substr((part - 1) * kPartChars, kPartChars);
            std::string line = form.head;
            line += std::to_string(part) + "," + std::to_string(parts) + ",";
            if (part == 1) {
                line += std::to_string(text.size() / 128) + "," +
                        std::to_string(text.size() % 128) + ",";
            } else {
                line += ",,";
            }
            line += form.extra;
            line += "\"" + piece + "\",";
            line += std::to_string(LineCheck(piece));
            info.push_back(std::move(line));
        }
    }

    // +RNGR: <slot>,"<name>",255,1,<length>,,"<text>",<check>          one part
    // +RNGR: <slot>,"<name>",1,<parts>,<size/128>,<size%128>,"<text>",<check>
    // +RNGR: <slot>,"<name>",<part>,<parts>,,,"<text>",<check>
    // An empty slot is answered "OK" alone.
    bool ToneLines(int slot, std::vector<std::string>& info) const {
        if (slot < 0) return false;
        auto it = tones_.find(static_cast<uint8_t>(slot));
        if (it == tones_.end()) return true;
        const Tone& tone = it->second;
        std::string head = "+RNGR: " + std::to_string(slot);
        head += ",\"" + tone.name + "\",";
        if (tone.body.size() > kPartChars) {
            PartLines({head, ""}, tone.body, info);
            return true;
        }
        std::string line = head;
        line += "255,1," + std::to_string(tone.body.size()) + ",,";
        line += "\"" + tone.body + "\",";
        line += std::to_string(LineCheck(tone.body));
        info.push_back(std::move(line));
        return true;
    }

    // One chunk line of a write, cut into its fields.
    struct ChunkLine {
        std::string name;
        std::string chunk;
        std::string count;
        std::string rest;
        std::string animParam;
        std::string body;
        std::string check;
    };

    // <slot>,"<name>",2,1,<chunk>,<count>,<rest>,<body>,<check>
    bool TakeToneChunk(const std::vector<std::string>& f) {
        if (f.size() != 9 || f[2] != "2" || f[3] != "1") return false;
        return TakeChunk(
            toneWrite_, {f[1], f[4], f[5], f[6], std::string(), f[7], f[8]}, [&](Collecting& done) {
                tones_[static_cast<uint8_t>(Number(f[0]))] = {Unquoted(done.name), done.text};
            });
    }

    // <frame>,"<name>",2,1,<chunk>,<count>,<rest>,"<animParam>",<body>,<check>
    bool TakeFrameChunk(const std::vector<std::string>& f) {
        if (f.size() != 10 || f[2] != "2" || f[3] != "1") return false;
        const int frame = Number(f[0]);
        if (frame < 0) return false;
        return TakeChunk(
            frameWrite_, {f[1], f[4], f[5], f[6], f[7], f[8], f[9]},
            [&](Collecting& done) { frames_[static_cast<uint8_t>(frame)] = done.text; });
    }

    // Chunk 1 opens a tone or frame with its size as whole chunks and rest;
    // the others follow in order; the chunk after the whole ones ends it.
    template <typename Commit>
    static bool TakeChunk(Collecting& c, const ChunkLine& line, Commit commit) {
        const int index = Number(line.chunk);
        if (index == 1) {
            const int whole = Number(line.count);
            const int part = Number(line.rest);
            if (whole < 0 || part < 0) return false;
            c = Collecting{true,
                           line.name,
                           1,
                           whole + 1,
                           static_cast<std::size_t>(whole) * 128 + static_cast<std::size_t>(part),
                           std::string(),
                           line.animParam};
        } else if (!c.active || !line.count.empty() || !line.rest.empty() || line.name != c.name) {
            c.active = false;
            return false;
        }
        if (index != c.nextChunk || Number(line.check) != LineCheck(line.body) ||
            line.body.size() > kPartChars || line.animParam != c.animParam) {
            c.active = false;
            return false;
        }
        c.text += line.body;
        ++c.nextChunk;
        if (index == c.chunks) {
            c.active = false;
            if (c.text.size() != c.declared) return false;
            commit(c);
        }
        return true;
    }

    // +IMGINF: "<name>",1,2,3,4,5,<frames>,<first frame>,...
    std::string ImageInfoLine() const {
        std::string line = "+IMGINF: \"Pictures\",1,2,3,4,5";
        for (const auto& [frames, first] : imageTable_) {
            line += "," + std::to_string(frames) + "," + std::to_string(first);
        }
        return line;
    }

    // +IMGR: <frame>,"<name>",1,<parts>,<size/128>,<size%128>,"<animParam>","<text>",<check>
    // +IMGR: <frame>,"<name>",<part>,<parts>,,,"<animParam>","<text>",<check>
    bool FrameLines(int frame, std::vector<std::string>& info) const {
        if (frame < 0) return false;
        auto it = frames_.find(static_cast<uint8_t>(frame));
        if (it == frames_.end()) return false;
        std::string head = "+IMGR: " + std::to_string(frame);
        head += ",\"" + imageName_ + "\",";
        PartLines({head, "\"250310\","}, it->second, info);
        return true;
    }

    mutable std::mutex mutex_;
    std::map<uint8_t, Tone> tones_;
    std::vector<std::pair<uint16_t, uint16_t>> imageTable_;
    std::map<uint8_t, std::string> frames_;
    const std::string imageName_ = "Sunrise";
    std::string toneInfoLine_ = "+RNGI: \"Melodies\",12,3,40";
    bool ringBetweenLines_ = false;
    int ignoredAttentions_ = 0;
    std::vector<std::string> refusals_;
    Collecting toneWrite_;
    Collecting frameWrite_;
};

}  // namespace velk::test
