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
    "+CSQ: 99",
    "+CPBR: 1,\"1\",129,\"ThisNameIsFarTooLongForAnyFieldOfTheFormToHoldItAtAll\"",
    "CONNECT"};

class HostilePhoneTest : public PhoneLinkTest {
  protected:
    std::mutex randomMutex;  // the phone's thread draws the replies
    std::mt19937 random{20261123};
};

TEST_F(HostilePhoneTest, EveryOperationEndsWithExactlyOneFinalMessage) {
    // Up to four random lines, then mostly a final one; the opening mostly
    // passes, so that the transfers meet the nonsense too.
    phone.SetResponder([this](const std::string& command, std::vector<std::string>& lines) {
        std::lock_guard<std::mutex> hold(randomMutex);
        if ((command == "AT" || command == "ATE0") && random() % 8 != 0) {
            lines.emplace_back("OK");
            return true;
        }
        for (auto count = random() % 5; count > 0; --count)
            lines.emplace_back(kLines[random() % std::size(kLines)]);
        if (random() % 4 != 0) lines.emplace_back(random() % 3 != 0 ? "OK" : "ERROR");
        if (random() % 50 == 0) lines.emplace_back(std::string(300, 'Z'));
        return true;
    });
    ASSERT_EQ(Begin(), 1);
    std::string tone = Pattern(200, 1);
    std::string frames = Frames(2, 2);
    std::mt19937 pick(7);
    for (int i = 0; i < 60; ++i) {
        SCOPED_TRACE(i);
        const auto number = static_cast<uint8_t>(pick() % 3);
        const std::function<int32_t()> operations[] = {
            velk_ReadMidInfo,
            velk_ReadAnimInfo,
            [&] { return velk_ReadMid(number); },
            [&] { return velk_ReadAnim(number); },
            [&] { return velk_WriteMid(ToneRecord(number, "Hi", tone)); },
            [&] { return velk_WriteAnim(ImageRecord(number, "Px", frames)); },
            [] {
                const char* texts[] = {"AT+CSQ", "AT+CPBR=1,3"};
                return velk_RunCommands(texts, 2);
            }};
        ASSERT_TRUE(Request(operations[pick() % std::size(operations)]))
            << "the link takes the next operation";
        // A phone that says nothing more is given the command time, again and again.
        Messages seen;
        for (int rounds = 0; rounds < 600 && (seen.empty() || !IsFinal(seen.back())); ++rounds) {
            while (auto m = window.Next(rounds == 0 ? 20 : 5)) {
                seen.push_back(*m);
                if (IsFinal(*m)) break;
            }
            if (seen.empty() || !IsFinal(seen.back())) clock.Advance(10050);
        }
        ASSERT_FALSE(seen.empty());
        ASSERT_TRUE(IsFinal(seen.back())) << "no final message";
        for (std::size_t m = 0; m + 1 < seen.size(); ++m) {
            EXPECT_TRUE(seen[m] == VELK_MSG_ANIM_WRITE_PROGRESS ||
                        seen[m] == VELK_MSG_ANIM_READ_PROGRESS)
                << "message " << seen[m] << " before the final one";
        }
        EXPECT_TRUE(window.Quiet(5)) << "a second message after the final one";
        const char* result = nullptr;
        if (seen.back() == VELK_MSG_COMMAND_DONE || seen.back() == VELK_MSG_COMMAND_REFUSED) {
            ASSERT_EQ(velk_GetCommandResult(&result), 1);
            const std::string json = result;
            EXPECT_TRUE(json.front() == '[' && json.back() == ']') << json;
        }
    }
}

}  // namespace
}  // namespace velk::test
