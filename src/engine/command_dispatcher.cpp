// The worker's dispatcher: one command on the line at a time. Commands that
// come while one is in flight are parked and go out, in order of arrival, at
// the next tick or the next command message after the final reply.
#include <cstring>
#include <memory>

#include "engine/command_table.h"
#include "engine/command_text_builder.h"
#include "engine/message_numbers.h"
#include "engine/thread_ids.h"
#include "engine/worker_thread.h"
#include "platform/tick_clock.h"

namespace velk {

void CATWorkerThread::BuildCommandText(int32_t id, ATCommandBlock& block) {
    commandText = velk::BuildCommandText(id, block, currentCommand);
    commandHeads = HeadsOf(currentCommand, commandText);
    commandArmed = 1;
    bodyStage_ = BodyStage::kNone;
    commandBody_.clear();
    if (!commandText.empty() && SendsBodyAfterPrompt(id)) {
        commandBody_ = MessageBodyOf(block.request);
        bodyStage_ = BodyStage::kAwaitingPrompt;
    }
}

// The prompt is awaited before the line goes out: the phone may answer at
// once.
void CATWorkerThread::SendCommandLine() {
    if (bodyStage_ == BodyStage::kAwaitingPrompt) responseReader.AwaitPrompt(true);
    responseReader.SendCommand(commandText);
}

void CATWorkerThread::CommandDispatcher(const ThreadMessage& message) {
    const int32_t id = static_cast<int32_t>(message.message - kCommandMessageBase);
    ATCommandBlock* block = BlockOf(message);
    FreeCommandBlock(requestInHand);
    requestInHand = nullptr;

    if (block == nullptr) {
        // A command number that came with no block: build from a zero one.
        block = AllocCommandBlock();
        if (block == nullptr) return;
        block->commandId = id;
    }
    if (sendState == kSendBuilt || sendState == kSendWaiting) {
        requestInHand = block;
        parkedCommands.Push(block, sizeof(ATCommandBlock));
        FreeCommandBlock(requestInHand);
        requestInHand = nullptr;
        return;
    }
    if (parkedCommands.Empty()) {
        sendState = kSendBuilt;
        requestInHand = block;
        BuildCommandText(id, *block);
        FreeCommandBlock(requestInHand);
        requestInHand = nullptr;
        SendCommandLine();
        sendState = kSendWaiting;
        lastActivityTick = GetTickCount();
        return;
    }
    // The order of arrival holds: park the new one and start the oldest.
    parkedCommands.Push(block, sizeof(ATCommandBlock));
    FreeCommandBlock(block);
    StartOldestParked();
}

void CATWorkerThread::StartOldestParked() {
    const std::size_t size = parkedCommands.FrontSize();
    if (size == 0) return;
    std::unique_ptr<unsigned char[]> buffer(new (std::nothrow) unsigned char[size]);
    if (!buffer || !parkedCommands.Pop(buffer.get(), size)) return;
    sendState = kSendBuilt;
    auto* block = reinterpret_cast<ATCommandBlock*>(buffer.get());
    BuildCommandText(block->commandId, *block);
    SendBuiltText();
}

// An empty text is not sent from here: the line stays "built" and the next
// tick sends the bare line end.
void CATWorkerThread::SendBuiltText() {
    if (commandText.empty()) return;
    SendCommandLine();
    sendState = kSendWaiting;
    lastActivityTick = GetTickCount();
}

void CATWorkerThread::TickDispatcher() {
    if (sendState == kSendWaiting && commandArmed == 1 &&
        GetTickCount() - lastActivityTick >= kCommandTimeoutMs + 1) {
        if (ATCommandBlock* timedOut = AllocCommandBlock()) {
            timedOut->resultId = kResultTimedOut;
            timedOut->result.timedOut.commandId = currentCommand;
            PostResultBlock(timedOut, 0);
        }
        EndBody(true);
        sendState = kSendIdle;
        return;
    }
    if (sendState == kSendBuilt) {
        // The lapse runs on from the last activity before.
        SendCommandLine();
        sendState = kSendWaiting;
        return;
    }
    if (sendState == kSendIdle && !parkedCommands.Empty()) {
        sendState = kSendBuilt;
        StartOldestParked();
    }
}

}  // namespace velk
