// The device shared with another process and with an ordinary user.
//
// The other process is this test program again, started with a filter that
// runs only ChildProcess.DISABLED_Role, which reads its role from the
// environment and ends with an exit code that the parent checks.
#include <fcntl.h>
#include <grp.h>
#include <poll.h>
#include <pwd.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>

#include "e2e_link.h"

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

using SecondProcessTest = PhoneLinkTest;

struct ProbeUser {
    const char* what;
    const char* user;  // null: the same user as this process
};

const ProbeUser kProbeUsers[] = {
    {"same user", nullptr},
    {"ordinary user", "nobody"},
};

TEST_F(SecondProcessTest, AnotherProcessCannotStartOnADeviceThisOneHolds) {
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

TEST_F(SecondProcessTest, OrdinaryUserRunsOperationsRestartsAndCancels) {
    if (!IsRoot()) GTEST_SKIP() << "this process is an ordinary user already";
    ASSERT_EQ(chmod(phone.DevicePath().c_str(), 0666), 0);
    phone.AddRule({"AT+RNGW=9,\"Hold\"", true, PhoneAction::kSilence, {}});
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
