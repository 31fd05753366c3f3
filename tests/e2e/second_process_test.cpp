// The library run by an ordinary user, in another process: it needs no root
// to open, rebuild and close the link. (That a held device refuses another
// process is the serial link's own test.)
//
// The other process is this test program again, started with a filter that
// runs only ChildProcess.DISABLED_Role, which ends with an exit code that the
// parent checks.
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

namespace velk::test {
namespace {

// The child's exit codes when a step of its role went wrong.
enum ChildExit { kChildDone = 0, kChildNoUser = 30, kChildCannotDrop, kChildNoPipe };

// Runs this program as a child on `device` as the user nobody; its exit
// code, or -1 when it did not exit normally. No thread of this process reads
// the environment, so setting it here races with nothing.
int RunChild(const std::string& device) {
    setenv("VELK_E2E_DEVICE", device.c_str(), 1);
    char program[] = "/proc/self/exe";
    char filter[] = "--gtest_filter=ChildProcess.DISABLED_Role";
    char alsoDisabled[] = "--gtest_also_run_disabled_tests";
    char* argv[] = {program, filter, alsoDisabled, nullptr};
    const int quiet = open("/dev/null", O_WRONLY | O_CLOEXEC);
    const pid_t pid = fork();
    if (pid == 0) {
        if (quiet >= 0) dup2(quiet, STDOUT_FILENO);
        execv(program, argv);
        _exit(127);
    }
    unsetenv("VELK_E2E_DEVICE");
    if (quiet >= 0) close(quiet);
    int status = 0;
    while (pid > 0 && waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    return pid > 0 && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

// The next message of the child's window, 0 when none came in time.
uint32_t ChildNextMessage(int readFd) {
    pollfd entry{readFd, POLLIN, 0};
    VelkWindowMessage message{};
    if (poll(&entry, 1, 5000) != 1) return 0;
    return read(readFd, &message, sizeof message) == sizeof message ? message.message : 0;
}

// An operation, a close and a new start on the same device, then a cancel,
// whose restart opens it once more.
// NOLINTNEXTLINE(bugprone-easily-swappable-parameters): a pipe's two ends, as pipe() gives them
int RunSession(int readFd, int writeFd) {
    if (velk_BeginThread(writeFd, kPhonePort, kPhoneBaud, kXonXoff) != 1) return 10;
    if (velk_ReadMidInfo() != 1) return 11;
    if (ChildNextMessage(readFd) != VELK_MSG_MID_INFO_READ) return 12;
    MidInfoRecord* info = nullptr;
    if (velk_GetMidInfo(&info) != 1 || std::strcmp(info->name, "Melodies") != 0) return 13;
    velk_EndThread();
    if (velk_BeginThread(writeFd, kPhonePort, kPhoneBaud, kXonXoff) != 1) return 14;
    std::string body = "held";
    if (velk_WriteMid(ToneRecord(9, "Hold", body)) != 1) return 15;
    if (velk_CancelCurrentAction() != 1) return 16;
    if (velk_ReadMidInfo() != 1) return 17;
    if (ChildNextMessage(readFd) != VELK_MSG_MID_INFO_READ) return 18;
    velk_EndThread();
    return kChildDone;
}

// The session as the user nobody, on the device the environment names.
int RunAsNobody() {
    const passwd* account = getpwnam("nobody");
    if (account == nullptr) return kChildNoUser;
    if (setgroups(0, nullptr) != 0 || setgid(account->pw_gid) != 0 ||
        setuid(account->pw_uid) != 0 || geteuid() == 0) {
        return kChildCannotDrop;
    }
    int fds[2];
    if (pipe2(fds, O_CLOEXEC) != 0) return kChildNoPipe;
    velk_SetPortDevice(kPhonePort, std::getenv("VELK_E2E_DEVICE"));
    return RunSession(fds[0], fds[1]);
}

// Not a test of its own: the body of the child process started above.
TEST(ChildProcess, DISABLED_Role) {
    if (std::getenv("VELK_E2E_DEVICE") == nullptr) GTEST_SKIP() << "runs only as a child";
    _exit(RunAsNobody());
}

using SecondProcessTest = PhoneLinkTest;

TEST_F(SecondProcessTest, OrdinaryUserRunsOperationsRestartsAndCancels) {
    if (geteuid() != 0) GTEST_SKIP() << "this process is an ordinary user already";
    ASSERT_EQ(chmod(phone.DevicePath().c_str(), 0666), 0);
    phone.AddRule({"AT+RNGW=9,\"Hold\"", true, PhoneAction::kSilence, {}});
    EXPECT_EQ(RunChild(phone.DevicePath()), kChildDone);
    // The first operation, and the last one on the link that the cancel
    // rebuilt; how far the cancelled write got before it is open.
    const Lines lines = phone.ReceivedLines();
    ASSERT_GE(lines.size(), 6u);
    EXPECT_EQ(Lines(lines.begin(), lines.begin() + 3), (Lines{"AT", "ATE0", "AT+RNGI"}));
    EXPECT_EQ(Lines(lines.end() - 3, lines.end()), (Lines{"AT", "ATE0", "AT+RNGI"}));
}

}  // namespace
}  // namespace velk::test
