#include "phone_sim/sample_set.h"

#include <array>
#include <cmath>
#include <cstdint>
#include <functional>

namespace velk::phonesim {
namespace {

constexpr int kWidth = 96;
constexpr int kHeight = 64;

std::string Hex(const std::vector<uint8_t>& bytes) {
    static constexpr char kDigits[] = "0123456789ABCDEF";
    std::string text;
    text.reserve(bytes.size() * 2);
    for (const uint8_t b : bytes) {
        text += kDigits[b >> 4];
        text += kDigits[b & 0x0F];
    }
    return text;
}

// A type 0 MIDI file that plays the notes one after the other.
std::string MidiTone(const std::vector<uint8_t>& notes, uint8_t length) {
    std::vector<uint8_t> track;
    for (const uint8_t note : notes) {
        const std::array<uint8_t, 8> events = {0x00, 0x90, note, 0x64, length, 0x80, note, 0x40};
        track.insert(track.end(), events.begin(), events.end());
    }
    const std::array<uint8_t, 4> end = {0x00, 0xFF, 0x2F, 0x00};
    track.insert(track.end(), end.begin(), end.end());

    std::vector<uint8_t> file = {'M', 'T', 'h', 'd', 0,    0,   0,   6,   0,
                                 0,   0,   1,   0,   0x60, 'M', 'T', 'r', 'k'};
    const auto size = static_cast<uint32_t>(track.size());
    for (int shift = 24; shift >= 0; shift -= 8)
        file.push_back(static_cast<uint8_t>(size >> shift));
    file.insert(file.end(), track.begin(), track.end());
    return Hex(file);
}

// One frame drawn by a function of the dot's place: the first row first,
// eight dots a byte, the leftmost dot in the high bit.
std::string Frame(const std::function<bool(int x, int y)>& dot) {
    std::vector<uint8_t> bytes(kWidth * kHeight / 8, 0);
    for (int y = 0; y < kHeight; ++y) {
        for (int x = 0; x < kWidth; ++x) {
            if (dot(x, y)) bytes[static_cast<std::size_t>((y * kWidth + x) / 8)] |= 0x80 >> (x % 8);
        }
    }
    return Hex(bytes);
}

// NOLINTNEXTLINE(bugprone-easily-swappable-parameters): point, then circle
bool Ring(int x, int y, int cx, int cy, int r) {
    const int d = (x - cx) * (x - cx) + (y - cy) * (y - cy);
    return d <= r * r && d >= (r - 2) * (r - 2);
}

bool Disc(int x, int y, int cx, int cy, int r) {
    return (x - cx) * (x - cx) + (y - cy) * (y - cy) <= r * r;
}

}  // namespace

SampleSet MakeSampleSet(int entries) {
    SampleSet set;
    // Bells: three parts on the line; Chime: two, the second of 4 characters;
    // Alarm: a single part.
    set.tones[1] = {
        "Bells",
        MidiTone({76, 72, 67, 72, 74, 79, 74, 76, 72, 67, 64, 60, 64, 67, 72, 76, 79, 84}, 0x30)};
    set.tones[2] = {"Chime", MidiTone({72, 76, 79, 84, 79}, 0x60)};
    set.tones[3] = {"Alarm", MidiTone({88, 84, 88, 84}, 0x18)};

    // Images start 50 frames apart, room for the longest image the library
    // can write (42 frames).
    set.images = {{"Smile", 1, 1, "250100"}, {"Ball", 3, 51, "250300"}, {"Wave", 2, 101, "250200"}};
    set.frames[1] = Frame([](int x, int y) {
        return Ring(x, y, 48, 32, 28) || Disc(x, y, 38, 24, 4) || Disc(x, y, 58, 24, 4) ||
               (Ring(x, y, 48, 32, 18) && y > 38);
    });
    for (int i = 0; i < 3; ++i) {
        const int cx = 20 + 28 * i;
        set.frames[51 + i] =
            Frame([cx](int x, int y) { return Disc(x, y, cx, 40, 10) || y == 52; });
    }
    for (int i = 0; i < 2; ++i) {
        const double shift = i * 3.14159 / 2;
        set.frames[101 + i] = Frame([shift](int x, int y) {
            const int wave = 32 + static_cast<int>(std::lround(20 * std::sin(x / 8.0 + shift)));
            return y == wave || y == wave + 1;
        });
    }

    set.phonebooks["SM"] = SampleSimPhonebook(entries);
    set.phonebooks["ME"].size = 100;
    set.messages = SampleMessages();
    return set;
}

}  // namespace velk::phonesim
