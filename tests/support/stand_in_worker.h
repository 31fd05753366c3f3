// A scripted stand-in for the worker of a link. It runs a thread with its own
// queue, records every command block that the transfer thread posts, and
// answers from a script with result blocks, as the worker answers with what
// the phone said. A test can also make the link fall.
//
// Replies are per command id. A rule set with Answer() holds until replaced;
// AnswerNext() queues one-shot replies taken before the standing rule. A
// command without a rule is answered "OK" (ResultDone). An empty reply list
// leaves the command unanswered, as a phone that keeps silent while the
// worker's own timer is not part of the test.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <map>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "engine/command_block.h"
#include "engine/worker_control.h"

namespace velk::test {

// One result block to post: its id, its fields, and for an image
// information line the list of frame ranges the block will own.
struct Reply {
    int32_t resultId = 0;
    ResultForms form{};
    bool withRanges = false;
    std::vector<uint16_t> frameRanges;
};

Reply Done();
Reply TimedOut();
Reply Error(std::string_view text);
Reply ToneInfo(std::string_view name, uint8_t number1, uint8_t number2, uint8_t number3);
// A +RNGR line; `sizeHigh`/`sizeLow` for part 1, `textLength` for the only part 255.
Reply TonePart(uint8_t slot, std::string_view name, uint8_t part, std::string_view text,
               uint8_t sizeHigh = 0, uint8_t sizeLow = 0);
Reply ImageInfo(std::string_view name, std::vector<uint16_t> frameRanges);
Reply ImagePart(uint8_t frame, std::string_view name, uint8_t part, std::string_view text,
                uint8_t param1 = 0, uint8_t param3 = 0);

struct StartArgs {
    ThreadId controller = kNoThread;
    uint8_t port = 0;
    uint32_t baudRate = 0;
    bool softwareFlow = false;
};

class StandInWorker : public WorkerControl {
  public:
    StandInWorker();  // installs itself in the worker's place
    ~StandInWorker() override;

    void Answer(int32_t commandId, std::vector<Reply> replies);
    void AnswerNext(int32_t commandId, std::vector<Reply> replies);
    void RefuseStart(bool refuse);
    // The link falls under the transfer thread: the stand-in posts
    // AT_MSG_STOPPED by itself and ends.
    void Fall();
    // Answers a command that the script left unanswered, as the phone would
    // later.
    void PostResult(const Reply& reply, int32_t commandId);

    std::vector<ATCommandBlock> Commands() const;
    std::vector<int32_t> CommandIds() const;
    // Waits in real time until `count` commands have come and been answered;
    // false on time-out.
    bool WaitForCommands(std::size_t count, int timeoutMs = 5000) const;
    int ClearPendingCount() const;
    // Waits in real time until `count` AT_MSG_CLEAR_PENDING have come.
    bool WaitForClearPending(int count, int timeoutMs = 5000) const;
    std::vector<StartArgs> Starts() const;
    bool Running() const;

    int Start(ThreadId controller, uint8_t port, uint32_t baudRate, bool softwareFlow) override;
    void Stop() override;
    ThreadId WorkerId() const override { return workerId_.load(); }

  private:
    void Loop(ThreadId controller);
    void OnCommand(ThreadId controller, ATCommandBlock* block);
    std::vector<Reply> RepliesFor(int32_t commandId);
    void PostStopped(ThreadId controller);
    static void PostReply(ThreadId controller, const Reply& reply, int32_t commandId);

    mutable std::mutex mutex_;
    mutable std::condition_variable changed_;
    std::map<int32_t, std::vector<Reply>> standing_;
    std::map<int32_t, std::deque<std::vector<Reply>>> oneShot_;
    std::vector<ATCommandBlock> commands_;
    std::size_t answered_ = 0;
    std::vector<StartArgs> starts_;
    int clearPending_ = 0;
    bool refuseStart_ = false;

    std::thread thread_;
    std::atomic<ThreadId> workerId_{kNoThread};
    std::atomic<ThreadId> controller_{kNoThread};
};

}  // namespace velk::test
