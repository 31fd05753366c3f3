#include "serial/serial_link.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <string>
#include <system_error>
#include <utility>

#include "engine/message_numbers.h"
#include "platform/look_before_sleeping.h"
#include "platform/post_until_taken.h"
#include "platform/tick_clock.h"
#include "serial/port_devices.h"
#include "serial/receive_queue.h"

namespace velk {
namespace {

// One read takes at most what the port's input buffer holds.
constexpr std::size_t kChunkSize = 8192;

}  // namespace

CSerialLink& CSerialLink::Instance() {
    // Never destroyed: a reader that ended by itself may still wait to be
    // joined when the process exits.
    static CSerialLink* const link = new CSerialLink();
    return *link;
}

CSerialLink::CSerialLink()
    : assembler_([this](const char* line, uint32_t length) { OnLine(line, length); }) {}

// The order of the arguments is that of the worker's start, which passes them on.
// NOLINTNEXTLINE(bugprone-easily-swappable-parameters)
int CSerialLink::StartLink(ThreadId worker, uint8_t port, uint32_t baudRate, bool softwareFlow) {
    std::lock_guard<std::mutex> life(lifecycleMutex_);
    const bool settle = settleAtNextStart_.exchange(false);
    CloseAll();
    ResetState();
    stopRequested_.store(false);

    std::string path;
    if (!PortDevicePath(port, path)) return FailStart(TtyFault::kOpenRefused, ENOENT);
    TtyFault fault = TtyFault::kNone;
    const int fd = OpenTtyPort(path.c_str(), fault);
    if (fd < 0) return FailStart(fault, errno);
    fault = ConfigureTtyPort(fd, baudRate, softwareFlow);
    if (fault != TtyFault::kNone) {
        const int error = errno;
        CloseTtyPort(fd);
        return FailStart(fault, error);
    }
    bool stopOpen;
    {
        std::lock_guard<std::mutex> hold(controlMutex_);
        stopOpen = stop_.Open();
    }
    if (!stopOpen) {
        const int error = errno;
        CloseTtyPort(fd);
        return FailStart(TtyFault::kOpenRefused, error);
    }

    workerThreadId_.store(worker);
    portFd_.store(fd);
    linkClosed_.store(0);
    settleSince_ = GetTickCount();
    settling_.store(settle);
    try {
        reader_ = std::thread(&CSerialLink::ReaderLoop, this);
    } catch (const std::system_error& e) {
        linkClosed_.store(1);
        {
            std::lock_guard<std::mutex> hold(writeMutex_);
            ClosePort();
        }
        CloseStop();
        ResetState();
        return FailStart(TtyFault::kOpenRefused, e.code().value());
    }
    // DTR goes up once the reader runs, so that nothing the phone sends on
    // seeing it is missed. The reader may have closed a port that hung up
    // at once; then there is nothing to raise.
    {
        std::lock_guard<std::mutex> hold(writeMutex_);
        const int open = portFd_.load();
        if (open >= 0) SetTtyDtr(open, true);
    }
    lastFault_.store(TtyFault::kNone);
    lastError_.store(0);
    return 1;
}

int CSerialLink::FailStart(TtyFault fault, int error) {
    lastFault_.store(fault);
    lastError_.store(error);
    return 0;
}

void CSerialLink::StopLink() {
    std::lock_guard<std::mutex> life(lifecycleMutex_);
    if (CloseAll()) PostToWorker(AT_MSG_LINK_DOWN);
    ResetState();
}

void CSerialLink::RequestStop() {
    stopRequested_.store(true);
    WakeSettleWaiters();
    std::lock_guard<std::mutex> hold(controlMutex_);
    stop_.Set();
}

void CSerialLink::ResetReceive() {
    receivePaused_.store(1);
    {
        // Holding the reader's lock, no read can fall between the flush and
        // the emptying of the queue: what was read before is thrown away
        // with it, what comes after is new.
        std::lock_guard<std::mutex> receive(receiveMutex_);
        ClearLines();
        assembler_.Reset();
        std::lock_guard<std::mutex> hold(writeMutex_);
        const int fd = portFd_.load();
        if (fd >= 0) FlushTtyPort(fd);
    }
    receivePaused_.store(0);
}

void CSerialLink::PostToWorker(uint32_t message, std::size_t count) {
    // While stopping, the worker may be the caller itself, or about to end:
    // waiting for room could wait for ever.
    PostUntilTaken(workerThreadId_, message, 0, 0, count, PostRetry{.giveUp = &stopRequested_});
}

void CSerialLink::FailLink() {
    if (linkClosed_.exchange(1) != 0) return;
    // A writer waiting for the settle would hold the worker from taking the
    // message below.
    WakeSettleWaiters();
    {
        std::lock_guard<std::mutex> hold(controlMutex_);
        stop_.Set();
    }
    PostToWorker(AT_MSG_LINK_DOWN);
    {
        // A writer woken by the stop has let go of the port by now.
        std::lock_guard<std::mutex> hold(writeMutex_);
        ClosePort();
    }
    CloseStop();
    ResetState();
}

int CSerialLink::WritePort(const char* bytes, std::size_t count) {
    if (settling_.load()) {
        // The settle ends within its limit, or the link goes down.
        std::unique_lock<std::mutex> lock(settleMutex_);
        settleDone_.wait(lock, [this] {
            return !settling_.load() || stopRequested_.load() || linkClosed_.load() != 0;
        });
    }
    std::lock_guard<std::mutex> hold(writeMutex_);
    const int fd = portFd_.load();
    // Once a stop is asked for, the link is on its way down; a command
    // written now could only delay it.
    if (fd < 0 || stopRequested_.load()) return 0;
    return WriteTtyPort(fd, stop_.Fd(), bytes, count) ? 1 : 0;
}

void CSerialLink::ReaderLoop() {
    SetUpLinkThread("velk-reader");
    // Both stay open until this thread has ended or has closed them itself.
    const int fd = portFd_.load();
    const int stopFd = stop_.Fd();
    std::array<char, kChunkSize> chunk;
    bool lineCame = false;
    LookHabit afterLine;
    for (;;) {
        if (settling_.load()) {
            if (!SettleStep(fd, stopFd, chunk.data(), chunk.size())) return;
            continue;
        }
        // After a line, the next one or the reply to the command that it
        // brings about may follow within microseconds, if the line is fast.
        const auto start = std::chrono::steady_clock::now();
        const PortEvent event = WaitForPortInput(fd, stopFd, lineCame && afterLine.ShouldLook());
        if (lineCame) afterLine.Learn(start);
        if (event == PortEvent::kStopped) return;
        if (event == PortEvent::kFailed) {
            FailLink();
            return;
        }
        long count;
        const uint64_t linesBefore = linesHandedOn_;
        {
            std::lock_guard<std::mutex> receive(receiveMutex_);
            count = ReadTtyPort(fd, chunk.data(), chunk.size());
            if (count > 0) assembler_.Feed(chunk.data(), static_cast<std::size_t>(count));
            // The lines of one chunk are announced together, each with a
            // message of its own: told line by line, the worker would take
            // each as it came and contend with this thread for the queues'
            // locks, so that a burst of lines crossed at a few a wake-up.
            PostToWorker(AT_MSG_LINE_RECEIVED, std::exchange(linesUnannounced_, 0));
        }
        if (count < 0) {
            FailLink();
            return;
        }
        lineCame = linesHandedOn_ != linesBefore;
    }
}

// What comes in the settle is the tail of a reply whose command the link no
// longer knows: read and thrown away, never cut into lines.
bool CSerialLink::SettleStep(int fd, int stopFd, char* buffer, std::size_t size) {
    const PortEvent event = WaitForPortInputWithin(fd, stopFd, kSettleQuietMs);
    if (event == PortEvent::kQuiet) {
        EndSettle();
        return true;
    }
    if (event == PortEvent::kStopped) return false;
    long count = -1;
    if (event == PortEvent::kReadable) {
        std::lock_guard<std::mutex> receive(receiveMutex_);
        count = ReadTtyPort(fd, buffer, size);
    }
    if (count < 0) {
        FailLink();
        return false;
    }
    if (GetTickCount() - settleSince_ >= kSettleLimitMs) EndSettle();
    return true;
}

void CSerialLink::EndSettle() {
    {
        std::lock_guard<std::mutex> hold(settleMutex_);
        settling_.store(false);
    }
    settleDone_.notify_all();
}

void CSerialLink::WakeSettleWaiters() {
    // Taken and let go, so that a writer between its test and its wait
    // cannot miss the wake.
    { std::lock_guard<std::mutex> hold(settleMutex_); }
    settleDone_.notify_all();
}

void CSerialLink::OnLine(const char* line, uint32_t length) {
    ++linesHandedOn_;
    if (PushLine(line, length) != 0) ++linesUnannounced_;
}

bool CSerialLink::CloseAll() {
    const bool wasStanding = linkClosed_.exchange(1) == 0;
    RequestStop();
    if (reader_.joinable()) reader_.join();
    {
        std::lock_guard<std::mutex> hold(writeMutex_);
        ClosePort();
    }
    CloseStop();
    return wasStanding;
}

void CSerialLink::ClosePort() {
    const int fd = portFd_.exchange(-1);
    if (fd >= 0) CloseTtyPort(fd);
}

void CSerialLink::CloseStop() {
    std::lock_guard<std::mutex> hold(controlMutex_);
    stop_.Close();
}

void CSerialLink::ResetState() {
    workerThreadId_.store(kNoThread);
    ClearLines();
    {
        std::lock_guard<std::mutex> receive(receiveMutex_);
        assembler_.Reset();
    }
    receivePaused_.store(0);
    EndSettle();
}

}  // namespace velk
