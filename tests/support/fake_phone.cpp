#include "support/fake_phone.h"

#include <fcntl.h>
#include <poll.h>
#include <stdlib.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>
#include <climits>

namespace velk::test {
namespace {

constexpr char kXon = 17;
constexpr char kXoff = 19;

std::string UpperCase(std::string text) {
    for (char& c : text) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return text;
}

void CloseIfOpen(int& fd) {
    if (fd >= 0) close(fd);
    fd = -1;
}

}  // namespace

FakePhone::FakePhone() {
    master_ = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    std::array<char, PATH_MAX> name{};
    if (master_ < 0 || grantpt(master_) != 0 || unlockpt(master_) != 0 ||
        ptsname_r(master_, name.data(), name.size()) != 0 ||
        fcntl(master_, F_SETFL, fcntl(master_, F_GETFL) | O_NONBLOCK) != 0) {
        CloseIfOpen(master_);
        return;
    }
    devicePath_ = name.data();
    slave_ = open(devicePath_.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC);
    wake_ = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    termios settings{};
    // Raw from the start, so that nothing the phone sends is echoed back by
    // the line discipline before the computer sets the line up.
    if (slave_ < 0 || wake_ < 0 || tcgetattr(slave_, &settings) != 0 ||
        (cfmakeraw(&settings), tcsetattr(slave_, TCSANOW, &settings)) != 0) {
        CloseIfOpen(master_);
        CloseIfOpen(slave_);
        CloseIfOpen(wake_);
        return;
    }
    opened_ = true;
    thread_ = std::thread(&FakePhone::Run, this);
}

FakePhone::~FakePhone() {
    if (thread_.joinable()) {
        {
            std::lock_guard<std::mutex> hold(mutex_);
            stopping_ = true;
        }
        Wake();
        thread_.join();
    }
    CloseIfOpen(master_);
    CloseIfOpen(slave_);
    CloseIfOpen(wake_);
}

void FakePhone::AddRule(PhoneRule rule) {
    std::lock_guard<std::mutex> hold(mutex_);
    rules_.push_back(std::move(rule));
}

void FakePhone::Reply(const std::string& command, std::vector<std::string> lines,
                      uint32_t delayMs) {
    AddRule({command, false, PhoneAction::kReply, std::move(lines), delayMs});
}

void FakePhone::ReplyToPrefix(const std::string& prefix, std::vector<std::string> lines,
                              uint32_t delayMs) {
    AddRule({prefix, true, PhoneAction::kReply, std::move(lines), delayMs});
}

void FakePhone::SetResponder(Responder responder) {
    std::lock_guard<std::mutex> hold(mutex_);
    responder_ = std::move(responder);
}

void FakePhone::SetEcho(bool on) {
    std::lock_guard<std::mutex> hold(mutex_);
    echo_ = on;
}

void FakePhone::Send(const std::string& bytes) {
    {
        std::lock_guard<std::mutex> hold(mutex_);
        output_.push_back({std::chrono::steady_clock::now(), bytes, false});
    }
    Wake();
}

void FakePhone::HangUp() {
    DoAndWait(Request::kHangUp);
}
void FakePhone::BlockWrites() {
    DoAndWait(Request::kBlock);
}
void FakePhone::ResumeWrites() {
    DoAndWait(Request::kResume);
}

void FakePhone::DoAndWait(Request request) {
    if (!thread_.joinable()) return;
    std::unique_lock<std::mutex> lock(mutex_);
    changed_.wait(lock, [this] { return request_ == Request::kNone; });
    request_ = request;
    Wake();
    changed_.wait(lock, [this] { return request_ == Request::kNone; });
}

std::vector<std::string> FakePhone::ReceivedLines() const {
    std::lock_guard<std::mutex> hold(mutex_);
    return received_;
}

std::string FakePhone::ReceivedBytes() const {
    std::lock_guard<std::mutex> hold(mutex_);
    return receivedBytes_;
}

bool FakePhone::WaitForLines(std::size_t count, std::chrono::milliseconds timeout) const {
    std::unique_lock<std::mutex> lock(mutex_);
    return changed_.wait_for(lock, timeout, [&] { return received_.size() >= count; });
}

bool FakePhone::LineSettings(termios& settings) const {
    std::lock_guard<std::mutex> hold(mutex_);
    return slave_ >= 0 && tcgetattr(slave_, &settings) == 0;
}

void FakePhone::Wake() const {
    const uint64_t one = 1;
    (void)!write(wake_, &one, sizeof one);
}

void FakePhone::Run() {
    for (;;) {
        Request request;
        {
            std::lock_guard<std::mutex> hold(mutex_);
            if (stopping_) return;
            request = request_;
        }
        if (request != Request::kNone) {
            RunRequest(request);
            std::lock_guard<std::mutex> hold(mutex_);
            request_ = Request::kNone;
            changed_.notify_all();
        }
        WriteDueOutput();

        bool wantRoom;
        int timeoutMs;
        {
            std::lock_guard<std::mutex> hold(mutex_);
            wantRoom = waitingForRoom_;
            timeoutMs = PollTimeoutMs();
        }
        short masterEvents = 0;
        if (!hungUp_ && reading_) masterEvents |= POLLIN;
        if (!hungUp_ && wantRoom) masterEvents |= POLLOUT;
        pollfd entries[2] = {{wake_, POLLIN, 0},
                             {masterEvents != 0 ? master_ : -1, masterEvents, 0}};
        if (poll(entries, 2, timeoutMs) < 0 && errno != EINTR) return;
        if ((entries[0].revents & POLLIN) != 0) {
            uint64_t count;
            (void)!read(wake_, &count, sizeof count);
        }
        if ((entries[1].revents & POLLOUT) != 0) {
            std::lock_guard<std::mutex> hold(mutex_);
            waitingForRoom_ = false;
        }
        if ((entries[1].revents & POLLIN) != 0) {
            ReadInput();
        } else if ((entries[1].revents & (POLLHUP | POLLERR | POLLNVAL)) != 0) {
            std::lock_guard<std::mutex> hold(mutex_);
            CloseLineLocked();  // the line broke under the phone
        }
    }
}

void FakePhone::RunRequest(Request request) {
    if (hungUp_) return;
    switch (request) {
        case Request::kHangUp: {
            std::lock_guard<std::mutex> hold(mutex_);
            CloseLineLocked();
            break;
        }
        case Request::kBlock:
            WriteNow(kXoff);
            reading_ = false;
            break;
        case Request::kResume:
            WriteNow(kXon);
            reading_ = true;
            break;
        case Request::kNone:
            break;
    }
}

void FakePhone::WriteNow(char byte) {
    ssize_t written;
    do {
        written = write(master_, &byte, 1);
    } while (written < 0 && errno == EINTR);
}

void FakePhone::ReadInput() {
    std::array<char, 4096> chunk;
    const ssize_t count = read(master_, chunk.data(), chunk.size());
    if (count <= 0) return;
    {
        std::lock_guard<std::mutex> hold(mutex_);
        receivedBytes_.append(chunk.data(), static_cast<std::size_t>(count));
    }
    for (ssize_t i = 0; i < count; ++i) {
        const char c = chunk[static_cast<std::size_t>(i)];
        // The computer's own flow control is no part of a command.
        if (c == kXon || c == kXoff) continue;
        if (c == '\n' && lastWasCr_) {
            lastWasCr_ = false;
            continue;
        }
        lastWasCr_ = c == '\r';
        if (c == '\r') {
            OnCommandLine(partial_);
            partial_.clear();
        } else {
            partial_ += c;
        }
    }
}

const PhoneRule* FakePhone::FindRule(const std::string& line) const {
    const std::string command = UpperCase(line);
    const PhoneRule* best = nullptr;
    for (const PhoneRule& rule : rules_) {
        const std::string wanted = UpperCase(rule.command);
        if (!rule.isPrefix) {
            if (wanted == command) return &rule;
            continue;
        }
        if (command.compare(0, wanted.size(), wanted) == 0 &&
            (best == nullptr || wanted.size() > best->command.size())) {
            best = &rule;
        }
    }
    return best;
}

void FakePhone::OnCommandLine(const std::string& line) {
    std::lock_guard<std::mutex> hold(mutex_);
    received_.push_back(line);
    changed_.notify_all();
    // A phone ignores an empty command line.
    if (line.empty()) return;

    const PhoneRule* rule = FindRule(line);
    const PhoneAction action = rule != nullptr ? rule->action : PhoneAction::kReply;
    if (action == PhoneAction::kSilence) return;
    const auto now = std::chrono::steady_clock::now();
    if (echo_) output_.push_back({now, line + "\r\n", false});
    const std::string command = UpperCase(line);
    if (command == "ATE0") echo_ = false;
    if (command == "ATE1" || command == "ATE") echo_ = true;

    const auto due = now + std::chrono::milliseconds(rule != nullptr ? rule->delayMs : 0);
    if (action == PhoneAction::kHangUp) {
        output_.push_back({due, std::string(), true});
        return;
    }
    std::vector<std::string> computed;
    const std::vector<std::string>* lines = &defaultReply_;
    if (rule != nullptr) {
        lines = &rule->lines;
    } else if (responder_ && responder_(line, computed)) {
        lines = &computed;
    }
    std::string reply = "\r\n";
    for (const std::string& replyLine : *lines) {
        reply += replyLine;
        reply += "\r\n";
    }
    output_.push_back({due, std::move(reply), false});
}

void FakePhone::WriteDueOutput() {
    std::lock_guard<std::mutex> hold(mutex_);
    const auto now = std::chrono::steady_clock::now();
    while (!hungUp_ && !waitingForRoom_ && !output_.empty() && output_.front().due <= now) {
        Output& next = output_.front();
        if (next.hangUp) {
            CloseLineLocked();
            return;
        }
        const ssize_t written = write(master_, next.bytes.data(), next.bytes.size());
        if (written < 0) {
            if (errno == EINTR) continue;
            // EAGAIN: the computer is not reading; anything else is lost.
            if (errno == EAGAIN)
                waitingForRoom_ = true;
            else
                output_.pop_front();
            continue;
        }
        next.bytes.erase(0, static_cast<std::size_t>(written));
        if (next.bytes.empty()) output_.pop_front();
    }
}

int FakePhone::PollTimeoutMs() const {
    if (hungUp_ || waitingForRoom_ || output_.empty()) return -1;
    const auto wait = std::chrono::ceil<std::chrono::milliseconds>(
        output_.front().due - std::chrono::steady_clock::now());
    return static_cast<int>(std::max<std::chrono::milliseconds::rep>(wait.count(), 0));
}

void FakePhone::CloseLineLocked() {
    // The computer's side hangs up as the master goes; the phone's own
    // slave has nothing left to keep open.
    CloseIfOpen(master_);
    CloseIfOpen(slave_);
    hungUp_ = true;
    output_.clear();
}

}  // namespace velk::test
