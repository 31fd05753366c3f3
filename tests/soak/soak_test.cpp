// The whole library against the simulated phone: a long run of random
// operations on healthy, refusing, silent and hanging-up phones (noisy or
// answering in pieces), cancels at random moments, and records the
// application frees as soon as a call returns.
// VELK_SOAK_OPERATIONS, VELK_SOAK_CANCELS and VELK_SOAK_SEED make the run long
// (scripts/soak.sh); the defaults keep the suite fast.
#include <gtest/gtest.h>
#include <malloc.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "e2e/e2e_link.h"
#include "phone_sim/phone_simulator.h"
#include "support/process_resources.h"

namespace velk::test {
namespace {

using phonesim::PhoneSimulator;
using phonesim::PhoneStore;
using phonesim::SimulatorOptions;
using Clock = std::chrono::steady_clock;

constexpr uint8_t kPort = 9;

enum Kind { kToneInfo, kToneRead, kToneWrite, kImageInfo, kImageRead, kImageWrite, kKinds };
enum Fault { kHealthy, kRefusing, kSilent, kHangingUp, kFaults };

// The message that ends each kind of operation well.
constexpr uint32_t kSuccess[kKinds] = {VELK_MSG_MID_INFO_READ, VELK_MSG_MID_READ,
                                       VELK_MSG_MID_WRITTEN,   VELK_MSG_ANIM_INFO_READ,
                                       VELK_MSG_ANIM_READ,     VELK_MSG_ANIM_WRITTEN};

// Commands a refusing phone turns down, and how.
const phonesim::Refusal kRefusals[] = {{"ATE0", "ERROR"},
                                       {"AT+RNGI", "ERROR"},
                                       {"AT+RNGR=", "+CME ERROR: 21"},
                                       {"AT+RNGW=", "ERROR"},
                                       {"AT+IMGINF", "ERROR"},
                                       {"AT+IMGR=", "+CME ERROR: 22"},
                                       {"AT+IMGW=", "+CME ERROR: 20"}};

int EnvCount(const char* name, int fallback) {
    const char* text = std::getenv(name);
    const int value = text != nullptr ? std::atoi(text) : 0;
    return value > 0 ? value : fallback;
}

// Tries `request` until the link takes it: the final message of an operation
// may go out just before the link takes requests again.
bool Take(const std::function<int32_t()>& request) {
    return Eventually([&] { return request() == 1; });
}

// One operation on tone slot or image `number`; `name` and `body` are what a
// write sends.
int32_t Request(Kind kind, uint8_t number, const std::string& name, std::string& body) {
    switch (kind) {
        case kToneInfo:
            return velk_ReadMidInfo();
        case kToneRead:
            return velk_ReadMid(number);
        case kToneWrite:
            return velk_WriteMid(ToneRecord(number, name, body));
        case kImageInfo:
            return velk_ReadAnimInfo();
        case kImageRead:
            return velk_ReadAnim(number);
        default:
            return velk_WriteAnim(ImageRecord(number, name, body));
    }
}

// What the phone holds of image `id`: its first frame, frames and their text.
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
        held.text += frame != nullptr ? *frame : "<missing>";
    }
    return held;
}

// The heap in use (0 under a sanitizer, whose allocator the C library cannot
// see) and the resident memory in KiB.
std::array<std::size_t, 2> MemoryUse() {
    std::size_t pages = 0;
    std::size_t resident = 0;
    std::ifstream("/proc/self/statm") >> pages >> resident;
    return {mallinfo2().uordblks,
            resident * static_cast<std::size_t>(sysconf(_SC_PAGESIZE)) / 1024};
}

// A simulated phone and a link on it; the link ends with the fixture.
class PhoneFixture : public ::testing::Test {
  protected:
    void TearDown() override {
        velk_EndThread();
        velk_SetPortDevice(kPort, nullptr);
    }
    bool StartLink(PhoneSimulator& phone, const SimulatorOptions& options, int32_t flow = 1) {
        std::string error;
        EXPECT_TRUE(phone.Start(options, &error)) << error;
        return velk_SetPortDevice(kPort, phone.DevicePath().c_str()) == 1 &&
               velk_BeginThread(window.WriteEnd(), kPort, 115200, flow) == 1;
    }
    WindowReader window;
};

class Soak : public PhoneFixture {
  protected:
    // Runs up to `budget` operations on one phone; the number taken.
    int RunSegment(Fault fault, const SimulatorOptions& options, int budget) {
        PhoneSimulator phone;
        const auto flow = static_cast<int32_t>(random_() % 2);
        if (!StartLink(phone, options, flow)) {
            ADD_FAILURE() << "the link did not start on the simulated phone";
            return budget;
        }
        SCOPED_TRACE(::testing::Message()
                     << "phone: fault " << fault << ", noise " << options.noise << ", split "
                     << options.split << ", hang-up at " << options.hangupAfter << ", refusal "
                     << (options.refusals.empty() ? "" : options.refusals[0].prefix) << ", flow "
                     << flow);
        int taken = 0;
        while (taken < budget && !HasFatalFailure()) {
            ++taken;
            if (!RunOperation(fault, phone)) break;
        }
        const auto started = Clock::now();
        EXPECT_EQ(velk_EndThread(), 1);
        EXPECT_LT(Clock::now() - started, std::chrono::seconds(1)) << "the end took too long";
        phone.Stop();
        EXPECT_TRUE(window.Quiet(1)) << "a message after the link ended";
        return taken;
    }

    // One random operation: false when the link is gone after it.
    bool RunOperation(Fault fault, PhoneSimulator& phone) {
        const auto kind = static_cast<Kind>(random_() % kKinds);
        // Image 4 is mostly not listed.
        const auto number = static_cast<uint8_t>(1 + random_() % (kind >= kImageInfo ? 4 : 5));
        const std::string name = Letters(1 + random_() % 10);
        std::string body =
            Letters(kind == kImageWrite ? (1 + random_() % 3) * kFrame : 1 + random_() % 700);
        std::optional<HeldImage> before;
        phone.InspectStore([&](const PhoneStore& store) { before = ImageHeld(store, number); });
        if (!Take([&] { return Request(kind, number, name, body); })) {
            ADD_FAILURE() << "the link takes no operation of kind " << kind;
            return false;
        }
        ++operations_;
        ++byKind_[kind];

        const Messages seen = AwaitFinal(fault);
        SCOPED_TRACE(::testing::Message() << "operation kind " << kind << ", number " << +number
                                          << ", body " << body.size());
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
        EXPECT_TRUE(window.Quiet(2)) << "a second message after the final one";
        const bool good = final == kSuccess[kind];
        ++outcomes_[good ? 0 : final == VELK_MSG_TIMED_OUT ? 2 : 1];

        if (fault == kSilent || phone.Ended()) {
            EXPECT_EQ(final, static_cast<uint32_t>(VELK_MSG_TIMED_OUT));
            if (fault == kSilent) return true;
            // The phone hung up on this operation: the link is gone.
            EXPECT_TRUE(window.Quiet(20));
            EXPECT_EQ(velk_ReadMidInfo(), 0) << "the fallen link takes no operation";
            return false;
        }
        std::optional<HeldImage> after;
        std::optional<phonesim::Tone> tone;
        phone.InspectStore([&](const PhoneStore& store) {
            after = ImageHeld(store, number);
            if (const phonesim::Tone* held = store.FindTone(number)) tone = *held;
        });
        // On a healthy phone what it holds decides the outcome.
        if (fault == kHealthy) {
            uint32_t want = kSuccess[kind];
            if (kind == kToneRead && !tone) want = VELK_MSG_MID_READ_REFUSED;
            if (kind == kImageRead && !before) want = VELK_MSG_ANIM_READ_REFUSED;
            if (kind == kImageWrite && !before) want = VELK_MSG_ANIM_WRITE_REFUSED;
            EXPECT_EQ(final, want);
            if (kind == kImageRead && good && after) {
                EXPECT_EQ(seen.size(), static_cast<std::size_t>(after->frames))
                    << "one progress a frame";
            }
        }
        if (!good) return true;
        if (kind == kToneRead) {
            MidRecord* record = nullptr;
            EXPECT_EQ(velk_GetMidData(&record), 1);
            EXPECT_EQ(record ? Text(record->data, record->size) : "<no record>",
                      tone ? tone->text : "<not held>");
            ++checkedReads_;
        } else if (kind == kImageRead) {
            AnimRecord* record = nullptr;
            EXPECT_EQ(velk_GetAnimData(&record), 1);
            EXPECT_EQ(record ? Text(record->data, record->size) : "<no record>",
                      after ? after->text : "<not held>");
            ++checkedReads_;
        } else if (kind == kToneWrite) {
            EXPECT_EQ(tone ? tone->name : "<not held>", name);
            EXPECT_EQ(tone ? tone->text : "<not held>", body);
            ++checkedWrites_;
        } else if (kind == kImageWrite) {
            if (!before || !after) {
                ADD_FAILURE() << "an image written that the phone does not list";
                return true;
            }
            EXPECT_EQ(after->first, before->first);
            EXPECT_EQ(after->text, body) << "the phone holds other frames than were written";
            ++checkedWrites_;
        }
        return true;
    }

    // The messages up to the first final one. A silent phone answers nothing:
    // each of the library's waits is ended by moving the clock once it has
    // begun. Any other phone answers in real time, so its clock moves only
    // after a long quiet.
    Messages AwaitFinal(Fault fault) {
        const bool silent = fault == kSilent;
        Messages seen;
        auto quietSince = Clock::now();
        const auto until = quietSince + std::chrono::seconds(30);
        while (Clock::now() < until) {
            if (const auto m = window.Next(silent ? 2 : 50)) {
                seen.push_back(*m);
                if (IsFinal(*m)) break;
                quietSince = Clock::now();
            } else if ((silent || Clock::now() - quietSince > std::chrono::seconds(2)) &&
                       clock.Waiters() > 0) {
                EXPECT_NE(fault, kHealthy) << "a healthy phone's operation waited for its time-out";
                clock.Advance(10050);  // a little more than a command's lapse
                quietSince = Clock::now();
            }
        }
        return seen;
    }

    std::string Letters(std::size_t count) {
        static const char kChars[] = "0123456789ABCDEFabcdefXYZ";
        std::string text(count, ' ');
        for (char& c : text) c = kChars[random_() % (sizeof kChars - 1)];
        return text;
    }

    TestTickClock clock{0xFFFF0000u};  // every lapse crosses the tick's wrap
    std::mt19937 random_;
    std::size_t operations_ = 0;
    std::array<std::size_t, kKinds> byKind_{};
    std::array<std::size_t, 3> outcomes_{};  // succeeded, refused, timed out
    std::size_t checkedReads_ = 0;
    std::size_t checkedWrites_ = 0;
};

TEST_F(Soak, EveryOperationEndsOnceReadsMatchThePhoneAndTheHeapStaysFlat) {
    const int operations = EnvCount("VELK_SOAK_OPERATIONS", 60);
    const auto seed = static_cast<uint32_t>(EnvCount("VELK_SOAK_SEED", 20261123));
    random_.seed(seed);
    std::array<std::size_t, kFaults> phones{};
    std::size_t noisy = 0;
    std::size_t split = 0;
    std::array<std::size_t, 2> start{};
    for (int left = operations, segment = 0; left > 0 && !HasFatalFailure(); ++segment) {
        // The first phones show each fault once, so that a short run meets them all.
        const unsigned roll = random_() % 20;
        const auto fault = static_cast<Fault>(segment < kFaults ? segment
                                              : roll < 10       ? kHealthy
                                              : roll < 15       ? kRefusing
                                              : roll < 17       ? kSilent
                                                                : kHangingUp);
        SimulatorOptions options;
        options.noise = random_() % 2 == 0;
        options.split = random_() % 2 == 0;
        options.seed = static_cast<uint32_t>(random_() | 1u);
        if (fault == kRefusing) options.refusals.push_back(kRefusals[random_() % 7]);
        options.silent = fault == kSilent;
        if (fault == kHangingUp) options.hangupAfter = 3 + random_() % 60;
        ++phones[fault];
        noisy += options.noise;
        split += options.split;
        const int budget = fault == kSilent ? 1 + static_cast<int>(random_() % 3)
                                            : 4 + static_cast<int>(random_() % 9);
        left -= RunSegment(fault, options, std::min(budget, left));
        if (segment == 0) start = MemoryUse();
    }
    const auto end = MemoryUse();
    const auto& k = byKind_;
    std::printf(
        "soak (seed %u):\noperations %zu (tone info %zu, tone read %zu, tone write %zu, image "
        "info %zu, image read %zu, image write %zu)\noutcomes: succeeded %zu, refused %zu, timed "
        "out %zu; reads checked %zu, writes checked %zu\nphones: healthy %zu, refusing %zu, "
        "silent %zu, hanging up %zu; noisy %zu, split %zu\nheap in use %zu -> %zu bytes, "
        "resident %zu -> %zu KiB\n",
        seed, operations_, k[0], k[1], k[2], k[3], k[4], k[5], outcomes_[0], outcomes_[1],
        outcomes_[2], checkedReads_, checkedWrites_, phones[0], phones[1], phones[2], phones[3],
        noisy, split, start[0], end[0], start[1], end[1]);

    EXPECT_GE(operations_, static_cast<std::size_t>(operations));
    EXPECT_GT(checkedReads_, 0u);
    EXPECT_GT(checkedWrites_, 0u);
    // The library keeps the last record of each kind: a little growth, never
    // one that comes with every operation.
    if (start[0] != 0) {
        EXPECT_LT(end[0], start[0] + 256UL * 1024) << "the heap grew over the run";
    }
}

using SoakCancels = PhoneFixture;

TEST_F(SoakCancels, CancelAtAnyMomentReturnsAndTheLinkComesBackWithNothingLeft) {
    const int cancels = EnvCount("VELK_SOAK_CANCELS", 30);
    SimulatorOptions options;
    options.baud = 115200;  // operations long enough to be caught in the middle
    options.split = true;
    options.seed = 5;
    PhoneSimulator phone;
    ASSERT_TRUE(StartLink(phone, options));
    // The link's threads are all up once it has served an operation.
    ASSERT_EQ(velk_ReadMidInfo(), 1);
    ASSERT_EQ(window.UntilFinal(), Messages{VELK_MSG_MID_INFO_READ});
    const ProcessResources standing = ProcessResources::Now();

    std::mt19937 random(99);
    int caught = 0;
    for (int i = 0; i < cancels && !HasFatalFailure(); ++i) {
        SCOPED_TRACE(i);
        const auto kind = static_cast<Kind>(random() % kKinds);
        std::string body(kind == kImageWrite ? 2 * kFrame : 2000, 'T');
        ASSERT_TRUE(Take([&] { return Request(kind, kind == kImageRead ? 2 : 1, "T", body); }));
        std::this_thread::sleep_for(std::chrono::milliseconds(random() % 150));

        const auto started = Clock::now();
        const int32_t cancelled = velk_CancelCurrentAction();
        EXPECT_LT(Clock::now() - started, std::chrono::seconds(1)) << "the cancel hung";
        if (cancelled == 1) {
            ++caught;
            // A message of the cancelled operation may have gone before it.
            while (const auto m = window.Next(20)) {
                EXPECT_FALSE(IsFinal(*m)) << "a final message of a cancelled operation";
            }
        } else {
            ASSERT_FALSE(window.UntilFinal().empty()) << "an uncancelled operation did not end";
        }
        EXPECT_TRUE(window.Quiet(5));
        ASSERT_TRUE(Take(velk_ReadMidInfo)) << "the link did not come back";
        EXPECT_EQ(window.UntilFinal(), Messages{VELK_MSG_MID_INFO_READ});
        EXPECT_TRUE(ResourcesBecome(standing, std::chrono::seconds(1)))
            << "standing: " << ::testing::PrintToString(standing)
            << ", now: " << ::testing::PrintToString(ProcessResources::Now());
    }
    std::printf("cancels: %d, caught in an operation: %d\n", cancels, caught);
    EXPECT_GT(caught, cancels / 4) << "too few cancels met a running operation to mean much";
    EXPECT_EQ(velk_EndThread(), 1);
    phone.Stop();
}

// A heap block of exactly the text's size, with no zero byte behind it.
std::unique_ptr<uint8_t[]> Exact(const std::string& text) {
    auto block = std::make_unique<uint8_t[]>(text.size());
    std::memcpy(block.get(), text.data(), text.size());
    return block;
}

using ApplicationRecords = PhoneFixture;

// Records at the edge of their fields (data without a zero byte behind it,
// names that fill their field, an image whose rest is shorter than a frame),
// freed the moment the call returns: the library copies what it needs and
// reads no byte beyond the record (a sanitizer build reports any such read).
TEST_F(ApplicationRecords, RecordsFreedOnReturnAreWrittenWhole) {
    PhoneSimulator phone;
    ASSERT_TRUE(StartLink(phone, {}));
    std::string text(777, 'M');
    auto data = Exact(text);
    auto tone = std::make_unique<MidRecord>(ToneRecord(6, "TenLetters", text));
    tone->data = data.get();
    ASSERT_EQ(velk_WriteMid(*tone), 1);
    data.reset();
    tone.reset();
    EXPECT_EQ(window.UntilFinal(), Messages{VELK_MSG_MID_WRITTEN});

    ASSERT_TRUE(Take(velk_ReadAnimInfo));
    ASSERT_EQ(window.UntilFinal(), Messages{VELK_MSG_ANIM_INFO_READ});
    const std::string frames = std::string(kFrame, 'A') + std::string(kFrame, 'B');
    std::string withRest = frames + std::string(1000, 'C');
    data = Exact(withRest);
    auto image = std::make_unique<AnimRecord>(ImageRecord(3, "Full_Field", withRest));
    image->data = data.get();
    ASSERT_TRUE(Take([&] { return velk_WriteAnim(*image); }));
    data.reset();
    image.reset();
    EXPECT_EQ(window.UntilFinal(), (Messages{VELK_MSG_ANIM_WRITE_PROGRESS,
                                             VELK_MSG_ANIM_WRITE_PROGRESS, VELK_MSG_ANIM_WRITTEN}));

    phone.InspectStore([&](const PhoneStore& store) {
        const phonesim::Tone* held = store.FindTone(6);
        ASSERT_NE(held, nullptr);
        EXPECT_EQ(held->text, text);
        EXPECT_EQ(held->name, "TenLetters");
        const auto written = ImageHeld(store, 3);
        ASSERT_TRUE(written);
        EXPECT_EQ(written->frames, 2) << "the rest shorter than a frame is not sent";
        EXPECT_EQ(written->text, frames);
    });
    EXPECT_EQ(velk_EndThread(), 1);
    phone.Stop();
}

}  // namespace
}  // namespace velk::test
