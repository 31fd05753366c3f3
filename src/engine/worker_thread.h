// CATWorkerThread: the one thread that talks to the phone. It takes commands
// as thread messages from the transfer thread, keeps one on the line at a
// time (parking the others), runs the response reader on every received line,
// calls the result decoders and posts the results back. It also ends the
// link: the stop of the serial port comes through this thread, and its last
// act tells the transfer thread that the link is gone.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <thread>

#include "decode/decoder_state.h"
#include "engine/command_block.h"
#include "engine/parked_commands.h"
#include "platform/thread_messages.h"
#include "queues/named_event_watcher.h"
#include "queues/shared_queue.h"
#include "response/response_reader.h"

namespace velk {

// What the worker's states of the line mean.
enum : uint32_t {
    kSendIdle = 0,     // nothing on the line
    kSendBuilt = 1,    // text built, not yet sent
    kSendWaiting = 2,  // sent, waiting for the final reply
};

// One lapse for every command: more than 10000 ms without a line.
inline constexpr uint32_t kCommandTimeoutMs = 10000;
// The loop's longest sleep, just above the command time-out, so that an
// idle link finds a lapse at its first wake.
inline constexpr uint32_t kWorkerWaitMs = 10050;

class CATWorkerThread {
  public:
    struct Setup {
        ReaderLink link = SerialReaderLink();
        bool sharedQueues = true;  // create or join "PB" and "ATSPY"
        bool serialLink = true;    // the stop message stops the serial link
    };

    CATWorkerThread();
    explicit CATWorkerThread(Setup setup);
    ~CATWorkerThread();
    CATWorkerThread(const CATWorkerThread&) = delete;
    CATWorkerThread& operator=(const CATWorkerThread&) = delete;

    // Starts the thread and returns its id once its queue takes messages.
    ThreadId Launch();
    ThreadId ThreadIdOf() const { return threadId_.load(); }
    // Waits for the thread to end (it ends after AT_MSG_STOPPED).
    void Join();
    // Ends the thread without telling the transfer thread: for a link that
    // never stood.
    void EndSilently();

    // The thread function.
    void RunWorkerLoop();
    // Handles one drained message; false when the loop is to wait again
    // before draining more.
    bool HandleMessage(const ThreadMessage& message);

    // One command in flight: send it now or park it.
    void CommandDispatcher(const ThreadMessage& message);
    // Time-out of the command in flight; start what is parked.
    void TickDispatcher();
    void BuildCommandText(int32_t id, ATCommandBlock& block);

    CSharedQueue spyQueue;
    CSharedQueue pbQueue;
    CATResponseReader responseReader;
    ParkedCommands parkedCommands;
    uint32_t commandArmed = 0;
    std::string commandText;
    DecoderState decoder;  // currentCommand, replyText and the decoders' cursor
    uint32_t sendState = kSendIdle;
    uint32_t lastActivityTick = 0;
    ATCommandBlock* requestInHand = nullptr;

  private:
    void OnLineReceived();
    void SendBuiltText();
    void StartOldestParked();
    void EndThread();

    Setup setup_;
    bool running_ = true;
    std::atomic<bool> silentEnd_{false};
    bool ended_ = false;
    std::atomic<ThreadId> threadId_{kNoThread};
    std::thread thread_;
    CNamedEventWatcher emptyWatcher_;
    // The waits for the phone's reply learn whether it comes fast enough to
    // look for; the waits for the next command always look, the transfer
    // thread sends it right after a result.
    LookHabit replyWait_;
};

}  // namespace velk
