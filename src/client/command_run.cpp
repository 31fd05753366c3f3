// The run of catalogue commands of CATTransferThread: after the opening, the
// commands of the list one after another, each to its "OK", until the phone
// refuses one. Every block the commands draw, but their ends, goes into the
// JSON array that velk_GetCommandResult hands out, each with the place of
// its command in the list: a report on a line the matcher could not read is
// one of them and ends nothing; only the phone's error line (the worker's
// kFinalErrorMessage), a time-out or the fall of the link end the run early.
//
// Notices are no results of a command: they go to the notice store, when
// the application has notices on, whatever operation runs.
#include <cstring>
#include <new>

#include "client/last_failure.h"
#include "client/notice_store.h"
#include "client/transfer_thread.h"
#include "decode/result_json.h"
#include "engine/message_numbers.h"
#include "engine/worker_thread.h"
#include "platform/window_sink.h"
#include "response/reply_forms.h"

namespace velk {
namespace {

// A phone that streams lines for ever must not fill the memory: past this
// many blocks in one run the rest are dropped.
constexpr std::size_t kMostResults = 65536;

// The live link reads messages by the worker's selectors as they start.
const uint32_t kReadForm = ReplySelectors{}.messageReadForm;

// {"command":<place>, then the block's own keys.
std::string ResultJson(const ATCommandBlock& block, std::size_t place) {
    const std::string object = ResultBlockToJson(block, FormChoice{kReadForm, {}});
    return "{\"command\":" + std::to_string(place) + "," + object.substr(1);
}

std::string JsonArray(const std::vector<std::string>& objects) {
    std::string out = "[";
    for (std::size_t i = 0; i < objects.size(); ++i) {
        if (i != 0) out += ',';
        out += objects[i];
    }
    return out + "]";
}

}  // namespace

int CATTransferThread::RequestCommands(CommandList commands, FailureCause& refusal) {
    {
        std::lock_guard<std::mutex> hold(stateLock);
        if (!linkStands || !readyFlag) {
            refusal = CauseOfBusyLink();
            return 0;
        }
        readyFlag = 0;
        resultFlag = 0;
        commandResultReady = false;
        runRequested = std::move(commands);
    }
    ClearLastFailure();
    return PostThreadMessage(threadId_, kMsgRunCommands, kRequestParam, 0) ? 1 : 0;
}

int CATTransferThread::FetchCommandResult(const char** json) {
    if (!json) return 0;
    std::lock_guard<std::mutex> hold(stateLock);
    if (!linkStands || !readyFlag || !commandResultReady) return 0;
    *json = commandResult.c_str();
    return 1;
}

void CATTransferThread::OnRequestRunCommands(const ThreadMessage&) {
    {
        std::lock_guard<std::mutex> hold(stateLock);
        if (transferState != kStateIdle) return;
        runCommands = std::move(runRequested);
        runRequested.clear();
    }
    runNext = 0;
    runResults.clear();
    if (runCommands.empty()) return;
    OpenWith(kStateCommands);
}

void CATTransferThread::SendRunCommand() {
    CommandBlockPtr block(AllocCommandBlock());
    if (!block) throw std::bad_alloc();
    std::memcpy(block.get(), runCommands[runNext].get(), sizeof(ATCommandBlock));
    if (!SendCommand(std::move(block))) throw std::bad_alloc();
    runInFlight = true;
}

void CATTransferThread::OnRunResult(const ATCommandBlock& block, uint32_t message) {
    if (IsNoticeMessage(message) || pendingCommands.empty()) return;
    switch (block.resultId) {
        case kResultDone:
            pendingCommands.pop_front();
            if (++runNext < runCommands.size()) {
                SendRunCommand();
            } else {
                EndRun(VELK_MSG_COMMAND_DONE, nullptr);
            }
            return;
        case kResultTimedOut: {
            pendingCommands.pop_front();
            const FailureCause cause = CauseOfTimeOut(runCommands[runNext]->commandId, 1);
            EndRun(VELK_MSG_TIMED_OUT, &cause);
            return;
        }
        default:
            break;
    }
    if (runResults.size() < kMostResults) runResults.push_back(ResultJson(block, runNext));
    if (message != kFinalErrorMessage) return;
    FailureCause cause = CauseOfRefusal(block.result.error);
    cause.text = "command " + std::to_string(runNext) + ": " + cause.text;
    pendingCommands.pop_front();
    ClearWorkerPending();
    EndRun(VELK_MSG_COMMAND_REFUSED, &cause);
}

// The result is there before the application hears of the end.
void CATTransferThread::EndRun(uint32_t windowMessage, const FailureCause* cause) {
    std::string result = JsonArray(runResults);
    runResults.clear();
    runCommands.clear();
    {
        std::lock_guard<std::mutex> hold(stateLock);
        commandResult = std::move(result);
        commandResultReady = true;
    }
    if (cause) RecordLastFailure(*cause);
    EndOperation(cause ? 0 : 1);
    PostWindow(windowMessage);
}

void CATTransferThread::KeepNotice(const ATCommandBlock& block, uint32_t message) {
    if (!notices_ || !notices_->Enabled()) return;
    const FormChoice choice{kReadForm, NoticeFormHead(message)};
    notices_->Keep(ResultBlockToJson(block, choice),
                   [this] { return window_.PostProgress(VELK_MSG_NOTICE); });
}

}  // namespace velk
