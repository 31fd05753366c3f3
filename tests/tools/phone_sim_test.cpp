// The simulated phone the soak, the command-line tests and the benchmarks
// stand on: its protocol line by line, its store, options and pacing, and the
// real library on it.
#include <fcntl.h>
#include <poll.h>
#include <stdlib.h>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "phone_sim/chunk_line.h"
#include "phone_sim/command_assembler.h"
#include "phone_sim/line_pacer.h"
#include "phone_sim/phone_model.h"
#include "phone_sim/phone_simulator.h"
#include "phone_sim/reply_shaper.h"
#include "phone_sim/simulator_options.h"
#include "phone_sim/store_index.h"
#include "platform/tick_clock.h"
#include "support/window_reader.h"
#include "velkport.h"

namespace velk::phonesim {
namespace {

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using Messages = std::vector<uint32_t>;
namespace fs = std::filesystem;

std::string ReadFile(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// --- The protocol without the line.

// One dialogue, in order: each command sees what the ones before it did.
TEST(PhoneModel, AnswersEachCommandAsAPhoneDoes) {
    struct Row {
        const char* command;
        std::vector<std::string> reply;
    } rows[] = {
        {"AT", {"OK"}},
        {"at+rngi", {"+RNGI: \"Tones\",3,10,253", "OK"}},
        {"AT+RNGR=3",
         {"+RNGR: 3,\"Alarm\",255,1,116,,\"4D546864000000060000000100604D54726B0000002400905864188"
          "0584000905464188054400090586418805840009054641880544000FF2F00\",122",
          "OK"}},
        {"AT+RNGR=7", {"+CME ERROR: 22"}},
        {"AT+RNGR=11", {"+CME ERROR: 21"}},
        {"AT+RNGR=x", {"ERROR"}},
        {"AT+IMGINF", {"+IMGINF: \"Images\",3,6,250,96,64,1,1,3,51,2,101", "OK"}},
        {"AT+IMGR=4", {"+CME ERROR: 22"}},
        {"AT+FROB", {"ERROR"}},
        // Phone books: names outside ASCII go out as "?" but in UCS2.
        {"AT+CPBS?", {"+CPBS: \"SM\",250,250", "OK"}},
        {"AT+CPBR=2", {"+CPBR: 2,\"01725550002\",129,\"J?rgen Weber\"", "OK"}},
        {"AT+CPBR=251", {"+CME ERROR: 21"}},
        {"AT+CPBW=,\"1\"", {"+CME ERROR: 20"}},
        {"AT+CPBS=\"XX\"", {"+CME ERROR: 3"}},
        {"AT+CPBS=\"ME\"", {"OK"}},
        {"AT+CPBW=3,\"+4912\",145,\"Ann, Jo\"", {"OK"}},
        {"AT+CPBW=,\"0301\",,\"Bo\"", {"OK"}},
        {"AT+CPBW=50,\"0302\"", {"OK"}},
        {"AT+CPBW=50", {"OK"}},
        {"AT+CPBR=1,100",
         {"+CPBR: 1,\"0301\",129,\"Bo\"", "+CPBR: 3,\"+4912\",145,\"Ann, Jo\"", "OK"}},
        {"AT+CPBF=\"an\"", {"+CPBF: 3,\"+4912\",145,\"Ann, Jo\"", "OK"}},
        {"AT+CPBW=101,\"1\"", {"+CME ERROR: 21"}},
        {"AT+CPBW=2,\"12a\"", {"+CME ERROR: 27"}},
        {"AT+CPBW=2,\"1\",129,\"Seventeen letters\"", {"+CME ERROR: 24"}},
        {"AT+CSCS=\"UCS2\"", {"OK"}},
        {"AT+CPBW=2,\"1\",129,\"005A00EB\"", {"OK"}},
        {"AT+CPBW=4,\"1\",129,\"005ad83dDE00\"", {"OK"}},
        {"AT+CPBW=5,\"1\",129,\"00E\"", {"+CME ERROR: 25"}},
        {"AT+CPBW=5,\"1\",129,\"DE00\"", {"+CME ERROR: 25"}},
        {"AT+CPBR=2,4",
         {"+CPBR: 2,\"1\",129,\"005A00EB\"",
          "+CPBR: 3,\"+4912\",145,\"0041006E006E002C0020004A006F\"",
          "+CPBR: 4,\"1\",129,\"005AD83DDE00\"", "OK"}},
        {"AT+CPBF=\"005A\"",
         {"+CPBF: 2,\"1\",129,\"005A00EB\"", "+CPBF: 4,\"1\",129,\"005AD83DDE00\"", "OK"}},
        {"AT+CSCS=\"IRA\"", {"OK"}},
        {"AT+CPBR=2", {"+CPBR: 2,\"1\",129,\"Z?\"", "OK"}},
        // Messages: in text mode only; reading an unread one makes it read.
        {"AT+CMGR=3", {"+CMS ERROR: 303"}},
        {"AT+CMGF=1", {"OK"}},
        {"AT+CMGL",
         {"+CMGL: 3,\"REC UNREAD\",\"+15550123\",,\"24/05/19,07:45:12+08\"",
          "Call me when you land", "OK"}},
        {"AT+CMGR=3",
         {"+CMGR: \"REC READ\",\"+15550123\",,\"24/05/19,07:45:12+08\"", "Call me when you land",
          "OK"}},
        {"AT+CMGL=\"STO UNSENT\"",
         {"+CMGL: 4,\"STO UNSENT\",\"+15550123\",,", "Bring the cake", "OK"}},
        // In UCS2 the address goes in the set as well as the text.
        {"AT+CSCS=\"UCS2\"", {"OK"}},
        {"AT+CMGL=\"STO UNSENT\"",
         {"+CMGL: 4,\"STO UNSENT\",\"002B00310035003500350030003100320033\",,",
          "004200720069006E00670020007400680065002000630061006B0065", "OK"}},
        {"AT+CSCS=\"IRA\"", {"OK"}},
        {"AT+CMGD=4", {"OK"}},
        {"AT+CMGR=4", {"+CMS ERROR: 321"}},
        {"AT+CPMS?", {"+CPMS: \"SM\",4,30,\"SM\",4,30,\"SM\",4,30", "OK"}},
        {"AT+CMGD=1,4", {"OK"}},
        {"AT+CMGL=\"ALL\"", {"OK"}},
        {"AT+CREG?", {"+CREG: 0,1", "OK"}},
        {"AT+COPS=3,2", {"OK"}},
        {"AT+COPS?", {"+COPS: 0,2,\"00101\"", "OK"}},
        {"AT+COPS=3,0,\"\"", {"OK"}},
        {"AT+COPS?", {"+COPS: 0,0,\"Velkport Mobile\"", "OK"}},
        {"AT+COPS=1,2,\"00102\"", {"+CME ERROR: 4"}},
    };
    PhoneStore store;
    PhoneModel model(store);
    for (const Row& row : rows) {
        EXPECT_THAT(model.Answer(row.command), ElementsAreArray(row.reply)) << row.command;
    }
    EXPECT_TRUE(model.Answer("").empty()) << "an empty line gets no reply";
    // Echo stays on until ATE0 and comes back with a reset.
    EXPECT_TRUE(model.Echo());
    model.Answer("ATE0");
    EXPECT_FALSE(model.Echo());
    model.Answer("ATZ");
    EXPECT_TRUE(model.Echo());
}

// A message sent to the phone's own number comes back unread and is
// announced after the reply; one to another number, or dropped with Esc, is
// not; one written is stored as the text the phone was given.
TEST(PhoneModel, MessageToTheOwnNumberComesBackAnnounced) {
    struct Row {
        const char* command;
        const char* text;
        bool cancelled;
        std::vector<std::string> reply;
        std::vector<std::string> notices;
    } rows[] = {
        {"AT+CMGS=\"+15550100\"", "Hi me", false, {"+CMGS: 1", "OK"}, {"+CMTI: \"SM\",6"}},
        {"AT+CMGS=\"+15550199\"", "Hi you", false, {"+CMGS: 2", "OK"}, {}},
        {"AT+CMGS=\"15550100\"", "Gone", true, {"OK"}, {}},
        {"AT+CMGW=\"+15550199\"", "Later\r\nline 2", false, {"+CMGW: 7", "OK"}, {}},
    };
    PhoneStore store;
    PhoneModel model(store);
    ASSERT_THAT(model.Answer("AT+CMGF=1"), ElementsAre("OK"));
    for (const Row& row : rows) {
        EXPECT_TRUE(model.Answer(row.command).empty()) << row.command << ": the prompt, no reply";
        ASSERT_TRUE(model.AwaitingText()) << row.command;
        EXPECT_THAT(model.TakeText(row.text, row.cancelled), ElementsAreArray(row.reply))
            << row.command;
        EXPECT_THAT(model.TakeNotices(), ElementsAreArray(row.notices)) << row.command;
        EXPECT_FALSE(model.AwaitingText());
    }
    EXPECT_THAT(model.Answer("AT+CMGR=6"),
                ElementsAre(::testing::StartsWith("+CMGR: \"REC UNREAD\",\"+15550100\",,\""),
                            "Hi me", "OK"));
    EXPECT_EQ(store.Messages().at(7).text, "Later\r\nline 2");
    EXPECT_EQ(store.Messages().size(), 7u);
}

// Texts go in parts of 128 characters, the first part stating the size.
TEST(PhoneModel, LongToneAndFrameGoInPartsWithTheSizeInTheFirst) {
    PhoneStore store;
    PhoneModel model(store);
    ASSERT_TRUE(store.PutTone(5, {"Long", std::string(300, 'A')}));
    const Reply tone = model.Answer("AT+RNGR=5");
    const std::string a128(128, 'A');
    const std::string a44(44, 'A');
    const std::string check = std::to_string(ChunkCheck(a128));
    EXPECT_THAT(tone, ElementsAre("+RNGR: 5,\"Long\",1,3,2,44,\"" + a128 + "\"," + check,
                                  "+RNGR: 5,\"Long\",2,3,,,\"" + a128 + "\"," + check,
                                  "+RNGR: 5,\"Long\",3,3,,,\"" + a44 + "\"," +
                                      std::to_string(ChunkCheck(a44)),
                                  "OK"));

    const Reply frame = model.Answer("AT+IMGR=52");
    ASSERT_EQ(frame.size(), 14u);
    EXPECT_THAT(frame[0], ::testing::StartsWith("+IMGR: 52,\"Ball\",1,13,12,4,\"250300\",\"6040"));
    EXPECT_THAT(frame[12], ::testing::StartsWith("+IMGR: 52,\"Ball\",13,13,,,\"250300\",\""));
    std::string joined;
    for (std::size_t i = 0; i < 13; ++i) {
        const std::size_t open = frame[i].rfind(",\"");
        joined += frame[i].substr(open + 2, frame[i].rfind('"') - open - 2);
    }
    EXPECT_EQ(joined, std::string("6040") + *store.Frame(52));
}

// The phone checks each chunk: a wrong check or a chunk out of turn is
// answered ERROR and drops the write; a whole write in order is kept.
TEST(PhoneModel, WrongCheckOrChunkOutOfTurnDropsTheWrite) {
    PhoneStore store;
    PhoneModel model(store);
    const std::string body(128, 'B');
    // Chunk `n` of three of tone 6 as the library builds it, with the right check.
    const auto line = [](int n, const std::string& text) {
        return "AT+RNGW=6,\"New\",2,1," + std::to_string(n) + (n == 1 ? ",1,3," : ",,,") + text +
               ',' + std::to_string(ChunkCheck(text));
    };
    const auto chunk = [&](int n, const std::string& text) { return model.Answer(line(n, text)); };
    std::string wrong = line(2, "xyz");
    wrong.back() = wrong.back() == '0' ? '1' : '0';
    EXPECT_THAT(chunk(1, body), ElementsAre("OK"));
    EXPECT_THAT(model.Answer(wrong), ElementsAre("ERROR"));
    EXPECT_THAT(chunk(2, "xyz"), ElementsAre("ERROR")) << "the write was dropped";
    EXPECT_EQ(store.FindTone(6), nullptr);
    EXPECT_THAT(chunk(1, body), ElementsAre("OK"));
    EXPECT_THAT(chunk(3, "xyz"), ElementsAre("ERROR")) << "chunk 3 where 2 is due";
    EXPECT_THAT(chunk(1, body), ElementsAre("OK"));
    EXPECT_THAT(chunk(2, "xyz"), ElementsAre("OK"));
    ASSERT_NE(store.FindTone(6), nullptr);
    EXPECT_EQ(store.FindTone(6)->text, body + "xyz");
}

TEST(ChunkLine, FieldsAreReadAroundABodyThatMayHoldCommas) {
    auto tone = ParseChunkLine("3,\"Ri,ng\",2,1,1,0,5,a,b,c,7", false);
    ASSERT_TRUE(tone);
    EXPECT_EQ(tone->target, 3);
    EXPECT_EQ(tone->name, "Ri,ng");
    EXPECT_EQ(tone->count, 0);
    EXPECT_EQ(tone->rest, 5);
    EXPECT_EQ(tone->body, "a,b,c");
    EXPECT_EQ(tone->check, 7);

    auto image = ParseChunkLine("51,\"A\",2,1,13,,,\"250300\",,0", true);
    ASSERT_TRUE(image);
    EXPECT_FALSE(image->count);
    EXPECT_EQ(image->param, "250300");
    EXPECT_EQ(image->body, "");

    for (const char* bad : {"", "3,\"R\",2,1,2,,9", "3,R,2,1,1,0,5,abc,1", "3,\"R\",3,1,1,0,5,a,1",
                            "3,\"R\",2,1,1,0,5,abc,x", "3,\"R\",2,1,1,0,5,abc,1000"}) {
        EXPECT_FALSE(ParseChunkLine(bad, false)) << bad;
    }
}

TEST(CommandAssembler, LinesEndAtCarriageReturnAndFlowBytesStandApart) {
    CommandAssembler assembler;
    std::vector<std::string> lines;
    int stops = 0;
    int starts = 0;
    for (const char c : std::string("AT\r\nAT\x13"
                                    "E0\r\x11\rX")) {
        const auto step = assembler.Feed(c);
        stops += step.flow == CommandAssembler::Flow::kStop;
        starts += step.lineStarted;
        if (step.lineDone) lines.push_back(assembler.Line());
    }
    EXPECT_THAT(lines, ElementsAre("AT", "ATE0", ""));
    EXPECT_EQ(stops, 1);
    EXPECT_EQ(starts, 4);
}

// (The pieces of --split are checked whole on the line, in
// PhoneLine.NotifyReportsComeOnlyBetweenReplies.)
TEST(ReplyShaper, EchoBlankLineAndNoise) {
    EXPECT_EQ(ReplyBytes(nullptr, {"+X: 1", "OK"}, false), "\r\n+X: 1\r\nOK\r\n");
    const std::string at = "AT";
    EXPECT_EQ(ReplyBytes(&at, {"OK"}, true), "AT\r\n\r\nRING\r\nOK\r\n");
}

TEST(LinePacer, TenBitsAByteAtTheRate) {
    LinePacer pacer(9600);
    EXPECT_EQ(pacer.ByteTime(), std::chrono::nanoseconds(1041667));
    const auto t0 = LinePacer::Clock::time_point{} + std::chrono::seconds(1);
    EXPECT_EQ(pacer.Crossed(t0, t0 + std::chrono::milliseconds(10), 100), 9u);
    pacer.Take(t0, 9);
    // The line is busy until the ninth byte crossed: a byte ready earlier waits.
    EXPECT_EQ(pacer.Finish(t0, 1), t0 + pacer.ByteTime() * 10);
    EXPECT_EQ(LinePacer(0).Crossed(t0, t0, 100), 100u);
}

// A broken index is refused, and a store directory that holds one is not
// overwritten. (The command-line tests read back what one phone wrote
// through the next on the same store; a quote in a name only comes from an
// application.)
TEST(StoreIndex, BrokenIndexIsRefusedAndLeftAsItIs) {
    std::string error;
    StoreIndex index;
    index.tones = {{1, "Bells \"x\""}};
    const auto back = ReadStoreIndex(WriteStoreIndex(index), error);
    ASSERT_TRUE(back) << "a quote in a name must not break the index: " << error;
    EXPECT_EQ(back->tones[0].name, "Bells \"x\"");
    for (const char* broken : {"", "{", "[]", "{\"tones\": [], \"images\": {}}",
                               "{\"tones\": [{\"slot\": 11, \"name\": \"x\"}], \"images\": []}",
                               "{\"tones\": [], \"images\": [{\"name\": \"x\"}]}",
                               "{\"tones\": [], \"images\": []} x"}) {
        EXPECT_FALSE(ReadStoreIndex(broken, error)) << broken;
    }
    // A store directory whose index cannot be read is refused, not overwritten.
    char dir[] = "/tmp/velk-store-XXXXXX";
    ASSERT_NE(mkdtemp(dir), nullptr);
    std::ofstream(fs::path(dir) / "index.json") << "{\"tones\": [";
    PhoneStore store;
    EXPECT_FALSE(store.Open(dir, error));
    EXPECT_THAT(error, ::testing::HasSubstr("index.json"));
    EXPECT_EQ(ReadFile(fs::path(dir) / "index.json"), "{\"tones\": [");
    fs::remove_all(dir);
}

TEST(SimulatorOptions, ArgumentsAreReadAsTheHelpSays) {
    SimulatorOptions options;
    std::string error;
    ASSERT_EQ(ParseSimulatorArguments({"--store",
                                       "d",
                                       "--refuse",
                                       "AT+RNGR=",
                                       "--refuse",
                                       "AT+IMGW==+CME ERROR: 20",
                                       "--noise",
                                       "--split",
                                       "--hangup-after",
                                       "4",
                                       "--baud",
                                       "9600",
                                       "--silent",
                                       "--log",
                                       "l",
                                       "--timestamps",
                                       "t",
                                       "--entries",
                                       "0",
                                       "--notify"},
                                      options, error),
              ParseOutcome::kRun)
        << error;
    EXPECT_EQ(options.storeDir, "d");
    ASSERT_EQ(options.refusals.size(), 2u);
    EXPECT_EQ(options.refusals[0].prefix, "AT+RNGR=");
    EXPECT_EQ(options.refusals[0].final, "ERROR");
    EXPECT_EQ(options.refusals[1].prefix, "AT+IMGW=");
    EXPECT_EQ(options.refusals[1].final, "+CME ERROR: 20");
    EXPECT_TRUE(options.noise && options.split && options.silent);
    EXPECT_EQ(options.hangupAfter, 4u);
    EXPECT_EQ(options.baud, 9600u);
    EXPECT_EQ(options.logFile + options.timestampFile, "lt");
    EXPECT_EQ(options.entries, 0u);
    EXPECT_TRUE(options.notify);

    for (const char* bad : {"--baud 0", "--baud fast", "--log", "--hangup-after -1", "--frob",
                            "--entries 100000", "--entries -1"}) {
        std::istringstream words(bad);
        const std::vector<std::string> args{std::istream_iterator<std::string>(words), {}};
        EXPECT_EQ(ParseSimulatorArguments(args, options, error), ParseOutcome::kUsageError) << bad;
    }
    EXPECT_EQ(ParseSimulatorArguments({"--help"}, options, error), ParseOutcome::kHelp);
}

// --- The simulator's line, byte for byte, without the library.

// The computer's side of the line: bytes go out as they are, and everything
// that comes back is kept in `received`.
class RawLine {
  public:
    explicit RawLine(const std::string& path)
        : fd_(open(path.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC)) {}
    ~RawLine() {
        if (fd_ >= 0) close(fd_);
    }
    bool Send(const std::string& bytes) const {
        return write(fd_, bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size());
    }
    // Reads until `done` holds for `received`; false after 10 s.
    bool ReadUntil(const std::function<bool(const std::string&)>& done) {
        const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(10);
        while (!done(received)) {
            pollfd entry{fd_, POLLIN, 0};
            if (std::chrono::steady_clock::now() > limit || poll(&entry, 1, 100) < 0) return false;
            char chunk[4096];
            const ssize_t count =
                (entry.revents & POLLIN) != 0 ? read(fd_, chunk, sizeof chunk) : 0;
            if (count > 0) received.append(chunk, static_cast<std::size_t>(count));
        }
        return true;
    }
    bool ReadUntilEnd(const std::string& end) {
        return ReadUntil([&](const std::string& text) { return text.ends_with(end); });
    }

    std::string received;

  private:
    int fd_;
};

// The prompt is CR LF "> " with nothing after it; the text, line ends and
// all, is no command; the +CMTI of the message to the phone's own number
// follows the reply's OK.
TEST(PhoneLine, PromptTakesTheTextUpToCtrlZAndTheNoticeFollowsTheReply) {
    PhoneSimulator phone;
    std::string error;
    ASSERT_TRUE(phone.Start({}, &error)) << error;
    RawLine line(phone.DevicePath());
    ASSERT_TRUE(line.Send("ATE0\r\nAT+CMGF=1\r"));
    ASSERT_TRUE(line.ReadUntilEnd("\r\nOK\r\n\r\nOK\r\n")) << line.received;
    line.received.clear();
    ASSERT_TRUE(line.Send("AT+CMGS=\"+15550100\"\r\n"));
    ASSERT_TRUE(line.ReadUntilEnd("> "));
    EXPECT_EQ(line.received, "\r\n> ");
    line.received.clear();
    ASSERT_TRUE(line.Send("AT\rsecond line\x1a"));
    ASSERT_TRUE(line.ReadUntilEnd("+CMTI: \"SM\",6\r\n")) << line.received;
    EXPECT_EQ(line.received, "\r\n+CMGS: 1\r\nOK\r\n\r\n+CMTI: \"SM\",6\r\n");
    phone.Stop();
    phone.InspectStore(
        [](const PhoneStore& store) { EXPECT_EQ(store.Messages().at(6).text, "AT\rsecond line"); });
}

// With --notify, a report due while a reply goes out in pieces, or while the
// phone waits for a message's text after its prompt, waits for the reply's
// end: each one stands after a final line or another report.
TEST(PhoneLine, NotifyReportsComeOnlyBetweenReplies) {
    SimulatorOptions options;
    options.notify = true;
    options.notifyEvery = std::chrono::milliseconds(1);
    options.split = true;
    options.seed = 5;
    PhoneSimulator phone;
    std::string error;
    ASSERT_TRUE(phone.Start(options, &error)) << error;
    RawLine line(phone.DevicePath());
    const std::string notice = "\r\n+CREG: 1\r\n";
    const auto withoutNotices = [&](std::string text) {
        for (std::size_t at; (at = text.find(notice)) != std::string::npos;) {
            text.erase(at, notice.size());
        }
        return text;
    };
    ASSERT_TRUE(line.ReadUntilEnd(notice));

    // Each step: what is sent, and (from the model) what must come back.
    PhoneStore store;
    PhoneModel model(store);
    std::string expected;
    const auto step = [&](const std::string& bytes, bool text) {
        const std::string command = bytes.substr(0, bytes.size() - 1);
        const bool echo = model.Echo();
        if (text) {
            expected += ReplyBytes(nullptr, model.TakeText(command, false), false);
            expected += ReplyBytes(nullptr, model.TakeNotices(), false);
        } else {
            const Reply reply = model.Answer(command);
            expected += model.AwaitingText() ? PromptBytes(nullptr)
                                             : ReplyBytes(echo ? &command : nullptr, reply, false);
        }
        ASSERT_TRUE(line.Send(bytes));
        ASSERT_TRUE(line.ReadUntil([&](const std::string& got) {
            return withoutNotices(got).size() >= expected.size() &&
                   (got.ends_with("OK\r\n") || got.ends_with(notice) || got.ends_with("> "));
        }));
    };
    step("ATE0\r", false);
    step("AT+CPBR=1,20\r", false);
    step("AT+CMGF=1\r", false);
    step("AT+CMGS=\"+15550100\"\r", false);
    std::this_thread::sleep_for(std::chrono::milliseconds(20));  // reports fall due meanwhile
    step("Hi\x1a", true);
    EXPECT_EQ(withoutNotices(line.received), expected);
    for (std::size_t at = 0; (at = line.received.find(notice, at)) != std::string::npos; ++at) {
        const std::string before = line.received.substr(0, at);
        EXPECT_TRUE(before.empty() || before.ends_with("OK\r\n") || before.ends_with(notice) ||
                    before.ends_with("+CMTI: \"SM\",6\r\n"))
            << "a report inside a reply, after: " << before.substr(before.size() - 20);
    }
}

// --- The real library on the simulator.

class SimulatedPhone : public ::testing::Test {
  protected:
    void SetUp() override { ASSERT_NE(mkdtemp(dir), nullptr); }
    void TearDown() override {
        velk_EndThread();
        velk_SetPortDevice(7, nullptr);
        phone.Stop();
        fs::remove_all(dir);
    }
    void Start(SimulatorOptions options = {}) {
        options.storeDir = Path("store");
        std::string error;
        ASSERT_TRUE(phone.Start(options, &error)) << error;
        ASSERT_EQ(velk_SetPortDevice(7, phone.DevicePath().c_str()), 1);
        ASSERT_EQ(velk_BeginThread(window.WriteEnd(), 7, 115200, 1), 1);
    }
    // The window messages of one operation, tried until the link takes it (the
    // last message of an operation may come just before the link is ready).
    Messages Run(const std::function<int32_t()>& request) {
        for (int tries = 0; request() != 1; ++tries) {
            if (tries > 3000) return {};
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        return window.UntilFinal(10000);
    }
    std::string Path(const std::string& name) const { return std::string(dir) + "/" + name; }

    // All timed waits of the library run on this clock, so that a slow
    // machine never times a command out.
    TestTickClock clock{0};
    char dir[24] = "/tmp/velk-phone-XXXXXX";
    test::WindowReader window;
    PhoneSimulator phone;
};

// The longest image the library can write, 42 frames, fits the room the
// phone leaves behind an image's first frame, and reads back whole.
TEST_F(SimulatedPhone, LongestImageIsWrittenAndReadBack) {
    Start();
    ASSERT_THAT(Run(velk_ReadAnimInfo), ElementsAre(VELK_MSG_ANIM_INFO_READ));
    std::string frames;
    for (int i = 0; i < 42; ++i) frames += std::string(1536, static_cast<char>('A' + i % 26));
    AnimRecord image{};
    image.id = 1;
    image.size = static_cast<uint16_t>(frames.size());
    image.data = reinterpret_cast<uint8_t*>(frames.data());
    image.animParamFirst = 30;
    Messages expected(42, VELK_MSG_ANIM_WRITE_PROGRESS);
    expected.push_back(VELK_MSG_ANIM_WRITTEN);
    EXPECT_EQ(Run([&] { return velk_WriteAnim(image); }), expected);
    EXPECT_EQ(ReadFile(Path("store/frame-42.txt")), std::string(1536, 'P'));

    ASSERT_THAT(Run(velk_ReadAnimInfo), ElementsAre(VELK_MSG_ANIM_INFO_READ));
    expected.assign(41, VELK_MSG_ANIM_READ_PROGRESS);
    expected.push_back(VELK_MSG_ANIM_READ);
    EXPECT_EQ(Run([] { return velk_ReadAnim(1); }), expected);
    AnimRecord* read = nullptr;
    ASSERT_EQ(velk_GetAnimData(&read), 1);
    EXPECT_EQ(std::string(reinterpret_cast<char*>(read->data), read->size), frames);
    AnimInfoRecord* info = nullptr;
    ASSERT_EQ(velk_GetAnimInfo(&info), 1);
    EXPECT_THAT(std::vector<uint16_t>(info->frameRanges, info->frameRanges + 6),
                ElementsAre(42, 1, 3, 51, 2, 101));
}

// The benchmarks time the line by the phone's log and timestamps.
TEST_F(SimulatedPhone, PacedLineTakesTheWireTimeAndLogsAndStampsEachCommand) {
    SimulatorOptions options;
    options.baud = 19200;
    options.logFile = Path("log");
    options.timestampFile = Path("stamps");
    Start(options);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_THAT(Run([] { return velk_ReadMid(1); }), ElementsAre(VELK_MSG_MID_READ));
    const auto took = std::chrono::steady_clock::now() - start;
    MidRecord* tone = nullptr;
    ASSERT_EQ(velk_GetMidData(&tone), 1);
    EXPECT_EQ(std::string(reinterpret_cast<char*>(tone->data), tone->size),
              ReadFile(Path("store/tone-1.txt")));
    // Every byte of the dialogue, both ways, one after the other: the
    // commands up to their CR (the LF crosses while the phone answers), the
    // echoed opening and the tone's three lines.
    PhoneStore sample;
    const std::size_t bytes =
        std::string("AT\rATE0\rAT+RNGR=1\r").size() +
        std::string("AT\r\n\r\nOK\r\nATE0\r\n\r\nOK\r\n").size() +
        ReplyBytes(nullptr, PhoneModel(sample).Answer("AT+RNGR=1"), false).size();
    const auto wire = std::chrono::microseconds(bytes * 10 * 1000000 / 19200);
    EXPECT_GE(took, wire);
    EXPECT_LE(took, 2 * wire + std::chrono::milliseconds(200))
        << "the pacing must not slow the line down";
    velk_EndThread();
    phone.Stop();

    EXPECT_EQ(ReadFile(Path("log")), "AT\nATE0\nAT+RNGR=1\n");
    std::istringstream stamps(ReadFile(Path("stamps")));
    std::string kinds;
    long long previous = 0;
    char kind;
    long long ns;
    while (stamps >> kind >> ns) {
        kinds += kind;
        EXPECT_GT(ns, previous);
        previous = ns;
    }
    EXPECT_EQ(kinds, "CRCRCR");
}

}  // namespace
}  // namespace velk::phonesim
