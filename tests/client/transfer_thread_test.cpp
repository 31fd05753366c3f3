// The transfer thread against a worker that answers from a script: what no
// real phone can show, the requests to drop the worker's pending commands and
// an opening command answered after an unusual error text.
#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "engine/command_block.h"
#include "engine/message_numbers.h"
#include "engine/thread_ids.h"
#include "engine/worker_control.h"
#include "platform/manual_event.h"
#include "support/window_reader.h"
#include "velkport.h"

namespace velk::test {
namespace {

// Answers each command at once with the results scripted for its id (once),
// or with OK; counts the requests to drop pending commands.
class ScriptedWorker : public WorkerControl {
  public:
    struct Result {
        int32_t id;
        const char* error;  // the text of an error result
    };

    ScriptedWorker() { SetWorkerControlForTests(this); }
    ~ScriptedWorker() override {
        Stop();
        SetWorkerControlForTests(nullptr);
    }

    void Script(int32_t commandId, std::vector<Result> results) {
        std::lock_guard<std::mutex> hold(mutex_);
        script_[commandId] = std::move(results);
    }
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

    void Loop(ThreadId controller) {
        for (ThreadMessage m; GetThreadMessage(m), m.message != AT_MSG_STOP;) {
            if (m.message == AT_MSG_CLEAR_PENDING) ++clears_;
            ATCommandBlock* block = CommandOf(m);
            if (block == nullptr) continue;
            const int32_t command = block->commandId;
            FreeCommandBlock(block);
            std::vector<Result> results{{kResultDone, nullptr}};
            {
                std::lock_guard<std::mutex> hold(mutex_);
                if (auto it = script_.find(command); it != script_.end()) {
                    results = std::move(it->second);
                    script_.erase(it);
                }
            }
            for (const Result& r : results) {
                ATCommandBlock* result = AllocCommandBlock();
                result->resultId = r.id;
                if (r.id == kResultDone) result->result.done.commandId = command;
                if (r.error != nullptr) std::strcpy(result->result.error.message, r.error);
                PostThreadMessage(controller, MessageForId(r.id), kResultParam,
                                  reinterpret_cast<intptr_t>(result));
            }
        }
        PostThreadMessage(controller, AT_MSG_STOPPED, kResultParam, 0);
        CloseThreadQueue([](const ThreadMessage& m) { FreeCommandBlock(CommandOf(m)); });
    }

    std::mutex mutex_;
    std::map<int32_t, std::vector<Result>> script_;
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

int32_t WriteTone() {
    static uint8_t body[] = "abc";
    return velk_WriteMid(MidRecord{2, 1, {'x'}, 3, body});
}

// A refused transfer command drops what the worker still holds for the
// operation; a refused opening command leaves that to the opening.
TEST_F(TransferThread, RefusedTransferCommandClearsTheWorkersPendingCommands) {
    const struct {
        int32_t refused;
        int32_t (*start)();
        uint32_t message;
        int clears;  // in all, after this row
    } cases[] = {
        {kCmdToneInfo, velk_ReadMidInfo, VELK_MSG_MID_INFO_REFUSED, 1},
        {kCmdToneRead, [] { return velk_ReadMid(2); }, VELK_MSG_MID_READ_REFUSED, 2},
        {kCmdToneWrite, WriteTone, VELK_MSG_MID_WRITE_REFUSED, 3},
        {kCmdImageInfo, velk_ReadAnimInfo, VELK_MSG_ANIM_INFO_REFUSED, 4},
        {kCmdAttention, velk_ReadMidInfo, VELK_MSG_OPENING_REFUSED, 4},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.message);
        worker.Script(c.refused, {{kResultError, "ERROR"}});
        const auto until = std::chrono::steady_clock::now() + std::chrono::seconds(3);
        while (c.start() != 1) {
            ASSERT_LT(std::chrono::steady_clock::now(), until);
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        EXPECT_EQ(window.UntilFinal(), std::vector<uint32_t>{c.message});
        EXPECT_TRUE(window.Quiet(20));
        const auto settled = std::chrono::steady_clock::now() + std::chrono::seconds(1);
        while (worker.Clears() < c.clears && std::chrono::steady_clock::now() < settled)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        EXPECT_EQ(worker.Clears(), c.clears);
    }
}

TEST_F(TransferThread, AttentionAnsweredAfterAnotherErrorTextOpensTheOperation) {
    worker.Script(kCmdAttention, {{kResultError, "NO CARRIER"}, {kResultDone, nullptr}});
    ASSERT_EQ(velk_ReadMidInfo(), 1);
    EXPECT_EQ(window.UntilFinal(), std::vector<uint32_t>{VELK_MSG_MID_INFO_READ});
}

}  // namespace
}  // namespace velk::test
