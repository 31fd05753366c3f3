// The transfer subcommands of `velkport`, run in process against the
// simulated phone, and the parts they stand on.
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <future>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include "phone_sim/phone_simulator.h"
#include "platform/tick_clock.h"
#include "platform/tty_port.h"
#include "velkport.h"
#include "velkport/device_check.h"
#include "velkport/progress_bar.h"
#include "velkport/transfer_arguments.h"
#include "velkport/transfer_commands.h"
#include "velkport/transfer_files.h"
#include "velkport/transfer_outcome.h"

namespace velk::cli {
namespace {

using ::testing::HasSubstr;
namespace fs = std::filesystem;

struct Ran {
    int code;
    std::string out;
    std::string err;
};

Ran Velkport(const std::string& command, const std::vector<std::string>& args,
             const phonesim::SimulatorOptions& phone = {}, bool terminal = false) {
    std::istringstream in;
    std::ostringstream out;
    std::ostringstream err;
    const int code = RunTransferCommand(command, args, CommandIo{in, out, err, terminal}, phone);
    return {code, out.str(), err.str()};
}

std::string ReadFile(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

std::vector<std::string> Words(const std::string& text) {
    std::istringstream words(text);
    return {std::istream_iterator<std::string>(words), {}};
}

void WriteFile(const fs::path& path, const std::string& text) {
    std::ofstream(path, std::ios::binary) << text;
}

class TransferCommand : public ::testing::Test {
  protected:
    void SetUp() override {
        char pattern[] = "/tmp/velk-cli-XXXXXX";
        ASSERT_NE(mkdtemp(pattern), nullptr);
        dir = pattern;
        stored.storeDir = (dir / "store").string();
    }
    void TearDown() override { fs::remove_all(dir); }

    std::string File(const std::string& name) const { return (dir / name).string(); }

    fs::path dir;
    phonesim::SimulatorOptions stored;  // the built-in phone, kept in dir/store
};

// --- The parts.

TEST(TransferArguments, OptionsAnywhereAndEveryBadOneNamed) {
    struct Row {
        const char* args;
        std::size_t positionals;
        unsigned extras;
        std::string problem;  // empty: accepted
    } rows[] = {
        {"--device /dev/ttyACM0 7 -o f --flow=xonxoff --baud 9600", 1, kExtraOutput, ""},
        {"2 Anim f --param-first 30 --param-last=4", 3, kExtraParams, ""},
        {"7", 1, kExtraNone, ""},
        {"", 1, kExtraOutput, "an argument is missing"},
        {"1 2", 1, kExtraOutput, "there are arguments too many"},
        {"1 -o", 1, kExtraOutput, "-o needs a value"},
        {"1 -o f", 1, kExtraNone, "unknown option \"-o\""},
        {"--port 0", 0, kExtraNone, "--port needs a port number from 1 to 255, not \"0\""},
        {"--port 256", 0, kExtraNone, "--port needs a port number from 1 to 255, not \"256\""},
        {"--baud fast", 0, kExtraNone, "--baud needs a rate in bits per second, not \"fast\""},
        {"--flow none", 0, kExtraNone, "--flow is rtscts or xonxoff, not \"none\""},
        {"--simulate=yes", 0, kExtraNone, "--simulate takes no value"},
        {"--device d --port 1", 0, kExtraNone, "give either --device or --port, not both"},
        {"--simulate --port 1", 0, kExtraNone,
         "--simulate talks to the built-in phone: it takes no --device or --port"},
        {"--slots 0", 0, kExtraSlots, "--slots needs a number from 1 to 255, not \"0\""},
        {"1 --param-last 300", 1, kExtraParams,
         "--param-last needs a number from 0 to 255, not \"300\""},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.args);
        std::string problem;
        const auto parsed =
            ParseTransferArgs(Words(row.args), row.positionals, row.extras, problem);
        EXPECT_EQ(problem, row.problem);
        EXPECT_EQ(parsed.has_value(), row.problem.empty());
    }
    std::string problem;
    const auto parsed =
        ParseTransferArgs(Words("--device /dev/x 7 -o f --flow=xonxoff"), 1, kExtraOutput, problem);
    ASSERT_TRUE(parsed);
    EXPECT_EQ(parsed->link.device, "/dev/x");
    EXPECT_EQ(parsed->link.flow, FlowControl::kXonXoff);
    EXPECT_EQ(parsed->link.baud, 115200u);
    EXPECT_FALSE(parsed->link.UsesSimulator());
    EXPECT_EQ(parsed->positionals, std::vector<std::string>{"7"});
    EXPECT_EQ(parsed->output, "f");
}

TEST(DeviceCheck, EachFaultIsASentenceThatNamesTheDeviceAndTheWayOut) {
    struct Row {
        TtyFault fault;
        int error;
        std::vector<std::string> says;
    } rows[] = {
        {TtyFault::kOpenRefused, ENOENT, {"/dev/ttyACM0 does not exist"}},
        {TtyFault::kOpenRefused, EACCES, {"no permission to open /dev/ttyACM0", "dialout"}},
        {TtyFault::kOpenRefused, EBUSY, {"/dev/ttyACM0", "ModemManager"}},
        {TtyFault::kLocked, EWOULDBLOCK, {"/dev/ttyACM0 is in use", "ModemManager"}},
        {TtyFault::kNotATerminal, 0, {"/dev/ttyACM0 is no serial port"}},
        {TtyFault::kRateRefused, EINVAL, {"/dev/ttyACM0 refused the rate of 115200 baud"}},
    };
    for (const Row& row : rows) {
        const std::string sentence =
            DeviceFaultSentence("/dev/ttyACM0", row.fault, row.error, 115200);
        for (const std::string& part : row.says) EXPECT_THAT(sentence, HasSubstr(part));
    }
}

TEST(DeviceCheck, LooksAtTheRealDeviceAndLetsItGo) {
    EXPECT_THAT(CheckDevice("/dev/null", 115200, false).value_or(""),
                HasSubstr("is no serial port"));
    phonesim::PhoneSimulator phone;
    ASSERT_TRUE(phone.Start({}));
    EXPECT_EQ(CheckDevice(phone.DevicePath(), 115200, false), std::nullopt);
    EXPECT_EQ(CheckDevice(phone.DevicePath(), 115200, false), std::nullopt) << "it was let go";
    TtyFault fault;
    const int held = OpenTtyPort(phone.DevicePath().c_str(), fault);
    ASSERT_GE(held, 0);
    EXPECT_THAT(CheckDevice(phone.DevicePath(), 115200, false).value_or(""),
                HasSubstr("ModemManager"));
    CloseTtyPort(held);
    phone.Stop();
}

TEST(TransferFiles, TextsThatCannotTravelAreRefusedWithTheReason) {
    struct Row {
        std::optional<std::string> problem;
        const char* says;  // nullptr: accepted
    } rows[] = {
        {ToneTextProblem(""), nullptr},
        {ToneTextProblem(std::string(32511, 'A')), nullptr},
        {ToneTextProblem(std::string(32512, 'A')), "at most 32511"},
        {ToneTextProblem("AB\nCD"), "a line end at character 3"},
        {ToneTextProblem(std::string("AB\0", 3)), "a zero byte at character 3"},
        {ImageTextProblem(std::string(2 * kFrameLength, '0')), nullptr},
        {ImageTextProblem(""), "no whole number of frames"},
        {ImageTextProblem(std::string(3000, '0')), "3000 characters"},
        {ImageTextProblem(std::string(43 * kFrameLength, '0')), "43 frames"},
        {ImageTextProblem(std::string(1535, '0') + "\r"), "a line end at character 1536"},
        {NameProblem("Ring"), nullptr},
        {NameProblem("TenLetters"), nullptr},
        {NameProblem(""), "1 to 10 characters"},
        {NameProblem("ElevenChars"), "not 11"},
        {NameProblem("a\"b"), "double quotes"},
    };
    for (std::size_t i = 0; i < std::size(rows); ++i) {
        SCOPED_TRACE(i);
        if (rows[i].says == nullptr) {
            EXPECT_EQ(rows[i].problem, std::nullopt);
        } else {
            EXPECT_THAT(rows[i].problem.value_or(""), HasSubstr(rows[i].says));
        }
    }
}

TEST_F(TransferCommand, FileReadDropsOneLineEndAtTheEndOnly) {
    std::string problem;
    WriteFile(File("crlf"), "ABC\r\n");
    EXPECT_EQ(ReadTransferFile(File("crlf"), problem), "ABC");
    WriteFile(File("two"), "ABC\n\n");
    EXPECT_EQ(ReadTransferFile(File("two"), problem), "ABC\n");
}

TEST(ProgressBar, LineShowsTheFramesDoneOfAll) {
    EXPECT_EQ(ProgressLine("image 2", 1, 3, 6), "image 2  [##----]  1/3 frames");
    EXPECT_EQ(ProgressLine("image 2", 5, 3, 6), "image 2  [######]  3/3 frames");
    EXPECT_EQ(ProgressLine("image 9", 0, 0, 4), "image 9  [####]  0/0 frames");
}

// The ends no whole run below meets (the refusals and the silent phone are
// run there).
TEST(TransferOutcome, EndsHaveTheirExitCodeAndSentence) {
    using Kind = OperationEnd::Kind;
    struct Row {
        OperationEnd end;
        int code;
        std::string sentence;
    } rows[] = {
        {{Kind::kFinal, VELK_MSG_TIMED_OUT, true},
         kExitLinkLost,
         "the link to the phone on /dev/ttyUSB0 was lost: was the cable pulled or the phone "
         "switched off?"},
        {{Kind::kNotTaken},
         kExitLinkLost,
         "the link to the phone on /dev/ttyUSB0 is gone: the library took no more requests"},
        {{Kind::kInterrupted},
         kExitInterrupted,
         "interrupted: the running operation was cancelled and the link closed"},
        {{Kind::kFinal, VELK_MSG_ANIM_READ}, kExitDone, ""},
    };
    for (const Row& row : rows) {
        const Outcome outcome = DescribeEnd(row.end, "slot 7", "/dev/ttyUSB0");
        EXPECT_EQ(outcome.exitCode, row.code) << row.sentence;
        EXPECT_EQ(outcome.sentence, row.sentence);
    }
}

// --- Whole runs on the built-in phone.

TEST_F(TransferCommand, ListsTonesAndImagesAsReadableTables) {
    const Ran tones = Velkport("tones", {"--slots", "4"}, stored);
    EXPECT_EQ(tones.code, kExitDone) << tones.err;
    EXPECT_EQ(tones.out,
              "Ring tones \"Tones\": the phone states 3, 10, 253\n"
              "slot  name        characters\n"
              "   1  Bells              340\n"
              "   2  Chime              132\n"
              "   3  Alarm              116\n"
              "   4  -\n");
    EXPECT_THAT(tones.err, HasSubstr("talking to the simulated phone built into this program"));

    const Ran images = Velkport("images", {"--simulate"});
    EXPECT_EQ(images.code, kExitDone) << images.err;
    EXPECT_EQ(images.out,
              "Images \"Images\": the phone states 3, 6, 250, 96, 64\n"
              "image  frames  first frame\n"
              "    1       1            1\n"
              "    2       3           51\n"
              "    3       2          101\n");
    EXPECT_EQ(images.err, "") << "--simulate asks for the built-in phone: no note";
}

TEST_F(TransferCommand, WrittenTonesAndImagesReadBackAsTheFileHeldThem) {
    WriteFile(File("tone"), "4D54686400000006\n");
    Ran put = Velkport("tone-put", {"3", "Ring", File("tone")}, stored);
    EXPECT_EQ(put.code, kExitDone) << put.err;
    EXPECT_EQ(put.out, "Wrote tone 3 \"Ring\": 16 characters.\n");
    Ran get = Velkport("tone-get", {"3"}, stored);
    EXPECT_EQ(get.code, kExitDone) << get.err;
    EXPECT_EQ(get.out, "4D54686400000006") << "the text alone on standard output";
    EXPECT_THAT(get.err, HasSubstr("Read tone 3 \"Ring\": 16 characters."));

    std::string frames;
    for (char c : {'1', '2', '3', '4'}) frames += std::string(1536, c);
    WriteFile(File("image"), frames);
    put = Velkport("image-put", {"2", "Anim", File("image"), "--param-last", "7"}, stored);
    EXPECT_EQ(put.code, kExitDone) << put.err;
    EXPECT_EQ(put.out, "Wrote image 2 \"Anim\": 4 frames from frame 51.\n");
    EXPECT_EQ(ReadFile(dir / "store" / "frame-54.txt"), std::string(1536, '4'));

    get = Velkport("image-get", {"2", "-o", File("back")}, stored, true);
    EXPECT_EQ(get.code, kExitDone) << get.err;
    EXPECT_EQ(ReadFile(File("back")), frames);
    EXPECT_THAT(get.out, HasSubstr("Read image 2 \"Anim\": 4 frames of 1536 characters from "
                                   "frame 51, parameters 25 and 7, saved to " +
                                   File("back")));
    // On a terminal the bar is drawn from nothing to all frames.
    EXPECT_THAT(get.err, HasSubstr("\rimage 2  [------------------------------]  0/4 frames"));
    EXPECT_THAT(get.err, HasSubstr("]  2/4 frames"));
    EXPECT_THAT(get.err, HasSubstr("\rimage 2  [##############################]  4/4 frames\n"));
}

// Each failing command line: its exit code and the sentence after
// "velkport COMMAND: " on standard error.
TEST_F(TransferCommand, FailuresEndWithTheirExitCodeAndSentence) {
    WriteFile(File("tone"), "ABCD");
    WriteFile(File("frame"), std::string(1536, 'F'));
    WriteFile(File("short"), std::string(1000, '0'));
    struct Row {
        const char* refused;  // the command the phone refuses; "hang-up": it hangs up instead
        const char* command;
        std::string args;
        int code;
        std::string says;
    } rows[] = {
        {"AT+RNGI", "tones", "", kExitRefused, "the phone refused AT+RNGI."},
        {"AT+RNGR=", "tone-get", "7", kExitRefused, "the phone refused AT+RNGR= (slot 7)."},
        {"AT+RNGW=", "tone-put", "3 Ring " + File("tone"), kExitRefused,
         "the phone refused AT+RNGW= (slot 3)."},
        {"ATE0", "images", "", kExitRefused,
         "the phone refused AT or ATE0, the two commands that open every operation."},
        {"AT+IMGINF", "image-get", "1", kExitRefused, "the phone refused AT+IMGINF."},
        {"AT+IMGR=", "image-get", "3", kExitRefused, "the phone refused AT+IMGR= (image 3)."},
        {"AT+IMGW=", "image-put", "1 Dot " + File("frame"), kExitRefused,
         "the phone refused AT+IMGW= (image 1)."},
        {"", "image-get", "4", kExitRefused, "the phone lists no image 4: it holds images 1 to 3."},
        {"hang-up", "tone-get", "1", kExitLinkLost, "the link to the phone on "},
        {"", "tone-get", "0", kExitUsage, "a slot is a number from 1 to 255, not \"0\""},
        {"", "tone-get", "", kExitUsage, "an argument is missing"},
        {"", "tone-put", "1 Ring " + File("missing"), kExitUsage, "cannot read " + File("missing")},
        {"", "tone-put", "1 FarTooLongName " + File("short"), kExitUsage,
         "a name has 1 to 10 characters"},
        {"", "image-put", "1 Dot " + File("short"), kExitUsage,
         "the image has 1000 characters, which is no whole number of frames of 1536."},
        {"", "image-get", "x", kExitUsage, "an image number is a number from 1 to 255, not \"x\""},
        {"", "images", "--flow dtr", kExitUsage, "--flow is rtscts or xonxoff"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(std::string(row.command) + " " + row.args);
        phonesim::SimulatorOptions phone;
        if (row.refused == std::string("hang-up")) {
            phone.hangupAfter = 3;
        } else if (*row.refused != '\0') {
            phone.refusals.push_back({row.refused, "ERROR"});
        }
        const Ran ran = Velkport(row.command, Words(row.args), phone);
        EXPECT_EQ(ran.code, row.code);
        EXPECT_THAT(ran.err, HasSubstr("velkport " + std::string(row.command) + ": " + row.says));
    }
    for (const char* command :
         {"tones", "tone-get", "tone-put", "images", "image-get", "image-put"}) {
        const Ran help = Velkport(command, {"--help"});
        EXPECT_EQ(help.code, kExitDone);
        EXPECT_THAT(help.out, HasSubstr(std::string("usage: velkport [LINK OPTIONS] ") + command));
        EXPECT_THAT(help.out, HasSubstr("--device PATH"));
        EXPECT_THAT(help.out, HasSubstr("5 no answer"));
    }
}

TEST_F(TransferCommand, SilentPhoneEndsWithFive) {
    // The library's waits run on this clock, so the three tries of AT
    // take no real time.
    TestTickClock clock{0};
    phonesim::SimulatorOptions silent;
    silent.silent = true;
    auto run = std::async(std::launch::async, [&] { return Velkport("images", {}, silent); });
    while (run.wait_for(std::chrono::milliseconds(2)) != std::future_status::ready) {
        clock.Advance(500);
    }
    const Ran ran = run.get();
    EXPECT_EQ(ran.code, kExitNoAnswer);
    EXPECT_THAT(ran.err, HasSubstr("velkport images: no answer from the phone within 10 s: is "
                                   "it connected and switched on?\n"));
}

}  // namespace
}  // namespace velk::cli
