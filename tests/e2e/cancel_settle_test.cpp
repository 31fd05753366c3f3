// After a cancel the phone goes on sending the rest of the cancelled reply;
// the rebuilt link sends its first command only once the line has gone
// quiet, or once the settle's limit has passed on the tick clock. A link
// that follows no cancel waits for nothing.
#include <atomic>
#include <chrono>
#include <cstring>
#include <thread>

#include "e2e_link.h"
#include "serial/serial_link.h"

namespace velk::test {
namespace {

// The rest of an image read the phone was cancelled in: frame parts every
// 10 ms, for `lines` lines (0: until stopped), then the reply's OK.
class Tail {
  public:
    Tail(FakePhone& phone, int lines) {
        thread_ = std::thread([&phone, lines, this] {
            for (int i = 0; (lines == 0 || i < lines) && !stop_; ++i) {
                phone.Send("\r\n+IMGR: 10,\"Stale\",\"250310\",6040" + Pattern(64, i) + "\r\n");
                std::this_thread::sleep_for(std::chrono::milliseconds(10));
            }
            if (lines != 0) phone.Send("\r\nOK\r\n");
        });
    }
    ~Tail() { Stop(); }
    Tail(const Tail&) = delete;
    Tail& operator=(const Tail&) = delete;
    void Stop() {
        stop_ = true;
        if (thread_.joinable()) thread_.join();
    }

  private:
    std::atomic<bool> stop_{false};
    std::thread thread_;
};

using CancelSettleTest = PhoneLinkTest;

TEST_F(CancelSettleTest, FirstCommandAfterACancelWaitsUntilTheLineIsQuiet) {
    enum class End { kInformation, kLimit, kLinkEnds };
    const struct {
        const char* phone;
        int tailLines;  // 0: a tail that never ends
        End end;
    } cases[] = {
        {"quiet after the cancel", -1, End::kInformation},
        {"sends 30 more lines and OK", 30, End::kInformation},
        {"never falls silent", 0, End::kLimit},
        {"never falls silent, and the link ends", 0, End::kLinkEnds},
    };
    phone.AddRule({"AT+IMGINF", false, PhoneAction::kSilence, {}});
    ASSERT_EQ(Begin(), 1);
    for (const auto& c : cases) {
        SCOPED_TRACE(c.phone);
        ASSERT_TRUE(Request(velk_ReadAnimInfo));
        ASSERT_TRUE(Eventually([&] {
            const Lines lines = LinesFrom(0);
            return !lines.empty() && lines.back() == "AT+IMGINF";
        }));
        ASSERT_EQ(velk_CancelCurrentAction(), 1);
        std::optional<Tail> tail;
        if (c.tailLines >= 0) tail.emplace(phone, c.tailLines);
        const std::size_t before = phone.ReceivedLines().size();
        ASSERT_EQ(velk_ReadMidInfo(), 1);

        if (c.tailLines >= 0) {
            std::this_thread::sleep_for(std::chrono::milliseconds(200));
            EXPECT_EQ(LinesFrom(before), Lines{}) << "a command went out into the tail";
        }
        if (c.end == End::kLinkEnds) {
            EXPECT_LT(MillisecondsOf([] { EXPECT_EQ(velk_EndThread(), 1); }), 1000);
            EXPECT_EQ(LinesFrom(before), Lines{});
            continue;
        }
        if (c.end == End::kLimit) {
            clock.Advance(kSettleLimitMs - 1);
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
            EXPECT_EQ(LinesFrom(before), Lines{}) << "the settle ended before its limit";
            clock.Advance(1);
            EXPECT_TRUE(phone.WaitForLines(before + 1, std::chrono::seconds(3)))
                << "the settle did not end at its limit";
            tail->Stop();
            // What the phone sends now may mix with its answers, as without
            // a settle; this tail has no OK, so the read still comes right.
            EXPECT_EQ(window.UntilFinal(), Messages{VELK_MSG_MID_INFO_READ});
            continue;
        }
        EXPECT_EQ(window.UntilFinal(), Messages{VELK_MSG_MID_INFO_READ});
        EXPECT_EQ(LinesFrom(before), (Lines{"AT", "ATE0", "AT+RNGI"}));
        MidInfoRecord* info = nullptr;
        ASSERT_EQ(velk_GetMidInfo(&info), 1);
        EXPECT_STREQ(info->name, "Melodies");
        EXPECT_EQ(info->infoNumber1, 12);
        EXPECT_EQ(info->infoNumber2, 3);
        EXPECT_EQ(info->infoNumber3, 40);
    }
}

// A link started by velk_BeginThread, not by a cancel, sends at once, though
// the phone talks without pause and the clock stands still.
TEST_F(CancelSettleTest, LinkThatFollowsNoCancelSendsAtOnce) {
    Tail tail(phone, 0);
    ASSERT_EQ(Begin(), 1);
    ASSERT_EQ(velk_ReadMidInfo(), 1);
    ASSERT_TRUE(phone.WaitForLines(1, std::chrono::seconds(1)));
    EXPECT_EQ(LinesFrom(0).front(), "AT");
}

}  // namespace
}  // namespace velk::test
