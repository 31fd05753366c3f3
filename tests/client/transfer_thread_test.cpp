// The transfer thread against a worker that answers from a script: what no
// real phone can show, the requests to drop the worker's pending commands.
#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <functional>
#include <thread>

#include "engine/command_block.h"
#include "engine/message_numbers.h"
#include "engine/thread_ids.h"
#include "engine/worker_control.h"
#include "platform/manual_event.h"
#include "support/window_reader.h"
#include "velkport.h"

namespace velk::test {
namespace {

bool Eventually(const std::function<bool()>& condition) {
    for (int ms = 0; ms < 3000; ++ms) {
        if (condition()) return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return false;
}

// Answers every command at once with OK, but the one scripted, once with
// "ERROR". Counts the requests to drop pending commands.
class ScriptedWorker : public WorkerControl {
  public:
    ScriptedWorker() { SetWorkerControlForTests(this); }
    ~ScriptedWorker() override {
        Stop();
        SetWorkerControlForTests(nullptr);
    }

    void Refuse(int32_t command) { refused_ = command; }
    int Clears() const { return clears_.load(); }

    int Start(ThreadId controller, uint8_t, uint32_t, bool) override {
        ManualEvent ready;
        thread_ = std::thread([this, controller, &ready] {
            id_ = EnsureThreadQueue();
            BlockSignalsOnThisThread();
            ready.Set();
            Loop(controller);
        });
        ready.Wait(kInfinite);
        return 1;
    }
    void Stop() override {
        if (!thread_.joinable()) return;
        PostThreadMessage(id_, AT_MSG_STOP, 0, 0);
        thread_.join();
    }
    ThreadId WorkerId() const override { return id_; }

  private:
    static ATCommandBlock* CommandOf(const ThreadMessage& m) {
        const bool command = m.message > kCommandMessageBase && m.wParam == kRequestParam;
        return command ? BlockOf(m) : nullptr;
    }
    // NOLINTNEXTLINE(bugprone-easily-swappable-parameters): result, then the command it ends
    static void Post(ThreadId controller, int32_t resultId, int32_t command) {
        ATCommandBlock* result = AllocCommandBlock();
        result->resultId = resultId;
        if (resultId == kResultDone) result->result.done.commandId = command;
        if (resultId == kResultError) std::strcpy(result->result.error.message, "ERROR");
        PostThreadMessage(controller, MessageForId(resultId), kResultParam,
                          reinterpret_cast<intptr_t>(result));
    }

    void Loop(ThreadId controller) {
        for (ThreadMessage m; GetThreadMessage(m), m.message != AT_MSG_STOP;) {
            if (m.message == AT_MSG_CLEAR_PENDING) ++clears_;
            ATCommandBlock* block = CommandOf(m);
            if (block == nullptr) continue;
            const int32_t command = block->commandId;
            FreeCommandBlock(block);
            int32_t expected = command;
            const bool refuse = refused_.compare_exchange_strong(expected, -1);
            Post(controller, refuse ? kResultError : kResultDone, command);
        }
        PostThreadMessage(controller, AT_MSG_STOPPED, kResultParam, 0);
        CloseThreadQueue([](const ThreadMessage& m) { FreeCommandBlock(CommandOf(m)); });
    }

    std::atomic<int32_t> refused_{-1};
    std::atomic<int> clears_{0};
    std::thread thread_;
    std::atomic<ThreadId> id_{kNoThread};
};

class TransferThread : public ::testing::Test {
  protected:
    void SetUp() override { ASSERT_EQ(velk_BeginThread(window.WriteEnd(), 3, 115200, 1), 1); }
    void TearDown() override { velk_EndThread(); }

    ScriptedWorker worker;
    WindowReader window;
};

// A refused transfer command drops what the worker still holds for the
// operation; a refused opening command leaves that to the opening.
TEST_F(TransferThread, RefusedTransferCommandClearsTheWorkersPendingCommands) {
    static uint8_t body[] = "abc";
    const struct {
        int32_t refused;
        std::function<int32_t()> start;
        uint32_t message;
        int clears;  // in all, after this row
    } cases[] = {
        {kCmdToneInfo, velk_ReadMidInfo, VELK_MSG_MID_INFO_REFUSED, 1},
        {kCmdToneRead, [] { return velk_ReadMid(2); }, VELK_MSG_MID_READ_REFUSED, 2},
        {kCmdToneWrite,
         [] {
             return velk_WriteMid(MidRecord{2, 1, {'x'}, 3, body});
         },
         VELK_MSG_MID_WRITE_REFUSED, 3},
        {kCmdImageInfo, velk_ReadAnimInfo, VELK_MSG_ANIM_INFO_REFUSED, 4},
        {kCmdAttention, velk_ReadMidInfo, VELK_MSG_OPENING_REFUSED, 4},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.message);
        worker.Refuse(c.refused);
        ASSERT_TRUE(Eventually([&] { return c.start() == 1; }));
        EXPECT_EQ(window.UntilFinal(), std::vector<uint32_t>{c.message});
        EXPECT_TRUE(window.Quiet(20));
        Eventually([&] { return worker.Clears() >= c.clears; });
        EXPECT_EQ(worker.Clears(), c.clears);
    }
}

}  // namespace
}  // namespace velk::test
