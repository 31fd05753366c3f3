// The transfer subcommands of `velkport`, run in process against the
// simulated phone, and the parts they stand on.
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <future>
#include <iterator>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "phone_sim/phone_simulator.h"
#include "platform/tick_clock.h"
#include "platform/tty_port.h"
#include "velkport.h"
#include "velkport/cleanup_command.h"
#include "velkport/device_check.h"
#include "velkport/device_holder.h"
#include "velkport/json_fields.h"
#include "velkport/json_text.h"
#include "velkport/progress_bar.h"
#include "velkport/transfer_arguments.h"
#include "velkport/transfer_commands.h"
#include "velkport/transfer_files.h"
#include "velkport/transfer_outcome.h"

namespace velk::cli {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;
namespace fs = std::filesystem;

struct Ran {
    int code;
    std::string out;
    std::string err;
};

// `terminal`: standard output and standard error are terminals.
Ran Velkport(const std::string& command, const std::vector<std::string>& args,
             const phonesim::SimulatorOptions& phone = {}, bool terminal = false) {
    std::istringstream in;
    std::ostringstream out;
    std::ostringstream err;
    const int code =
        RunTransferCommand(command, args, CommandIo{in, out, err, terminal, terminal}, phone);
    return {code, out.str(), err.str()};
}

// The same while the library's waits (and the probe's) run on a test clock
// that moves quickly: a silent phone costs no real time.
Ran VelkportOnTestClock(const std::string& command, const std::vector<std::string>& args,
                        const phonesim::SimulatorOptions& phone) {
    TestTickClock clock{0};
    auto run = std::async(std::launch::async, [&] { return Velkport(command, args, phone); });
    while (run.wait_for(std::chrono::milliseconds(2)) != std::future_status::ready) {
        clock.Advance(500);
    }
    return run.get();
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
        const char* positionals;
        unsigned extras;
        std::string problem;  // empty: accepted
    } rows[] = {
        {"--device /dev/ttyACM0 7 -o f --flow=xonxoff --baud 9600", "SLOT", kExtraOutput, ""},
        {"2 Anim f --param-first 30 --param-last=4", "N NAME FILE", kExtraParams, ""},
        {"--json --no-probe", "", kExtraJson, ""},
        {"", "SLOT", kExtraOutput, "the argument SLOT is missing"},
        {"1", "N NAME FILE", kExtraNone, "the arguments NAME and FILE are missing"},
        {"1 2 3", "SLOT", kExtraOutput, "2 arguments too many: \"2\" \"3\""},
        {"1 -o", "SLOT", kExtraOutput, "-o needs a value"},
        {"1 -o f", "SLOT", kExtraNone, "unknown option \"-o\""},
        {"--json=yes", "", kExtraJson, "--json takes no value"},
        {"--port 0", "", kExtraNone, "--port needs a port number from 1 to 255, not \"0\""},
        {"--port 256", "", kExtraNone, "--port needs a port number from 1 to 255, not \"256\""},
        {"--baud fast", "", kExtraNone, "--baud needs a rate in bits per second, not \"fast\""},
        {"--flow none", "", kExtraNone, "--flow is rtscts or xonxoff, not \"none\""},
        {"--simulate=yes", "", kExtraNone, "--simulate takes no value"},
        {"--device d --port 1", "", kExtraNone, "give either --device or --port, not both"},
        {"--simulate --port 1", "", kExtraNone,
         "--simulate talks to the built-in phone: it takes no --device or --port"},
        {"--slots 0", "", kExtraSlots, "--slots needs a number from 1 to 255, not \"0\""},
        {"1 --param-last 300", "N", kExtraParams,
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
    const auto parsed = ParseTransferArgs(Words("--device /dev/x 7 -o f --flow=xonxoff --no-probe"),
                                          "SLOT", kExtraOutput, problem);
    ASSERT_TRUE(parsed);
    EXPECT_EQ(parsed->link.device, "/dev/x");
    EXPECT_EQ(parsed->link.flow, FlowControl::kXonXoff);
    EXPECT_EQ(parsed->link.baud, 115200u);
    EXPECT_FALSE(parsed->link.probe);
    EXPECT_FALSE(parsed->link.UsesSimulator());
    EXPECT_EQ(parsed->positionals, std::vector<std::string>{"7"});
    EXPECT_EQ(parsed->output, "f");
}

TEST(DeviceCheck, EachFaultIsASentenceThatNamesTheDeviceAndTheWayOut) {
    const DeviceHolder modemManager{812, "ModemManager"};
    const DeviceHolder velkport{4242, "velkport"};
    struct Row {
        TtyFault fault;
        int error;
        std::optional<DeviceHolder> holder;
        std::string says;  // the sentence from its start, or a part of it
    } rows[] = {
        {TtyFault::kOpenRefused, ENOENT, {}, "the device /dev/ttyACM0 does not exist"},
        {TtyFault::kOpenRefused, EACCES, {}, "no permission to open /dev/ttyACM0: add yourself"},
        {TtyFault::kOpenRefused, EBUSY, velkport,
         "the device /dev/ttyACM0 is in use by velkport (process 4242)"},
        {TtyFault::kLocked, EWOULDBLOCK, modemManager,
         "the device /dev/ttyACM0 is in use by ModemManager (process 812), which probes"},
        {TtyFault::kLocked,
         EWOULDBLOCK,
         {},
         "the device /dev/ttyACM0 is in use by another program"},
        {TtyFault::kNotATerminal, 0, {}, "the device /dev/ttyACM0 is no serial port"},
        {TtyFault::kRateRefused, EINVAL, {}, "/dev/ttyACM0 refused the rate of 115200 baud"},
    };
    for (const Row& row : rows) {
        const std::string sentence =
            DeviceFaultSentence("/dev/ttyACM0", row.fault, row.error, 115200, row.holder);
        EXPECT_THAT(sentence, HasSubstr(row.says));
        // ModemManager is named only when it is the holder.
        EXPECT_EQ(sentence.find("ModemManager") != std::string::npos,
                  row.holder && row.holder->command == "ModemManager")
            << sentence;
    }
}

TEST(DeviceCheck, TheHolderIsTheProcessWhoseLockIsOnTheDevice) {
    // Device 0:25 (hexadecimal 00:19), inode 5.
    std::istringstream locks(
        "1: POSIX  ADVISORY  WRITE 900 08:01:5 0 EOF\n"
        "2: FLOCK  ADVISORY  WRITE 4242 00:19:5 0 EOF\n"
        "2: -> FLOCK  ADVISORY  WRITE 4243 00:19:5 0 EOF\n");
    EXPECT_EQ(LockHolderPid(locks, FileIdentity{0, 0x19, 5}), 4242);
    std::istringstream waiting("2: -> FLOCK  ADVISORY  WRITE 4243 00:19:5 0 EOF\n");
    EXPECT_EQ(LockHolderPid(waiting, FileIdentity{0, 0x19, 5}), std::nullopt);
}

TEST(DeviceCheck, OpensTheRealDeviceAsksItAtAndLetsItGo) {
    InterruptPipe interrupt;
    EXPECT_THAT(
        CheckDevice("/dev/null", 115200, false, true, interrupt).value_or(DeviceProblem{}).sentence,
        HasSubstr("is no serial port"));
    phonesim::PhoneSimulator phone;
    ASSERT_TRUE(phone.Start({}));
    const std::string device = phone.DevicePath();
    EXPECT_EQ(CheckDevice(device, 115200, false, true, interrupt), std::nullopt);
    EXPECT_EQ(CheckDevice(device, 115200, false, true, interrupt), std::nullopt) << "let go";
    EXPECT_EQ(phone.CommandCount(), 2u) << "one AT each time";
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
        {NameProblem(""), "1 to 10 bytes"},
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

TEST(JsonText, APhonesBytesStayValidJson) {
    EXPECT_EQ(JsonString("a\"b\\\x01\xe9"), "\"a\\\"b\\\\\\u0001\\u00e9\"");
}

TEST(ProgressBar, LineShowsTheFramesDoneOfAll) {
    EXPECT_EQ(ProgressLine("image 2", 1, 3, 6), "image 2  [##----]  1/3 frames");
    EXPECT_EQ(ProgressLine("image 2", 5, 3, 6), "image 2  [######]  3/3 frames");
    EXPECT_EQ(ProgressLine("image 9", 0, 0, 4), "image 9  [####]  0/0 frames");
}

OperationEnd End(OperationEnd::Kind kind, uint32_t message = 0, bool linkLost = false,
                 unsigned progress = 0, LibraryFailure failure = {}) {
    return {kind, message, linkLost, progress, std::move(failure)};
}

// The ends no whole run below meets (the refusals and the silent phone are
// run there), and what a write that ends so leaves on the phone.
TEST(TransferOutcome, EndsHaveTheirExitCodeAndSentence) {
    using Kind = OperationEnd::Kind;
    const LibraryFailure cme22{true, 22, "+CME ERROR: 22"};
    struct Row {
        OperationEnd end;
        int code;
        std::string sentence;
        std::string broken;  // of a write of image 2 with 42 frames
    } rows[] = {
        {End(Kind::kFinal, VELK_MSG_TIMED_OUT, true, 3), kExitLinkLost,
         "the link to the phone on /dev/ttyUSB0 was lost: was the cable pulled or the phone "
         "switched off?",
         "the write of image 2 stopped after at least 3 of 42 frames had gone out: the phone's "
         "image 2 is now incomplete; write it again"},
        {End(Kind::kNotTaken), kExitLinkLost,
         "the link to the phone on /dev/ttyUSB0 is gone: the library took no more requests", ""},
        {End(Kind::kInterrupted, 0, false, 9), kExitInterrupted,
         "interrupted: the running operation was cancelled and the link closed",
         "the write of image 2 stopped after at least 9 of 42 frames had gone out: the phone's "
         "image 2 is now incomplete; write it again"},
        {End(Kind::kFinal, VELK_MSG_ANIM_WRITE_REFUSED, false, 0, cme22), kExitRefused,
         "the phone refused AT+IMGW= (image 2) with \"+CME ERROR: 22\"",
         "the write of image 2 stopped before its first frame was known to have gone out: the "
         "phone's image 2 may now be incomplete; write it again"},
        {End(Kind::kFinal, VELK_MSG_ANIM_INFO_REFUSED, false, 0, cme22), kExitRefused,
         "the phone refused AT+IMGINF with \"+CME ERROR: 22\"", ""},
        {End(Kind::kFinal, VELK_MSG_ANIM_WRITTEN), kExitDone, "", ""},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.sentence);
        const Outcome outcome =
            DescribeEnd(row.end, {"image 2", "writing image 2"}, "/dev/ttyUSB0");
        EXPECT_EQ(outcome.exitCode, row.code);
        EXPECT_EQ(outcome.sentence, row.sentence);
        EXPECT_EQ(BrokenWriteSentence(row.end, "image 2", 42), row.broken);
    }
}

// --- Whole runs on the built-in phone.

TEST_F(TransferCommand, ListsTonesAndImagesAsReadableTables) {
    const Ran tones = Velkport("tones", {"--slots", "4"}, stored);
    EXPECT_EQ(tones.code, kExitDone) << tones.err;
    EXPECT_EQ(tones.out,
              "Ring tones \"Tones\": value 1 = 3, value 2 = 10, value 3 = 253\n"
              "slot  name        characters\n"
              "   1  Bells              340\n"
              "   2  Chime              132\n"
              "   3  Alarm              116\n"
              "   4  -\n");
    EXPECT_THAT(tones.err, HasSubstr("talking to the simulated phone built into this program"));

    const Ran images = Velkport("images", {"--simulate"});
    EXPECT_EQ(images.code, kExitDone) << images.err;
    EXPECT_EQ(images.out,
              "Images \"Images\": value 1 = 3, value 2 = 6, value 3 = 250, value 4 = 96, "
              "value 5 = 64\n"
              "image  frames  first frame\n"
              "    1       1            1\n"
              "    2       3           51\n"
              "    3       2          101\n");
    EXPECT_EQ(images.err, "") << "--simulate asks for the built-in phone: no note";

    // The same for scripts.
    EXPECT_EQ(Velkport("tones", {"--simulate", "--json", "--slots", "4"}, stored).out,
              "{\"name\":\"Tones\",\"values\":[3,10,253],\"slots\":[{\"slot\":1,\"name\":"
              "\"Bells\",\"characters\":340},{\"slot\":2,\"name\":\"Chime\",\"characters\":"
              "132},{\"slot\":3,\"name\":\"Alarm\",\"characters\":116},{\"slot\":4,"
              "\"refused\":true}]}\n");
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
    EXPECT_EQ(Velkport("tone-get", {"3"}, stored, true).out, "4D54686400000006\n")
        << "a terminal's prompt goes on a line of its own";

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
                                   "frame 51 (written with --param-first 25 --param-last 7), "
                                   "saved to " +
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
    const std::string dirName = dir.string();
    struct Row {
        // The command the phone refuses; "hang-up": it hangs up instead;
        // "silent": it answers nothing, so a run that asks it anything at
        // all ends in no answer.
        const char* phone;
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
        {"silent", "tone-get", "0", kExitUsage, "a slot is a number from 1 to 255, not \"0\""},
        {"silent", "image-get", "1 -o " + dirName, kExitFailure,
         dirName + " is a directory, not a file."},
        {"silent", "tone-put", "1 Ring " + File("missing"), kExitUsage,
         "cannot read " + File("missing")},
        {"silent", "image-put", "1 Dot " + File("short"), kExitUsage,
         "the image has 1000 characters, which is no whole number of frames of 1536."},
        {"silent", "image-get", "x", kExitUsage,
         "an image number is a number from 1 to 255, not \"x\""},
        {"silent", "images", "--flow dtr", kExitUsage, "--flow is rtscts or xonxoff"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(std::string(row.command) + " " + row.args);
        phonesim::SimulatorOptions phone;
        if (row.phone == std::string("hang-up")) {
            phone.hangupAfter = 3;
        } else if (row.phone == std::string("silent")) {
            phone.silent = true;
        } else if (*row.phone != '\0') {
            phone.refusals.push_back({row.phone, "ERROR"});
        }
        const Ran ran = Velkport(row.command, Words(row.args), phone);
        EXPECT_EQ(ran.code, row.code);
        EXPECT_THAT(ran.err, HasSubstr("velkport " + std::string(row.command) + ": " + row.says));
    }
    for (const char* command :
         {"tones", "tone-get", "tone-put", "images", "image-get", "image-put", "at", "status",
          "watch", "messages", "message-get", "message-delete", "message-send"}) {
        const Ran help = Velkport(command, {"--help"});
        EXPECT_EQ(help.code, kExitDone);
        EXPECT_THAT(help.out, HasSubstr(std::string("usage: velkport [LINK OPTIONS] ") + command));
        EXPECT_THAT(help.out, HasSubstr("--device PATH"));
        EXPECT_THAT(help.out, HasSubstr("5 no answer"));
    }
}

TEST_F(TransferCommand, ReadsLeaveNoFileBehindWhenTheyFail) {
    phonesim::SimulatorOptions refusing;
    refusing.refusals.push_back({"AT+RNGR=", "ERROR"});
    WriteFile(File("kept"), "old");
    EXPECT_EQ(Velkport("tone-get", {"1", "-o", File("kept")}, refusing).code, kExitRefused);
    EXPECT_EQ(ReadFile(File("kept")), "old") << "an existing file keeps what it held";
    EXPECT_EQ(Velkport("tone-get", {"1", "-o", File("new")}, refusing).code, kExitRefused);
    EXPECT_FALSE(fs::exists(File("new"))) << "the file made for the check is gone again";
}

// A phone that never answers: the probe's AT tells it in 3 s; without the
// probe the library's own three tries of 10 s end in its time-out.
TEST_F(TransferCommand, SilentPhoneEndsWithFive) {
    phonesim::SimulatorOptions silent;
    silent.silent = true;
    struct Row {
        std::vector<std::string> args;
        std::string says;
    } rows[] = {
        {{}, "within 3 s: is the phone connected, switched on, and is this its port?\n"},
        {{"--no-probe"},
         "velkport images: the phone stopped answering (nothing for 10 s) while reading the "
         "image information.\n"},
    };
    for (const Row& row : rows) {
        const Ran ran = VelkportOnTestClock("images", row.args, silent);
        EXPECT_EQ(ran.code, kExitNoAnswer);
        EXPECT_THAT(ran.err, HasSubstr(row.says));
    }
}

// --- The catalogue commands, the status and the notices.

// The reader of the library's JSON: whole objects only, however the text is
// cut, and the phone's bytes back from their escapes.
TEST(JsonFields, ReadsWholeObjectsAndTheirBytes) {
    struct Row {
        std::string array;
        std::size_t objects;
        std::string firstText;  // the bytes of "text" in the first object
    } rows[] = {
        {R"([{"a":[1,{"b":"}"}],"text":"x\"y"},{"text":1}])", 2, "x\"y"},
        {R"([{"text":"\u00e9\r\n"},{"text":"cut)", 1, "\xe9\r\n"},
        {R"([{"text":"\u00e)", 0, ""},
        {R"([{"text":[1,2})", 0, ""},
        {"", 0, ""},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.array);
        const std::vector<std::string_view> objects = JsonObjects(row.array);
        ASSERT_EQ(objects.size(), row.objects);
        if (!objects.empty()) {
            EXPECT_EQ(JsonBytes(JsonField(objects[0], "text")), row.firstText);
        }
    }
}

TEST_F(TransferCommand, AtPrintsTheResultArrayAndEndsAsThePhoneDid) {
    phonesim::SimulatorOptions silent;
    silent.silent = true;
    struct Row {
        std::vector<std::string> args;
        const phonesim::SimulatorOptions& phone;
        int code;
        std::string out;  // a part of standard output
        std::string err;  // a part of standard error
    } rows[] = {
        {{"AT+CSQ"}, stored, kExitDone, "[{\"command\":0,\"resultId\":9,", ""},
        // A silent phone would end in exit 5 had the device been opened.
        {{"AT+CSQ", "AT+NOSUCH"},
         silent,
         kExitUsage,
         "",
         "velkport at: AT+NOSUCH fits no command of the catalogue.\n"},
        {{"AT+CSQ", "AT+CPBR=999"},
         stored,
         kExitRefused,
         "{\"command\":1,\"resultId\":3,\"form\":\"ResultError\",\"message\":\"21\"}]\n",
         "velkport at: the phone refused AT+CPBR=999 with \"+CME ERROR: 21\".\n"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.args.back());
        const Ran ran = Velkport("at", row.args, row.phone);
        EXPECT_EQ(ran.code, row.code) << ran.err;
        EXPECT_THAT(ran.out, HasSubstr(row.out));
        EXPECT_THAT(ran.err, HasSubstr(row.err));
    }
}

TEST_F(TransferCommand, StatusHasEachKeyWithThePhonesValues) {
    const Ran ran = Velkport("status", {"--simulate", "--json"}, stored);
    EXPECT_EQ(ran.code, kExitDone) << ran.err;
    EXPECT_EQ(ran.out,
              "{\"manufacturer\":\"Velkport\",\"model\":\"VP-1 phone simulator\","
              "\"revision\":\"1.0.0\",\"imei\":\"350000000000017\",\"imsi\":"
              "\"001010123456789\",\"signal\":24,\"signal_dbm\":-65,\"battery\":85,"
              "\"registration\":\"home\",\"operator\":\"00101\"}\n");
    // A phone without AT+CBC: the commands after it are still asked.
    phonesim::SimulatorOptions noBattery;
    noBattery.refusals.push_back({"AT+CBC", "ERROR"});
    const Ran text = Velkport("status", {"--simulate"}, noBattery);
    EXPECT_EQ(text.code, kExitDone) << text.err;
    EXPECT_THAT(text.out, HasSubstr("signal: 24 (-65 dBm)\nregistration: home\n"));
    EXPECT_THAT(text.out, Not(HasSubstr("battery")));
    EXPECT_THAT(text.err, HasSubstr("velkport status: the phone refused AT+CBC with \"ERROR\".\n"));
}

TEST_F(TransferCommand, WatchPrintsNoticesUntilCtrlC) {
    phonesim::SimulatorOptions notifying;
    notifying.notify = true;
    notifying.notifyEvery = std::chrono::milliseconds(100);
    for (const bool json : {false, true}) {
        std::vector<std::string> args{"--simulate"};
        if (json) args.emplace_back("--json");
        auto run =
            std::async(std::launch::async, [&] { return Velkport("watch", args, notifying); });
        std::this_thread::sleep_for(std::chrono::milliseconds(1500));
        kill(getpid(), SIGINT);
        const Ran ran = run.get();
        EXPECT_EQ(ran.code, kExitInterrupted);
        EXPECT_THAT(ran.out, HasSubstr(json ? "{\"resultId\":75,\"form\":\"ReportRegistration\","
                                              "\"state\":1,\"cell\":0}\n"
                                            : "ReportRegistration: state=1 cell=0\n"));
        EXPECT_EQ(ran.err, "velkport watch: interrupted: the link closed.\n");
    }
}

// `velkport cleanup` on a directory of its own: what a process holds open
// stays, what nobody holds goes, and nothing that is not the library's.
TEST_F(TransferCommand, CleanupRemovesWhatNoProcessHolds) {
    fs::create_directory(dir / "shm");
    for (const char* name : {"ATNEXUM_PB_FILEMAPPING", "SWMRGMutexNoWriterATSPY", "other"}) {
        WriteFile(dir / "shm" / name, "x");
    }
    std::ifstream held(dir / "shm" / "SWMRGMutexNoWriterATSPY");
    std::istringstream in;
    std::ostringstream out;
    std::ostringstream err;
    EXPECT_EQ(CleanupSharedObjects((dir / "shm").string(), {in, out, err}), kExitDone);
    const std::string shm = (dir / "shm").string();
    EXPECT_EQ(out.str(), "removed " + shm + "/ATNEXUM_PB_FILEMAPPING\nleft " + shm +
                             "/SWMRGMutexNoWriterATSPY: test_tools (process " +
                             std::to_string(getpid()) + ") has it open\n");
    EXPECT_FALSE(fs::exists(dir / "shm" / "ATNEXUM_PB_FILEMAPPING"));
    EXPECT_TRUE(fs::exists(dir / "shm" / "other"));
}

}  // namespace
}  // namespace velk::cli
