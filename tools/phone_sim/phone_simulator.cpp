#include "phone_sim/phone_simulator.h"

#include <poll.h>
#include <pthread.h>
#include <signal.h>
#include <sys/eventfd.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <optional>
#include <system_error>

namespace velk::phonesim {
namespace {

constexpr std::size_t kReadSize = 4096;
// A paced line wakes the phone for about a millisecond's worth of bytes at a
// time, not for every byte; the last byte of a piece is never held back.
constexpr std::chrono::microseconds kPacedBatch{1000};

void CloseIfOpen(int& fd) {
    if (fd >= 0) close(fd);
    fd = -1;
}

void Post(int fd) {
    const uint64_t one = 1;
    (void)!write(fd, &one, sizeof one);
}

bool BeginsWith(const std::string& line, const std::string& prefix) {
    if (line.size() < prefix.size()) return false;
    for (std::size_t i = 0; i < prefix.size(); ++i) {
        if (std::toupper(static_cast<unsigned char>(line[i])) !=
            std::toupper(static_cast<unsigned char>(prefix[i]))) {
            return false;
        }
    }
    return true;
}

}  // namespace

PhoneSimulator::~PhoneSimulator() {
    Stop();
}

bool PhoneSimulator::Start(const SimulatorOptions& options, std::string* error) {
    std::string why;
    const auto fail = [&](const std::string& text) {
        if (error != nullptr) *error = text;
        line_.Close();
        CloseFiles();
        CloseIfOpen(wake_);
        CloseIfOpen(ended_);
        return false;
    };
    if (thread_.joinable()) return fail("the phone is running already");
    options_ = options;

    auto store = std::make_unique<PhoneStore>(static_cast<int>(options_.entries));
    if (!options_.storeDir.empty() && !store->Open(options_.storeDir, why)) return fail(why);
    if (!options_.logFile.empty() && (log_ = std::fopen(options_.logFile.c_str(), "w")) == nullptr)
        return fail("cannot write " + options_.logFile + ": " + std::strerror(errno));
    if (!options_.timestampFile.empty() &&
        (timestamps_ = std::fopen(options_.timestampFile.c_str(), "w")) == nullptr) {
        return fail("cannot write " + options_.timestampFile + ": " + std::strerror(errno));
    }
    if (!line_.Open(why)) return fail(why);
    wake_ = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    ended_ = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (wake_ < 0 || ended_ < 0) return fail(std::string("eventfd: ") + std::strerror(errno));

    {
        std::lock_guard<std::mutex> hold(mutex_);
        store_ = std::move(store);
        model_ = std::make_unique<PhoneModel>(*store_, options_.notify);
        commands_ = 0;
        stopping_ = false;
        endedFlag_ = false;
    }
    assembler_ = CommandAssembler();
    inPacer_ = LinePacer(options_.baud);
    outPacer_ = LinePacer(options_.baud);
    input_.clear();
    output_.clear();
    held_ = false;
    waitingForRoom_ = false;
    nextNotice_ = Clock::now() + options_.notifyEvery;
    random_.seed(options_.seed != 0
                     ? options_.seed
                     : static_cast<uint32_t>(Clock::now().time_since_epoch().count()));
    try {
        thread_ = std::thread(&PhoneSimulator::Serve, this);
    } catch (const std::system_error& failure) {
        return fail(std::string("cannot start the phone's thread: ") + failure.what());
    }
    return true;
}

std::string PhoneSimulator::DevicePath() const {
    return line_.SlavePath();
}

void PhoneSimulator::Stop() {
    if (!thread_.joinable()) return;
    {
        std::lock_guard<std::mutex> hold(mutex_);
        stopping_ = true;
    }
    Post(wake_);
    thread_.join();
    line_.Close();
    CloseFiles();
    CloseIfOpen(wake_);
    CloseIfOpen(ended_);
}

bool PhoneSimulator::Ended() const {
    std::lock_guard<std::mutex> hold(mutex_);
    return endedFlag_;
}

unsigned PhoneSimulator::CommandCount() const {
    std::lock_guard<std::mutex> hold(mutex_);
    return commands_;
}

void PhoneSimulator::InspectStore(const std::function<void(const PhoneStore&)>& look) const {
    std::lock_guard<std::mutex> hold(mutex_);
    if (store_) look(*store_);
}

void PhoneSimulator::CloseFiles() {
    if (log_ != nullptr) std::fclose(log_);
    if (timestamps_ != nullptr) std::fclose(timestamps_);
    log_ = nullptr;
    timestamps_ = nullptr;
}

void PhoneSimulator::Serve() {
    // Signals are for the program that runs the phone, not for its line.
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_BLOCK, &all, nullptr);
    // A paced line's bytes are due at exact moments. The kernel may put off
    // the end of a timed wait by up to 50 us by default, and every reply
    // would then start and end that much late.
    if (inPacer_.Paced()) (void)prctl(PR_SET_TIMERSLACK, 1UL, 0UL, 0UL, 0UL);
    for (;;) {
        {
            std::lock_guard<std::mutex> hold(mutex_);
            if (stopping_) return;
        }
        TakeInput(Clock::now());
        if (!line_.IsOpen() || !WriteOutput(Clock::now())) break;
        SendDueNotice(Clock::now());
        SendHeldNotices(Clock::now());

        const Clock::time_point now = Clock::now();
        const std::optional<Clock::time_point> until = NextWake(now);
        timespec wait{};
        if (until) {
            const auto ns =
                std::chrono::nanoseconds(std::max(*until - now, Clock::duration::zero()));
            wait.tv_sec = static_cast<time_t>(ns.count() / 1'000'000'000);
            wait.tv_nsec = static_cast<long>(ns.count() % 1'000'000'000);
        }
        // While a paced line still carries a buffer's worth of bytes, the
        // phone reads no more: the pseudo-terminal fills and the computer's
        // writes wait, as they would on a real line.
        const bool room = input_.size() < kReadSize;
        pollfd entries[2] = {
            {wake_, POLLIN, 0},
            {line_.Master(),
             static_cast<short>((room ? POLLIN : 0) | (waitingForRoom_ ? POLLOUT : 0)), 0}};
        if (ppoll(entries, 2, until ? &wait : nullptr, nullptr) < 0 && errno != EINTR) break;
        if ((entries[0].revents & POLLIN) != 0) {
            uint64_t count;
            (void)!read(wake_, &count, sizeof count);
        }
        if ((entries[1].revents & POLLOUT) != 0) waitingForRoom_ = false;
        if ((entries[1].revents & POLLIN) != 0) {
            if (!ReadInput(Clock::now())) break;
        } else if ((entries[1].revents & (POLLHUP | POLLERR | POLLNVAL)) != 0) {
            break;  // the line broke under the phone
        }
    }
    line_.Close();
    std::lock_guard<std::mutex> hold(mutex_);
    endedFlag_ = true;
    Post(ended_);
}

bool PhoneSimulator::ReadInput(Clock::time_point now) {
    std::array<char, kReadSize> chunk;
    const ssize_t count = read(line_.Master(), chunk.data(), chunk.size());
    if (count < 0) return errno == EAGAIN || errno == EINTR;
    // Each byte has crossed one byte time after the one before it, or after
    // it reached the line when the line was idle.
    for (ssize_t i = 0; i < count; ++i) {
        const Clock::time_point crossed =
            inPacer_.Paced() ? inPacer_.Finish(now, static_cast<std::size_t>(i) + 1) : now;
        input_.push_back({chunk[static_cast<std::size_t>(i)], crossed, now});
    }
    inPacer_.Take(now, static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    return true;
}

void PhoneSimulator::TakeInput(Clock::time_point now) {
    while (!input_.empty() && input_.front().crossed <= now && line_.IsOpen()) {
        const InByte in = input_.front();
        input_.pop_front();
        const CommandAssembler::Step step = assembler_.Feed(in.byte);
        if (step.flow == CommandAssembler::Flow::kStop) held_ = true;
        if (step.flow == CommandAssembler::Flow::kGo) {
            held_ = false;
            frontReady_ = std::max(frontReady_, now);  // no burst for the time held
        }
        if (step.lineStarted) commandStart_ = in.read;
        // The phone has the command once its last byte has crossed, however
        // late this thread came round to it.
        if (step.lineDone) OnCommand(assembler_.Line(), in.crossed);
        if (step.textDone || step.textCancelled) {
            OnText(assembler_.Line(), step.textCancelled, in.crossed);
        }
    }
}

void PhoneSimulator::OnCommand(const std::string& line, Clock::time_point now) {
    // A phone ignores an empty command line: it is counted nowhere.
    if (line.empty()) return;
    unsigned count;
    {
        std::lock_guard<std::mutex> hold(mutex_);
        count = ++commands_;
    }
    if (log_ != nullptr) {
        std::fwrite(line.data(), 1, line.size(), log_);
        std::fputc('\n', log_);
        std::fflush(log_);
    }
    if (options_.hangupAfter != 0 && count == options_.hangupAfter) {
        {
            // Said before the line goes, so that whoever sees the hang-up
            // finds the phone ended.
            std::lock_guard<std::mutex> hold(mutex_);
            endedFlag_ = true;
        }
        line_.Close();
        input_.clear();
        output_.clear();
        return;
    }
    Stamp('C', commandStart_);
    if (options_.silent) return;

    bool echo;
    bool prompt = false;
    Reply reply;
    Reply notices;
    {
        std::lock_guard<std::mutex> hold(mutex_);
        echo = model_->Echo();
        const auto refusal =
            std::find_if(options_.refusals.begin(), options_.refusals.end(),
                         [&](const Refusal& r) { return BeginsWith(line, r.prefix); });
        if (refusal != options_.refusals.end()) {
            reply.push_back(refusal->final);
        } else {
            reply = model_->Answer(line);
            prompt = model_->AwaitingText();
            notices = model_->TakeNotices();
        }
    }
    if (prompt) {
        assembler_.ExpectText();
        Queue(PromptBytes(echo ? &line : nullptr), now, false);
        return;
    }
    Queue(ReplyBytes(echo ? &line : nullptr, reply, options_.noise), now, true);
    QueueNotices(notices, now);
}

void PhoneSimulator::OnText(const std::string& text, bool cancelled, Clock::time_point now) {
    Reply reply;
    Reply notices;
    {
        std::lock_guard<std::mutex> hold(mutex_);
        reply = model_->TakeText(text, cancelled);
        notices = model_->TakeNotices();
    }
    Queue(ReplyBytes(nullptr, reply, options_.noise), now, true);
    QueueNotices(notices, now);
}

void PhoneSimulator::Queue(std::string bytes, Clock::time_point now, bool endsReply) {
    std::vector<OutputPiece> pieces = ShapeReply(std::move(bytes), options_.split, random_);
    if (pieces.empty()) return;
    if (output_.empty()) frontReady_ = now + pieces.front().pause;
    for (OutputPiece& piece : pieces) output_.push_back({std::move(piece), 0, false});
    output_.back().endsReply = endsReply;
}

void PhoneSimulator::QueueNotices(const Reply& notices, Clock::time_point now) {
    if (notices.empty()) return;
    if (options_.noticeDelay.count() > 0) {
        heldNotices_.emplace_back(now + options_.noticeDelay, notices);
        return;
    }
    Queue(ReplyBytes(nullptr, notices, false), now, false);
}

void PhoneSimulator::SendHeldNotices(Clock::time_point now) {
    while (!heldNotices_.empty() && heldNotices_.front().first <= now && BetweenCommands()) {
        Queue(ReplyBytes(nullptr, heldNotices_.front().second, false), now, false);
        heldNotices_.pop_front();
    }
}

// Between commands: nothing of a reply left to send, and no command or
// message text on its way in.
bool PhoneSimulator::BetweenCommands() const {
    return output_.empty() && input_.empty() && assembler_.Idle();
}

void PhoneSimulator::SendDueNotice(Clock::time_point now) {
    if (!options_.notify || now < nextNotice_ || !BetweenCommands()) return;
    nextNotice_ = now + options_.notifyEvery;
    std::optional<std::string> report;
    {
        std::lock_guard<std::mutex> hold(mutex_);
        report = model_->RegistrationNotice();
    }
    if (report) Queue(ReplyBytes(nullptr, {*report}, false), now, false);
}

bool PhoneSimulator::WriteOutput(Clock::time_point now) {
    while (!output_.empty() && !held_ && !waitingForRoom_ && now >= frontReady_) {
        OutPiece& out = output_.front();
        const std::size_t remaining = out.piece.bytes.size() - out.sent;
        const std::size_t due = outPacer_.Crossed(frontReady_, now, remaining);
        if (due == 0) return true;
        const ssize_t written = write(line_.Master(), out.piece.bytes.data() + out.sent, due);
        if (written < 0) {
            if (errno == EINTR) continue;
            if (errno != EAGAIN) return false;
            waitingForRoom_ = true;  // the computer does not read
            return true;
        }
        outPacer_.Take(frontReady_, static_cast<std::size_t>(written));
        out.sent += static_cast<std::size_t>(written);
        if (out.sent < out.piece.bytes.size()) continue;
        const Clock::time_point done = Clock::now();
        if (out.endsReply) Stamp('R', done);
        output_.pop_front();
        if (!output_.empty()) frontReady_ = done + output_.front().piece.pause;
        now = done;
    }
    return true;
}

std::optional<PhoneSimulator::Clock::time_point> PhoneSimulator::NextWake(
    Clock::time_point now) const {
    std::optional<Clock::time_point> next;
    if (!input_.empty()) next = input_.front().crossed;
    if (!output_.empty() && !held_ && !waitingForRoom_) {
        Clock::time_point due = frontReady_;
        if (due <= now) {
            const std::size_t remaining = output_.front().piece.bytes.size() - output_.front().sent;
            const auto batch = static_cast<std::size_t>(std::max<int64_t>(
                1, kPacedBatch / std::max(outPacer_.ByteTime(), std::chrono::nanoseconds(1))));
            due = outPacer_.Finish(frontReady_, std::min(remaining, batch));
        }
        next = next ? std::min(*next, due) : due;
    }
    // A report put off by a command goes once the line is between commands
    // again: whatever ends the command wakes the phone anyway.
    if (options_.notify && BetweenCommands()) {
        next = next ? std::min(*next, nextNotice_) : nextNotice_;
    }
    if (!heldNotices_.empty() && BetweenCommands()) {
        next = next ? std::min(*next, heldNotices_.front().first) : heldNotices_.front().first;
    }
    return next;
}

void PhoneSimulator::Stamp(char kind, Clock::time_point when) {
    if (timestamps_ == nullptr) return;
    const auto ns = std::chrono::duration_cast<std::chrono::nanoseconds>(when.time_since_epoch());
    std::fprintf(timestamps_, "%c %lld\n", kind, static_cast<long long>(ns.count()));
}

}  // namespace velk::phonesim
