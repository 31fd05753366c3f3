#include "support/fake_phone.h"

#include <fcntl.h>
#include <poll.h>
#include <stdlib.h>
#include <strings.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <climits>
#include <cstdint>

namespace velk::test {
namespace {

constexpr char kXon = 17;
constexpr char kXoff = 19;

void CloseIfOpen(int& fd) {
    if (fd >= 0) close(fd);
    fd = -1;
}

}  // namespace

FakePhone::FakePhone() {
    std::array<char, PATH_MAX> name{};
    termios raw{};
    master_ = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    if (master_ < 0 || grantpt(master_) != 0 || unlockpt(master_) != 0 ||
        ptsname_r(master_, name.data(), name.size()) != 0 ||
        fcntl(master_, F_SETFL, fcntl(master_, F_GETFL) | O_NONBLOCK) != 0) {
        return;
    }
    devicePath_ = name.data();
    slave_ = open(devicePath_.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC);
    wake_ = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    // Raw from the start, so the line discipline echoes nothing back before
    // the computer sets the line up.
    if (slave_ >= 0 && wake_ >= 0 && tcgetattr(slave_, &raw) == 0 &&
        (cfmakeraw(&raw), tcsetattr(slave_, TCSANOW, &raw)) == 0) {
        thread_ = std::thread(&FakePhone::Run, this);
    }
}

FakePhone::~FakePhone() {
    if (thread_.joinable()) {
        {
            std::lock_guard<std::mutex> hold(mutex_);
            request_ = Request::kStop;
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

void FakePhone::SetResponder(Responder responder) {
    std::lock_guard<std::mutex> hold(mutex_);
    responder_ = std::move(responder);
}

void FakePhone::Send(const std::string& bytes) {
    {
        std::lock_guard<std::mutex> hold(mutex_);
        output_ += bytes;
    }
    Wake();
}

void FakePhone::Do(Request request) {
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

// The phone's thread. Everything it does to the line happens here, under
// the lock but for poll.
void FakePhone::Run() {
    std::unique_lock<std::mutex> lock(mutex_);
    for (;;) {
        const Request request = request_;
        if (request == Request::kStop) return;
        if (request != Request::kNone && master_ >= 0) {
            if (request == Request::kHangUp) CloseLine();
            if (request == Request::kBlock || request == Request::kResume) {
                const char flow = request == Request::kBlock ? kXoff : kXon;
                while (write(master_, &flow, 1) < 0 && errno == EINTR) {
                }
                reading_ = request == Request::kResume;
            }
        }
        if (request != Request::kNone) {
            request_ = Request::kNone;
            changed_.notify_all();
        }
        // Writes what the computer takes now; the rest waits for POLLOUT.
        while (master_ >= 0 && !output_.empty()) {
            const ssize_t n = write(master_, output_.data(), output_.size());
            if (n < 0 && errno == EINTR) continue;
            if (n < 0 && errno != EAGAIN) output_.clear();  // the line broke
            if (n <= 0) break;
            output_.erase(0, static_cast<std::size_t>(n));
        }
        if (hangUpWhenWritten_ && output_.empty()) CloseLine();

        short events = 0;
        if (master_ >= 0 && reading_) events |= POLLIN;
        if (master_ >= 0 && !output_.empty()) events |= POLLOUT;
        pollfd entries[2] = {{wake_, POLLIN, 0}, {events != 0 ? master_ : -1, events, 0}};
        lock.unlock();
        const int ready = poll(entries, 2, -1);
        std::array<char, 4096> chunk;
        ssize_t count = 0;
        if (ready > 0 && (entries[1].revents & POLLIN) != 0) {
            count = read(master_, chunk.data(), chunk.size());
        }
        if ((entries[0].revents & POLLIN) != 0) {
            uint64_t wakes;
            (void)!read(wake_, &wakes, sizeof wakes);
        }
        lock.lock();
        if (count > 0) {
            receivedBytes_.append(chunk.data(), static_cast<std::size_t>(count));
            for (ssize_t i = 0; i < count; ++i) {
                const char c = chunk[static_cast<std::size_t>(i)];
                if (c == kXon || c == kXoff || (c == '\n' && lastWasCr_)) {
                    lastWasCr_ = false;
                    continue;
                }
                lastWasCr_ = c == '\r';
                if (c != '\r') {
                    partial_ += c;
                    continue;
                }
                OnCommandLine(partial_);
                partial_.clear();
            }
        } else if ((entries[1].revents & (POLLHUP | POLLERR | POLLNVAL)) != 0) {
            CloseLine();  // the line broke under the phone
        }
    }
}

void FakePhone::OnCommandLine(const std::string& line) {
    received_.push_back(line);
    changed_.notify_all();
    if (line.empty()) return;  // a phone ignores an empty command line

    const PhoneRule* rule = nullptr;
    for (const PhoneRule& r : rules_) {
        const bool exact = !r.isPrefix && strcasecmp(r.command.c_str(), line.c_str()) == 0;
        if (exact ||
            (r.isPrefix && strncasecmp(r.command.c_str(), line.c_str(), r.command.size()) == 0 &&
             (rule == nullptr || r.command.size() > rule->command.size()))) {
            rule = &r;
            if (exact) break;
        }
    }
    const PhoneAction action = rule != nullptr ? rule->action : PhoneAction::kReply;
    if (action == PhoneAction::kSilence) return;
    if (echo_) output_ += line + "\r\n";
    if (strcasecmp(line.c_str(), "ATE0") == 0) echo_ = false;
    if (strcasecmp(line.c_str(), "ATE1") == 0 || strcasecmp(line.c_str(), "ATE") == 0) echo_ = true;
    if (action == PhoneAction::kHangUp) {
        hangUpWhenWritten_ = true;
        return;
    }
    std::vector<std::string> lines{"ERROR"};
    if (rule != nullptr) {
        lines = rule->lines;
    } else if (std::vector<std::string> computed; responder_ && responder_(line, computed)) {
        lines = std::move(computed);
    }
    output_ += "\r\n";
    for (const std::string& reply : lines) output_ += reply + "\r\n";
}

void FakePhone::CloseLine() {
    // The computer's side hangs up as the master goes.
    CloseIfOpen(master_);
    CloseIfOpen(slave_);
    output_.clear();
    hangUpWhenWritten_ = false;
}

}  // namespace velk::test
