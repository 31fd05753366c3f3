// A phone that answers every command with a random choice of real, broken
// and unrelated lines. Whatever it sends, every operation the library takes
// ends with exactly one final window message, the library neither crashes
// nor overruns a field, and the next operation is taken.
#include <random>

#include "e2e_link.h"

namespace velk::test {
namespace {

// Lines a phone may send, good ones among them, so that operations get far.
const char* const kLines[] = {
    "OK",
    "OK",
    "ERROR",
    "+CME ERROR: 5",
    "+CMS ERROR: 300",
    "RING",
    "NO CARRIER",
    "+CMTI: \"SM\",1",
    "",
    "\"unterminated",
    "+RNGI: \"Tones\",1,2,3",
    "+RNGI: \"ThisNameIsFarTooLongForTheField\",65535,99999999999,-1",
    "+RNGI:",
    "+RNGR: 1,\"n\",255,1,3,,\"abc\",1",
    "+RNGR: 1,\"n\",1,3,200,200,\"abc\",1",
    "+RNGR: 1,\"n\",7,3,,,\"def\",1",
    "+RNGR: ,,,,,,,",
    "+RNGR: 1,\"n\",255",
    "+IMGINF: \"P\",1,2,3,4,5,2,0",
    "+IMGINF: \"P\",1,2,3,4,5,65535,255,0,0",
    "+IMGINF: \"P\"",
    "+IMGR: 0,\"n\",1,1,0,7,\"250310\",\"6040abc\",1",
    "+IMGR: 0,\"n\",1,1,0,7,\"2503\",\"6040abc\",1",
    "+IMGR: 1,\"n\",2,2,,,,\"x\",1",
    "+IMGR: 0,\"n\",1",
    "+UNKNOWN: 1,2,3",
    "AT+RNGI",
    "CONNECT",
};

constexpr int kOperations = 60;

class HostilePhoneTest : public PhoneLinkTest {
  protected:
    // The phone's replies: up to four random lines, then, mostly, a final one.
    void SetUp() override {
        PhoneLinkTest::SetUp();
        phone.SetResponder([this](const std::string& command, std::vector<std::string>& lines) {
            std::lock_guard<std::mutex> hold(randomMutex_);
            // The opening mostly passes, so that the transfers themselves
            // meet the phone's nonsense too.
            if ((command == "AT" || command == "ATE0") && random_() % 8 != 0) {
                lines.emplace_back("OK");
                return true;
            }
            const int count = static_cast<int>(random_() % 5);
            for (int i = 0; i < count; ++i)
                lines.emplace_back(kLines[random_() % std::size(kLines)]);
            if (random_() % 4 != 0) lines.emplace_back(random_() % 3 != 0 ? "OK" : "ERROR");
            if (random_() % 50 == 0) lines.emplace_back(std::string(300, 'Z'));
            return true;
        });
        ASSERT_EQ(Begin(), 1);
    }

    // One random operation, started once the link takes it.
    bool StartOne(std::mt19937& pick) {
        const auto which = pick() % 6;
        const uint8_t number = static_cast<uint8_t>(pick() % 3);
        return Request([&]() -> int32_t {
            switch (which) {
                case 0:
                    return velk_ReadMidInfo();
                case 1:
                    return velk_ReadMid(number);
                case 2:
                    return velk_WriteMid(MidRecord{number, 2, {'H', 'i'}, 200, Bytes(tone_)});
                case 3:
                    return velk_ReadAnimInfo();
                case 4:
                    return velk_ReadAnim(number);
                default:
                    return velk_WriteAnim(
                        AnimRecord{number, 2, {'P', 'x'}, 3072, Bytes(frames_), 25, 4});
            }
        });
    }

    // The messages up to the operation's final one. A phone that says
    // nothing more is given the command time, again and again.
    Messages Finish() {
        Messages seen;
        for (int rounds = 0; rounds < 600; ++rounds) {
            while (auto m = window.Next(rounds == 0 ? 20 : 5)) {
                seen.push_back(*m);
                if (*m >= VELK_MSG_MID_INFO_REFUSED && *m <= VELK_MSG_ANIM_READ_REFUSED)
                    return seen;
            }
            clock.Advance(10050);
        }
        return seen;
    }

    static uint8_t* Bytes(std::string& text) { return reinterpret_cast<uint8_t*>(text.data()); }

    std::mutex randomMutex_;
    std::mt19937 random_{20261123};
    std::string tone_ = Pattern(200, 1);
    std::string frames_ = Pattern(3072, 2);
};

bool IsFinal(uint32_t message) {
    return message >= VELK_MSG_MID_INFO_REFUSED && message <= VELK_MSG_ANIM_READ_REFUSED;
}

TEST_F(HostilePhoneTest, EveryOperationEndsWithExactlyOneFinalMessage) {
    std::mt19937 pick(7);
    for (int i = 0; i < kOperations; ++i) {
        SCOPED_TRACE(i);
        ASSERT_TRUE(StartOne(pick)) << "the link takes the next operation";
        const Messages seen = Finish();
        ASSERT_FALSE(seen.empty());
        ASSERT_TRUE(IsFinal(seen.back())) << "no final message";
        for (std::size_t m = 0; m + 1 < seen.size(); ++m) {
            EXPECT_TRUE(seen[m] == VELK_MSG_ANIM_WRITE_PROGRESS ||
                        seen[m] == VELK_MSG_ANIM_READ_PROGRESS)
                << "message " << seen[m] << " before the final one";
        }
        EXPECT_TRUE(window.Quiet(5)) << "a second message after the final one";
    }
}

}  // namespace
}  // namespace velk::test
