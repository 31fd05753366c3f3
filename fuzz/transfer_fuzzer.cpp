// The transfer thread fed arbitrary result blocks while its operations run.
// This thread stands in for the worker: each command the transfer thread
// sends is answered with a group of blocks taken from the input (any number
// of data lines of any kind and content, then one end of the command), and
// the window messages come back through a pipe. When the input runs out,
// every command left is answered with a time-out, as the worker would after
// the phone fell silent, so every operation must end.
//
// What must hold besides the sanitizers' findings: each accepted operation
// ends with exactly one final window message, of those its request allows;
// a good read leaves a record that can be read to its end; and the thread
// ends cleanly with nothing leaked.
//
// Input: one byte per operation (its kind, 0-5 modulo 6) and the request's
// arguments, then one group per command: a head byte (bits 0-1: data lines,
// bits 2-3: the end: done, timed out, "ERROR", or an error text that
// follows), each data line as a kind byte and the bytes of its form.
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "client/transfer_thread.h"
#include "engine/command_block.h"
#include "engine/message_numbers.h"
#include "engine/thread_ids.h"
#include "engine/worker_control.h"
#include "fuzz_input.h"
#include "platform/thread_messages.h"
#include "platform/tick_clock.h"
#include "platform/window_sink.h"
#include "velkport.h"

namespace velk::fuzz {
namespace {

// Window messages come back to this thread as this number plus theirs.
constexpr uint32_t kWindowBase = 60000;
constexpr int kMostOperations = 4;
constexpr std::size_t kMostRanges = 300;

void Require(bool condition) {
    if (!condition) std::abort();
}

// This thread is the worker of every link the fuzzer starts.
class SelfAsWorker : public WorkerControl {
  public:
    explicit SelfAsWorker(ThreadId self) : self_(self) {}
    int Start(ThreadId controller, uint8_t, uint32_t, bool) override {
        controller_ = controller;
        return 1;
    }
    void Stop() override {
        while (!PostThreadMessage(controller_, AT_MSG_STOPPED, kResultParam, 0) &&
               ThreadQueueAlive(controller_)) {
            std::this_thread::yield();
        }
    }
    ThreadId WorkerId() const override { return self_; }
    // The transfer thread of the link started last.
    ThreadId Controller() const { return controller_; }

  private:
    ThreadId self_;
    ThreadId controller_ = kNoThread;
};

// Reads the window's pipe until every write end is closed and passes each
// message on to `target`'s queue.
class WindowRelay {
  public:
    explicit WindowRelay(ThreadId target) {
        Require(::pipe(fds_) == 0);
        reader_ = std::thread([this, target] {
            VelkWindowMessage m;
            while (::read(fds_[0], &m, sizeof m) == static_cast<ssize_t>(sizeof m)) {
                Require(PostThreadMessage(target, kWindowBase + m.message, 0, 0));
            }
        });
    }
    ~WindowRelay() {
        CloseWriteEnd();
        reader_.join();
        ::close(fds_[0]);
    }
    int WriteEnd() const { return fds_[1]; }
    void CloseWriteEnd() {
        if (fds_[1] >= 0) ::close(fds_[1]);
        fds_[1] = -1;
    }

  private:
    int fds_[2] = {-1, -1};
    std::thread reader_;
};

// VELK_FUZZ_TRACE=1 in the environment prints the dialogue of each input,
// for reading what a saved crash or hang did.
bool Tracing() {
    static const bool tracing = std::getenv("VELK_FUZZ_TRACE") != nullptr;
    return tracing;
}

bool IsFinal(uint32_t window) {
    return window >= VELK_MSG_MID_INFO_REFUSED && window <= VELK_MSG_ANIM_READ_REFUSED;
}

enum Operation { kToneInfo, kToneRead, kToneWrite, kImageInfo, kImageRead, kImageWrite };

// The final messages each operation may end with; the two shared by all
// (time-out, opening refused) are not listed.
struct FinalRow {
    uint32_t good;
    uint32_t refusals[2];
};
constexpr FinalRow kFinals[] = {
    {VELK_MSG_MID_INFO_READ, {VELK_MSG_MID_INFO_REFUSED, 0}},
    {VELK_MSG_MID_READ, {VELK_MSG_MID_READ_REFUSED, 0}},
    {VELK_MSG_MID_WRITTEN, {VELK_MSG_MID_WRITE_REFUSED, 0}},
    {VELK_MSG_ANIM_INFO_READ, {VELK_MSG_ANIM_INFO_REFUSED, 0}},
    {VELK_MSG_ANIM_READ, {VELK_MSG_ANIM_INFO_REFUSED, VELK_MSG_ANIM_READ_REFUSED}},
    {VELK_MSG_ANIM_WRITTEN, {VELK_MSG_ANIM_INFO_REFUSED, VELK_MSG_ANIM_WRITE_REFUSED}},
};

bool AllowedFinal(Operation op, uint32_t window) {
    const FinalRow& row = kFinals[op];
    return window == row.good || window == row.refusals[0] || window == row.refusals[1] ||
           window == VELK_MSG_TIMED_OUT || window == VELK_MSG_OPENING_REFUSED;
}

// Reads every byte of what a fetch hands out, so that a record shorter than
// it claims is found by the address sanitizer.
uint32_t Touch(const void* bytes, std::size_t count) {
    uint32_t sum = 0;
    const auto* p = static_cast<const uint8_t*>(bytes);
    for (std::size_t i = 0; i < count; ++i) sum += p[i];
    return sum;
}

class TransferRun {
  public:
    TransferRun(FuzzInput& input, CATTransferThread& transfer, ThreadId controller,
                TestTickClock& clock)
        : in_(input), transfer_(transfer), controller_(controller), clock_(clock) {}

    // One operation from request to final message; false when the request
    // was refused.
    bool Operation() {
        const auto op = static_cast<fuzz::Operation>(in_.Byte() % 6);
        WaitUntilIdle();
        const int accepted = Request(op);
        if (Tracing()) std::fprintf(stderr, "operation %d accepted %d\n", op, accepted);
        if (accepted == 0) return false;
        const uint32_t final = AnswerUntilFinal();
        Require(AllowedFinal(op, final));
        if (final == kFinals[op].good) Fetch(op);
        return true;
    }

  private:
    // The image operations send their final message just before they take
    // the idle state; a client that asks again at once may be refused.
    void WaitUntilIdle() {
        while (transfer_.OperationRunning()) std::this_thread::yield();
    }

    int Request(fuzz::Operation op) {
        switch (op) {
            case kToneInfo:
                return transfer_.RequestMidInfo();
            case kToneRead:
                return transfer_.RequestMid(in_.Byte());
            case kToneWrite: {
                MidRecord record{};
                record.id = in_.Byte();
                record.nameLength = in_.Byte() % 12;
                in_.Fill(record.name, sizeof record.name);
                std::string data = in_.ShortText(255);
                // Up to just past the largest tone a write takes.
                data.resize(std::max<std::size_t>(data.size(), in_.Word() % 32600), 'A');
                record.size = static_cast<uint16_t>(data.size());
                record.data = reinterpret_cast<uint8_t*>(data.data());
                return transfer_.RequestMidWrite(record);
            }
            case kImageInfo:
                return transfer_.RequestAnimInfo();
            case kImageRead:
                return transfer_.RequestAnim(in_.Byte());
            case kImageWrite: {
                AnimRecord record{};
                record.id = in_.Byte();
                record.nameLength = in_.Byte() % 12;
                in_.Fill(record.name, sizeof record.name);
                record.animParamFirst = in_.Byte();
                record.animParamLast = in_.Byte();
                std::string data = in_.ShortText(255);
                data.resize(std::max<std::size_t>(data.size(), in_.Word()), 'B');
                record.size = static_cast<uint16_t>(data.size());
                record.data = reinterpret_cast<uint8_t*>(data.data());
                return transfer_.RequestAnimWrite(record);
            }
        }
        return 0;
    }

    // Serves commands until the final message comes and returns it.
    uint32_t AnswerUntilFinal() {
        for (;;) {
            ThreadMessage m;
            GetThreadMessage(m);
            if (m.message >= kWindowBase) {
                const uint32_t window = m.message - kWindowBase;
                if (Tracing()) std::fprintf(stderr, "window %u\n", window);
                if (IsFinal(window)) return window;
                continue;
            }
            if (m.message == AT_MSG_CLEAR_PENDING) continue;
            Require(m.wParam == kRequestParam && m.lParam != 0);
            auto* command = BlockOf(m);
            const int32_t id = command->commandId;
            Require(m.message == MessageForId(id));
            FreeCommandBlock(command);
            if (Tracing()) std::fprintf(stderr, "command %d\n", id);
            Answer(id);
        }
    }

    // One group of blocks for the command in flight. An error text other
    // than "ERROR" to AT or ATE0 leaves it in flight: the next group answers
    // the same command, or, with no input left, the wait for anything more
    // runs out on the clock.
    void Answer(int32_t id) {
        for (;;) {
            if (in_.Empty()) {
                PostEnd(kResultTimedOut, id);
                return;
            }
            const uint8_t head = in_.Byte();
            for (int n = head & 3; n > 0; --n) PostDataLine();
            switch (head >> 2 & 3) {
                case 0:
                    PostEnd(kResultDone, id);
                    return;
                case 1:
                    PostEnd(kResultTimedOut, id);
                    return;
                case 2:
                    PostError("ERROR");
                    return;
                default:
                    break;
            }
            const std::string text = in_.ShortText(40);
            PostError(text);
            if (text.substr(0, text.find('\0')) == "ERROR" ||
                (id != kCmdAttention && id != kCmdEchoOff))
                return;
            if (in_.Empty()) {
                RunOutOpeningSilence();
                return;
            }
        }
    }

    // The transfer thread may still be in the wait of an earlier error text
    // when the clock moves, and then start its wait afresh: the clock moves
    // again whenever a timed wait stands, until something comes back.
    void RunOutOpeningSilence() {
        ThreadMessage m;
        while (!PeekThreadMessage(m, 0, 0, false)) {
            if (clock_.Waiters() != 0) {
                clock_.Advance(kOpeningSilenceMs);
            } else {
                std::this_thread::sleep_for(std::chrono::microseconds(50));
            }
        }
    }

    void Post(ATCommandBlock* block) {
        if (Tracing()) std::fprintf(stderr, "  result %d\n", block->resultId);
        Require(PostThreadMessage(controller_, MessageForId(block->resultId), kResultParam,
                                  reinterpret_cast<intptr_t>(block)));
    }

    void PostEnd(int32_t resultId, int32_t commandId) {
        ATCommandBlock* block = AllocCommandBlock();
        Require(block != nullptr);
        block->resultId = resultId;
        block->result.done.commandId = commandId;
        Post(block);
    }

    void PostError(const std::string& text) {
        ATCommandBlock* block = AllocCommandBlock();
        Require(block != nullptr);
        block->resultId = kResultError;
        char* message = block->result.error.message;
        text.copy(message, std::min(text.size(), sizeof block->result.error.message - 1));
        Post(block);
    }

    // A data line of one of the four kinds the transfers read, or of an id
    // they do not act on, with fields as a decoder could fill them: any
    // bytes, but the long texts ended within their field.
    void PostDataLine() {
        static constexpr int32_t kKinds[] = {
            kResultToneInfo, kResultTonePart, kResultImageInfo, kResultImagePart, 12, 157, 0, 200};
        ATCommandBlock* block = AllocCommandBlock();
        Require(block != nullptr);
        block->resultId = kKinds[in_.Byte() % std::size(kKinds)];
        switch (block->resultId) {
            case kResultToneInfo:
                in_.Fill(&block->result.toneInfo, sizeof block->result.toneInfo);
                break;
            case kResultTonePart: {
                ResultTonePart& part = block->result.tonePart;
                in_.Fill(&part, sizeof part);
                part.text[sizeof part.text - 1] = '\0';
                break;
            }
            case kResultImagePart: {
                ResultImagePart& part = block->result.imagePart;
                in_.Fill(&part, sizeof part);
                part.text[sizeof part.text - 1] = '\0';
                break;
            }
            case kResultImageInfo: {
                ResultImageInfo& info = block->result.imageInfo;
                in_.Fill(&info, offsetof(ResultImageInfo, frameRanges));
                const uint8_t count = in_.Byte();
                // The decoder always attaches a list; a missing one is
                // still handled.
                if (count != 255) {
                    info.frameRanges = new WordList;
                    for (std::size_t i = 0; i < std::min<std::size_t>(count, kMostRanges); ++i)
                        info.frameRanges->push_back(in_.Word());
                }
                break;
            }
            default:
                break;
        }
        Post(block);
    }

    void Fetch(fuzz::Operation op) {
        volatile uint32_t sum = 0;
        switch (op) {
            case kToneInfo: {
                MidInfoRecord* info = nullptr;
                if (transfer_.FetchMidInfo(&info) == 1) sum = sum + Touch(info, sizeof *info);
                break;
            }
            case kToneRead: {
                MidRecord* record = nullptr;
                Require(transfer_.FetchMidData(&record) == 1 && record != nullptr);
                sum = sum + Touch(record->data, record->size);
                break;
            }
            case kImageInfo: {
                AnimInfoRecord* info = nullptr;
                Require(transfer_.FetchAnimInfo(&info) == 1);
                if (info != nullptr)
                    sum = sum + Touch(info->frameRanges, info->frameRangeCount * sizeof(uint16_t));
                break;
            }
            case kImageRead: {
                AnimRecord* record = nullptr;
                Require(transfer_.FetchAnimData(&record) == 1);
                if (record != nullptr) sum = sum + Touch(record->data, record->size);
                break;
            }
            default:
                break;
        }
    }

    FuzzInput& in_;
    CATTransferThread& transfer_;
    ThreadId controller_;
    TestTickClock& clock_;
};

// Frees what the transfer thread sent after the last answer; a final
// message left over means an operation ended twice.
void DrainLeftovers() {
    ThreadMessage m;
    while (PeekThreadMessage(m)) {
        if (m.message >= kWindowBase) {
            Require(!IsFinal(m.message - kWindowBase));
            continue;
        }
        if (m.wParam == kRequestParam && m.message > kCommandMessageBase && m.lParam != 0)
            FreeCommandBlock(BlockOf(m));
    }
}

}  // namespace
}  // namespace velk::fuzz

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace velk;
    using namespace velk::fuzz;
    static const ThreadId self = EnsureThreadQueue();
    static SelfAsWorker worker(self);
    static TestTickClock clock(1000);
    static const bool installed = (SetWorkerControlForTests(&worker), true);
    (void)installed;

    FuzzInput input(data, size);
    {
        WindowRelay relay(self);
        WindowSink sink;
        Require(sink.Open(relay.WriteEnd()));
        relay.CloseWriteEnd();
        CATTransferThread transfer(sink);
        Require(transfer.CreateThread());
        transfer.SetLinkParameters(1, 19200, 0);
        Require(transfer.StartWorkerLink() == 1);
        TransferRun run(input, transfer, worker.Controller(), clock);
        for (int n = 0; n < kMostOperations && !input.Empty(); ++n) run.Operation();
        transfer.StopWorkerLink();
        sink.Close();
    }
    DrainLeftovers();
    return 0;
}
