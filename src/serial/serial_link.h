// The one serial link of the process: the port, its reader thread and the
// stop descriptor that ends every wait of the link.
//
// Threads: StartLink and ResetReceive run on the transfer thread, StopLink and
// the writes on the worker; RequestStop may come from any thread. The reader
// thread, made by StartLink, turns what the phone sends into lines in the
// receive queue and posts AT_MSG_LINE_RECEIVED to the worker for each; when
// the port hangs up or fails it closes the link itself and posts
// AT_MSG_LINK_DOWN. Only one thread ever closes the port, and only when no
// other one can still be using it.
//
// The settle after a cancel. A cancel closes the port in the middle of a
// reply, but the phone goes on sending the rest of it (the frames of an image
// read and their OK, for hundreds of milliseconds) into the port that the
// restart opens. Were the next command to go out meanwhile, the phone would
// answer it only after that tail, and the tail's OK would be taken for its
// answer: from then on every command would take the OK of the one before. So a
// link started with SettleAtNextStart first lets the line go quiet: the
// reader throws away whatever comes until nothing has come for
// kSettleQuietMs, and a write waits until then. Silence is the only mark of
// the tail's end that a stale OK cannot imitate (an "OK" that answers a
// repeated AT alone may still be the tail's last line), and it costs nothing
// when the phone is quiet already: the span starts with the link, so a
// request made after it finds the line settled. The span is the port's poll
// time-out; the whole settle ends anyway once kSettleLimitMs have passed on
// the tick clock since the start, for a phone that never falls silent, and
// the link goes on as without it. A phone that takes longer than the span to
// begin the rest of its reply is not waited for. Lines that come in the
// settle (a notice among them) are lost.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <thread>

#include "platform/stop_descriptor.h"
#include "platform/thread_messages.h"
#include "platform/tty_port.h"
#include "serial/line_assembler.h"

namespace velk {

// How long the line must be silent before a link started after a cancel
// sends, and how long at most it waits for that, from the start on.
inline constexpr int kSettleQuietMs = 100;
inline constexpr uint32_t kSettleLimitMs = 2000;

class CSerialLink {
  public:
    // The link of the process. It lives as long as the process.
    static CSerialLink& Instance();

    CSerialLink(const CSerialLink&) = delete;
    CSerialLink& operator=(const CSerialLink&) = delete;

    // Opens the device that `port` maps to, sets the line up, starts the
    // reader and raises DTR. The link's messages go to `worker`. Returns 1,
    // or 0 with nothing left open and no thread running. A link that still
    // stands is closed first, without a message.
    int StartLink(ThreadId worker, uint8_t port, uint32_t baudRate, bool softwareFlow);

    // Whether the next StartLink's link settles first (above): for the
    // restart of a cancel. StartLink takes the mark, also when it fails; the
    // caller clears it after a start that may not have reached StartLink.
    void SettleAtNextStart(bool settle) { settleAtNextStart_.store(settle); }

    // Ends the reader (waiting for it), drops DTR, closes the port and posts
    // AT_MSG_LINK_DOWN to the worker, unless the link had failed already and
    // said so. Leaves no thread and no descriptor behind. Never hangs.
    void StopLink();

    // Sets the stop descriptor: a write held up by flow control returns 0 at
    // once, later writes return 0, and the reader ends. The worker still has
    // to call StopLink.
    void RequestStop();

    // Throws away every line queued and the line being collected, and what
    // waits in the port's buffers in both directions. Commands sent meanwhile
    // are dropped. Called once, right after StartLink.
    void ResetReceive();

    // Any thread: whether the reader takes the next "> " at the start of a
    // line for the phone's prompt (LineAssembler::AwaitPrompt).
    void AwaitPrompt(bool awaited) { assembler_.AwaitPrompt(awaited); }

    // Posts `message` to the worker `count` times, retrying every 50 ms
    // while its queue is full, until all are taken, the worker is gone, or
    // the link is stopping.
    void PostToWorker(uint32_t message, std::size_t count = 1);

    // The failure path, on the reader thread when the port hangs up or
    // fails: tells the worker, wakes a waiting writer and closes the link.
    // Runs once per link; StopLink after it does nothing more.
    void FailLink();

    // Writes all bytes, waiting for the settle and for flow control as long
    // as the link stands. 1 when all went out, else 0.
    int WritePort(const char* bytes, std::size_t count);

    // True while ResetReceive runs: a command sent now is dropped.
    bool ReceivePaused() const { return receivePaused_.load() != 0; }

    // True while the port is open.
    bool IsOpen() const { return portFd_.load() >= 0; }

    // Why the last StartLink that failed did so, and its errno.
    TtyFault LastStartFault() const { return lastFault_.load(); }
    int LastStartError() const { return lastError_.load(); }

  private:
    CSerialLink();

    void ReaderLoop();
    // One wait and read of the settle; false when the reader is to end.
    bool SettleStep(int fd, int stopFd, char* buffer, std::size_t size);
    void EndSettle();
    void WakeSettleWaiters();
    void OnLine(const char* line, uint32_t length);
    // Ends the reader (also one that ended by itself and waits to be
    // joined) and closes whatever is open. True when the link stood until
    // now, that is, had neither failed nor been stopped.
    bool CloseAll();
    void ClosePort();
    void CloseStop();
    void ResetState();
    int FailStart(TtyFault fault, int error);

    std::mutex lifecycleMutex_;  // StartLink against StopLink
    std::mutex controlMutex_;    // the stop descriptor's life against RequestStop
    std::mutex writeMutex_;      // one write at a time; the port's life against writers
    std::mutex receiveMutex_;    // the reader's read and assembly against ResetReceive
    std::mutex settleMutex_;     // the settle's end against the writes that wait for it
    std::condition_variable settleDone_;

    std::atomic<int> portFd_{-1};
    StopDescriptor stop_;
    std::thread reader_;
    std::atomic<ThreadId> workerThreadId_{kNoThread};
    std::atomic<uint32_t> linkClosed_{1};
    std::atomic<uint32_t> receivePaused_{0};
    std::atomic<bool> stopRequested_{false};
    std::atomic<bool> settleAtNextStart_{false};
    std::atomic<bool> settling_{false};
    uint32_t settleSince_ = 0;  // the tick the settle began; set before the reader runs
    LineAssembler assembler_;
    uint64_t linesHandedOn_ = 0;        // the reader's own count of the lines it assembled
    std::size_t linesUnannounced_ = 0;  // queued from this chunk, not yet posted

    std::atomic<TtyFault> lastFault_{TtyFault::kNone};
    std::atomic<int> lastError_{0};
};

}  // namespace velk
