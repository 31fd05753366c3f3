// A cancel in the middle of a reply, against the simulated phone paced at
// 115200 Bd: the phone goes on sending the rest of the cancelled reply (the
// frames of an image read and their OK) into the port the restart opens. The
// next operation, asked for at once, must still read its own answers, not
// the tail's OK.
#include <gtest/gtest.h>

#include <chrono>
#include <cstring>
#include <functional>
#include <string>
#include <thread>

#include "e2e/e2e_link.h"
#include "phone_sim/phone_simulator.h"

namespace velk::test {
namespace {

using phonesim::PhoneSimulator;
using phonesim::PhoneStore;
using phonesim::SimulatorOptions;

constexpr uint8_t kPort = 8;

bool IsProgress(uint32_t message) {
    return message == VELK_MSG_ANIM_WRITE_PROGRESS || message == VELK_MSG_ANIM_READ_PROGRESS;
}

class CancelTail : public ::testing::Test {
  protected:
    void TearDown() override {
        velk_EndThread();
        velk_SetPortDevice(kPort, nullptr);
        phone.Stop();
    }
    WindowReader window;
    PhoneSimulator phone;
};

// Where in the cancelled operation the cancel falls: `progress` progress
// messages after the request, then `delayMs` more.
TEST_F(CancelTail, ToneInformationAfterACancelMidReplyIsThePhonesOwn) {
    std::string tone(2000, 'T');
    std::string frames(2 * kFrame, 'F');
    const struct {
        const char* moment;
        std::function<int32_t()> request;
        int progress;
        int delayMs;
    } cases[] = {
        {"image read, in the first frame", [] { return velk_ReadAnim(2); }, 0, 40},
        {"image read, as the second frame is asked for", [] { return velk_ReadAnim(2); }, 1, 0},
        {"image read, in the second frame", [] { return velk_ReadAnim(2); }, 1, 60},
        {"image read, late in the second frame", [] { return velk_ReadAnim(2); }, 1, 150},
        {"tone write, in its chunks", [&] { return velk_WriteMid(ToneRecord(4, "T", tone)); }, 0,
         30},
        {"image write, in the second frame",
         [&] { return velk_WriteAnim(ImageRecord(2, "F", frames)); }, 1, 20},
    };
    SimulatorOptions options;
    options.baud = 115200;
    std::string error;
    ASSERT_TRUE(phone.Start(options, &error)) << error;
    ASSERT_EQ(velk_SetPortDevice(kPort, phone.DevicePath().c_str()), 1);
    ASSERT_EQ(velk_BeginThread(window.WriteEnd(), kPort, 115200, 1), 1);

    for (const auto& c : cases) {
        SCOPED_TRACE(c.moment);
        ASSERT_TRUE(Eventually([&] { return c.request() == 1; }));
        for (int p = 0; p < c.progress; ++p) {
            std::optional<uint32_t> m;
            do {
                m = window.Next();
            } while (m && *m != VELK_MSG_ANIM_READ_PROGRESS && *m != VELK_MSG_ANIM_WRITE_PROGRESS);
            ASSERT_TRUE(m) << "no progress message";
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(c.delayMs));
        ASSERT_EQ(velk_CancelCurrentAction(), 1) << "the operation had ended before the cancel";

        // At once: the tail of the cancelled reply is still on its way.
        ASSERT_EQ(velk_ReadMidInfo(), 1);
        const Messages seen = window.UntilFinal();
        ASSERT_FALSE(seen.empty());
        for (std::size_t m = 0; m + 1 < seen.size(); ++m) {
            EXPECT_TRUE(IsProgress(seen[m])) << "message " << seen[m];
        }
        EXPECT_EQ(seen.back(), static_cast<uint32_t>(VELK_MSG_MID_INFO_READ));
        std::size_t tones = 0;
        phone.InspectStore([&](const PhoneStore& store) { tones = store.Tones().size(); });
        MidInfoRecord* info = nullptr;
        EXPECT_EQ(velk_GetMidInfo(&info), 1) << "no information came for the read";
        if (info == nullptr) continue;
        EXPECT_STREQ(info->name, "Tones");
        EXPECT_EQ(info->infoNumber1, tones);
        EXPECT_EQ(info->infoNumber2, PhoneStore::kToneSlots);
        EXPECT_EQ(info->infoNumber3, 253);
    }
}

}  // namespace
}  // namespace velk::test
