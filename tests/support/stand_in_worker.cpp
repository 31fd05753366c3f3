#include "support/stand_in_worker.h"

#include <algorithm>
#include <chrono>
#include <cstring>

#include "engine/message_numbers.h"
#include "engine/thread_ids.h"
#include "platform/manual_event.h"

namespace velk::test {
namespace {

// Asks the stand-in's own thread to act as a link that fell.
constexpr uint32_t kFallMessage = 30001;

template <std::size_t N>
void CopyText(char (&field)[N], std::string_view text) {
    const std::size_t n = std::min(text.size(), N - 1);
    std::memcpy(field, text.data(), n);
    field[n] = '\0';
}

// A name field of 10 bytes with its length as the phone's line stated it,
// which may be longer than the field.
template <std::size_t N>
uint8_t CopyName(char (&field)[N], std::string_view name) {
    std::memcpy(field, name.data(), std::min(name.size(), N));
    return static_cast<uint8_t>(name.size());
}

Reply Make(int32_t resultId) {
    Reply r;
    r.resultId = resultId;
    return r;
}

// The block of a command message; null for any other message.
ATCommandBlock* CommandBlockOf(const ThreadMessage& m) {
    if (m.message <= kCommandMessageBase || m.wParam != kRequestParam) return nullptr;
    return BlockOf(m);
}

}  // namespace

Reply Done() {
    return Make(kResultDone);
}

Reply TimedOut() {
    return Make(kResultTimedOut);
}

Reply Error(std::string_view text) {
    Reply r = Make(kResultError);
    CopyText(r.form.error.message, text);
    return r;
}

Reply ToneInfo(std::string_view name, uint8_t number1, uint8_t number2, uint8_t number3) {
    Reply r = Make(kResultToneInfo);
    auto& f = r.form.toneInfo;
    f.nameLength = CopyName(f.infoName, name);
    f.infoNumber1 = number1;
    f.infoNumber2 = number2;
    f.infoNumber3 = number3;
    return r;
}

Reply TonePart(uint8_t slot, std::string_view name, uint8_t part, std::string_view text,
               uint8_t sizeHigh, uint8_t sizeLow) {
    Reply r = Make(kResultTonePart);
    auto& f = r.form.tonePart;
    f.index = slot;
    f.nameLength = CopyName(f.name, name);
    f.part = part;
    f.textLength = static_cast<uint8_t>(text.size());
    f.sizeHigh = sizeHigh;
    f.sizeLow = sizeLow;
    CopyText(f.text, text);
    return r;
}

Reply ImageInfo(std::string_view name, std::vector<uint16_t> frameRanges) {
    Reply r = Make(kResultImageInfo);
    auto& f = r.form.imageInfo;
    f.nameLength = CopyName(f.infoName, name);
    f.infoNumber1 = 1;
    f.infoNumber5 = 5;
    r.withRanges = true;
    r.frameRanges = std::move(frameRanges);
    return r;
}

Reply ImagePart(uint8_t frame, std::string_view name, uint8_t part, std::string_view text,
                uint8_t param1, uint8_t param3) {
    Reply r = Make(kResultImagePart);
    auto& f = r.form.imagePart;
    f.index = frame;
    f.nameLength = CopyName(f.name, name);
    f.part = part;
    f.textLength = static_cast<uint8_t>(text.size());
    CopyText(f.text, text);
    f.animParam1 = param1;
    f.animParam3 = param3;
    return r;
}

StandInWorker::StandInWorker() {
    SetWorkerControlForTests(this);
}

StandInWorker::~StandInWorker() {
    Stop();
    SetWorkerControlForTests(nullptr);
}

void StandInWorker::Answer(int32_t commandId, std::vector<Reply> replies) {
    std::lock_guard<std::mutex> hold(mutex_);
    standing_[commandId] = std::move(replies);
}

void StandInWorker::AnswerNext(int32_t commandId, std::vector<Reply> replies) {
    std::lock_guard<std::mutex> hold(mutex_);
    oneShot_[commandId].push_back(std::move(replies));
}

void StandInWorker::RefuseStart(bool refuse) {
    std::lock_guard<std::mutex> hold(mutex_);
    refuseStart_ = refuse;
}

void StandInWorker::Fall() {
    PostThreadMessage(workerId_.load(), kFallMessage, 0, 0);
}

std::vector<ATCommandBlock> StandInWorker::Commands() const {
    std::lock_guard<std::mutex> hold(mutex_);
    return commands_;
}

std::vector<int32_t> StandInWorker::CommandIds() const {
    std::lock_guard<std::mutex> hold(mutex_);
    std::vector<int32_t> ids;
    for (const ATCommandBlock& b : commands_) ids.push_back(b.commandId);
    return ids;
}

bool StandInWorker::WaitForCommands(std::size_t count, int timeoutMs) const {
    std::unique_lock<std::mutex> lock(mutex_);
    return changed_.wait_for(lock, std::chrono::milliseconds(timeoutMs),
                             [&] { return answered_ >= count; });
}

int StandInWorker::ClearPendingCount() const {
    std::lock_guard<std::mutex> hold(mutex_);
    return clearPending_;
}

bool StandInWorker::WaitForClearPending(int count, int timeoutMs) const {
    std::unique_lock<std::mutex> lock(mutex_);
    return changed_.wait_for(lock, std::chrono::milliseconds(timeoutMs),
                             [&] { return clearPending_ >= count; });
}

std::vector<StartArgs> StandInWorker::Starts() const {
    std::lock_guard<std::mutex> hold(mutex_);
    return starts_;
}

bool StandInWorker::Running() const {
    return ThreadQueueAlive(workerId_.load());
}

int StandInWorker::Start(ThreadId controller, uint8_t port, uint32_t baudRate, bool softwareFlow) {
    {
        std::lock_guard<std::mutex> hold(mutex_);
        starts_.push_back({controller, port, baudRate, softwareFlow});
        if (refuseStart_) return 0;
    }
    // A worker whose link fell has ended already; only its thread is left.
    if (thread_.joinable()) thread_.join();
    controller_ = controller;
    ManualEvent ready;
    thread_ = std::thread([this, controller, &ready] {
        workerId_ = EnsureThreadQueue();
        BlockSignalsOnThisThread();
        ready.Set();
        Loop(controller);
    });
    ready.Wait(kInfinite);
    return 1;
}

void StandInWorker::Stop() {
    if (!thread_.joinable()) return;
    while (ThreadQueueAlive(workerId_.load()) &&
           !PostThreadMessage(workerId_.load(), AT_MSG_STOP, 0, 0)) {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    thread_.join();
}

void StandInWorker::Loop(ThreadId controller) {
    for (;;) {
        ThreadMessage m;
        GetThreadMessage(m);
        if (m.message == AT_MSG_STOP || m.message == kFallMessage) break;
        if (m.message == AT_MSG_CLEAR_PENDING) {
            {
                std::lock_guard<std::mutex> hold(mutex_);
                ++clearPending_;
            }
            changed_.notify_all();
            continue;
        }
        if (ATCommandBlock* block = CommandBlockOf(m)) OnCommand(controller, block);
    }
    PostStopped(controller);
    CloseThreadQueue([](const ThreadMessage& m) { FreeCommandBlock(CommandBlockOf(m)); });
}

void StandInWorker::OnCommand(ThreadId controller, ATCommandBlock* block) {
    const int32_t id = block->commandId;
    {
        std::lock_guard<std::mutex> hold(mutex_);
        commands_.push_back(*block);
    }
    FreeCommandBlock(block);
    for (const Reply& reply : RepliesFor(id)) PostReply(controller, reply, id);
    // Counted after the replies are queued, so a test that saw the command
    // also has its answer queued ahead of anything it does next.
    {
        std::lock_guard<std::mutex> hold(mutex_);
        ++answered_;
    }
    changed_.notify_all();
}

void StandInWorker::PostResult(const Reply& reply, int32_t commandId) {
    PostReply(controller_.load(), reply, commandId);
}

void StandInWorker::PostReply(ThreadId controller, const Reply& reply, int32_t commandId) {
    ATCommandBlock* result = AllocCommandBlock();
    result->resultId = reply.resultId;
    result->result = reply.form;
    if (reply.resultId == kResultDone) result->result.done.commandId = commandId;
    if (reply.resultId == kResultTimedOut) result->result.timedOut.commandId = commandId;
    if (reply.withRanges) result->result.imageInfo.frameRanges = new WordList(reply.frameRanges);
    if (!PostThreadMessage(controller, MessageForId(reply.resultId), kResultParam,
                           reinterpret_cast<intptr_t>(result))) {
        if (reply.withRanges) delete result->result.imageInfo.frameRanges;
        FreeCommandBlock(result);
    }
}

std::vector<Reply> StandInWorker::RepliesFor(int32_t commandId) {
    std::lock_guard<std::mutex> hold(mutex_);
    auto once = oneShot_.find(commandId);
    if (once != oneShot_.end() && !once->second.empty()) {
        std::vector<Reply> replies = std::move(once->second.front());
        once->second.pop_front();
        return replies;
    }
    auto rule = standing_.find(commandId);
    if (rule != standing_.end()) return rule->second;
    return {Done()};
}

void StandInWorker::PostStopped(ThreadId controller) {
    while (ThreadQueueAlive(controller) &&
           !PostThreadMessage(controller, AT_MSG_STOPPED, kResultParam, 0)) {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
}

}  // namespace velk::test
