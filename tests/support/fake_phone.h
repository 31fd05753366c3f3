// A phone on a pseudo-terminal, answering AT command lines from a script.
//
// The library opens the slave (DevicePath); the phone keeps a slave
// descriptor of its own, so its side sees no end of file while the library
// reopens the port. Its thread cuts the input into command lines (each ends
// in CR; an LF after it and XON/XOFF are dropped), echoes each while echo is
// on (ATE0 off, ATE1 on), and answers by the first rule that fits: the exact
// command, else the longest prefix, else the responder, else "ERROR".
// Commands compare without regard to case. A reply goes out as a blank
// line, then each line, all ending in CR LF.
#pragma once

#include <termios.h>

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace velk::test {

enum class PhoneAction {
    kReply,    // echo, then the reply lines
    kSilence,  // no echo and no reply
    kHangUp,   // the phone closes its side
};

struct PhoneRule {
    std::string command;  // the command line, or its beginning when `isPrefix`
    bool isPrefix = false;
    PhoneAction action = PhoneAction::kReply;
    std::vector<std::string> lines;  // the reply, each line without CR LF
};

class FakePhone {
  public:
    // Works out the reply to a command no rule fits; false leaves it to the
    // default. Runs on the phone's thread with its lock held.
    using Responder = std::function<bool(const std::string&, std::vector<std::string>&)>;

    FakePhone();
    ~FakePhone();
    FakePhone(const FakePhone&) = delete;
    FakePhone& operator=(const FakePhone&) = delete;

    bool IsOpen() const { return thread_.joinable(); }
    const std::string& DevicePath() const { return devicePath_; }

    void AddRule(PhoneRule rule);
    void Reply(const std::string& command, std::vector<std::string> lines) {
        AddRule({command, false, PhoneAction::kReply, std::move(lines)});
    }
    void SetResponder(Responder responder);

    // Raw bytes to the computer, unasked, after what is queued already.
    void Send(const std::string& bytes);
    // Each of these returns once the phone has done it.
    // The phone closes its side: the computer sees the line hang up.
    void HangUp() { Do(Request::kHangUp); }
    // XOFF, and no more reading: the computer's writes stall.
    void BlockWrites() { Do(Request::kBlock); }
    // XON, and reading again.
    void ResumeWrites() { Do(Request::kResume); }

    std::vector<std::string> ReceivedLines() const;
    std::string ReceivedBytes() const;
    bool WaitForLines(std::size_t count, std::chrono::milliseconds timeout) const;
    // The line settings the computer gave the port; false after a hang-up.
    bool LineSettings(termios& settings) const;

  private:
    enum class Request { kNone, kHangUp, kBlock, kResume, kStop };

    void Run();
    void Do(Request request);
    void OnCommandLine(const std::string& line);
    void CloseLine();
    void Wake() const;

    int master_ = -1;
    int slave_ = -1;
    int wake_ = -1;
    std::string devicePath_;
    std::thread thread_;

    mutable std::mutex mutex_;
    mutable std::condition_variable changed_;
    std::vector<PhoneRule> rules_;
    Responder responder_;
    bool echo_ = true;
    Request request_ = Request::kNone;
    std::string output_;              // not yet written
    bool hangUpWhenWritten_ = false;  // a rule hangs up once the echo is out
    std::vector<std::string> received_;
    std::string receivedBytes_;
    std::string partial_;  // the phone thread's own from here on
    bool lastWasCr_ = false;
    bool reading_ = true;
};

}  // namespace velk::test
