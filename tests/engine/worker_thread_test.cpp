// The worker's loop and dispatcher against a scripted line: what goes out,
// in which order, and which results come back, with the time-out driven by
// the test clock.
#include "engine/worker_thread.h"

#include <gtest/gtest.h>

#include <cctype>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <string>
#include <vector>

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

// OK ends a command with Done, ERROR with Error; either frees the line. A
// command without text sends a bare line end.
TEST_F(WorkerThreadTest, FinalRepliesEndTheCommandAndFreeTheLine) {
    Send(kCmdAttention);
    EXPECT_EQ(AwaitSent(1), Sent{"AT"});
    Arrive("OK");
    auto done = NextBlock(kResultDone);
    ASSERT_TRUE(done);
    EXPECT_EQ(done->result.done.commandId, kCmdAttention);
    Send(kCmdToneInfo);
    EXPECT_EQ(AwaitSent(2)[1], "AT+RNGI");
    Arrive("ERROR");
    EXPECT_TRUE(NextBlock(kResultError));
    Send(117);
    EXPECT_EQ(AwaitSent(3)[2], "");
}

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
    Send(kCmdToneInfo);
    EXPECT_EQ(AwaitSent(2)[1], "AT+RNGI");
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

    // The transfer thread's command message.
    void Send(int32_t commandId) {
        ATCommandBlock* block = AllocCommandBlock();
        block->commandId = commandId;
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

    std::deque<std::string> received_;
    LineAssembler assembler_{[this](const char* line, uint32_t length) {
        received_.emplace_back(line, length);
        PostThreadMessage(CurrentThreadId(), AT_MSG_LINE_RECEIVED, 0, 0);
    }};
    std::unique_ptr<CATWorkerThread> worker_;
    std::vector<BlockPtr> blocks_;
};

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
        default:
            return std::to_string(block.resultId);
    }
}

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
        std::vector<std::string> blocks;
        for (const BlockPtr& block : blocks_) blocks.push_back(Summary(*block));
        EXPECT_EQ(blocks, c.blocks);
        blocks_.clear();
    }
}

}  // namespace
}  // namespace velk
