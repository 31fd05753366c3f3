#include "engine/worker_thread.h"

#include <future>

#include "decode/solicited_decoder.h"
#include "decode/unsolicited_decoder.h"
#include "engine/message_numbers.h"
#include "engine/thread_ids.h"
#include "platform/post_until_taken.h"
#include "platform/shared_memory.h"
#include "platform/tick_clock.h"
#include "queues/queue_object_names.h"
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

}  // namespace

CATWorkerThread::CATWorkerThread() : CATWorkerThread(Setup{}) {}

CATWorkerThread::CATWorkerThread(Setup setup)
    : responseReader(setup.link), setup_(std::move(setup)) {
    if (setup_.sharedQueues) {
        OpenSharedQueue(pbQueue, "PB");
        OpenSharedQueue(spyQueue, "ATSPY");
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
            sendState = kSendIdle;
            return false;
        case AT_MSG_REPLY_UNSOLICITED:
            decoder.replyText = responseReader.pendingLine();
            if (!decoder.replyText.empty()) {
                DecodeUnsolicitedResult(decoder, responseReader.lines.GetRecord(0));
            }
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

void CATWorkerThread::OnLineReceived() {
    if (!running_) return;
    if (sendState == kSendWaiting) {
        // Every line from the phone restarts the time-out.
        lastActivityTick = GetTickCount();
        if (responseReader.ReadSolicited(commandText) != 0) {
            DecodeSolicitedResult(decoder, responseReader.lines.GetRecord(0));
        }
        if (responseReader.finished != 0) {
            commandArmed = 0;
            sendState = kSendIdle;
            // Other final replies got their ResultError from the matcher.
            if (responseReader.finalStatus() == kindOk) {
                if (ATCommandBlock* done = AllocCommandBlock()) {
                    done->resultId = kResultDone;
                    done->result.done.commandId = decoder.currentCommand;
                    PostResultBlock(done, kPostRetryPauseMs);
                }
            }
        }
        return;
    }
    decoder.replyText = responseReader.ReadUnsolicited();
    if (!decoder.replyText.empty()) {
        DecodeUnsolicitedResult(decoder, responseReader.lines.GetRecord(0));
    }
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
