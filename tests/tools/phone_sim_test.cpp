// The simulated phone: its protocol line by line, and the real library
// (exports, worker, serial link) reading and writing tones and images on it
// through a window pipe, with the line misbehaving as the options say.
#include <fcntl.h>
#include <poll.h>
#include <stdlib.h>
#include <termios.h>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstring>
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

// An AT+RNGW= or AT+IMGW= line as the library builds it, with the right check.
std::string ChunkCommand(const std::string& head, const std::string& name, int chunk, int count,
                         int rest, const std::string& param, const std::string& body) {
    std::string line = head + ",\"" + name + "\",2,1," + std::to_string(chunk) + ',';
    line += chunk == 1 ? std::to_string(count) + ',' + std::to_string(rest) + ',' : ",,";
    if (!param.empty()) line += '"' + param + "\",";
    return line + body + ',' + std::to_string(ChunkCheck(body));
}

// --- The protocol without the line.

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
        {"AT+CPBS?", {"+CPBS: \"SM\",200,250", "OK"}},
        {"AT+CPBR=?", {"+CPBR: (1-250),40,16", "OK"}},
        {"AT+CPBR=199,203",
         {"+CPBR: 199,\"+49305550199\",145,\"Contact 199\"",
          "+CPBR: 200,\"+49305550200\",145,\"Contact 200\"", "OK"}},
        {"AT+CPBR=251", {"+CME ERROR: 21"}},
        {"AT+CPBW=?", {"+CPBW: (1-250),40,(129,145),16", "OK"}},
        {"AT+CPBS=\"XX\"", {"+CME ERROR: 3"}},
        {"AT+CPBS=\"ME\"", {"OK"}},
        {"AT+CPBR=1", {"+CPBR: 1,\"01725550001\",129,\"Office 001\"", "OK"}},
        {"AT+FROB", {"ERROR"}},
    };
    PhoneStore store;
    PhoneModel model(store);
    for (const Row& row : rows) {
        EXPECT_THAT(model.Answer(row.command), ElementsAreArray(row.reply)) << row.command;
    }
    EXPECT_TRUE(model.Answer("").empty()) << "an empty line gets no reply";
}

TEST(PhoneModel, EchoStaysOnUntilEchoOffAndComesBackWithAReset) {
    PhoneStore store;
    PhoneModel model(store);
    EXPECT_TRUE(model.Echo());
    model.Answer("ATE0");
    EXPECT_FALSE(model.Echo());
    model.Answer("ATZ");
    EXPECT_TRUE(model.Echo());
}

TEST(PhoneModel, LongToneGoesInPartsWithSizeInTheFirst) {
    PhoneStore store;
    PhoneModel model(store);
    const std::string text(300, 'A');
    ASSERT_TRUE(store.PutTone(5, {"Long", text}));
    const Reply reply = model.Answer("AT+RNGR=5");
    ASSERT_EQ(reply.size(), 4u);
    const std::string a128(128, 'A');
    const std::string check128 = std::to_string(ChunkCheck(a128));
    EXPECT_EQ(reply[0], "+RNGR: 5,\"Long\",1,3,2,44,\"" + a128 + "\"," + check128);
    EXPECT_EQ(reply[1], "+RNGR: 5,\"Long\",2,3,,,\"" + a128 + "\"," + check128);
    EXPECT_EQ(reply[2], "+RNGR: 5,\"Long\",3,3,,,\"" + std::string(44, 'A') + "\"," +
                            std::to_string(ChunkCheck(std::string(44, 'A'))));
}

TEST(PhoneModel, FrameGoesInThirteenPartsBehindItsHead) {
    PhoneStore store;
    PhoneModel model(store);
    const Reply reply = model.Answer("AT+IMGR=52");
    ASSERT_EQ(reply.size(), 14u);
    EXPECT_THAT(reply[0], ::testing::StartsWith("+IMGR: 52,\"Ball\",1,13,12,4,\"250300\",\"6040"));
    EXPECT_THAT(reply[12], ::testing::StartsWith("+IMGR: 52,\"Ball\",13,13,,,\"250300\",\""));
    std::string joined;
    for (std::size_t i = 0; i < 13; ++i) {
        const std::size_t open = reply[i].rfind(",\"");
        const std::size_t close = reply[i].rfind('"');
        joined += reply[i].substr(open + 2, close - open - 2);
    }
    EXPECT_EQ(joined, std::string("6040") + *store.Frame(52));
}

// A chunk whose check does not fit its body is refused, and the write it
// belonged to is dropped: its later chunks are refused too.
TEST(PhoneModel, WrongCheckIsAnsweredErrorAndDropsTheWrite) {
    PhoneStore store;
    PhoneModel model(store);
    const std::string body(128, 'B');
    EXPECT_THAT(model.Answer(ChunkCommand("AT+RNGW=6", "New", 1, 1, 3, "", body)),
                ElementsAre("OK"));
    std::string wrong = ChunkCommand("AT+RNGW=6", "New", 2, 0, 0, "", "xyz");
    wrong.back() = wrong.back() == '0' ? '1' : '0';
    EXPECT_THAT(model.Answer(wrong), ElementsAre("ERROR"));
    EXPECT_THAT(model.Answer(ChunkCommand("AT+RNGW=6", "New", 2, 0, 0, "", "xyz")),
                ElementsAre("ERROR"));
    EXPECT_EQ(store.FindTone(6), nullptr);

    // Out of order: chunk 3 where chunk 2 is due.
    EXPECT_THAT(model.Answer(ChunkCommand("AT+RNGW=6", "New", 1, 1, 3, "", body)),
                ElementsAre("OK"));
    EXPECT_THAT(model.Answer(ChunkCommand("AT+RNGW=6", "New", 3, 0, 0, "", "xyz")),
                ElementsAre("ERROR"));
    // And a whole write in order is kept.
    EXPECT_THAT(model.Answer(ChunkCommand("AT+RNGW=6", "New", 1, 1, 3, "", body)),
                ElementsAre("OK"));
    EXPECT_THAT(model.Answer(ChunkCommand("AT+RNGW=6", "New", 2, 0, 0, "", "xyz")),
                ElementsAre("OK"));
    ASSERT_NE(store.FindTone(6), nullptr);
    EXPECT_EQ(store.FindTone(6)->text, body + "xyz");
}

TEST(PhoneModel, FramesWrittenFromAnImagesFirstFrameSetItsCount) {
    PhoneStore store;
    PhoneModel model(store);
    for (int frame = 101; frame < 104; ++frame) {
        const std::string text =
            std::string("6040") + std::string(1536, static_cast<char>('a' + frame - 101));
        for (int chunk = 1; chunk <= 13; ++chunk) {
            const std::string body = text.substr(static_cast<std::size_t>(chunk - 1) * 128, 128);
            ASSERT_THAT(model.Answer(ChunkCommand("AT+IMGW=" + std::to_string(frame), "Sea", chunk,
                                                  12, 4, "250307", body)),
                        ElementsAre("OK"));
        }
    }
    EXPECT_EQ(store.Images()[2].frames, 3);
    EXPECT_EQ(store.Images()[2].name, "Sea");
    EXPECT_EQ(store.Images()[2].param, "250307");
    EXPECT_EQ(*store.Frame(103), std::string(1536, 'c'));
}

// What one phone wrote to its directory, the next one started on it holds;
// a directory whose index cannot be read is refused, not overwritten.
TEST(PhoneStore, DirectoryKeepsWhatWasWrittenAcrossStarts) {
    char pattern[] = "/tmp/velk-store-XXXXXX";
    ASSERT_NE(mkdtemp(pattern), nullptr);
    const fs::path dir = fs::path(pattern) / "new";
    std::string error;
    {
        PhoneStore store;
        ASSERT_TRUE(store.Open(dir.string(), error)) << error;
        ASSERT_TRUE(store.PutTone(9, {"Nine", "0123"}));
        ASSERT_TRUE(store.PutFrame(1, "Dot", "250100", std::string(1536, 'd')));
    }
    PhoneStore again;
    ASSERT_TRUE(again.Open(dir.string(), error)) << error;
    ASSERT_NE(again.FindTone(9), nullptr);
    EXPECT_EQ(again.FindTone(9)->name, "Nine");
    EXPECT_EQ(again.FindTone(9)->text, "0123");
    EXPECT_EQ(again.Tones().size(), 4u);
    EXPECT_EQ(*again.Frame(1), std::string(1536, 'd'));
    EXPECT_EQ(again.Frame(53)->size(), 1536u);
    EXPECT_EQ(again.Images()[0].name, "Dot");

    std::ofstream(dir / "index.json") << "{\"tones\": [";
    PhoneStore broken;
    EXPECT_FALSE(broken.Open(dir.string(), error));
    EXPECT_THAT(error, ::testing::HasSubstr("index.json"));
    EXPECT_EQ(ReadFile(dir / "index.json"), "{\"tones\": [");
    fs::remove_all(pattern);
}

TEST(ChunkLine, FieldsAreReadAroundABodyThatMayHoldCommas) {
    EXPECT_EQ(ChunkCheck("abc"), 99);
    EXPECT_EQ(ChunkCheck(""), 0);

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

TEST(ReplyShaper, EchoBlankLineNoiseAndPiecesKeepTheBytes) {
    EXPECT_EQ(ReplyBytes(nullptr, {"+X: 1", "OK"}, false), "\r\n+X: 1\r\nOK\r\n");
    const std::string at = "AT";
    EXPECT_EQ(ReplyBytes(&at, {"OK"}, true), "AT\r\n\r\nRING\r\nOK\r\n");

    std::mt19937 random(7);
    const std::string bytes = ReplyBytes(nullptr, {std::string(200, 'x'), "OK"}, false);
    const auto pieces = ShapeReply(bytes, true, random);
    std::string joined;
    for (const OutputPiece& p : pieces) {
        EXPECT_LE(p.bytes.size(), 7u);
        joined += p.bytes;
    }
    EXPECT_EQ(joined, bytes);
    EXPECT_GT(pieces.size(), 30u);
    EXPECT_EQ(ShapeReply(bytes, false, random).size(), 1u);
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

TEST(StoreIndex, WrittenIndexReadsBackAndBrokenOnesAreRefused) {
    StoreIndex index;
    index.tones = {{1, "Bells \"x\""}, {10, "Last"}};
    index.images = {{"Ball", 3, 51, "250300"}, {"Empty", 0, 200, ""}};
    std::string error;
    const auto back = ReadStoreIndex(WriteStoreIndex(index), error);
    ASSERT_TRUE(back) << error;
    ASSERT_EQ(back->tones.size(), 2u);
    EXPECT_EQ(back->tones[0].name, "Bells \"x\"");
    EXPECT_EQ(back->tones[1].slot, 10);
    ASSERT_EQ(back->images.size(), 2u);
    EXPECT_EQ(back->images[0].first, 51);
    EXPECT_EQ(back->images[0].param, "250300");

    for (const char* broken : {"", "{", "[]", "{\"tones\": [], \"images\": {}}",
                               "{\"tones\": [{\"slot\": 11, \"name\": \"x\"}], \"images\": []}",
                               "{\"tones\": [], \"images\": [{\"name\": \"x\"}]}",
                               "{\"tones\": [], \"images\": []} x"}) {
        EXPECT_FALSE(ReadStoreIndex(broken, error)) << broken;
    }
}

TEST(SimulatorOptions, ArgumentsAreReadAsTheHelpSays) {
    SimulatorOptions options;
    std::string error;
    ASSERT_EQ(ParseSimulatorArguments(
                  {"--store", "d", "--refuse", "AT+RNGR=", "--refuse", "AT+IMGW==+CME ERROR: 20",
                   "--noise", "--split", "--hangup-after", "4", "--baud", "9600", "--silent"},
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

    for (const std::vector<std::string>& bad :
         std::vector<std::vector<std::string>>{{"--baud", "0"},
                                               {"--baud", "fast"},
                                               {"--log"},
                                               {"--hangup-after", "-1"},
                                               {"--frob"}}) {
        EXPECT_EQ(ParseSimulatorArguments(bad, options, error), ParseOutcome::kUsageError)
            << bad[0];
    }
    EXPECT_EQ(ParseSimulatorArguments({"--help"}, options, error), ParseOutcome::kHelp);
}

// --- The line itself, opened as a client opens it.

class RawClient {
  public:
    explicit RawClient(const std::string& path)
        : fd_(open(path.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC)) {
        termios settings{};
        if (fd_ >= 0 && tcgetattr(fd_, &settings) == 0) {
            cfmakeraw(&settings);
            tcsetattr(fd_, TCSANOW, &settings);
        }
    }
    ~RawClient() {
        if (fd_ >= 0) close(fd_);
    }
    bool IsOpen() const { return fd_ >= 0; }

    // Sends a command and reads until `until` shows up or the line is quiet.
    std::string Ask(const std::string& command, const std::string& until = "OK\r\n") {
        const std::string line = command + "\r\n";
        if (write(fd_, line.data(), line.size()) != static_cast<ssize_t>(line.size())) return {};
        std::string got;
        while (got.find(until) == std::string::npos) {
            pollfd entry{fd_, POLLIN, 0};
            if (poll(&entry, 1, 2000) <= 0 || (entry.revents & POLLIN) == 0) break;
            char buffer[512];
            const ssize_t n = read(fd_, buffer, sizeof buffer);
            if (n <= 0) break;
            got.append(buffer, static_cast<std::size_t>(n));
        }
        return got;
    }

  private:
    int fd_;
};

TEST(PhoneSimulatorLine, ServesOneClientAfterAnotherAndHangsUpWhenTold) {
    PhoneSimulator phone;
    SimulatorOptions options;
    options.hangupAfter = 4;
    ASSERT_TRUE(phone.Start(options));
    {
        RawClient first(phone.DevicePath());
        ASSERT_TRUE(first.IsOpen());
        EXPECT_EQ(first.Ask("AT"), "AT\r\n\r\nOK\r\n");
        EXPECT_EQ(first.Ask("ATE0"), "ATE0\r\n\r\nOK\r\n");
    }
    {
        RawClient second(phone.DevicePath());
        EXPECT_EQ(second.Ask("AT+CGMI"), "\r\nVelkport\r\nOK\r\n") << "echo stays off";
        EXPECT_FALSE(phone.Ended());
        second.Ask("AT", "never");
    }
    pollfd ended{phone.EndedDescriptor(), POLLIN, 0};
    EXPECT_EQ(poll(&ended, 1, 2000), 1);
    EXPECT_TRUE(phone.Ended());
    EXPECT_EQ(phone.CommandCount(), 4u);
    EXPECT_FALSE(RawClient(phone.DevicePath()).IsOpen()) << "the line is gone";
    phone.Stop();
}

// --- The real library on the simulator.

constexpr uint8_t kPort = 7;

// Public, so that the rows of a table can drive the fixture.
class SimulatedPhone : public ::testing::Test {
  public:
    void SetUp() override {
        char pattern[] = "/tmp/velk-phone-XXXXXX";
        ASSERT_NE(mkdtemp(pattern), nullptr);
        dir = pattern;
    }
    void TearDown() override {
        velk_EndThread();
        velk_SetPortDevice(kPort, nullptr);
        phone.Stop();
        fs::remove_all(dir);
    }

    void Start(SimulatorOptions options = {}) {
        options.storeDir = (dir / "store").string();
        std::string error;
        ASSERT_TRUE(phone.Start(options, &error)) << error;
        ASSERT_EQ(velk_SetPortDevice(kPort, phone.DevicePath().c_str()), 1);
        ASSERT_EQ(velk_BeginThread(window.WriteEnd(), kPort, 115200, 1), 1);
    }

    // The window messages of one operation; the request is tried until the
    // link takes it, as the last message of an operation may come just
    // before the link is ready again.
    Messages Run(const std::function<int32_t()>& request) {
        const auto until = std::chrono::steady_clock::now() + std::chrono::seconds(3);
        while (request() != 1) {
            if (std::chrono::steady_clock::now() > until) return {};
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        return window.UntilFinal(10000);
    }

    std::string ReadTone(uint8_t slot) {
        EXPECT_THAT(Run([&] { return velk_ReadMid(slot); }), ElementsAre(VELK_MSG_MID_READ));
        MidRecord* record = nullptr;
        if (velk_GetMidData(&record) != 1) return "<none>";
        return std::string(reinterpret_cast<char*>(record->data), record->size);
    }

    AnimRecord* ReadImage(uint8_t id, std::size_t frames) {
        Messages expected(frames - 1, VELK_MSG_ANIM_READ_PROGRESS);
        expected.push_back(VELK_MSG_ANIM_READ);
        EXPECT_EQ(Run([&] { return velk_ReadAnim(id); }), expected);
        AnimRecord* record = nullptr;
        velk_GetAnimData(&record);
        return record;
    }

    std::string StoreFile(const std::string& name) const { return ReadFile(dir / "store" / name); }

    // All timed waits of the library run on this clock, so that a slow
    // machine never times a command out.
    TestTickClock clock{0};
    fs::path dir;
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
    EXPECT_EQ(StoreFile("frame-42.txt"), std::string(1536, 'P'));

    ASSERT_THAT(Run(velk_ReadAnimInfo), ElementsAre(VELK_MSG_ANIM_INFO_READ));
    AnimRecord* read = ReadImage(1, 42);
    ASSERT_NE(read, nullptr);
    EXPECT_EQ(std::string(reinterpret_cast<char*>(read->data), read->size), frames);
    AnimInfoRecord* info = nullptr;
    ASSERT_EQ(velk_GetAnimInfo(&info), 1);
    EXPECT_THAT(std::vector<uint16_t>(info->frameRanges, info->frameRanges + 6),
                ElementsAre(42, 1, 3, 51, 2, 101));
}

// A misbehaving line: the library still does its job, or ends the operation
// with the message that fits.
TEST_F(SimulatedPhone, LineOptionsKeepTheLibraryWorking) {
    struct Row {
        const char* name;
        std::function<void(SimulatorOptions&)> set;
        std::function<void(SimulatedPhone&)> check;
    } rows[] = {
        {"noise", [](SimulatorOptions& o) { o.noise = true; },
         [](SimulatedPhone& t) { EXPECT_EQ(t.ReadTone(1), t.StoreFile("tone-1.txt")); }},
        {"split", [](SimulatorOptions& o) { o.split = true; },
         [](SimulatedPhone& t) {
             AnimRecord* read = t.ReadImage(3, 2);
             ASSERT_NE(read, nullptr);
             EXPECT_EQ(std::string(reinterpret_cast<char*>(read->data), read->size),
                       t.StoreFile("frame-101.txt") + t.StoreFile("frame-102.txt"));
         }},
        {"refuse a frame write with a +CME ERROR",
         [](SimulatorOptions& o) {
             o.refusals.push_back({"at+imgw=", "+CME ERROR: 20"});
         },
         [](SimulatedPhone& t) {
             std::string frame(1536, 'z');
             AnimRecord image{};
             image.id = 1;
             image.size = 1536;
             image.data = reinterpret_cast<uint8_t*>(frame.data());
             EXPECT_THAT(t.Run([&] { return velk_WriteAnim(image); }),
                         ElementsAre(VELK_MSG_ANIM_WRITE_REFUSED));
             EXPECT_NE(t.StoreFile("frame-1.txt"), frame);
         }},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        SimulatorOptions options;
        row.set(options);
        Start(options);
        row.check(*this);
        velk_EndThread();
        phone.Stop();
    }
}

TEST_F(SimulatedPhone, PacedLineTakesTheWireTimeAndLogsAndStampsEachCommand) {
    SimulatorOptions options;
    options.baud = 19200;
    options.logFile = (dir / "log").string();
    options.timestampFile = (dir / "stamps").string();
    Start(options);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(ReadTone(1), StoreFile("tone-1.txt"));
    const auto took = std::chrono::steady_clock::now() - start;
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

    EXPECT_EQ(ReadFile(dir / "log"), "AT\nATE0\nAT+RNGR=1\n");
    std::istringstream stamps(ReadFile(dir / "stamps"));
    std::vector<char> kinds;
    long long previous = 0;
    char kind;
    long long ns;
    while (stamps >> kind >> ns) {
        kinds.push_back(kind);
        EXPECT_GT(ns, previous);
        previous = ns;
    }
    EXPECT_THAT(kinds, ElementsAre('C', 'R', 'C', 'R', 'C', 'R'));
}

}  // namespace
}  // namespace velk::phonesim
