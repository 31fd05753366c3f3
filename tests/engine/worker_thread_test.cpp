// The worker's loop and dispatcher against a scripted line: what goes out,
// in which order, and which results come back, with the time-out driven by
// the test clock.
#include "engine/worker_thread.h"

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <cstring>
#include <deque>
#include <mutex>
#include <string>
#include <vector>

#include "engine/message_numbers.h"
#include "engine/thread_ids.h"
#include "platform/tick_clock.h"

namespace velk {
namespace {

using namespace std::chrono_literals;

// The phone's side of a worker without a serial port: what the worker sent,
// and lines that the test makes arrive.
class ScriptedLine {
  public:
    ReaderLink Link() {
        return ReaderLink{[this](char*& buffer, uint32_t& length) {
                              std::lock_guard<std::mutex> hold(mutex_);
                              if (lines_.empty()) return false;
                              const std::string line = lines_.front();
                              lines_.pop_front();
                              buffer = static_cast<char*>(std::calloc(line.size(), 1));
                              std::memcpy(buffer, line.data(), line.size());
                              length = static_cast<uint32_t>(line.size());
                              return true;
                          },
                          [](char*& buffer) {
                              std::free(buffer);
                              buffer = nullptr;
                          },
                          [this](std::string& text) {
                              std::lock_guard<std::mutex> hold(mutex_);
                              sent_.push_back(text);
                              for (char& c : text) {
                                  if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
                              }
                              cv_.notify_all();
                              return 1;
                          }};
    }
    void Arrive(ThreadId worker, const std::string& line) {
        {
            std::lock_guard<std::mutex> hold(mutex_);
            lines_.push_back(line + "\r\n");
        }
        PostThreadMessage(worker, AT_MSG_LINE_RECEIVED, 0, 0);
    }
    // Waits until `count` lines were sent; returns them.
    std::vector<std::string> AwaitSent(std::size_t count) {
        std::unique_lock<std::mutex> lock(mutex_);
        cv_.wait_for(lock, 2s, [&] { return sent_.size() >= count; });
        return sent_;
    }
    std::size_t SentCount() {
        std::lock_guard<std::mutex> hold(mutex_);
        return sent_.size();
    }

  private:
    std::mutex mutex_;
    std::condition_variable cv_;
    std::deque<std::string> lines_;
    std::vector<std::string> sent_;
};

class WorkerThreadTest : public ::testing::Test {
  protected:
    void SetUp() override {
        controllerThreadId = EnsureThreadQueue();
        CATWorkerThread::Setup setup;
        setup.link = line.Link();
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
    void Send(int32_t commandId, uint8_t slot = 0) {
        ATCommandBlock* block = AllocCommandBlock();
        block->commandId = commandId;
        block->request.slot.slot = slot;
        ASSERT_TRUE(PostThreadMessage(id, MessageForId(commandId), kRequestParam,
                                      reinterpret_cast<intptr_t>(block)));
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

    ScriptedLine line;
    std::unique_ptr<CATWorkerThread> worker;
    ThreadId id = kNoThread;
};

TEST_F(WorkerThreadTest, OkEndsTheCommandWithDone) {
    Send(kCmdAttention);
    EXPECT_EQ(line.AwaitSent(1), std::vector<std::string>{"AT"});
    line.Arrive(id, "OK");
    auto done = NextBlock(kResultDone);
    ASSERT_TRUE(done);
    EXPECT_EQ(done->result.done.commandId, kCmdAttention);
}

TEST_F(WorkerThreadTest, SecondCommandIsParkedUntilTheFirstEnds) {
    Send(kCmdAttention);
    Send(kCmdToneRead, 7);
    line.AwaitSent(1);
    std::this_thread::sleep_for(50ms);
    EXPECT_EQ(line.SentCount(), 1u) << "one command on the line at a time";
    line.Arrive(id, "OK");
    EXPECT_TRUE(NextBlock(kResultDone));
    // The parked command goes out with the next tick after the final reply.
    PostThreadMessage(id, AT_MSG_TICK, 0, 0);
    EXPECT_EQ(line.AwaitSent(2), (std::vector<std::string>{"AT", "AT+RNGR=7"}));
}

TEST_F(WorkerThreadTest, ParkedCommandsKeepTheirOrderOfArrival) {
    Send(kCmdAttention);
    Send(kCmdEchoOff);
    Send(kCmdToneInfo);
    line.AwaitSent(1);
    line.Arrive(id, "OK");
    EXPECT_TRUE(NextBlock(kResultDone));
    // A new command on an idle line with others parked: the oldest goes first.
    Send(kCmdImageInfo);
    EXPECT_EQ(line.AwaitSent(2)[1], "ATE0");
    line.Arrive(id, "OK");
    EXPECT_TRUE(NextBlock(kResultDone));
    PostThreadMessage(id, AT_MSG_TICK, 0, 0);
    EXPECT_EQ(line.AwaitSent(3)[2], "AT+RNGI");
}

// The clock is installed before the worker starts, so that every wait of the
// worker runs on it; a test advances it only once the worker sleeps again.
class WorkerTimeoutTest : public WorkerThreadTest {
  protected:
    void SetUp() override { WorkerThreadTest::SetUp(); }
    TestTickClock clock{0xFFFFF000u};
};

TEST_F(WorkerTimeoutTest, SilenceTimesOutAfterMoreThanTenSecondsAcrossTheWrap) {
    Send(kCmdAttention);
    line.AwaitSent(1);
    clock.AwaitWaiters(1);
    clock.Advance(10000);
    PostThreadMessage(id, AT_MSG_TICK, 0, 0);
    ThreadMessage m;
    std::this_thread::sleep_for(30ms);
    EXPECT_FALSE(PeekThreadMessage(m, 0, 0, false)) << "10000 ms is not over the limit";
    clock.Advance(1);
    PostThreadMessage(id, AT_MSG_TICK, 0, 0);
    auto timedOut = NextBlock(kResultTimedOut);
    ASSERT_TRUE(timedOut);
    EXPECT_EQ(timedOut->result.timedOut.commandId, kCmdAttention);
}

TEST_F(WorkerTimeoutTest, TheLoopsOwnWaitTicksWithoutAnyMessage) {
    Send(kCmdAttention);
    line.AwaitSent(1);
    clock.AwaitWaiters(1);
    clock.Advance(kWorkerWaitMs);
    EXPECT_TRUE(NextBlock(kResultTimedOut));
}

TEST_F(WorkerTimeoutTest, EveryLineRestartsTheTimeOut) {
    Send(kCmdToneRead, 1);
    line.AwaitSent(1);
    clock.AwaitWaiters(1);
    clock.Advance(9000);
    line.Arrive(id, "+RNGR: 1,\"a\",255,1,3,,\"abc\",99");
    EXPECT_TRUE(NextBlock(kResultTonePart));
    clock.AwaitWaiters(1);
    clock.Advance(9000);
    PostThreadMessage(id, AT_MSG_TICK, 0, 0);
    std::this_thread::sleep_for(30ms);
    ThreadMessage m;
    EXPECT_FALSE(PeekThreadMessage(m, 0, 0, false));
}

TEST_F(WorkerThreadTest, ClearPendingDropsParkedCommandsAndLateRepliesGoUnsolicited) {
    Send(kCmdAttention);
    Send(kCmdEchoOff);
    line.AwaitSent(1);
    PostThreadMessage(id, AT_MSG_CLEAR_PENDING, 0, 0);
    line.Arrive(id, "OK");  // the late reply to AT now has no command
    PostThreadMessage(id, AT_MSG_TICK, 0, 0);
    std::this_thread::sleep_for(50ms);
    EXPECT_EQ(line.SentCount(), 1u);
    ThreadMessage m;
    EXPECT_FALSE(PeekThreadMessage(m, 0, 0, false)) << "no ResultDone for a dropped command";
    Send(kCmdToneInfo);
    EXPECT_EQ(line.AwaitSent(2)[1], "AT+RNGI");
}

TEST_F(WorkerThreadTest, ErrorReplyGivesErrorAndNoDone) {
    Send(kCmdToneInfo);
    line.AwaitSent(1);
    line.Arrive(id, "ERROR");
    auto error = NextBlock(kResultError);
    ASSERT_TRUE(error);
    Send(kCmdAttention);
    EXPECT_EQ(line.AwaitSent(2)[1], "AT") << "the line is idle again";
}

TEST_F(WorkerThreadTest, CommandWithoutTextSendsABareLineEnd) {
    Send(117);
    EXPECT_EQ(line.AwaitSent(1), std::vector<std::string>{""});
}

}  // namespace
}  // namespace velk
