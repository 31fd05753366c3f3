#include "engine/worker_thread.h"

#include <algorithm>
#include <cstring>
#include <future>
#include <new>
#include <utility>

#include "decode/result_blocks.h"
#include "decode/solicited_decoder.h"
#include "decode/unsolicited_decoder.h"
#include "engine/body_echo.h"
#include "engine/command_table.h"
#include "engine/message_numbers.h"
#include "engine/thread_ids.h"
#include "platform/post_until_taken.h"
#include "platform/shared_memory.h"
#include "platform/tick_clock.h"
#include "queues/queue_object_names.h"
#include "serial/line_assembler.h"
#include "serial/serial_link.h"

namespace velk {
namespace {

constexpr int kQueueCapacity = 20;
constexpr int kQueueDataSize = 3000;

bool IsControlMessage(uint32_t number) {
    switch (number) {
        case AT_MSG_CLEAR_PENDING:
        case AT_MSG_REPLY_UNSOLICITED:
        case AT_MSG_TICK:
        case AT_MSG_STOPPED:
        case AT_MSG_RESET:
        case AT_MSG_STOP:
        case AT_MSG_LINE_RECEIVED:
        case AT_MSG_LINK_DOWN:
            return true;
        default:
            return false;
    }
}

// Joins the named queue when it exists, else creates it. A queue that cannot
// be had (another user's object, no shared memory) is simply left closed.
void OpenSharedQueue(CSharedQueue& queue, const char* name) {
    // Open and Create each build the queue's guard themselves, so whether the
    // mapping exists is asked of its name alone.
    if (SharedMemory::Exists(QueueObjectName(QueueObject::kMapping, name))) {
        queue.Open(name, kQueueCapacity, kQueueDataSize);
    } else {
        queue.Create(name, kQueueCapacity, kQueueDataSize);
    }
}

// Hands a block over to the transfer thread; a null block (no form, no
// memory) is nothing to post.
void Post(ResultBlockPtr block) {
    if (block) PostResultBlock(block.release(), kPostRetryPauseMs);
}

// The same under a message number of its own, which tells the transfer
// thread what the block is beyond its result id.
void PostAs(uint32_t message, ResultBlockPtr block) {
    if (!block) return;
    ATCommandBlock* raw = block.release();
    const std::size_t lost =
        PostUntilTaken(controllerThreadId, message, kResultParam, reinterpret_cast<intptr_t>(raw),
                       1, PostRetry{kPostRetryPauseMs});
    if (lost != 0) FreeResultBlock(raw);
}

uint32_t NoticeMessage(std::string_view head) {
    for (std::size_t i = 0; i < std::size(kNoticeFormHeads); ++i) {
        if (head == kNoticeFormHeads[i]) return kNoticeMessage + 1 + static_cast<uint32_t>(i);
    }
    return kNoticeMessage;
}

}  // namespace

CATWorkerThread::CATWorkerThread() : CATWorkerThread(Setup{}) {}

CATWorkerThread::CATWorkerThread(Setup setup)
    : responseReader(setup.link), selectors(setup.selectors), setup_(std::move(setup)) {
    if (setup_.sharedQueues) {
        OpenSharedQueue(pbQueue, "PB");
        OpenSharedQueue(spyQueue, "ATSPY");
    }
    if (setup_.commandInFlight) {
        currentCommand = setup_.commandInFlight->id;
        commandText = setup_.commandInFlight->text;
        commandHeads = HeadsOf(currentCommand, commandText);
        commandArmed = 1;
        sendState = kSendWaiting;
        const std::optional<std::string>& body = setup_.commandInFlight->body;
        if (body && SendsBodyAfterPrompt(currentCommand)) {
            commandBody_ = body->substr(0, kMessageBodyWidth);
            bodyStage_ = BodyStage::kAwaitingPrompt;
            responseReader.AwaitPrompt(true);
        }
    }
}

CATWorkerThread::~CATWorkerThread() {
    Join();
    emptyWatcher_.Stop();
    FreeCommandBlock(requestInHand);
    spyQueue.Close();
    pbQueue.Close();
}

ThreadId CATWorkerThread::Launch() {
    std::promise<ThreadId> ready;
    std::future<ThreadId> id = ready.get_future();
    thread_ = std::thread([this, &ready] {
        SetUpLinkThread("velk-worker");
        const ThreadId self = EnsureThreadQueue();
        threadId_.store(self);
        ready.set_value(self);
        RunWorkerLoop();
    });
    return id.get();
}

void CATWorkerThread::Join() {
    if (thread_.joinable() && thread_.get_id() != std::this_thread::get_id()) thread_.join();
}

void CATWorkerThread::EndSilently() {
    silentEnd_.store(true);
    PostUntilTaken(threadId_.load(), AT_MSG_STOPPED, 0, 0);
}

void CATWorkerThread::RunWorkerLoop() {
    commandArmed = 0;
    running_ = true;
    const ThreadId self = EnsureThreadQueue();
    // The "_EMPTY" event of the "PB" queue is a reason to look at the line
    // again; each time another process signals it, the loop gets a tick.
    if (NamedEvent* empty = pbQueue.EmptyEvent()) {
        emptyWatcher_.Start(*empty, [self] { PostThreadMessage(self, AT_MSG_TICK, 0, 0); });
    }
    while (!ended_) {
        if (!WaitForThreadMessage(kWorkerWaitMs,
                                  sendState == kSendWaiting ? &replyWait_ : nullptr)) {
            PostThreadMessage(self, AT_MSG_TICK, 0, 0);
            TickDispatcher();
            continue;
        }
        ThreadMessage message;
        while (!ended_ && PeekThreadMessage(message)) {
            if (!HandleMessage(message)) break;
        }
    }
}

bool CATWorkerThread::HandleMessage(const ThreadMessage& message) {
    switch (message.message) {
        case AT_MSG_CLEAR_PENDING:
        case AT_MSG_RESET:
            // A reply still in the air then arrives as an unsolicited line.
            parkedCommands.Clear();
            EndBody(true);
            sendState = kSendIdle;
            return false;
        case AT_MSG_REPLY_UNSOLICITED:
            // Lines out of turn are decoded where they stand; nothing here
            // posts this any more.
            return true;
        case AT_MSG_STOP:
            running_ = false;
            if (setup_.serialLink) {
                CSerialLink::Instance().StopLink();
            } else {
                PostThreadMessage(threadId_.load(), AT_MSG_LINK_DOWN, 0, 0);
            }
            return true;
        case AT_MSG_LINK_DOWN:
            PostUntilTaken(threadId_.load(), AT_MSG_STOPPED, 0, 0);
            return true;
        case AT_MSG_STOPPED:
            EndThread();
            return false;
        case AT_MSG_LINE_RECEIVED:
            OnLineReceived();
            return true;
        case AT_MSG_TICK:
            TickDispatcher();
            return true;
        default:
            CommandDispatcher(message);
            commandArmed = 1;
            return true;
    }
}

// The road of a line from the phone: take it from the receive queue,
// classify it against the command in flight, decode it, post what it gave.
// Every line waiting is read here, in the order the lines came, whatever the
// sizes of the reads that brought them: a line out of turn is decoded from its
// own text and record at once. Nothing is put by for a later message, so the
// lines of one burst cannot mix; the later notices of such a burst find the
// queue empty.
void CATWorkerThread::OnLineReceived() {
    if (!running_) return;
    try {
        while (responseReader.TakeLine(lineText_)) {
            if (lineText_ == kPromptText) {
                OnPrompt();
            } else if (sendState == kSendWaiting) {
                ReadSolicitedLine();
            } else {
                ReadUnsolicitedLine();
            }
        }
    } catch (const std::bad_alloc&) {
        // Out of memory for a line: it is dropped as if it had not come; the
        // lines behind it wait for their own notices.
        ResetAllButText(lineRecord_);
    }
}

void CATWorkerThread::ReadSolicitedLine() {
    // Every line from the phone restarts the time-out.
    lastActivityTick = GetTickCount();
    std::string echo;
    if (bodyStage_ == BodyStage::kEchoMayFollow) echo = lineText_;
    ClassifiedLine line =
        MatchSolicited(commandText, commandHeads, std::move(lineText_), selectors, lineRecord_);
    if (bodyStage_ == BodyStage::kEchoMayFollow) {
        // The echo ends at the first line that is not: a final reply or a
        // notice never is one, even when the text reads the same.
        const bool mayBeEcho =
            line.role == LineRole::kInformation || line.role == LineRole::kNothing;
        if (mayBeEcho && TakeBodyEcho(echo, commandBody_)) return;
        EndBody(false);
    }
    if (line.serviceReplyKind) selectors.serviceReplyKind = *line.serviceReplyKind;
    // The phone's error line is the last report of its line; it alone ends
    // the command, and says so by its message number.
    std::optional<std::string> finalError;
    if (line.role == LineRole::kError && !line.reports.empty()) {
        finalError = std::move(line.reports.back());
        line.reports.pop_back();
    }
    PostReports(line.reports);
    switch (line.role) {
        case LineRole::kInformation: {
            DecodedBlocks blocks = DecodeSolicitedResult(currentCommand, lineRecord_, selectors);
            Post(std::move(blocks.error));
            Post(std::move(blocks.result));
            break;
        }
        case LineRole::kNotice:
            PostNotice(std::move(line.head));
            break;
        case LineRole::kOk: {
            commandArmed = 0;
            EndBody(false);
            sendState = kSendIdle;
            ResultBlockPtr done(AllocCommandBlock());
            if (done) {
                done->resultId = kResultDone;
                done->result.done.commandId = currentCommand;
            }
            Post(std::move(done));
            break;
        }
        case LineRole::kError:
            if (finalError) {
                ResultBlockPtr error = ErrorBlock(*finalError);
                if (error) {
                    // The mark goes with it, so that the cause can be told
                    // as the phone's own line: +CMS ERROR is no +CME ERROR.
                    char(&mark)[sizeof error->result.error.mark] = error->result.error.mark;
                    // A plain "ERROR" has no mark; its view holds no bytes.
                    const std::size_t n = std::min(line.errorMark.size(), sizeof mark - 1);
                    if (n != 0) std::memcpy(mark, line.errorMark.data(), n);
                    mark[n] = '\0';
                }
                PostAs(kFinalErrorMessage, std::move(error));
            }
            commandArmed = 0;
            EndBody(false);
            sendState = kSendIdle;
            break;
        case LineRole::kNothing:
            break;
    }
}

// The phone waits for the message text: it goes out with its Ctrl-Z in one
// write. A prompt that no command waits for is passed over: the reader can
// only have taken one just as its command ended.
void CATWorkerThread::OnPrompt() {
    if (sendState != kSendWaiting || bodyStage_ != BodyStage::kAwaitingPrompt) return;
    lastActivityTick = GetTickCount();
    commandBody_ += kBodyEnd;
    responseReader.SendText(commandBody_);
    commandBody_.pop_back();
    bodyStage_ = BodyStage::kEchoMayFollow;
}

// The command in flight has ended, or its echo has. A command left before its
// prompt came (`abandoned`: timed out or dropped) gets an Esc: a phone that
// prompts late would take the next command line for message text.
void CATWorkerThread::EndBody(bool abandoned) {
    if (bodyStage_ == BodyStage::kAwaitingPrompt) {
        responseReader.AwaitPrompt(false);
        if (abandoned) responseReader.SendText(std::string_view(&kBodyCancel, 1));
    }
    bodyStage_ = BodyStage::kNone;
    commandBody_.clear();
}

void CATWorkerThread::ReadUnsolicitedLine() {
    ClassifiedLine line = MatchUnsolicited(lineText_, selectors, lineRecord_);
    PostReports(line.reports);
    if (line.role == LineRole::kNotice) PostNotice(std::move(line.head));
}

void CATWorkerThread::PostReports(const LineReports& reports) {
    for (const std::string& text : reports) Post(ErrorBlock(text));
}

void CATWorkerThread::PostNotice(std::string&& head) {
    replyText = std::move(head);
    PostAs(NoticeMessage(replyText), DecodeUnsolicitedResult(replyText, lineRecord_));
}

void CATWorkerThread::EndThread() {
    parkedCommands.Clear();
    emptyWatcher_.Stop();
    if (!silentEnd_.load())
        PostUntilTaken(controllerThreadId.load(), AT_MSG_STOPPED, kResultParam, 0);
    // Commands still queued carry blocks that nobody else will free.
    CloseThreadQueue([](const ThreadMessage& m) {
        if (!IsControlMessage(m.message) && m.lParam != 0) {
            FreeCommandBlock(BlockOf(m));
        }
    });
    ended_ = true;
}

}  // namespace velk
