// A phone on a pseudo-terminal, answering AT command lines from a script.
//
// The phone holds the master side; the slave path (DevicePath) is what the
// library opens as its serial port. The phone keeps a slave descriptor of its
// own open, so that its side never sees an end of file while the library
// closes and reopens the port.
//
// Its own thread reads the command lines (each ends in CR; an LF right
// after it is dropped), records them, echoes each with CR LF while echo is on
// ("ATE0" turns it off, "ATE1" on again), and answers by the first rule that
// fits: a rule for the exact command, else the rule with the longest prefix
// of it (an empty prefix fits every command), else the responder, else the
// default reply. Commands are compared without regard to case, as a phone
// does. A reply goes out as a phone sends it: a blank
// CR LF line, then each line with CR LF.
#pragma once

#include <termios.h>

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace velk::test {

enum class PhoneAction {
    kReply,    // echo, then the reply lines
    kSilence,  // no echo and no reply: a phone that is not listening
    kHangUp,   // the line goes dead: the phone closes its side
};

struct PhoneRule {
    std::string command;  // the command line, or its beginning when `isPrefix`
    bool isPrefix = false;
    PhoneAction action = PhoneAction::kReply;
    std::vector<std::string> lines;  // the reply, each line without CR LF
    uint32_t delayMs = 0;            // before the reply or the hang-up
};

class FakePhone {
  public:
    // Works out the reply to a command that no rule fits: true with the reply
    // lines filled in, false to leave it to the default reply. Runs on the
    // phone's thread, with the phone's lock held: it must not call the phone.
    using Responder =
        std::function<bool(const std::string& command, std::vector<std::string>& lines)>;

    // Opens the pseudo-terminal and starts the phone. IsOpen() tells whether
    // that worked.
    FakePhone();
    ~FakePhone();
    FakePhone(const FakePhone&) = delete;
    FakePhone& operator=(const FakePhone&) = delete;

    bool IsOpen() const { return opened_; }
    const std::string& DevicePath() const { return devicePath_; }

    // --- The script; may change while the phone runs.
    void AddRule(PhoneRule rule);
    void Reply(const std::string& command, std::vector<std::string> lines, uint32_t delayMs = 0);
    void ReplyToPrefix(const std::string& prefix, std::vector<std::string> lines,
                       uint32_t delayMs = 0);
    void SetResponder(Responder responder);
    void SetEcho(bool on);

    // --- Acting now. Each but Send returns once the phone has done it.
    // Sends raw bytes to the computer, unasked, after what is queued already.
    void Send(const std::string& bytes);
    // Closes the phone's side: the computer sees the line hang up.
    void HangUp();
    // Sends XOFF and stops reading: with XON/XOFF flow the computer must
    // stop at once, with RTS/CTS its writes stall when the buffers fill.
    void BlockWrites();
    // Sends XON and reads again.
    void ResumeWrites();

    // --- What the phone got.
    // The command lines, without their CR LF.
    std::vector<std::string> ReceivedLines() const;
    // Every byte, as it came.
    std::string ReceivedBytes() const;
    // Waits until at least `count` command lines came. False on time-out.
    bool WaitForLines(std::size_t count, std::chrono::milliseconds timeout) const;
    // The line settings the computer gave the port; false after a hang-up.
    bool LineSettings(termios& settings) const;

  private:
    struct Output {
        std::chrono::steady_clock::time_point due;
        std::string bytes;
        bool hangUp = false;
    };
    enum class Request { kNone, kHangUp, kBlock, kResume };

    void Run();
    void ReadInput();
    void OnCommandLine(const std::string& line);
    const PhoneRule* FindRule(const std::string& line) const;
    void WriteDueOutput();
    void CloseLineLocked();
    int PollTimeoutMs() const;
    void RunRequest(Request request);
    void DoAndWait(Request request);
    void WriteNow(char byte);
    void Wake() const;

    bool opened_ = false;
    int master_ = -1;  // used by the phone thread only, once it runs
    int slave_ = -1;
    int wake_ = -1;
    std::string devicePath_;
    std::thread thread_;

    mutable std::mutex mutex_;
    mutable std::condition_variable changed_;
    std::vector<PhoneRule> rules_;
    Responder responder_;
    std::vector<std::string> defaultReply_{"ERROR"};  // to a command nothing else answers
    bool echo_ = true;
    bool stopping_ = false;
    Request request_ = Request::kNone;
    std::deque<Output> output_;    // in the order it goes out
    bool waitingForRoom_ = false;  // the computer is not reading: wait for POLLOUT
    std::vector<std::string> received_;
    std::string receivedBytes_;

    // The phone thread's own.
    std::string partial_;
    bool lastWasCr_ = false;
    bool reading_ = true;
    bool hungUp_ = false;
};

}  // namespace velk::test
