#include "soak_session.h"

#include <gtest/gtest.h>
#include <malloc.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <optional>
#include <sstream>
#include <thread>

#include "velkport.h"

namespace velk::test {
namespace {

using phonesim::PhoneSimulator;
using phonesim::PhoneStore;
using phonesim::Refusal;
using SteadyClock = std::chrono::steady_clock;

constexpr uint8_t kSoakPort = 9;
constexpr uint32_t kLapseMs = 10050;  // a little more than a command's lapse
constexpr std::size_t kFrame = PhoneStore::kFrameLength;

enum Kind { kToneInfo, kToneRead, kToneWrite, kImageInfo, kImageRead, kImageWrite };

// The message that ends each kind of operation well.
constexpr uint32_t kSuccess[kSoakKinds] = {VELK_MSG_MID_INFO_READ, VELK_MSG_MID_READ,
                                           VELK_MSG_MID_WRITTEN,   VELK_MSG_ANIM_INFO_READ,
                                           VELK_MSG_ANIM_READ,     VELK_MSG_ANIM_WRITTEN};

// Commands a refusing phone turns down, and how.
const Refusal kRefusals[] = {
    {"ATE0", "ERROR"},
    {"AT+RNGI", "ERROR"},
    {"AT+RNGR=", "+CME ERROR: 21"},
    {"AT+RNGW=", "ERROR"},
    {"AT+IMGINF", "ERROR"},
    {"AT+IMGR=", "+CME ERROR: 22"},
    {"AT+IMGW=", "+CME ERROR: 20"},
};

bool IsFinal(uint32_t message) {
    return message >= VELK_MSG_MID_INFO_REFUSED && message <= VELK_MSG_ANIM_READ_REFUSED;
}

std::string Letters(std::mt19937& random, std::size_t count) {
    static const char kChars[] = "0123456789ABCDEFabcdefXYZ";
    std::string text(count, ' ');
    for (char& c : text) c = kChars[random() % (sizeof kChars - 1)];
    return text;
}

std::string Text(const uint8_t* data, std::size_t size) {
    return data == nullptr ? std::string() : std::string(reinterpret_cast<const char*>(data), size);
}

// What the phone holds of one image: its first frame and its frames' text.
struct HeldImage {
    int first = 0;
    int frames = 0;
    std::string text;
};

std::optional<HeldImage> ImageHeld(const PhoneStore& store, int id) {
    if (id < 1 || static_cast<std::size_t>(id) > store.Images().size()) return std::nullopt;
    const phonesim::Image& image = store.Images()[static_cast<std::size_t>(id - 1)];
    HeldImage held{image.first, image.frames, {}};
    for (int f = 0; f < image.frames; ++f) {
        const std::string* frame = store.Frame(image.first + f);
        held.text += frame != nullptr ? *frame : std::string("<missing>");
    }
    return held;
}

}  // namespace

MemoryUse MemoryUse::Now() {
    MemoryUse use;
    use.heapInUse = mallinfo2().uordblks;
    std::ifstream statm("/proc/self/statm");
    std::size_t pages = 0;
    std::size_t residentPages = 0;
    if (statm >> pages >> residentPages) {
        use.resident = residentPages * static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    }
    return use;
}

int CountFromEnvironment(const char* name, int fallback) {
    const char* text = std::getenv(name);
    if (text == nullptr || *text == '\0') return fallback;
    const int value = std::atoi(text);
    return value > 0 ? value : fallback;
}

SoakSession::SoakSession(TestTickClock& clock, uint32_t seed) : clock_(clock), random_(seed) {}

void SoakSession::Run(int operations) {
    bool measured = false;
    int left = operations;
    while (left > 0) {
        const Segment segment = PickSegment();
        const int budget = segment.fault == SoakFault::kSilence
                               ? 1 + static_cast<int>(random_() % 3)
                               : 4 + static_cast<int>(random_() % 9);
        left -= RunSegment(segment, std::min(budget, left));
        if (::testing::Test::HasFatalFailure()) return;
        if (!measured) {
            figures_.start = MemoryUse::Now();
            measured = true;
        }
    }
    figures_.end = MemoryUse::Now();
}

SoakSession::Segment SoakSession::PickSegment() {
    Segment segment;
    // The first phones show each fault once, so that a short run meets them all.
    const unsigned roll = random_() % 20;
    if (segments_ < kSoakFaults) {
        segment.fault = static_cast<SoakFault>(segments_);
    } else {
        segment.fault = roll < 10   ? SoakFault::kNone
                        : roll < 15 ? SoakFault::kRefusal
                        : roll < 17 ? SoakFault::kSilence
                                    : SoakFault::kHangUp;
    }
    ++segments_;
    phonesim::SimulatorOptions& options = segment.options;
    options.noise = random_() % 2 == 0;
    options.split = random_() % 2 == 0;
    options.seed = static_cast<uint32_t>(random_() | 1u);
    switch (segment.fault) {
        case SoakFault::kRefusal:
            options.refusals.push_back(kRefusals[random_() % std::size(kRefusals)]);
            break;
        case SoakFault::kSilence:
            options.silent = true;
            break;
        case SoakFault::kHangUp:
            options.hangupAfter = 3 + random_() % 60;
            break;
        case SoakFault::kNone:
            break;
    }
    ++figures_.segmentsByFault[static_cast<std::size_t>(segment.fault)];
    figures_.noisySegments += options.noise ? 1 : 0;
    figures_.splitSegments += options.split ? 1 : 0;
    return segment;
}

int SoakSession::RunSegment(const Segment& segment, int budget) {
    PhoneSimulator phone;
    std::string error;
    if (!phone.Start(segment.options, &error)) {
        ADD_FAILURE() << "the simulated phone did not start: " << error;
        return budget;
    }
    EXPECT_EQ(velk_SetPortDevice(kSoakPort, phone.DevicePath().c_str()), 1);
    const int32_t flow = static_cast<int32_t>(random_() % 2);
    if (velk_BeginThread(window_.WriteEnd(), kSoakPort, 115200, flow) != 1) {
        ADD_FAILURE() << "the link did not start on the simulated phone";
        return budget;
    }
    SCOPED_TRACE(::testing::Message()
                 << "phone: fault " << static_cast<int>(segment.fault) << ", noise "
                 << segment.options.noise << ", split " << segment.options.split << ", hang-up at "
                 << segment.options.hangupAfter << ", refusal "
                 << (segment.options.refusals.empty() ? "" : segment.options.refusals[0].prefix)
                 << ", flow " << flow);
    int taken = 0;
    bool linkStands = true;
    while (taken < budget && linkStands && !::testing::Test::HasFatalFailure()) {
        linkStands = RunOperation(segment, phone);
        ++taken;
    }
    const auto started = SteadyClock::now();
    EXPECT_EQ(velk_EndThread(), 1);
    EXPECT_LT(SteadyClock::now() - started, std::chrono::seconds(1)) << "the end took too long";
    phone.Stop();
    EXPECT_TRUE(window_.Quiet(1)) << "a message after the link ended";
    return taken;
}

bool SoakSession::RunOperation(const Segment& segment, PhoneSimulator& phone) {
    const auto kind = static_cast<Kind>(random_() % kSoakKinds);
    const auto slot = static_cast<uint8_t>(1 + random_() % 5);
    const auto image = static_cast<uint8_t>(1 + random_() % 4);  // 4: mostly not listed
    const std::size_t frames = 1 + random_() % 3;
    std::string name = Letters(random_, 1 + random_() % 10);
    std::string body = kind == kImageWrite ? Letters(random_, frames * kFrame)
                                           : Letters(random_, 1 + random_() % 700);

    std::optional<HeldImage> before;
    phone.InspectStore([&](const PhoneStore& store) { before = ImageHeld(store, image); });

    const std::function<int32_t()> request = [&]() -> int32_t {
        switch (kind) {
            case kToneInfo:
                return velk_ReadMidInfo();
            case kToneRead:
                return velk_ReadMid(slot);
            case kToneWrite: {
                MidRecord tone{};
                tone.id = slot;
                tone.nameLength = static_cast<uint16_t>(name.size());
                name.copy(tone.name, sizeof tone.name);
                tone.size = static_cast<uint16_t>(body.size());
                tone.data = reinterpret_cast<uint8_t*>(body.data());
                return velk_WriteMid(tone);
            }
            case kImageInfo:
                return velk_ReadAnimInfo();
            case kImageRead:
                return velk_ReadAnim(image);
            case kImageWrite: {
                AnimRecord anim{};
                anim.id = image;
                anim.nameLength = static_cast<uint8_t>(name.size());
                name.copy(anim.name, sizeof anim.name);
                anim.size = static_cast<uint16_t>(body.size());
                anim.data = reinterpret_cast<uint8_t*>(body.data());
                anim.animParamFirst = 25;
                anim.animParamLast = static_cast<uint8_t>(frames);
                return velk_WriteAnim(anim);
            }
        }
        return 0;
    };
    // The final message of the last operation may come just before the link
    // takes requests again.
    const auto until = SteadyClock::now() + std::chrono::seconds(3);
    while (request() != 1) {
        if (SteadyClock::now() > until) {
            ADD_FAILURE() << "the link does not take operation kind " << kind;
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    ++figures_.operations;
    ++figures_.byKind[kind];

    const std::vector<uint32_t> seen = AwaitFinal(segment.fault);
    SCOPED_TRACE(::testing::Message() << "operation kind " << kind << ", slot " << +slot
                                      << ", image " << +image << ", frames " << frames);
    if (seen.empty() || !IsFinal(seen.back())) {
        ADD_FAILURE() << "no final message";
        return false;
    }
    const uint32_t final = seen.back();
    for (std::size_t m = 0; m + 1 < seen.size(); ++m) {
        EXPECT_TRUE(seen[m] == VELK_MSG_ANIM_WRITE_PROGRESS ||
                    seen[m] == VELK_MSG_ANIM_READ_PROGRESS)
            << "message " << seen[m] << " before the final one";
    }
    EXPECT_TRUE(window_.Quiet(2)) << "a second message after the final one";

    const bool good = final == kSuccess[kind];
    figures_.succeeded += good ? 1 : 0;
    figures_.timedOut += final == VELK_MSG_TIMED_OUT ? 1 : 0;
    figures_.refused += !good && final != VELK_MSG_TIMED_OUT ? 1 : 0;

    if (segment.fault == SoakFault::kSilence) {
        EXPECT_EQ(final, static_cast<uint32_t>(VELK_MSG_TIMED_OUT));
        return true;
    }
    if (phone.Ended()) {
        // The phone hung up on this operation: the link is gone.
        EXPECT_EQ(final, static_cast<uint32_t>(VELK_MSG_TIMED_OUT));
        EXPECT_TRUE(window_.Quiet(20));
        EXPECT_EQ(velk_ReadMidInfo(), 0) << "the fallen link takes no operation";
        return false;
    }

    // What the phone holds decides the outcome on a healthy phone.
    std::optional<HeldImage> after;
    std::optional<phonesim::Tone> tone;
    phone.InspectStore([&](const PhoneStore& store) {
        after = ImageHeld(store, image);
        if (const phonesim::Tone* held = store.FindTone(slot)) tone = *held;
    });
    const bool healthy = segment.fault == SoakFault::kNone;
    switch (kind) {
        case kToneRead:
            if (healthy) {
                EXPECT_EQ(final, static_cast<uint32_t>(tone ? VELK_MSG_MID_READ
                                                            : VELK_MSG_MID_READ_REFUSED));
            }
            if (good) {
                MidRecord* record = nullptr;
                EXPECT_EQ(velk_GetMidData(&record), 1);
                if (record == nullptr || !tone) {
                    ADD_FAILURE() << "a tone read that the phone does not hold";
                    break;
                }
                EXPECT_EQ(Text(record->data, record->size), tone->text);
                ++figures_.checkedReads;
            }
            break;
        case kToneWrite:
            if (healthy) {
                EXPECT_EQ(final, static_cast<uint32_t>(VELK_MSG_MID_WRITTEN));
            }
            if (good) {
                if (!tone) {
                    ADD_FAILURE() << "the written tone is not in the phone";
                    break;
                }
                EXPECT_EQ(tone->text, body);
                EXPECT_EQ(tone->name, name);
                ++figures_.checkedWrites;
            }
            break;
        case kImageRead:
            if (healthy) {
                EXPECT_EQ(final, static_cast<uint32_t>(before ? VELK_MSG_ANIM_READ
                                                              : VELK_MSG_ANIM_READ_REFUSED));
            }
            if (healthy && good && after) {
                EXPECT_EQ(seen.size(), static_cast<std::size_t>(after->frames))
                    << "one progress a frame";
            }
            if (good) {
                AnimRecord* record = nullptr;
                EXPECT_EQ(velk_GetAnimData(&record), 1);
                if (record == nullptr || !after) {
                    ADD_FAILURE() << "an image read that the phone does not hold";
                    break;
                }
                EXPECT_EQ(Text(record->data, record->size), after->text);
                ++figures_.checkedReads;
            }
            break;
        case kImageWrite:
            if (healthy) {
                EXPECT_EQ(final, static_cast<uint32_t>(before ? VELK_MSG_ANIM_WRITTEN
                                                              : VELK_MSG_ANIM_WRITE_REFUSED));
            }
            if (good) {
                if (!before || !after) {
                    ADD_FAILURE() << "an image written that the phone does not list";
                    break;
                }
                EXPECT_EQ(after->first, before->first);
                EXPECT_EQ(after->text, body) << "the phone holds other frames than were written";
                ++figures_.checkedWrites;
            }
            break;
        case kToneInfo:
        case kImageInfo:
            if (healthy) {
                EXPECT_EQ(final, kSuccess[kind]);
            }
            break;
    }
    return true;
}

std::vector<uint32_t> SoakSession::AwaitFinal(SoakFault fault) {
    // A silent phone answers nothing: each of the library's waits for it
    // is ended by moving the clock once the wait has begun. Any other phone
    // answers in real time, so its clock moves only after a long quiet.
    const bool silent = fault == SoakFault::kSilence;
    std::vector<uint32_t> seen;
    auto quietSince = SteadyClock::now();
    const auto until = quietSince + std::chrono::seconds(30);
    while (SteadyClock::now() < until) {
        if (const auto m = window_.Next(silent ? 2 : 50)) {
            seen.push_back(*m);
            if (IsFinal(*m)) return seen;
            quietSince = SteadyClock::now();
            continue;
        }
        const bool stalled = silent || SteadyClock::now() - quietSince > std::chrono::seconds(2);
        if (stalled && clock_.Waiters() > 0) {
            EXPECT_TRUE(silent || fault != SoakFault::kNone)
                << "a healthy phone's operation waited for its time-out";
            clock_.Advance(kLapseMs);
            quietSince = SteadyClock::now();
        }
    }
    return seen;
}

std::string SoakSession::Summary() const {
    const SoakFigures& f = figures_;
    std::ostringstream out;
    out << "operations " << f.operations << " (tone info " << f.byKind[kToneInfo] << ", tone read "
        << f.byKind[kToneRead] << ", tone write " << f.byKind[kToneWrite] << ", image info "
        << f.byKind[kImageInfo] << ", image read " << f.byKind[kImageRead] << ", image write "
        << f.byKind[kImageWrite] << ")\n"
        << "outcomes: succeeded " << f.succeeded << ", refused " << f.refused << ", timed out "
        << f.timedOut << "; reads checked " << f.checkedReads << ", writes checked "
        << f.checkedWrites << "\n"
        << "phones: healthy " << f.segmentsByFault[0] << ", refusing " << f.segmentsByFault[1]
        << ", silent " << f.segmentsByFault[2] << ", hanging up " << f.segmentsByFault[3]
        << "; noisy " << f.noisySegments << ", split " << f.splitSegments << "\n"
        << "heap in use " << f.start.heapInUse << " -> " << f.end.heapInUse << " bytes, resident "
        << f.start.resident / 1024 << " -> " << f.end.resident / 1024 << " KiB\n";
    return out.str();
}

}  // namespace velk::test
