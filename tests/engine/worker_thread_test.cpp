// The worker's loop and dispatcher against a scripted line: what goes out,
// in which order, and which results come back, with the time-out driven by
// the test clock.
#include "engine/worker_thread.h"

#include <gtest/gtest.h>

#include <cctype>
#include <chrono>
#include <condition_variable>
#include <cstring>
#include <deque>
#include <mutex>
#include <string>
#include <vector>

#include "engine/command_table.h"
#include "engine/message_numbers.h"
#include "engine/thread_ids.h"
#include "platform/tick_clock.h"
#include "serial/line_assembler.h"

namespace velk {
namespace {

using namespace std::chrono_literals;
using Sent = std::vector<std::string>;

class WorkerThreadTest : public ::testing::Test {
  protected:
    void SetUp() override {
        controllerThreadId = EnsureThreadQueue();
        CATWorkerThread::Setup setup;
        // The phone's side of the line: lines the test makes arrive, and what
        // the worker sent (turned into capitals in place, as the port does).
        setup.link.takeText = [this](std::string& text) {
            std::lock_guard<std::mutex> hold(mutex_);
            if (lines_.empty()) return false;
            text = lines_.front();
            lines_.pop_front();
            return true;
        };
        setup.link.sendCommand = [this](std::string& text) {
            std::lock_guard<std::mutex> hold(mutex_);
            sent_.push_back(text);
            for (char& c : text) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
            cv_.notify_all();
            return 1;
        };
        setup.sharedQueues = false;
        setup.serialLink = false;
        worker = std::make_unique<CATWorkerThread>(std::move(setup));
        id = worker->Launch();
    }
    void TearDown() override {
        PostThreadMessage(id, AT_MSG_STOP, 0, 0);
        ThreadMessage m;
        ASSERT_TRUE(NextResult(m, AT_MSG_STOPPED));
        worker.reset();
        while (PeekThreadMessage(m)) FreeCommandBlock(BlockOf(m));
        CloseThreadQueue();
        controllerThreadId = kNoThread;
    }
    void Arrive(const std::string& line) {
        {
            std::lock_guard<std::mutex> hold(mutex_);
            lines_.push_back(line + "\r\n");
        }
        PostThreadMessage(id, AT_MSG_LINE_RECEIVED, 0, 0);
    }
    // Waits until `count` lines were sent; returns all sent so far.
    Sent AwaitSent(std::size_t count) {
        std::unique_lock<std::mutex> lock(mutex_);
        cv_.wait_for(lock, 2s, [&] { return sent_.size() >= count; });
        return sent_;
    }
    // NOLINTNEXTLINE(bugprone-easily-swappable-parameters): a command, then its slot
    void Send(int32_t commandId, uint8_t slot = 0) {
        ATCommandBlock* block = AllocCommandBlock();
        block->commandId = commandId;
        block->request.slot.slot = slot;
        ASSERT_TRUE(PostThreadMessage(id, MessageForId(commandId), kRequestParam,
                                      reinterpret_cast<intptr_t>(block)));
    }
    void Tick() { PostThreadMessage(id, AT_MSG_TICK, 0, 0); }
    // True when no message reaches the controller within a short while.
    static bool Quiet() {
        std::this_thread::sleep_for(50ms);
        ThreadMessage m;
        return !PeekThreadMessage(m, 0, 0, false);
    }
    // Waits (in real time, whatever the test clock does) for the next
    // message to the controller.
    bool NextResult(ThreadMessage& m, uint32_t expected) {
        for (int i = 0; i < 2000; ++i) {
            if (PeekThreadMessage(m)) {
                EXPECT_EQ(m.message, expected);
                return m.message == expected;
            }
            std::this_thread::sleep_for(1ms);
        }
        return false;
    }
    // The next result block, which the caller gets to own.
    std::unique_ptr<ATCommandBlock, void (*)(ATCommandBlock*)> NextBlock(int32_t resultId) {
        ThreadMessage m;
        if (!NextResult(m, MessageForId(resultId))) return {nullptr, FreeCommandBlock};
        EXPECT_EQ(m.wParam, kResultParam);
        return {BlockOf(m), FreeCommandBlock};
    }

    std::mutex mutex_;
    std::condition_variable cv_;
    std::deque<std::string> lines_;
    Sent sent_;
    std::unique_ptr<CATWorkerThread> worker;
    ThreadId id = kNoThread;
};

TEST_F(WorkerThreadTest, CommandsWaitTheirTurnInOrderOfArrival) {
    Send(kCmdAttention);
    Send(kCmdEchoOff);
    Send(kCmdToneRead, 7);
    AwaitSent(1);
    EXPECT_TRUE(Quiet());
    EXPECT_EQ(AwaitSent(1).size(), 1u) << "one command on the line at a time";
    Arrive("OK");
    EXPECT_TRUE(NextBlock(kResultDone));
    // A new command on an idle line with others parked: the oldest goes first.
    Send(kCmdImageInfo);
    EXPECT_EQ(AwaitSent(2)[1], "ATE0");
    Arrive("OK");
    EXPECT_TRUE(NextBlock(kResultDone));
    // Else a parked command goes out with the next tick after the final reply.
    Tick();
    EXPECT_EQ(AwaitSent(3)[2], "AT+RNGR=7");
}

TEST_F(WorkerThreadTest, ClearPendingDropsParkedCommandsAndLateRepliesGoUnsolicited) {
    Send(kCmdAttention);
    Send(kCmdEchoOff);
    AwaitSent(1);
    PostThreadMessage(id, AT_MSG_CLEAR_PENDING, 0, 0);
    Arrive("OK");  // the late reply to AT now has no command
    Tick();
    EXPECT_TRUE(Quiet()) << "no ResultDone for a dropped command";
    EXPECT_EQ(AwaitSent(1).size(), 1u);
    // The next command starts from idle; one without text is a bare line end.
    Send(117);
    EXPECT_EQ(AwaitSent(2)[1], "");
}

// The clock is a member, so it is installed before the worker starts and
// every wait of the worker runs on it; a test advances it only once the
// worker sleeps again.
class WorkerTimeoutTest : public WorkerThreadTest {
  protected:
    TestTickClock clock{0xFFFFF000u};
};

TEST_F(WorkerTimeoutTest, SilenceTimesOutAfterMoreThanTenSecondsAcrossTheWrap) {
    Send(kCmdAttention);
    AwaitSent(1);
    clock.AwaitWaiters(1);
    clock.Advance(10000);
    Tick();
    EXPECT_TRUE(Quiet()) << "10000 ms is not over the limit";
    clock.Advance(1);
    Tick();
    auto timedOut = NextBlock(kResultTimedOut);
    ASSERT_TRUE(timedOut);
    EXPECT_EQ(timedOut->result.timedOut.commandId, kCmdAttention);
}

TEST_F(WorkerTimeoutTest, TheLoopsOwnWaitTicksWithoutAnyMessage) {
    Send(kCmdAttention);
    AwaitSent(1);
    clock.AwaitWaiters(1);
    clock.Advance(kWorkerWaitMs);
    EXPECT_TRUE(NextBlock(kResultTimedOut));
}

TEST_F(WorkerTimeoutTest, EveryLineRestartsTheTimeOut) {
    Send(kCmdToneRead, 1);
    AwaitSent(1);
    clock.AwaitWaiters(1);
    clock.Advance(9000);
    Arrive("+RNGR: 1,\"a\",255,1,3,,\"abc\",99");
    EXPECT_TRUE(NextBlock(kResultTonePart));
    clock.AwaitWaiters(1);
    clock.Advance(9000);
    Tick();
    EXPECT_TRUE(Quiet());
}

std::string Summary(const ATCommandBlock& block) {
    const ResultForms& r = block.result;
    switch (block.resultId) {
        case 56:
            return "56 " + std::string(r.reportMessageStored.store) + " " +
                   std::to_string(r.reportMessageStored.index);
        case 14:
            return "14 " + std::string(r.phonebookEntry.text);
        case kResultDone:
            return "1 " + std::to_string(r.done.commandId);
        case kResultTimedOut:
            return "2 " + std::to_string(r.timedOut.commandId);
        case kResultError:
            return "3 " + std::string(r.error.message);
        case 66:
            return "66 " + std::to_string(r.messageSent.reference);
        case 70:
            return "70 " + std::to_string(r.messageWritten.index);
        default:
            return std::to_string(block.resultId);
    }
}

// The worker's handling of received lines with no thread of its own: this
// thread is the serial reader (the real line assembler announces each line
// as the reader thread does), the worker (its messages go to HandleMessage)
// and the transfer thread (the blocks come back here).
class ReplyLines : public ::testing::Test {
  protected:
    using BlockPtr = std::unique_ptr<ATCommandBlock, void (*)(ATCommandBlock*)>;

    ReplyLines() {
        controllerThreadId = EnsureThreadQueue();
        CATWorkerThread::Setup setup;
        setup.link.takeText = [this](std::string& line) {
            if (received_.empty()) return false;
            line = std::move(received_.front());
            received_.pop_front();
            return true;
        };
        setup.link.sendCommand = [](std::string&) { return 1; };
        setup.link.awaitPrompt = [this](bool awaited) { assembler_.AwaitPrompt(awaited); };
        setup.link.sendText = [this](std::string_view bytes) { texts_.emplace_back(bytes); };
        setup.sharedQueues = false;
        setup.serialLink = false;
        worker_ = std::make_unique<CATWorkerThread>(std::move(setup));
    }
    ~ReplyLines() override {
        blocks_.clear();
        worker_.reset();
        ThreadMessage m;
        while (PeekThreadMessage(m)) FreeCommandBlock(BlockOf(m));
        controllerThreadId = kNoThread;
    }

    // The transfer thread's command message; AT+CMGS= and AT+CMGW= go to
    // "+15550100" with `body`.
    void Send(int32_t commandId, std::string_view body = {}) {
        ATCommandBlock* block = AllocCommandBlock();
        block->commandId = commandId;
        if (SendsBodyAfterPrompt(commandId)) {
            std::strcpy(block->request.messageWrite.address, "+15550100");
            block->request.messageWrite.addressType = kOmitted;
            EXPECT_EQ(SetMessageBody(*block, body), BodyFault::kNone);
        }
        worker_->HandleMessage(
            {MessageForId(commandId), kRequestParam, reinterpret_cast<intptr_t>(block)});
    }
    // The phone's bytes as the port hands them over, one read after another.
    void Read(const std::vector<std::string>& reads) {
        for (const std::string& bytes : reads) {
            assembler_.Feed(bytes.data(), bytes.size());
            ThreadMessage m;
            while (PeekThreadMessage(m)) {
                if (m.wParam == kResultParam) {
                    blocks_.emplace_back(BlockOf(m), FreeCommandBlock);
                } else {
                    worker_->HandleMessage(m);
                }
            }
        }
    }

    // The blocks that came back, in short, and forgets them.
    std::vector<std::string> TakeBlocks() {
        std::vector<std::string> out;
        for (const BlockPtr& block : blocks_) out.push_back(Summary(*block));
        blocks_.clear();
        return out;
    }

    std::deque<std::string> received_;
    LineAssembler assembler_{[this](const char* line, uint32_t length) {
        received_.emplace_back(line, length);
        PostThreadMessage(CurrentThreadId(), AT_MSG_LINE_RECEIVED, 0, 0);
    }};
    std::unique_ptr<CATWorkerThread> worker_;
    std::vector<BlockPtr> blocks_;
    std::vector<std::string> texts_;  // written as they are, not as command lines
    TestTickClock clock_;
};

// A new-message notice amid a phone-book read is decoded from its own line,
// however the port cuts the bytes into reads; so is a line after the final
// reply, which takes the idle path.
TEST_F(ReplyLines, EachLineIsReadInTurnWhateverTheReads) {
    const std::string notice = "+CMTI: \"SM\",7\r\n";
    const std::string entry = "+CPBR: 1,\"123\",129,\"Ann\"\r\n";
    const std::string ok = "OK\r\n";
    const std::vector<std::string> inTurn = {"56 SM 7", "14 Ann", "1 13"};
    const struct {
        const char* name;
        std::vector<std::string> reads;
        std::vector<std::string> blocks;
    } cases[] = {
        {"one line per read", {notice, entry, ok}, inTurn},
        {"all in one read", {notice + entry + ok}, inTurn},
        {"cut inside a line", {notice.substr(0, 9), notice.substr(9) + entry + ok}, inTurn},
        {"a notice behind the final reply", {entry + ok + notice}, {"14 Ann", "1 13", "56 SM 7"}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        Send(13);
        Read(c.reads);
        EXPECT_EQ(TakeBlocks(), c.blocks);
    }
}

// A message text goes out on the phone's "> " alone, once, with its Ctrl-Z,
// however the reads cut the prompt; its echo and the prompts after its line
// breaks are no part of the reply. An error instead of the prompt ends the
// command, and a "> " after it, as during any other command, starts a line.
TEST_F(ReplyLines, TheMessageTextFollowsThePrompt) {
    const std::string sent = "\r\n+CMGS: 12\r\n\r\nOK\r\n";
    const std::vector<std::string> sentBlocks = {"66 12", "1 65"};
    const struct {
        int32_t id;
        std::string body;
        std::vector<std::string> reads;
        bool written;
        std::vector<std::string> blocks;
    } cases[] = {
        // clang-format off
        {65, "Hi", {"AT+CMGS=\"+15550100\"\r\n\r\n> ", sent}, true, sentBlocks},
        {65, "Hi", {"\r\n>", " ", sent}, true, sentBlocks},
        {65, "Hi", {"\r\n> ", "Hi\x1A" + sent}, true, sentBlocks},
        {65, "Hi\rthere", {"\r\n> ", "Hi\r\r\n> there" + sent}, true, sentBlocks},
        {65, "Hi\rthere", {"\r\n> ", "\r\n> " + sent}, true, sentBlocks},
        {69, "Hi", {"\r\n> \r\n+CMGW: 4\r\n\r\nOK\r\n"}, true, {"70 4", "1 69"}},
        {69, "OK", {"\r\n> ", "\r\nOK\r\n"}, true, {"1 69"}},
        {65, "Hi", {"\r\n+CMS ERROR: 304\r\n", "\r\n> ", "+CMTI: \"SM\",7\r\n"}, false, {"3 304"}},
        {13, "", {"\r\n> ", "+CPBR: 1,\"123\",129,\"Ann\"\r\nOK\r\n"}, false, {"14 ", "1 13"}},
        // clang-format on
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(::testing::PrintToString(c.reads));
        Send(c.id, c.body);
        Read(c.reads);
        EXPECT_EQ(texts_, c.written ? std::vector<std::string>{c.body + '\x1A'}
                                    : std::vector<std::string>{});
        EXPECT_EQ(TakeBlocks(), c.blocks);
        assembler_.Reset();
        texts_.clear();
    }
}

// A phone that never prompts: the command's one lapse ends it, and an Esc
// keeps a late prompt from taking the next command line for message text.
TEST_F(ReplyLines, APromptThatNeverComesTimesOutAndIsCancelled) {
    Send(65, "Hi");
    Read({"\r\n"});
    clock_.Advance(kCommandTimeoutMs + 1);
    worker_->HandleMessage({AT_MSG_TICK, 0, 0});
    Read({"\r\n> ", "OK\r\n"});
    EXPECT_EQ(texts_, std::vector<std::string>{"\x1B"});
    EXPECT_EQ(TakeBlocks(), std::vector<std::string>{"2 65"});
}

}  // namespace
}  // namespace velk
