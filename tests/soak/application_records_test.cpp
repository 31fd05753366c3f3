// Records from the application at the edge of their fields: data with no
// zero byte that ends exactly at its size, names that fill their field, an
// image with a rest shorter than a frame, each freed the moment the call
// returns. The library copies what it needs before returning and reads no
// byte beyond the record (a sanitizer build reports any such read).
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>

#include "phone_sim/phone_simulator.h"
#include "support/window_reader.h"
#include "velkport.h"

namespace velk::test {
namespace {

constexpr uint8_t kPort = 12;
constexpr std::size_t kFrame = 1536;

// A heap block of exactly the text's size, with no zero byte behind it.
std::unique_ptr<uint8_t[]> Exact(const std::string& text) {
    auto block = std::make_unique<uint8_t[]>(text.size());
    std::memcpy(block.get(), text.data(), text.size());
    return block;
}

class ApplicationRecords : public ::testing::Test {
  protected:
    void SetUp() override {
        std::string error;
        ASSERT_TRUE(phone.Start({}, &error)) << error;
        ASSERT_EQ(velk_SetPortDevice(kPort, phone.DevicePath().c_str()), 1);
        ASSERT_EQ(velk_BeginThread(window.WriteEnd(), kPort, 115200, 1), 1);
    }
    void TearDown() override {
        EXPECT_EQ(velk_EndThread(), 1);
        velk_SetPortDevice(kPort, nullptr);
        phone.Stop();
    }

    WindowReader window;
    phonesim::PhoneSimulator phone;
};

TEST_F(ApplicationRecords, ToneFreedOnReturnIsWrittenWhole) {
    const std::string text(777, 'M');
    const std::string name = "TenLetters";  // fills the field, no zero byte
    auto data = Exact(text);
    auto record = std::make_unique<MidRecord>();
    record->id = 6;
    record->nameLength = static_cast<uint16_t>(name.size());
    std::memcpy(record->name, name.data(), name.size());
    record->size = static_cast<uint16_t>(text.size());
    record->data = data.get();
    ASSERT_EQ(velk_WriteMid(*record), 1);
    data.reset();
    record.reset();

    EXPECT_EQ(window.UntilFinal(), std::vector<uint32_t>{VELK_MSG_MID_WRITTEN});
    phone.InspectStore([&](const phonesim::PhoneStore& store) {
        const phonesim::Tone* tone = store.FindTone(6);
        ASSERT_NE(tone, nullptr);
        EXPECT_EQ(tone->text, text);
        EXPECT_EQ(tone->name, name);
    });
}

TEST_F(ApplicationRecords, ImageFreedOnReturnIsWrittenWithoutItsShortRest) {
    ASSERT_EQ(velk_ReadAnimInfo(), 1);
    ASSERT_EQ(window.UntilFinal(), std::vector<uint32_t>{VELK_MSG_ANIM_INFO_READ});
    const std::string frames = std::string(kFrame, 'A') + std::string(kFrame, 'B');
    auto data = Exact(frames + std::string(1000, 'C'));
    auto record = std::make_unique<AnimRecord>();
    record->id = 3;
    record->nameLength = 10;
    std::memcpy(record->name, "Full_Field", 10);
    record->size = static_cast<uint16_t>(frames.size() + 1000);
    record->data = data.get();
    record->animParamFirst = 25;
    record->animParamLast = 255;
    ASSERT_EQ(velk_WriteAnim(*record), 1);
    data.reset();
    record.reset();

    EXPECT_EQ(window.UntilFinal(),
              (std::vector<uint32_t>{VELK_MSG_ANIM_WRITE_PROGRESS, VELK_MSG_ANIM_WRITE_PROGRESS,
                                     VELK_MSG_ANIM_WRITTEN}));
    phone.InspectStore([&](const phonesim::PhoneStore& store) {
        ASSERT_GE(store.Images().size(), 3u);
        const phonesim::Image& image = store.Images()[2];
        EXPECT_EQ(image.frames, 2) << "the rest shorter than a frame is not sent";
        const std::string* first = store.Frame(image.first);
        const std::string* second = store.Frame(image.first + 1);
        ASSERT_TRUE(first != nullptr && second != nullptr);
        EXPECT_EQ(*first + *second, frames);
    });
}

}  // namespace
}  // namespace velk::test
