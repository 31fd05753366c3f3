// CATWorkerThread: the one thread that talks to the phone. It takes commands
// as thread messages from the transfer thread, keeps one on the line at a
// time (parking the others), has every received line classified and decoded,
// and posts the results back; it alone posts them. It also ends the
// link: the stop of the serial port comes through this thread, and its last
// act tells the transfer thread that the link is gone.
//
// A command is posted as message MessageForId(id) with kRequestParam and a
// block from AllocCommandBlock, which the worker then owns. Its results come
// back to controllerThreadId as MessageForId(resultId) with kResultParam:
// the blocks its information lines decode to, a ResultError for each fault
// or error line, then ResultDone after "OK" or ResultTimedOut after more than
// kCommandTimeoutMs without a line from the phone.
//
// Two kinds of block come under message numbers of their own, wParam still
// kResultParam: the ResultError of the phone's error line, which ends the
// command (kFinalErrorMessage; a report on a line the matcher refused keeps
// 1224 + 3 and ends nothing by itself), and every notice, a block of the
// unsolicited decoder (kNoticeMessage, or kNoticeMessage + 1 + n when it was
// decoded by kNoticeFormHeads[n], the heads whose result id prints by another
// form).
//
// AT+CMGS= and AT+CMGW= (SendsBodyAfterPrompt) send a message text, in text
// mode (AT+CMGF=1) as the phone's character set has it: the block carries it
// (SetMessageBody, command_block.h). The command line goes out, the phone
// prompts with "> ", the text follows with Ctrl-Z in one write, and the reply
// is read as any other: a ResultMessageSent (66) or ResultMessageWritten
// (70), then ResultDone. An error line instead of the prompt ends the command
// with its ResultError; a phone that never prompts ends it with
// ResultTimedOut, after which an Esc goes out, so that a late prompt cannot
// take the next command line for message text. An echo of the text, and the
// prompts some phones put after each line break in it, are passed over.
#pragma once

#include <atomic>
#include <cstdint>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <thread>

#include "engine/command_block.h"
#include "engine/parked_commands.h"
#include "platform/thread_messages.h"
#include "queues/named_event_watcher.h"
#include "queues/shared_queue.h"
#include "response/reply_forms.h"
#include "response/response_matcher.h"
#include "response/response_reader.h"
#include "response/response_record.h"

namespace velk {

// What the worker's states of the line mean.
enum : uint32_t {
    kSendIdle = 0,     // nothing on the line
    kSendBuilt = 1,    // text built, not yet sent
    kSendWaiting = 2,  // sent, waiting for the final reply
};

inline constexpr uint32_t kFinalErrorMessage = 4096;
inline constexpr uint32_t kNoticeMessage = 4097;
inline constexpr std::string_view kNoticeFormHeads[] = {"+CMS ERROR"};
inline constexpr bool IsNoticeMessage(uint32_t message) {
    return message >= kNoticeMessage && message <= kNoticeMessage + std::size(kNoticeFormHeads);
}
// The head a notice's JSON form is chosen by; empty for any other head.
inline constexpr std::string_view NoticeFormHead(uint32_t message) {
    return message > kNoticeMessage && IsNoticeMessage(message)
               ? kNoticeFormHeads[message - kNoticeMessage - 1]
               : std::string_view();
}

// One lapse for every command: more than 10000 ms without a line.
inline constexpr uint32_t kCommandTimeoutMs = 10000;
// The loop's longest sleep, just above the command time-out, so that an
// idle link finds a lapse at its first wake.
inline constexpr uint32_t kWorkerWaitMs = 10050;

class CATWorkerThread {
  public:
    // A command that is on the line already when the worker starts, left as
    // the dispatcher leaves a command it has sent: for a worker with no thread
    // of its own that reads the replies to a command sent by other means
    // (velkport decode).
    struct CommandInFlight {
        int32_t id = 0;
        std::string text;  // as sent: in capitals, without line end
        // For a command that sends a message text: the text, its prompt not
        // come yet.
        std::optional<std::string> body = std::nullopt;
    };

    struct Setup {
        ReaderLink link = SerialReaderLink();
        bool sharedQueues = true;  // create or join "PB" and "ATSPY"
        bool serialLink = true;    // the stop message stops the serial link
        // The message forms to read "+CMGL" and "+CMGR" lines with.
        ReplySelectors selectors;
        std::optional<CommandInFlight> commandInFlight;
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

    // Handles one drained message; false when the loop is to wait again
    // before draining more. The thread's loop calls it; a caller with no
    // thread of the worker's own (velkport decode) may call it directly.
    bool HandleMessage(const ThreadMessage& message);

    // The head the last line of the phone's own accord was decoded by; its
    // blocks are posted by the time HandleMessage returns.
    const std::string& ReplyText() const { return replyText; }

  private:
    // The thread function.
    void RunWorkerLoop();

    // One command in flight: send it now or park it.
    void CommandDispatcher(const ThreadMessage& message);
    // Time-out of the command in flight; start what is parked.
    void TickDispatcher();
    void BuildCommandText(int32_t id, ATCommandBlock& block);
    void SendCommandLine();
    void SendBuiltText();
    void StartOldestParked();
    // The message text of a command that sends one.
    void OnPrompt();
    void EndBody(bool abandoned);

    // The road of every received line: take, classify, decode, post.
    void OnLineReceived();
    void ReadSolicitedLine();
    void ReadUnsolicitedLine();
    void PostReports(const LineReports& reports);
    void PostNotice(std::string&& head);
    void EndThread();

    CSharedQueue spyQueue;
    CSharedQueue pbQueue;
    CATResponseReader responseReader;
    ParkedCommands parkedCommands;
    uint32_t commandArmed = 0;
    std::string commandText;
    // Which reply lines the command in flight takes, from its row.
    ReplyHeads commandHeads = ReplyHeads::kOwnHead;
    // Id of the command in flight, set when its text is built.
    int32_t currentCommand = 0;
    // Where the message text of the command in flight stands, and the text:
    // before the prompt the one to send, after it what of its echo may still
    // come.
    enum class BodyStage : uint8_t { kNone, kAwaitingPrompt, kEchoMayFollow };
    BodyStage bodyStage_ = BodyStage::kNone;
    std::string commandBody_;
    ReplySelectors selectors;
    // The head of the last line of the phone's own accord.
    std::string replyText;
    uint32_t sendState = kSendIdle;
    uint32_t lastActivityTick = 0;
    ATCommandBlock* requestInHand = nullptr;

    // The line just taken from the receive queue (moved out of it, not
    // copied), and its classified record, which keeps its room from line to
    // line.
    std::string lineText_;
    ATResponseRecord lineRecord_;

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
