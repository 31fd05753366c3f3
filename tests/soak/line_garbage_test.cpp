// Bytes no phone should send: every byte value, NUL bytes, lines far longer
// than any reply, no line end at all; sent while the link is idle or inside
// a reply. And a flood of unsolicited lines during a transfer. The operation
// they meet ends with exactly one final message and the link keeps working.
#include <atomic>
#include <string>
#include <thread>

#include "e2e/e2e_link.h"

namespace velk::test {
namespace {

constexpr int32_t kRtsCts = 0;  // every byte value is data, none is XON/XOFF

struct Garbage {
    const char* what;
    std::string bytes;
};

const Garbage kGarbage[] = {
    {"every byte value",
     [] {
         std::string bytes;
         for (int b = 0; b < 4 * 256; ++b) bytes += static_cast<char>(b);
         return bytes;
     }()},
    {"NUL bytes in and between lines",
     std::string("\0\0OK\0\r\n+RNGI: \"\0\",1,\0 2\r\n\0\0\0", 28)},
    {"a line of 9000 bytes", std::string(9000, 'X') + "\r\n"},
    {"a reply line of 70000 bytes", "+RNGI: \"" + std::string(70000, '9') + "\",1,2,3\r\n"},
    {"20000 bytes without a line end", std::string(20000, 'Y')},
    {"lone line ends", "\r\r\r\n\n\n\r\n\r\n\n\r"},
};

class LineGarbageTest : public PhoneLinkTest {
  protected:
    // The tone information read on a phone that answers properly.
    void ExpectToneInformationRead() {
        ASSERT_TRUE(Request(velk_ReadMidInfo)) << "the link takes no operation";
        EXPECT_EQ(window.UntilFinal(), Messages{VELK_MSG_MID_INFO_READ});
        MidInfoRecord* info = nullptr;
        ASSERT_EQ(velk_GetMidInfo(&info), 1);
        EXPECT_STREQ(info->name, "Melodies");
    }
};

// Garbage while the link is idle is passed over; inside a reply it ends the
// operation with exactly one final message. Either way the link goes on.
TEST_F(LineGarbageTest, GarbageWhileIdleOrInsideAReplyEndsTheOperationOnceAndTheLinkGoesOn) {
    std::atomic<const Garbage*> inject{nullptr};
    phone.SetResponder([&](const std::string& command, std::vector<std::string>& lines) {
        // Only a reply that carries garbage writes `inject`, which the test reads after it.
        const Garbage* garbage = command == "AT+RNGI" ? inject.load() : nullptr;
        if (garbage == nullptr) return model.Answer(command, lines);
        inject = nullptr;
        lines = {garbage->bytes, "+RNGI: \"Melodies\",12,3,40", "OK"};
        return true;
    });
    ASSERT_EQ(Begin(kRtsCts), 1);
    for (const Garbage& garbage : kGarbage) {
        SCOPED_TRACE(garbage.what);
        phone.Send(garbage.bytes + "\r\n");
        ExpectToneInformationRead();
        inject = &garbage;
        ASSERT_TRUE(Request(velk_ReadMidInfo));
        EXPECT_EQ(window.UntilFinal().size(), 1u) << "exactly one final message";
        EXPECT_EQ(inject.load(), nullptr) << "the garbage went out inside the reply";
        EXPECT_TRUE(window.Quiet(20));
        ExpectToneInformationRead();
    }
}

// Lines a phone sends of its own accord, flooding an image read: a ring is
// passed over anywhere; a new message, a change of network cell or a signal
// report spoils the reply it meets, so the read may end refused, but it ends
// once and the link goes on.
TEST_F(LineGarbageTest, FloodOfUnsolicitedLinesDuringAnImageReadEndsItOnceAndTheLinkGoesOn) {
    std::string frames;
    model.AddImage(2, 1);
    model.AddImage(3, 10);
    for (int f = 0; f < 3; ++f) {
        const std::string frame = Pattern(1536, static_cast<unsigned>(f + 5));
        model.SetFrame(static_cast<uint8_t>(10 + f), "6040" + frame);
        frames += frame;
    }
    ASSERT_EQ(Begin(), 1);
    for (const std::string line :
         {"RING", "+CMTI: \"SM\",1", "+CREG: 1,\"00C3\",\"1234\"", "+CSQ: 17,99"}) {
        SCOPED_TRACE(line);
        std::atomic<bool> stop{false};
        std::atomic<int> sent{0};
        // Lines go in bursts, so that a loaded machine, which stretches every
        // pause, still floods the read.
        constexpr int kBurst = 8;
        std::thread flood([&] {
            std::string bytes;
            for (int i = 0; i < kBurst; ++i) bytes += "\r\n" + line + "\r\n";
            for (; !stop; sent += kBurst) {
                phone.Send(bytes);
                std::this_thread::sleep_for(std::chrono::microseconds(100));
            }
        });
        while (sent.load() < 2 * kBurst) std::this_thread::sleep_for(std::chrono::milliseconds(1));
        const int sentBefore = sent.load();
        ASSERT_TRUE(Request([] { return velk_ReadAnim(2); }));
        const Messages seen = window.UntilFinal();
        const int sentDuring = sent.load() - sentBefore;
        stop = true;
        flood.join();

        ASSERT_FALSE(seen.empty());
        if (line == "RING") {
            EXPECT_EQ(seen, (Messages{VELK_MSG_ANIM_READ_PROGRESS, VELK_MSG_ANIM_READ_PROGRESS,
                                      VELK_MSG_ANIM_READ}));
            EXPECT_GE(sentDuring, kBurst) << "no burst came while the read ran";
        }
        for (std::size_t m = 0; m + 1 < seen.size(); ++m) {
            EXPECT_EQ(seen[m], static_cast<uint32_t>(VELK_MSG_ANIM_READ_PROGRESS));
        }
        AnimRecord* image = nullptr;
        if (seen.back() == VELK_MSG_ANIM_READ && velk_GetAnimData(&image) == 1) {
            EXPECT_EQ(std::string(reinterpret_cast<char*>(image->data), image->size), frames);
        }
        EXPECT_TRUE(window.Quiet(20));
        ExpectToneInformationRead();
    }
}

}  // namespace
}  // namespace velk::test
