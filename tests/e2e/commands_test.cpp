// Catalogue commands run as one operation, and the notices, against the
// simulated phone on a pseudo-terminal: what each run hands back, how it
// ends, what is refused before anything is sent, and that with notices off
// the transfers tell the application nothing new.
#include "e2e_link.h"
#include "phone_sim/phone_simulator.h"

namespace velk::test {
namespace {

using phonesim::PhoneSimulator;
using phonesim::SimulatorOptions;

std::string CommandResult() {
    const char* json = nullptr;
    return velk_GetCommandResult(&json) == 1 ? json : "(none)";
}

std::string Notices() {
    const char* json = nullptr;
    return velk_GetNotices(&json) == 1 ? json : "(none)";
}

// How often `part` stands in `text`.
int Count(const std::string& text, const std::string& part) {
    int count = 0;
    for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++count;
    return count;
}

class SimulatedPhoneTest : public ::testing::Test {
  protected:
    void TearDown() override {
        EXPECT_EQ(velk_EndThread(), 1);
        velk_SetPortDevice(kPhonePort, nullptr);
        velk_EnableNotices(0);
        phone.Stop();
    }
    void Start(const SimulatorOptions& options = {}) {
        std::string error;
        ASSERT_TRUE(phone.Start(options, &error)) << error;
        ASSERT_EQ(velk_SetPortDevice(kPhonePort, phone.DevicePath().c_str()), 1);
        ASSERT_EQ(velk_BeginThread(window.WriteEnd(), kPhonePort, kPhoneBaud, kXonXoff), 1);
    }
    // A run of `texts` and the message that ended it.
    uint32_t Run(std::vector<const char*> texts) {
        EXPECT_TRUE(Eventually(
            [&] { return velk_RunCommands(texts.data(), static_cast<int>(texts.size())) == 1; }));
        return window.Next().value_or(0);
    }

    PhoneSimulator phone;
    WindowReader window;
};

// The blocks of every command, each with its place in the list; a refusal
// ends the run at its command and tells its number and place.
TEST_F(SimulatedPhoneTest, RunHandsBackEachCommandsBlocksAndEndsAtTheFirstRefusal) {
    const struct {
        const char* name;
        std::vector<phonesim::Refusal> refusals;
        uint32_t end;
        Cause cause;
        std::vector<std::pair<std::string, int>> parts;  // in the result, how often
    } cases[] = {
        {"all answered",
         {},
         VELK_MSG_COMMAND_DONE,
         {0, ""},
         {{"{\"command\":0,\"resultId\":9,", 1},
          {"{\"command\":1,\"resultId\":14,", 3},
          {"\"resultId\":3,", 0}}},
        {"the phone book refused",
         {{"AT+CPBR", "+CME ERROR: 21"}},
         VELK_MSG_COMMAND_REFUSED,
         {21, "command 1: +CME ERROR: 21"},
         {{"{\"command\":0,\"resultId\":9,", 1},
          {"{\"command\":1,\"resultId\":3,\"form\":\"ResultError\",\"message\":\"21\"}", 1},
          {"\"resultId\":14,", 0}}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        SimulatorOptions options;
        options.refusals = c.refusals;
        Start(options);
        EXPECT_EQ(Run({"AT+CSQ", "AT+CPBR=1,3", "AT+CBC"}), c.end);
        EXPECT_EQ(LastError(), c.cause);
        const std::string result = CommandResult();
        for (const auto& [part, times] : c.parts) EXPECT_EQ(Count(result, part), times) << result;
        // The run stops at the refusal: AT+CBC goes out only after two OKs.
        EXPECT_EQ(Count(result, "\"resultId\":11,"), c.end == VELK_MSG_COMMAND_DONE ? 1 : 0);
        velk_EndThread();
        phone.Stop();
    }
}

// Nothing goes out for a request that cannot run, and the reason names the
// text.
TEST_F(SimulatedPhoneTest, RequestThatCannotRunIsRefusedWithItsReason) {
    const char* sixtyFive[65];
    for (const char*& text : sixtyFive) text = "AT+CSQ";
    const char* none[] = {nullptr};
    const struct {
        const char* name;
        std::function<int()> call;
        int code;
        std::string textStart;
    } cases[] = {
        {"no command", [] { return velk_RunCommand("AT+NOSUCH"); }, VELK_ERR_COMMAND_TEXT,
         "command 0 \"AT+NOSUCH\": "},
        {"second text",
         [] {
             const char* texts[] = {"AT+CSQ", "AT+CPBR=x\n"};
             return velk_RunCommands(texts, 2);
         },
         VELK_ERR_COMMAND_TEXT, "command 1 \"AT+CPBR=x?\": "},
        {"a body without its call", [] { return velk_RunCommand("AT+CMGS=\"+1555\""); },
         VELK_ERR_COMMAND_TEXT, "command 0 \"AT+CMGS=\"+1555\"\": it sends a message text"},
        {"no body to send", [] { return velk_RunCommandWithBody("AT+CSQ", "Hi"); },
         VELK_ERR_COMMAND_TEXT, "command 0 \"AT+CSQ\": only AT+CMGS= and AT+CMGW="},
        {"Ctrl-Z in the body", [] { return velk_RunCommandWithBody("AT+CMGS=\"+1555\"", "a\x1A"); },
         VELK_ERR_MESSAGE_BODY, "the message text holds a Ctrl-Z"},
        {"65 commands", [&] { return velk_RunCommands(sixtyFive, 65); }, VELK_ERR_COMMAND_LIST,
         "a list of 1 to 64 commands"},
        {"a NULL text", [&] { return velk_RunCommands(none, 1); }, VELK_ERR_COMMAND_LIST,
         "command 0 is NULL"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(c.call(), 0);
        const Cause cause = LastError();
        EXPECT_EQ(cause.first, c.code);
        EXPECT_EQ(cause.second.rfind(c.textStart, 0), 0u) << cause.second;
    }
    EXPECT_TRUE(window.Quiet(20));
}

// A message to the phone's own number: its +CMGS block, and the +CMTI of its
// arrival as a notice, announced once.
TEST_F(SimulatedPhoneTest, MessageSentToItselfArrivesAsANotice) {
    Start();
    ASSERT_EQ(velk_EnableNotices(1), 1);
    EXPECT_EQ(Run({"AT+CMGF=1"}), static_cast<uint32_t>(VELK_MSG_COMMAND_DONE));
    ASSERT_TRUE(Eventually(
        [] { return velk_RunCommandWithBody("AT+CMGS=\"+15550100\"", "Hello there") == 1; }));
    EXPECT_EQ(window.Next(), std::optional<uint32_t>(VELK_MSG_COMMAND_DONE));
    EXPECT_EQ(Count(CommandResult(), "{\"command\":0,\"resultId\":66,"), 1);
    EXPECT_EQ(window.Next(), std::optional<uint32_t>(VELK_MSG_NOTICE));
    const std::string notices = Notices();
    EXPECT_EQ(notices.rfind("{\"dropped\":0,\"notices\":[{\"resultId\":56,", 0), 0u) << notices;
    EXPECT_EQ(Notices(), "{\"dropped\":0,\"notices\":[]}");
}

class FakePhoneTest : public PhoneLinkTest {
  protected:
    // Notices are on for the process: the tests after these must not hear them.
    void TearDown() override {
        velk_EnableNotices(0);
        PhoneLinkTest::TearDown();
    }
};

// A line the library cannot read is one of the blocks and ends nothing; a
// notice amid the reply is none of them.
TEST_F(FakePhoneTest, UnreadableLineAmidAReplyIsAResultAndTheRunGoesOn) {
    phone.Reply("AT+CPBR=1,2", {"+CPBR: 1,\"123\",129,\"Ann\"", "+CPBR: zz,\"1\",1",
                                "+CMTI: \"SM\",3", "+CPBR: 2,\"456\",129,\"Bob\"", "OK"});
    phone.Reply("AT+CSQ", {"+CSQ: 20,99", "OK"});
    ASSERT_EQ(Begin(), 1);
    const char* texts[] = {"AT+CPBR=1,2", "AT+CSQ"};
    ASSERT_EQ(velk_RunCommands(texts, 2), 1);
    EXPECT_EQ(window.Next(), std::optional<uint32_t>(VELK_MSG_COMMAND_DONE));
    const std::string result = CommandResult();
    const std::string objects[] = {
        "{\"command\":0,\"resultId\":14,",
        "\"text\":\"Ann\"}",
        std::string("{\"command\":0,\"resultId\":3,\"form\":\"ResultError\",\"message\":") +
            "\"There is some inlegal parameter in +CPBR: zz,",
        "{\"command\":0,\"resultId\":14,",
        "\"text\":\"Bob\"}",
        "{\"command\":1,\"resultId\":9,"};
    std::size_t at = 0;
    for (const std::string& object : objects) {
        at = result.find(object, at);
        ASSERT_NE(at, std::string::npos) << object << " in order in " << result;
    }
    EXPECT_EQ(Count(result, "\"resultId\":"), 4) << result;
}

// Notices before and after the reply of a transfer (amid it, AT+RNGI takes
// only its own lines): with notices off the application hears only what it
// always heard.
TEST_F(FakePhoneTest, TransferTellsOfNoticesOnlyWhenTheyAreOn) {
    phone.Reply("AT+RNGI", {"+RNGI: \"Melodies\",12,3,40", "OK", "+CMTI: \"SM\",3", "+CREG: 1"});
    ASSERT_EQ(Begin(), 1);
    for (const int on : {0, 1}) {
        SCOPED_TRACE(on);
        velk_EnableNotices(on);
        phone.Send("\r\n+CREG: 2\r\n");
        // Announced once: the notices after it wait unannounced for the take.
        if (on) {
            EXPECT_EQ(window.Next(), std::optional<uint32_t>(VELK_MSG_NOTICE));
        }
        ASSERT_TRUE(Request(velk_ReadMidInfo));
        EXPECT_EQ(window.UntilFinal(), Messages{VELK_MSG_MID_INFO_READ});
        // Each take that found notices ends a run of them, which began with
        // one announcement: the first came before the read.
        std::string notices;
        int takes = 0;
        Eventually(
            [&] {
                const std::string taken = Notices();
                if (Count(taken, "\"resultId\":") != 0) {
                    notices += taken;
                    ++takes;
                }
                return Count(notices, "\"resultId\":") == 3;
            },
            200);
        EXPECT_EQ(Count(notices, "\"resultId\":56,"), on) << notices;
        EXPECT_EQ(Count(notices, "\"resultId\":75,"), 2 * on) << notices;
        Messages later;
        while (const auto message = window.Next(20)) later.push_back(*message);
        EXPECT_EQ(later, Messages(on ? takes - 1 : 0, VELK_MSG_NOTICE));
    }
}

// An image read, a run of commands, whose every frame reply is followed by
// reports before the next command goes out; notices left off: the window
// carries the read's own messages and nothing else, and the frames come
// whole. (A report amid a transfer command's own reply is a line the
// command refuses, notices on or off.)
TEST_F(FakePhoneTest, ImageReadBetweenReportsTellsOnlyItsOwnMessagesWithNoticesOff) {
    model.AddImage(2, 1);
    model.AddImage(3, 10);
    const std::string frames = Frames(3, 70);
    for (int f = 0; f < 3; ++f) {
        Lines lines = phonesim::FramePartLines(10 + f, "Sunrise", "250310",
                                               frames.substr(f * kFrame, kFrame));
        lines.insert(lines.end(), {"OK", "+CMTI: \"SM\",5", "+CREG: 1"});
        phone.Reply("AT+IMGR=" + std::to_string(10 + f), lines);
    }
    ASSERT_EQ(Begin(), 1);
    ASSERT_TRUE(Request([] { return velk_ReadAnim(2); }));
    EXPECT_EQ(window.UntilFinal(), (Messages{VELK_MSG_ANIM_READ_PROGRESS,
                                             VELK_MSG_ANIM_READ_PROGRESS, VELK_MSG_ANIM_READ}));
    AnimRecord* image = nullptr;
    ASSERT_EQ(velk_GetAnimData(&image), 1);
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(Text(image->data, image->size), frames);
    EXPECT_TRUE(window.Quiet(200));
    EXPECT_EQ(Notices(), "{\"dropped\":0,\"notices\":[]}");
}

}  // namespace
}  // namespace velk::test
