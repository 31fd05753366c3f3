// The link end to end on a pseudo-terminal, with the fake phone on the other
// side. The test thread plays the worker: the link posts its messages to it.
#include "serial/serial_link.h"

#include <fcntl.h>
#include <grp.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <chrono>
#include <ctime>
#include <future>
#include <string>
#include <thread>

#include "engine/message_numbers.h"
#include "platform/thread_messages.h"
#include "platform/tty_baud.h"
#include "platform/tty_port.h"
#include "serial/port_devices.h"
#include "serial/receive_queue.h"
#include "serial/transmit_path.h"
#include "support/fake_phone.h"
#include "support/process_resources.h"

namespace velk {
namespace {

using namespace std::chrono_literals;
using test::ProcessResources;

constexpr uint8_t kPort = 42;
constexpr uid_t kNobody = 65534;

// Runs `body` in a child process and returns its exit status.
template <typename Body>
int InChild(Body body) {
    const pid_t child = fork();
    if (child == 0) _exit(body());
    int status = -1;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

class LinkOnPty : public ::testing::Test {
  protected:
    void SetUp() override {
        ASSERT_TRUE(phone_.IsOpen());
        ASSERT_EQ(SetPortDevice(kPort, phone_.DevicePath().c_str()), 1);
        worker_ = EnsureThreadQueue();
        Drain();
    }
    void TearDown() override {
        Link().StopLink();
        Drain();
        SetPortDevice(kPort, nullptr);
    }

    static CSerialLink& Link() { return CSerialLink::Instance(); }
    int Start(bool softwareFlow = true, uint32_t baudRate = 115200) {
        return Link().StartLink(worker_, kPort, baudRate, softwareFlow);
    }
    static void Drain() {
        ThreadMessage m;
        while (PeekThreadMessage(m)) {
        }
    }
    // The number of the next message, 0 when none comes in time.
    static uint32_t NextMessage(uint32_t timeoutMs = 2000) {
        ThreadMessage m;
        if (!WaitForThreadMessage(timeoutMs) || !PeekThreadMessage(m)) return 0;
        return m.message;
    }
    static std::string TakeText() {
        std::string text = "<none>";
        TakeLineText(text);
        return text;
    }
    int OpenDevice() {
        TtyFault fault = TtyFault::kNone;
        return OpenTtyPort(phone_.DevicePath().c_str(), fault);
    }

    test::FakePhone phone_;
    ThreadId worker_ = kNoThread;
};

TEST_F(LinkOnPty, SetsTheLineUpAsAsked) {
    const struct {
        uint32_t baudRate;
        bool softwareFlow;
        speed_t code;  // B0 for a rate without a constant
    } rows[] = {
        {115200, true, B115200}, {9600, false, B9600}, {250000, true, B0}, {31250, false, B0}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.baudRate);
        ASSERT_EQ(Start(row.softwareFlow, row.baudRate), 1);
        termios got{};
        ASSERT_TRUE(phone_.LineSettings(got));
        const tcflag_t flow = row.softwareFlow ? 0 : CRTSCTS;
        EXPECT_EQ(got.c_cflag & (CSIZE | PARENB | CSTOPB | CREAD | CLOCAL | HUPCL | CRTSCTS),
                  static_cast<tcflag_t>(CS8 | CREAD | CLOCAL | HUPCL) | flow);
        EXPECT_EQ(got.c_iflag & (IXON | IXOFF), row.softwareFlow ? IXON | IXOFF : 0u);
        EXPECT_EQ(got.c_lflag & (ICANON | ECHO | ISIG), 0u);
        EXPECT_EQ(got.c_oflag & OPOST, 0u);
        EXPECT_EQ(got.c_cc[VMIN], 0);
        EXPECT_EQ(got.c_cc[VTIME], 0);
        if (row.softwareFlow) {
            EXPECT_EQ(got.c_cc[VSTART], 17);
            EXPECT_EQ(got.c_cc[VSTOP], 19);
        }
        if (row.code != B0) {
            EXPECT_EQ(cfgetospeed(&got), row.code);
        } else {
            const int fd = open(phone_.DevicePath().c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC);
            uint32_t rate = 0;
            EXPECT_TRUE(ReadArbitraryBaud(fd, rate));
            EXPECT_EQ(rate, row.baudRate);
            close(fd);
        }
        Link().StopLink();
    }
    EXPECT_EQ(phone_.ReceivedBytes(), "") << "opening the link sends nothing";
}

TEST(LinkStart, AFailedStartLeavesNothingOpen) {
    const struct {
        uint8_t port;
        const char* device;
        TtyFault fault;
    } rows[] = {
        {kPort, "/nonexistent/ttyQ9", TtyFault::kOpenRefused},
        {kPort, "/dev/null", TtyFault::kNotATerminal},
        {0, nullptr, TtyFault::kOpenRefused},
    };
    const ThreadId self = EnsureThreadQueue();
    for (const auto& row : rows) {
        SCOPED_TRACE(row.device != nullptr ? row.device : "port 0");
        if (row.device != nullptr) {
            ASSERT_EQ(SetPortDevice(row.port, row.device), 1);
        }
        const ProcessResources before = ProcessResources::Now();
        EXPECT_EQ(CSerialLink::Instance().StartLink(self, row.port, 115200, true), 0);
        EXPECT_EQ(CSerialLink::Instance().LastStartFault(), row.fault);
        EXPECT_EQ(ProcessResources::Now(), before);
        EXPECT_FALSE(CSerialLink::Instance().IsOpen());
    }
    EXPECT_FALSE(WaitForThreadMessage(0)) << "a failed start posts nothing";
    SetPortDevice(kPort, nullptr);
}

// The link holds the device against every other open, and lets it go on the
// stop. The exclusive mark of a terminal refuses every later open but root's:
// a link that left it set would lock an ordinary user out of the device.
TEST_F(LinkOnPty, TheDeviceIsHeldWhileTheLinkStandsAndFreeAfterIt) {
    const bool root = geteuid() == 0;
    if (root) {
        ASSERT_EQ(chown(phone_.DevicePath().c_str(), kNobody, kNobody), 0);
    }
    ASSERT_EQ(Start(), 1);
    TtyFault fault = TtyFault::kNone;
    EXPECT_EQ(OpenTtyPort(phone_.DevicePath().c_str(), fault), -1);
    EXPECT_EQ(fault, TtyFault::kLocked);
    EXPECT_EQ(InChild([&] { return OpenDevice() < 0 ? 0 : 1; }), 0) << "another process opened it";
    Link().StopLink();
    const int fd = OpenDevice();
    EXPECT_GE(fd, 0) << "the device stays locked after the stop";
    CloseTtyPort(fd);
    if (!root) return;  // only root can hand the device to another user
    const int status = InChild([&] {
        if (setgroups(0, nullptr) != 0 || setgid(kNobody) != 0 || setuid(kNobody) != 0) return 2;
        const int userFd = OpenDevice();
        CloseTtyPort(userFd);
        return userFd < 0 ? 1 : 0;
    });
    EXPECT_EQ(status, 0);
}

TEST_F(LinkOnPty, CommandsGoOutAsTypedAndComeBackInCapitals) {
    ASSERT_EQ(Start(), 1);
    std::string quoted = "at+cpbw=1,\"123\",129,\"Ann\"";
    std::string empty;
    EXPECT_EQ(SendCommand(quoted), 1);
    EXPECT_EQ(SendCommand(empty), 1);
    ASSERT_TRUE(phone_.WaitForLines(2, 2000ms));
    EXPECT_EQ(phone_.ReceivedBytes(), "at+cpbw=1,\"123\",129,\"Ann\"\r\n\r\n");
    EXPECT_EQ(quoted, "AT+CPBW=1,\"123\",129,\"ANN\"");
    EXPECT_EQ(empty, "");
}

TEST_F(LinkOnPty, ResetReceiveForgetsWhatCameBefore) {
    ASSERT_EQ(Start(), 1);
    phone_.Send("OLD\r\nPARTIAL");
    ASSERT_EQ(NextMessage(), AT_MSG_LINE_RECEIVED);
    Link().ResetReceive();
    EXPECT_EQ(HasLine(), 0);
    phone_.Send("NEW\r\n");
    ASSERT_EQ(NextMessage(), AT_MSG_LINE_RECEIVED);
    EXPECT_EQ(TakeText(), "NEW\r\n");
}

// After a line the reader looks for the next one for a moment, then sleeps
// like a reader that never had one.
TEST_F(LinkOnPty, AnIdleLinkUsesNoProcessorTime) {
    ASSERT_EQ(Start(), 1);
    phone_.Send("OK\r\n");
    ASSERT_EQ(NextMessage(), AT_MSG_LINE_RECEIVED);
    Link().ResetReceive();
    const std::clock_t before = std::clock();  // the process's processor time
    std::this_thread::sleep_for(500ms);
    EXPECT_LT(std::clock() - before, CLOCKS_PER_SEC / 20) << "something polls on a quiet line";
}

// A write far larger than any buffer of the line, held by the phone, must
// return (with 0) when the link is asked to stop or the phone hangs up.
class BlockedWrite : public LinkOnPty, public ::testing::WithParamInterface<bool> {
  protected:
    void Write() {
        ASSERT_EQ(Start(GetParam()), 1);
        phone_.BlockWrites();
        write_ = std::async(std::launch::async, [] {
            const std::string bulk(1 << 20, 'x');
            return WritePort(bulk.data(), bulk.size());
        });
        ASSERT_EQ(write_.wait_for(300ms), std::future_status::timeout) << "the write did not block";
    }
    void ExpectWriteEnds() {
        if (write_.wait_for(1000ms) != std::future_status::ready) {
            ADD_FAILURE() << "the write is still held";
            phone_.ResumeWrites();
        }
        EXPECT_EQ(write_.get(), 0);
    }
    std::future<int> write_;
};

TEST_P(BlockedWrite, WakesOnRequestStop) {
    Write();
    Link().RequestStop();
    ExpectWriteEnds();
    EXPECT_EQ(WritePort("AT\r\n", 4), 0) << "a stopped link takes no more writes";
}

TEST_P(BlockedWrite, WakesWhenThePhoneHangsUp) {
    Write();
    phone_.HangUp();
    ExpectWriteEnds();
    EXPECT_EQ(NextMessage(), AT_MSG_LINK_DOWN);
}

INSTANTIATE_TEST_SUITE_P(Flow, BlockedWrite, ::testing::Bool(),
                         [](const ::testing::TestParamInfo<bool>& info) {
                             return info.param ? "XonXoff" : "RtsCts";
                         });

// The reader may wake for input that a ResetReceive flushes before its
// read: finding nothing then must not pass for the end of the line.
TEST_F(LinkOnPty, AReadThatFindsNothingIsNotAHangUp) {
    const int fd = OpenDevice();
    ASSERT_GE(fd, 0);
    ASSERT_EQ(ConfigureTtyPort(fd, 115200, true), TtyFault::kNone);
    char buffer[16];
    EXPECT_EQ(ReadTtyPort(fd, buffer, sizeof buffer), 0);
    phone_.Send("X");
    long count = 0;
    for (int i = 0; i < 2000 && (count = ReadTtyPort(fd, buffer, sizeof buffer)) == 0; ++i) {
        std::this_thread::sleep_for(1ms);
    }
    EXPECT_EQ(count, 1);
    phone_.HangUp();
    EXPECT_EQ(ReadTtyPort(fd, buffer, sizeof buffer), -1);
    CloseTtyPort(fd);
}

TEST_F(LinkOnPty, AHangUpEndsTheLinkAndFreesEverything) {
    ProcessResources before = ProcessResources::Now();
    ASSERT_EQ(Start(), 1);
    phone_.HangUp();
    before.descriptors -= 2;  // the phone's own two sides of the line went with the hang-up
    EXPECT_EQ(NextMessage(), AT_MSG_LINK_DOWN);
    EXPECT_TRUE(test::ResourcesBecome(before, 1000ms));
    EXPECT_FALSE(Link().IsOpen());
    Link().StopLink();
    EXPECT_EQ(NextMessage(100), 0u) << "the fall was reported once already";
}

TEST_F(LinkOnPty, StopLeavesNoThreadAndNoDescriptorAndCanStartAgain) {
    const ProcessResources before = ProcessResources::Now();
    for (int round = 0; round < 2; ++round) {
        SCOPED_TRACE(round);
        ASSERT_EQ(Start(), 1);
        Link().ResetReceive();
        EXPECT_GT(ProcessResources::Now().threads, before.threads);
        Link().StopLink();
        EXPECT_EQ(ProcessResources::Now(), before);
        EXPECT_EQ(NextMessage(), AT_MSG_LINK_DOWN);
        Link().StopLink();
        EXPECT_EQ(NextMessage(100), 0u) << "a second stop posts nothing";
    }
}

}  // namespace
}  // namespace velk
