// The life of a link on a real device: the start on a good and a bad device,
// the close-down that leaves nothing behind, a phone that hangs up, a write
// that flow control holds for ever, and the device shared with another
// process and with an ordinary user.
//
// The other process is this test program again, started with a filter that
// runs only ChildProcess.DISABLED_Role, which reads its role from the
// environment and ends with an exit code that the parent checks.
#include <dirent.h>
#include <fcntl.h>
#include <grp.h>
#include <poll.h>
#include <pwd.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <future>
#include <iterator>
#include <sstream>

#include "e2e_link.h"
#include "support/process_resources.h"

extern char** environ;

namespace velk::test {
namespace {

constexpr char kRoleVariable[] = "VELK_E2E_ROLE";
constexpr char kDeviceVariable[] = "VELK_E2E_DEVICE";
constexpr char kUserVariable[] = "VELK_E2E_USER";

// What the child reports when a step of its role went wrong; 0 and 1 are
// the answers of a probe.
enum ChildExit {
    kChildDone = 0,
    kChildBadRole = 30,
    kChildNoUser = 31,
    kChildCannotDrop = 32,
    kChildNoPipe = 33,
};

// Runs this program as a child in `role` on `device`, as `user` when one is
// named; its exit code, or -1 when it did not exit normally.
int RunChild(const char* role, const std::string& device, const char* user = nullptr) {
    std::vector<std::string> variables;
    for (char** entry = environ; *entry != nullptr; ++entry) variables.emplace_back(*entry);
    variables.push_back(std::string(kRoleVariable) + "=" + role);
    variables.push_back(std::string(kDeviceVariable) + "=" + device);
    if (user != nullptr) variables.push_back(std::string(kUserVariable) + "=" + user);
    std::vector<char*> envp;
    envp.reserve(variables.size() + 1);
    for (std::string& v : variables) envp.push_back(v.data());
    envp.push_back(nullptr);
    char program[] = "/proc/self/exe";
    char filter[] = "--gtest_filter=ChildProcess.DISABLED_Role";
    char alsoDisabled[] = "--gtest_also_run_disabled_tests";
    char* argv[] = {program, filter, alsoDisabled, nullptr};

    const pid_t pid = fork();
    if (pid == 0) {
        const int quiet = open("/dev/null", O_WRONLY);
        if (quiet >= 0) dup2(quiet, STDOUT_FILENO);
        execve(program, argv, envp.data());
        _exit(127);
    }
    if (pid < 0) return -1;
    int status = 0;
    while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

// Threads of this process that run one nice step below the calling one.
std::size_t ThreadsOneStepLower() {
    const int own = getpriority(PRIO_PROCESS, static_cast<id_t>(gettid()));
    std::size_t count = 0;
    DIR* tasks = opendir("/proc/self/task");
    if (tasks == nullptr) return 0;
    while (const dirent* task = readdir(tasks)) {
        if (task->d_name[0] == '.') continue;
        std::ifstream stat(std::string("/proc/self/task/") + task->d_name + "/stat");
        std::string text((std::istreambuf_iterator<char>(stat)), std::istreambuf_iterator<char>());
        // After the name in brackets: state, then 15 more fields, then nice.
        std::istringstream fields(text.substr(text.rfind(')') + 1));
        std::string field;
        for (int i = 0; i < 17 && fields >> field; ++i) {
        }
        if (!field.empty() && std::stoi(field) == own + 1) ++count;
    }
    closedir(tasks);
    return count;
}

bool IsRoot() {
    return geteuid() == 0;
}

// ---- the child's side --------------------------------------------------

// The child's window: a pipe of its own.
struct ChildWindow {
    int readFd = -1;
    int writeFd = -1;
};

// The next window message of the child's window, 0 when none came in time.
uint32_t ChildNextMessage(const ChildWindow& window) {
    pollfd entry{window.readFd, POLLIN, 0};
    if (poll(&entry, 1, 5000) != 1) return 0;
    VelkWindowMessage message{};
    return read(window.readFd, &message, sizeof message) == sizeof message ? message.message : 0;
}

// Opens a link as an ordinary user: an operation, a close and a new start
// on the same device, then a cancel, whose restart opens it once more.
int RunSession(const ChildWindow& window) {
    if (velk_BeginThread(window.writeFd, kPhonePort, kPhoneBaud, kXonXoff) != 1) return 10;
    if (velk_ReadMidInfo() != 1) return 11;
    if (ChildNextMessage(window) != VELK_MSG_MID_INFO_READ) return 12;
    MidInfoRecord* info = nullptr;
    if (velk_GetMidInfo(&info) != 1 || std::strcmp(info->name, "Melodies") != 0) return 13;
    velk_EndThread();
    if (velk_BeginThread(window.writeFd, kPhonePort, kPhoneBaud, kXonXoff) != 1) return 14;
    uint8_t body[] = "held";
    if (velk_WriteMid(MidRecord{9, 4, {'H', 'o', 'l', 'd'}, 4, body}) != 1) return 15;
    if (velk_CancelCurrentAction() != 1) return 16;
    if (velk_ReadMidInfo() != 1) return 17;
    if (ChildNextMessage(window) != VELK_MSG_MID_INFO_READ) return 18;
    velk_EndThread();
    return kChildDone;
}

// The role that the environment names, on its device, as its user.
int RunRole() {
    const std::string role = std::getenv(kRoleVariable);
    const char* device = std::getenv(kDeviceVariable);
    const char* user = std::getenv(kUserVariable);
    if (user != nullptr) {
        const passwd* account = getpwnam(user);
        if (account == nullptr) return kChildNoUser;
        if (setgroups(0, nullptr) != 0 || setgid(account->pw_gid) != 0 ||
            setuid(account->pw_uid) != 0 || geteuid() == 0) {
            return kChildCannotDrop;
        }
    }
    int fds[2];
    if (pipe2(fds, O_CLOEXEC) != 0) return kChildNoPipe;
    const ChildWindow window{fds[0], fds[1]};
    velk_SetPortDevice(kPhonePort, device);
    if (role == "probe") {
        const int32_t started = velk_BeginThread(window.writeFd, kPhonePort, kPhoneBaud, kXonXoff);
        velk_EndThread();
        return started;
    }
    if (role == "session") return RunSession(window);
    return kChildBadRole;
}

// Not a test of its own: the body of the child processes started above.
TEST(ChildProcess, DISABLED_Role) {
    if (std::getenv(kRoleVariable) == nullptr || std::getenv(kDeviceVariable) == nullptr) {
        GTEST_SKIP() << "runs only as a child";
    }
    _exit(RunRole());
}

// ---- the tests -----------------------------------------------------------

using LinkLifecycleTest = PhoneLinkTest;

struct BadDevice {
    const char* what;
    const char* path;
};

const BadDevice kBadDevices[] = {
    {"missing device", "/dev/velkport-no-such-device"},
    {"no terminal", "/dev/null"},
};

TEST_F(LinkLifecycleTest, BadDeviceRefusesTheStartAndLeavesNothingThenAGoodOneStarts) {
    for (const BadDevice& bad : kBadDevices) {
        SCOPED_TRACE(bad.what);
        const ProcessResources before = ProcessResources::Now();
        ASSERT_EQ(velk_SetPortDevice(kPhonePort, bad.path), 1);
        EXPECT_EQ(Begin(), 0);
        EXPECT_EQ(ProcessResources::Now(), before) << "the failed start returns with all ended";
        EXPECT_EQ(velk_ReadMidInfo(), 0);
    }
    ASSERT_EQ(velk_SetPortDevice(kPhonePort, phone.DevicePath().c_str()), 1);
    ASSERT_EQ(Begin(), 1);
    ASSERT_EQ(velk_ReadMidInfo(), 1);
    EXPECT_EQ(window.UntilFinal(), Messages{VELK_MSG_MID_INFO_READ});
}

TEST_F(LinkLifecycleTest, StartSendsNothingAndTheEndLeavesNoThreadNorDescriptor) {
    const ProcessResources before = ProcessResources::Now();
    ASSERT_EQ(Begin(), 1);
    EXPECT_TRUE(window.Quiet(50));
    EXPECT_EQ(phone.ReceivedBytes(), "");
    EXPECT_GE(ThreadsOneStepLower(), 3u) << "transfer thread, worker and serial reader";

    ASSERT_EQ(velk_ReadMidInfo(), 1);
    EXPECT_EQ(window.UntilFinal(), Messages{VELK_MSG_MID_INFO_READ});
    EXPECT_EQ(velk_EndThread(), 1);
    EXPECT_TRUE(ResourcesBecome(before, std::chrono::seconds(1)))
        << "before: " << ::testing::PrintToString(before)
        << ", now: " << ::testing::PrintToString(ProcessResources::Now());
    EXPECT_EQ(velk_EndThread(), 1) << "a second end does nothing";
}

struct LineCase {
    uint32_t baudRate;
    int32_t softwareFlow;
    speed_t speed;  // as the line reports it; 0: an arbitrary rate
};

const LineCase kLines[] = {
    {9600, 1, B9600},
    {115200, 0, B115200},
    {250000, 1, 0},
};

// The line as the phone's side of the pseudo-terminal sees it while the
// link stands: raw 8N1 at the rate asked for, with the flow control chosen.
TEST_F(LinkLifecycleTest, LineIsSetUpAsAskedAndServesAnOperation) {
    for (const LineCase& c : kLines) {
        SCOPED_TRACE(c.baudRate);
        ASSERT_EQ(velk_BeginThread(window.WriteEnd(), kPhonePort, c.baudRate, c.softwareFlow), 1);
        termios line{};
        ASSERT_TRUE(phone.LineSettings(line));
        EXPECT_EQ(line.c_cflag & (CSIZE | PARENB | CSTOPB), static_cast<tcflag_t>(CS8));
        EXPECT_EQ(line.c_lflag & (ICANON | ECHO | ISIG), 0u);
        EXPECT_EQ((line.c_iflag & (IXON | IXOFF)) != 0, c.softwareFlow != 0);
        EXPECT_EQ((line.c_cflag & CRTSCTS) != 0, c.softwareFlow == 0);
        if (c.speed != 0) {
            EXPECT_EQ(cfgetospeed(&line), c.speed);
        }
        ASSERT_TRUE(Request(velk_ReadMidInfo));
        EXPECT_EQ(window.UntilFinal(), Messages{VELK_MSG_MID_INFO_READ});
        EXPECT_EQ(velk_EndThread(), 1);
    }
}

struct HangUpCase {
    const char* what;
    bool writeHeld;  // the worker is blocked in a write when the line goes
    bool endFirst;   // the application ends the fallen link before a new start
};

const HangUpCase kHangUps[] = {
    {"hang-up on a command, end, start", false, true},
    {"hang-up on a command, start at once", false, false},
    {"hang-up under a held write, end, start", true, true},
};

// The phone goes away in the middle of an operation: the operation ends
// with a time-out, the exports find no link, and a new start builds a new
// link, whether or not the application ended the fallen one first.
TEST_F(LinkLifecycleTest, PhoneHangingUpEndsTheOperationAndTheLink) {
    for (const HangUpCase& c : kHangUps) {
        SCOPED_TRACE(c.what);
        FakePhone dying;
        model.Attach(dying);
        dying.AddRule({"AT+RNGI", false, PhoneAction::kHangUp, {}, 0});
        ASSERT_EQ(velk_SetPortDevice(kPhonePort, dying.DevicePath().c_str()), 1);
        ASSERT_EQ(Begin(), 1);

        if (c.writeHeld) dying.BlockWrites();
        ASSERT_EQ(velk_ReadMidInfo(), 1);
        if (c.writeHeld) {
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
            dying.HangUp();
        }
        EXPECT_EQ(window.UntilFinal(), Messages{VELK_MSG_TIMED_OUT});
        EXPECT_TRUE(window.Quiet(20));
        EXPECT_EQ(velk_ReadMidInfo(), 0);
        MidInfoRecord* info = nullptr;
        EXPECT_EQ(velk_GetMidInfo(&info), 0);
        if (c.endFirst) {
            int32_t ended = 0;
            EXPECT_LT(MillisecondsOf([&] { ended = velk_EndThread(); }), 1000);
            EXPECT_EQ(ended, 1);
        }

        ASSERT_EQ(velk_SetPortDevice(kPhonePort, phone.DevicePath().c_str()), 1);
        ASSERT_EQ(Begin(), 1);
        ASSERT_TRUE(Request(velk_ReadMidInfo));
        EXPECT_EQ(window.UntilFinal(), Messages{VELK_MSG_MID_INFO_READ});
        EXPECT_EQ(velk_EndThread(), 1);
    }
}

// XON/XOFF: the phone sends XOFF and stops reading, so the worker's write
// of the next command can never finish.
TEST_F(LinkLifecycleTest, WriteHeldByFlowControlLetsCancelAndEndReturnAtOnce) {
    // A call that does not return in time fails the test; the phone then
    // lets the write go, so that the call and the test can end.
    const auto returnsAtOnce = [&](int32_t (*call)()) {
        auto result = std::async(std::launch::async, call);
        if (result.wait_for(std::chrono::seconds(1)) == std::future_status::ready) {
            return result.get() == 1;
        }
        ADD_FAILURE() << "still held after a second";
        phone.ResumeWrites();
        return result.get() == 1;
    };
    ASSERT_EQ(Begin(kXonXoff), 1);
    phone.BlockWrites();
    ASSERT_EQ(velk_ReadMidInfo(), 1);
    // Give the worker the moment it needs to reach the write.
    std::this_thread::sleep_for(std::chrono::milliseconds(50));

    EXPECT_TRUE(returnsAtOnce(velk_CancelCurrentAction));
    EXPECT_TRUE(window.Quiet(50)) << "no message follows a cancel";

    // The rebuilt link meets the same held line.
    ASSERT_EQ(velk_ReadMidInfo(), 1);
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_TRUE(returnsAtOnce(velk_EndThread));
    EXPECT_EQ(phone.ReceivedLines(), Lines{});
    phone.ResumeWrites();
}

// Every call from several threads at once: requests and fetches on one,
// cancels, ends and new starts on another, the window read on a third. Nothing
// may hang or race, and a link started afterwards works as ever.
TEST_F(LinkLifecycleTest, CallsFromSeveralThreadsAtOnceLeaveAWorkingLibrary) {
    model.AddImage(2, 10);
    model.SetFrame(10, "6040" + Pattern(1536, 1));
    model.SetFrame(11, "6040" + Pattern(1536, 2));
    model.SetTone(3, {"Tone", Pattern(300, 3)});
    ASSERT_EQ(Begin(), 1);
    std::atomic<bool> stop{false};
    std::thread reader([&] {
        while (!stop) window.Next(5);
    });
    std::thread requests([&] {
        std::string frames = Pattern(std::size_t{2} * 1536, 4);
        std::string tone = "abcdef";
        while (!stop) {
            velk_ReadMidInfo();
            velk_ReadMid(3);
            velk_ReadAnim(1);
            velk_WriteAnim(
                AnimRecord{1, 1, {'A'}, 3072, reinterpret_cast<uint8_t*>(frames.data()), 1, 2});
            velk_WriteMid(MidRecord{3, 1, {'B'}, 6, reinterpret_cast<uint8_t*>(tone.data())});
            MidInfoRecord* midInfo;
            MidRecord* mid;
            AnimInfoRecord* animInfo;
            AnimRecord* anim;
            velk_GetMidInfo(&midInfo);
            velk_GetMidData(&mid);
            velk_GetAnimInfo(&animInfo);
            velk_GetAnimData(&anim);
        }
    });
    for (int i = 0; i < 30; ++i) {
        velk_CancelCurrentAction();
        std::this_thread::sleep_for(std::chrono::milliseconds(3));
        if (i % 7 == 0) {
            velk_EndThread();
            Begin();
        }
    }
    stop = true;
    requests.join();
    reader.join();

    EXPECT_EQ(velk_EndThread(), 1);
    WindowReader freshWindow;  // nothing left over from the storm
    ASSERT_EQ(velk_BeginThread(freshWindow.WriteEnd(), kPhonePort, kPhoneBaud, kXonXoff), 1);
    ASSERT_EQ(velk_ReadMidInfo(), 1);
    EXPECT_EQ(freshWindow.UntilFinal(), Messages{VELK_MSG_MID_INFO_READ});
}

// The application stops reading its window: the messages are dropped, the
// process gets no SIGPIPE, and the operations go on.
TEST_F(LinkLifecycleTest, WindowWithoutReaderDropsMessagesAndTheLinkGoesOn) {
    ASSERT_EQ(Begin(), 1);
    window.CloseReadEnd();
    ASSERT_EQ(velk_ReadMidInfo(), 1);
    ASSERT_TRUE(phone.WaitForLines(3, std::chrono::seconds(3)));
    ASSERT_TRUE(Request(velk_ReadMidInfo)) << "the first operation ended";
    ASSERT_TRUE(phone.WaitForLines(6, std::chrono::seconds(3)));
    EXPECT_EQ(phone.ReceivedLines(), (Lines{"AT", "ATE0", "AT+RNGI", "AT", "ATE0", "AT+RNGI"}));
    MidInfoRecord* info = nullptr;
    EXPECT_TRUE(Eventually([&] { return velk_GetMidInfo(&info) == 1; }));
}

// The application's window is full: the final message waits for room (no
// message is lost), and an end of the link does not wait for it.
TEST_F(LinkLifecycleTest, FullWindowHoldsTheFinalMessageButNotTheEnd) {
    const int size = fcntl(window.WriteEnd(), F_SETPIPE_SZ, 4096);
    ASSERT_GT(size, 0);
    const std::string filler(static_cast<std::size_t>(size), '\0');
    const auto fill = [&] {
        return write(window.WriteEnd(), filler.data(), filler.size()) == size;
    };
    const auto drain = [&] {
        std::string sink(filler.size(), ' ');
        return read(window.ReadEnd(), sink.data(), sink.size()) == size;
    };
    ASSERT_EQ(Begin(), 1);

    ASSERT_TRUE(fill());
    ASSERT_EQ(velk_ReadMidInfo(), 1);
    ASSERT_TRUE(phone.WaitForLines(3, std::chrono::seconds(3)));
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    ASSERT_TRUE(drain());
    EXPECT_EQ(window.Next(), std::optional<uint32_t>(VELK_MSG_MID_INFO_READ));

    ASSERT_TRUE(fill());
    ASSERT_TRUE(Request(velk_ReadMidInfo));
    ASSERT_TRUE(phone.WaitForLines(6, std::chrono::seconds(3)));
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    auto ended = std::async(std::launch::async, velk_EndThread);
    const bool atOnce = ended.wait_for(std::chrono::seconds(1)) == std::future_status::ready;
    if (!atOnce) drain();  // let it go, so that the test can end
    EXPECT_TRUE(atOnce) << "the end waited for room in the window";
    EXPECT_EQ(ended.get(), 1);
}

struct ProbeUser {
    const char* what;
    const char* user;  // null: the same user as this process
};

const ProbeUser kProbeUsers[] = {
    {"same user", nullptr},
    {"ordinary user", "nobody"},
};

TEST_F(LinkLifecycleTest, AnotherProcessCannotStartOnADeviceThisOneHolds) {
    ASSERT_EQ(chmod(phone.DevicePath().c_str(), 0666), 0);
    for (const ProbeUser& probe : kProbeUsers) {
        SCOPED_TRACE(probe.what);
        if (probe.user != nullptr && !IsRoot()) continue;  // every run here is unprivileged
        ASSERT_EQ(Begin(), 1);
        EXPECT_EQ(RunChild("probe", phone.DevicePath(), probe.user), 0);
        // This link is unharmed by the attempt.
        ASSERT_EQ(velk_ReadMidInfo(), 1);
        EXPECT_EQ(window.UntilFinal(), Messages{VELK_MSG_MID_INFO_READ});
        EXPECT_EQ(velk_EndThread(), 1);
        EXPECT_EQ(RunChild("probe", phone.DevicePath(), probe.user), 1)
            << "the device is free again once the link ended";
    }
}

TEST_F(LinkLifecycleTest, OrdinaryUserRunsOperationsRestartsAndCancels) {
    if (!IsRoot()) GTEST_SKIP() << "this process is an ordinary user already";
    ASSERT_EQ(chmod(phone.DevicePath().c_str(), 0666), 0);
    phone.AddRule({"AT+RNGW=9,\"Hold\"", true, PhoneAction::kSilence, {}, 0});
    EXPECT_EQ(RunChild("session", phone.DevicePath(), "nobody"), kChildDone);
    // The first operation, and the last one on the link that the cancel
    // rebuilt; how far the cancelled write got before it is open.
    const Lines lines = phone.ReceivedLines();
    ASSERT_GE(lines.size(), 6u);
    EXPECT_EQ(Lines(lines.begin(), lines.begin() + 3), (Lines{"AT", "ATE0", "AT+RNGI"}));
    EXPECT_EQ(Lines(lines.end() - 3, lines.end()), (Lines{"AT", "ATE0", "AT+RNGI"}));
}

}  // namespace
}  // namespace velk::test
