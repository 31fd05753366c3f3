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
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <thread>

#include "platform/stop_descriptor.h"
#include "platform/thread_messages.h"
#include "platform/tty_port.h"
#include "serial/line_assembler.h"

namespace velk {

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

    // Writes all bytes, waiting for flow control as long as the link
    // stands. 1 when all went out, else 0.
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

    std::atomic<int> portFd_{-1};
    StopDescriptor stop_;
    std::thread reader_;
    std::atomic<ThreadId> workerThreadId_{kNoThread};
    std::atomic<uint32_t> linkClosed_{1};
    std::atomic<uint32_t> receivePaused_{0};
    std::atomic<bool> stopRequested_{false};
    LineAssembler assembler_;
    uint64_t linesHandedOn_ = 0;        // the reader's own count of the lines it assembled
    std::size_t linesUnannounced_ = 0;  // queued from this chunk, not yet posted

    std::atomic<TtyFault> lastFault_{TtyFault::kNone};
    std::atomic<int> lastError_{0};
};

}  // namespace velk
