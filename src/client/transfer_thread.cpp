#include "client/transfer_thread.h"

#include <cstring>
#include <string_view>

#include "client/last_failure.h"
#include "engine/message_numbers.h"
#include "engine/thread_ids.h"
#include "engine/worker_thread.h"
#include "platform/tick_clock.h"
#include "platform/window_sink.h"

namespace velk {

struct CATTransferThread::RequestRow {
    uint32_t message;
    void (CATTransferThread::*withMessage)(const ThreadMessage&);
    void (CATTransferThread::*plain)();
};

struct CATTransferThread::OkRow {
    int32_t id;
    void (CATTransferThread::*handler)();
};

// How a refusal by the phone ends each operation.
struct CATTransferThread::ErrorRow {
    int32_t id;
    uint32_t windowMessage;
    // The image operations tell the client before they take the idle state.
    bool messageBeforeIdle;
    void (CATTransferThread::*release)();
};

const CATTransferThread::RequestRow CATTransferThread::kRequestRows[] = {
    {kMsgReadMid, &CATTransferThread::OnRequestReadMid, nullptr},
    {kMsgReadMidInfo, &CATTransferThread::OnRequestReadMidInfo, nullptr},
    {kMsgReadAnimInfo, &CATTransferThread::OnRequestReadAnimInfo, nullptr},
    {kMsgWriteAnimFrames, &CATTransferThread::OnRequestWriteAnimFrames, nullptr},
    {kMsgReadAnimFrames, &CATTransferThread::OnRequestReadAnimFrames, nullptr},
    {kMsgWriteMid, &CATTransferThread::OnRequestWriteMid, nullptr},
    {kMsgSendAttention, nullptr, &CATTransferThread::SendAttention},
    {kMsgSendEchoOff, nullptr, &CATTransferThread::SendEchoOff},
    {kMsgSendToneRead, nullptr, &CATTransferThread::SendToneRead},
    {kMsgSendToneChunk, nullptr, &CATTransferThread::ToneChunkStep},
    {kMsgSendToneInfo, nullptr, &CATTransferThread::SendToneInfo},
    {kMsgSendImageChunk, nullptr, &CATTransferThread::ImageChunkStep},
    {kMsgSendImageInfo, nullptr, &CATTransferThread::SendImageInfo},
    {kMsgSendImageRead, nullptr, &CATTransferThread::SendImageRead},
    {kMsgRunCommands, &CATTransferThread::OnRequestRunCommands, nullptr},
};

const CATTransferThread::OkRow CATTransferThread::kOkRows[] = {
    {kCmdAttention, &CATTransferThread::OnAttentionOk},
    {kCmdEchoOff, &CATTransferThread::OnEchoOffOk},
    {kCmdToneInfo, &CATTransferThread::OnToneInfoDone},
    {kCmdToneRead, &CATTransferThread::OnToneReadDone},
    {kCmdToneWrite, &CATTransferThread::OnToneChunkDone},
    {kCmdImageWrite, &CATTransferThread::OnImageChunkDone},
    {kCmdImageInfo, &CATTransferThread::OnImageInfoDone},
    {kCmdImageRead, &CATTransferThread::OnImageFrameDone},
};

const CATTransferThread::ErrorRow CATTransferThread::kErrorRows[] = {
    {kCmdAttention, VELK_MSG_OPENING_REFUSED, false, &CATTransferThread::ReleaseWriteRecords},
    {kCmdEchoOff, VELK_MSG_OPENING_REFUSED, false, &CATTransferThread::ReleaseWriteRecords},
    {kCmdToneInfo, VELK_MSG_MID_INFO_REFUSED, false, nullptr},
    {kCmdToneRead, VELK_MSG_MID_READ_REFUSED, false, nullptr},
    {kCmdToneWrite, VELK_MSG_MID_WRITE_REFUSED, false, &CATTransferThread::ResetToneWrite},
    {kCmdImageWrite, VELK_MSG_ANIM_WRITE_REFUSED, true, &CATTransferThread::ReleaseAnimWrite},
    {kCmdImageInfo, VELK_MSG_ANIM_INFO_REFUSED, true, &CATTransferThread::ReleaseAnimInfo},
    {kCmdImageRead, VELK_MSG_ANIM_READ_REFUSED, true, &CATTransferThread::ReleaseAnimRead},
};

namespace {

// Which command follows ATE0, by the operation that runs.
constexpr uint32_t kAfterOpening[] = {
    kMsgSendToneInfo,    // kStateToneInfo
    kMsgSendToneRead,    // kStateToneRead
    kMsgSendToneChunk,   // kStateToneWrite
    kMsgSendImageChunk,  // kStateImageWrite
    kMsgSendImageRead,   // kStateImageRead
    kMsgSendImageInfo,   // kStateImageInfo
};

// A result message carries its block as the lParam integer.
ATCommandBlock* ResultBlockOf(const ThreadMessage& message) {
    if (message.wParam != kResultParam || message.message == AT_MSG_STOPPED) return nullptr;
    return BlockOf(message);
}

bool IsOperationRequest(uint32_t message) {
    for (uint32_t request : {kMsgReadMid, kMsgReadMidInfo, kMsgReadAnimInfo, kMsgWriteAnimFrames,
                             kMsgReadAnimFrames, kMsgWriteMid, kMsgRunCommands}) {
        if (message == request) return true;
    }
    return false;
}

void DisposeLeftover(const ThreadMessage& message) {
    FreeResultBlock(ResultBlockOf(message));
}

}  // namespace

CATTransferThread::CATTransferThread(WindowSink& window, NoticeStore* notices)
    : window_(window), notices_(notices) {}

CATTransferThread::~CATTransferThread() {
    if (thread_.joinable()) thread_.join();
}

// ---- the loop ----------------------------------------------------------

void CATTransferThread::Run() {
    threadId_ = EnsureThreadQueue();
    SetUpLinkThread("velk-transfer");
    queueReady_.Set();
    for (;;) {
        ThreadMessage message;
        if (!NextMessage(message)) {
            OnOpeningSilence();
            continue;
        }
        if (message.wParam == kResultParam && message.message == AT_MSG_STOPPED) break;
        Dispatch(message);
    }
    OnLinkEnd();
}

void CATTransferThread::Dispatch(const ThreadMessage& message) {
    ATCommandBlock* block = ResultBlockOf(message);
    try {
        if (message.wParam == kRequestParam) HandleRequest(message);
        if (block && IsNoticeMessage(message.message)) KeepNotice(*block, message.message);
        if (block && runInFlight) {
            OnRunResult(*block, message.message);
        } else if (block) {
            HandleResult(block);
        }
    } catch (...) {
        // Memory ran out in the middle of a step: the operation cannot go on,
        // but it still ends with a message, and the thread goes on serving.
        AbandonOperation();
    }
    FreeResultBlock(block);
}

void CATTransferThread::AbandonOperation() {
    pendingCommands.clear();
    ReleaseWriteRecords();
    bool running;
    {
        std::lock_guard<std::mutex> hold(stateLock);
        running = transferState != kStateIdle || readyFlag == 0;
    }
    if (!running) return;
    RecordLastFailure(kNoPhoneError, kOutOfMemoryText);
    PostWindow(VELK_MSG_TIMED_OUT);
    EndOperation(0);
    atRetryCount = 0;
}

// False when the opening has waited its time for anything after an error
// text to AT or ATE0.
bool CATTransferThread::NextMessage(ThreadMessage& message) {
    if (!selfBacklog.empty()) {
        message = selfBacklog.front();
        selfBacklog.pop_front();
        return true;
    }
    if (!openingSilenceArmed) {
        GetThreadMessage(message, &resultWait);
        return true;
    }
    for (;;) {
        const uint32_t waited = GetTickCount() - openingSilenceSince;
        if (waited >= kOpeningSilenceMs) return false;
        if (WaitForThreadMessage(kOpeningSilenceMs - waited, &resultWait) &&
            PeekThreadMessage(message)) {
            return true;
        }
    }
}

void CATTransferThread::HandleRequest(const ThreadMessage& message) {
    for (const RequestRow& row : kRequestRows) {
        if (row.message != message.message) continue;
        if (row.withMessage) {
            (this->*row.withMessage)(message);
        } else {
            (this->*row.plain)();
        }
        return;
    }
}

void CATTransferThread::HandleResult(ATCommandBlock* block) {
    switch (block->resultId) {
        case kResultDone:
            openingSilenceArmed = false;
            OnCommandOk();
            break;
        case kResultTimedOut:
            openingSilenceArmed = false;
            OnCommandTimeout();
            break;
        case kResultError:
            openingSilenceArmed = false;
            OnCommandError(*block);
            break;
        // Data lines count only while the command that asks for them is in
        // flight; a stray line after the end of its operation changes nothing.
        case kResultToneInfo:
            if (PendingId() == kCmdToneInfo) OnToneInfo(*block);
            break;
        case kResultTonePart:
            if (PendingId() == kCmdToneRead) OnTonePart(*block);
            break;
        case kResultImageInfo:
            if (PendingId() == kCmdImageInfo) OnImageInfo(*block);
            break;
        case kResultImagePart:
            if (PendingId() == kCmdImageRead) OnImagePart(*block);
            break;
        default:
            break;
    }
}

// A link that fell by itself must still end the operation that runs, or that
// an export accepted and left in the queue, with one message. A close-down
// asked for by the client ends it silently.
void CATTransferThread::OnLinkEnd() {
    bool running;
    {
        std::lock_guard<std::mutex> hold(stateLock);
        running = transferState != kStateIdle;
    }
    ReleaseTransferData();
    bool requestLeft = !selfBacklog.empty();
    CloseThreadQueue([&requestLeft](const ThreadMessage& message) {
        if (message.wParam == kRequestParam && IsOperationRequest(message.message)) {
            requestLeft = true;
        }
        DisposeLeftover(message);
    });
    if ((running || requestLeft) && !stopRequested_) {
        RecordLastFailure(kNoPhoneError, kLinkLostText);
        PostWindow(VELK_MSG_TIMED_OUT);
    }
}

// ---- state -------------------------------------------------------------

bool CATTransferThread::OpenWith(int32_t state) {
    {
        std::lock_guard<std::mutex> hold(stateLock);
        if (transferState != kStateIdle) return false;
        transferState = state;
        readyFlag = 0;
        resultFlag = 0;
        commandResultReady = false;
    }
    SendAttention();
    return true;
}

void CATTransferThread::EndOperation(int32_t resultFlagAfter) {
    std::lock_guard<std::mutex> hold(stateLock);
    // An image transfer whose information step failed must not resume with
    // the next information read.
    if (resultFlagAfter == 0) image.followUpAction = kFollowUpNone;
    runInFlight = false;
    transferState = kStateIdle;
    readyFlag = 1;
    resultFlag = resultFlagAfter;
}

// Between the two halves of an image transfer the object is idle with a good
// result; a second half that cannot run takes the result back and says why.
// False when another operation took the idle moment.
bool CATTransferThread::EndIfIdle(uint32_t windowMessage, const FailureCause& cause) {
    {
        std::lock_guard<std::mutex> hold(stateLock);
        if (transferState != kStateIdle) return false;
        image.followUpAction = kFollowUpNone;
        resultFlag = 0;
    }
    RecordLastFailure(cause);
    PostWindow(windowMessage);
    return true;
}

void CATTransferThread::PostToSelf(uint32_t message, intptr_t lParam) {
    // Only this thread empties its queue, so a full queue never drains while
    // it waits; such a post is kept aside and read first instead.
    if (!PostThreadMessage(threadId_, message, kRequestParam, lParam)) {
        selfBacklog.push_back({message, kRequestParam, lParam});
    }
}

void CATTransferThread::PostWindow(uint32_t message) {
    window_.PostFinal(message);
}

void CATTransferThread::PostProgress(uint32_t message) {
    window_.PostProgress(message);
}

void CATTransferThread::ClearWorkerPending() {
    PostThreadMessage(workerThreadId, AT_MSG_CLEAR_PENDING, kRequestParam, 0);
}

void CATTransferThread::ReleaseWriteRecords() {
    tone.writeRecord.reset();
    image.writeRecord.reset();
}

// ---- commands ----------------------------------------------------------

CommandBlockPtr CATTransferThread::NewCommand(int32_t id) {
    CommandBlockPtr block(AllocCommandBlock());
    if (block) block->commandId = id;
    return block;
}

// The block stays on `pendingCommands` as the record of what is in flight;
// the worker gets and owns a copy. False, with nothing left in flight, when
// the copy could not be made or posted.
bool CATTransferThread::SendCommand(CommandBlockPtr command) {
    if (!command) return false;
    const int32_t id = command->commandId;
    pendingCommands.push_back(std::move(command));
    ATCommandBlock* copy = AllocCommandBlock();
    if (copy) std::memcpy(copy, pendingCommands.back().get(), sizeof(ATCommandBlock));
    if (!copy || !PostThreadMessage(workerThreadId, MessageForId(id), kRequestParam,
                                    reinterpret_cast<intptr_t>(copy))) {
        FreeCommandBlock(copy);
        pendingCommands.pop_back();
        return false;
    }
    return true;
}

int32_t CATTransferThread::PendingId() const {
    return pendingCommands.empty() ? 0 : pendingCommands.front()->commandId;
}

void CATTransferThread::SendAttention() {
    ++atRetryCount;
    SendCommand(NewCommand(kCmdAttention));
}

void CATTransferThread::SendEchoOff() {
    SendCommand(NewCommand(kCmdEchoOff));
}

// NOLINTNEXTLINE(bugprone-easily-swappable-parameters): id first, as every command block
bool CATTransferThread::SendSingle(int32_t id, uint8_t slot) {
    CommandBlockPtr block = NewCommand(id);
    if (block) block->request.slot.slot = slot;
    return SendCommand(std::move(block));
}

// ---- results -----------------------------------------------------------

void CATTransferThread::OnCommandOk() {
    if (pendingCommands.empty()) return;
    const int32_t id = PendingId();
    pendingCommands.pop_front();
    for (const OkRow& row : kOkRows) {
        if (row.id == id) {
            (this->*row.handler)();
            return;
        }
    }
}

void CATTransferThread::OnAttentionOk() {
    atRetryCount = 0;
    PostToSelf(kMsgSendEchoOff);
}

void CATTransferThread::OnEchoOffOk() {
    int32_t state;
    {
        std::lock_guard<std::mutex> hold(stateLock);
        state = transferState;
    }
    if (state >= 0 && state < kStateIdle) PostToSelf(kAfterOpening[state]);
    if (state == kStateCommands) SendRunCommand();
}

void CATTransferThread::OnCommandTimeout() {
    if (pendingCommands.empty()) return;
    const int32_t id = PendingId();
    pendingCommands.pop_front();
    if (id == kCmdAttention && atRetryCount < kAttentionTries) {
        SendAttention();
        return;
    }
    // Whatever timed out, a write left behind must not leak into the next.
    ReleaseWriteRecords();
    if (id == kCmdToneWrite) tone.chunkIndex = 1;
    if (id == kCmdImageWrite) image.chunkIndex = 1;
    RecordLastFailure(CauseOfTimeOut(id, id == kCmdAttention ? atRetryCount : 1));
    PostWindow(VELK_MSG_TIMED_OUT);
    EndOperation(0);
    atRetryCount = 0;
}

void CATTransferThread::OnCommandError(const ATCommandBlock& block) {
    if (pendingCommands.empty()) return;
    const int32_t id = PendingId();
    const char* text = block.result.error.message;
    const std::string_view message(text, strnlen(text, sizeof block.result.error.message));
    if (id == kCmdAttention || id == kCmdEchoOff) {
        // Any other text leaves the command in flight; if nothing more comes
        // within the command time-out the operation ends as timed out.
        if (message != "ERROR") {
            openingSilenceArmed = true;
            openingSilenceSince = GetTickCount();
            openingRefusal = CauseOfRefusal(block.result.error).text;
            return;
        }
    }
    for (const ErrorRow& row : kErrorRows) {
        if (row.id != id) continue;
        RecordLastFailure(CauseOfRefusal(block.result.error));
        pendingCommands.pop_front();
        // What the operation held goes before the link takes requests again:
        // from then on an export may hand over a new write record.
        if (row.release) (this->*row.release)();
        if (!row.messageBeforeIdle) EndOperation(0);
        if (id != kCmdAttention && id != kCmdEchoOff) ClearWorkerPending();
        PostWindow(row.windowMessage);
        if (row.messageBeforeIdle) EndOperation(0);
        return;
    }
}

void CATTransferThread::OnOpeningSilence() {
    openingSilenceArmed = false;
    const int32_t id = PendingId();
    if (id != kCmdAttention && id != kCmdEchoOff) return;
    pendingCommands.pop_front();
    ReleaseWriteRecords();
    RecordLastFailure(CauseOfOpeningSilence(id, openingRefusal));
    PostWindow(VELK_MSG_TIMED_OUT);
    EndOperation(0);
    atRetryCount = 0;
}

}  // namespace velk
