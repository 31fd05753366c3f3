// CATTransferThread: the controller between the exports and the worker. It
// turns one client request into a run of AT commands, one in flight at a
// time, judges each result and tells the application the outcome by window
// message.
//
// Every operation opens with AT (tried up to 3 times) and ATE0, then sends
// its own commands. `transferState` says which operation runs (6: none);
// `readyFlag` and `resultFlag` are what the exports test.
//
// Threads: the exports call the Request*/Fetch* members from the client's
// threads; everything else but the start-up and close-down members runs on
// the object's own thread. `stateLock` guards the three words, the liveness
// of the link and the hand-over of records between the two sides: the
// exports touch records only while no operation runs, and clear `readyFlag`
// in the same locked step in which they hand a write record over.
#pragma once

#include <atomic>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "client/command_list.h"
#include "client/failure_causes.h"
#include "client/image_transfer.h"
#include "client/tone_transfer.h"
#include "engine/command_block.h"
#include "platform/manual_event.h"
#include "platform/thread_messages.h"
#include "velkport.h"

namespace velk {

class WindowSink;
class NoticeStore;

// Values of `transferState`.
enum TransferState : int32_t {
    kStateToneInfo = 0,
    kStateToneRead = 1,
    kStateToneWrite = 2,
    kStateImageWrite = 3,
    kStateImageRead = 4,
    kStateImageInfo = 5,
    kStateIdle = 6,
    kStateCommands = 7,  // velk_RunCommands
};

// Thread messages to the transfer thread (wParam 0).
inline constexpr uint32_t kMsgReadMid = 152;  // lParam the slot
inline constexpr uint32_t kMsgReadMidInfo = 236;
inline constexpr uint32_t kMsgReadAnimInfo = 1127;  // also the first half of an image transfer
inline constexpr uint32_t kMsgWriteAnimFrames = 1128;
inline constexpr uint32_t kMsgReadAnimFrames = 1130;  // lParam the image number
inline constexpr uint32_t kMsgWriteMid = 1131;
inline constexpr uint32_t kMsgSendAttention = 1583;
inline constexpr uint32_t kMsgSendEchoOff = 1584;
inline constexpr uint32_t kMsgSendToneRead = 1585;
inline constexpr uint32_t kMsgSendToneChunk = 1586;
inline constexpr uint32_t kMsgSendToneInfo = 1587;
inline constexpr uint32_t kMsgSendImageChunk = 1588;
inline constexpr uint32_t kMsgSendImageInfo = 1589;
inline constexpr uint32_t kMsgSendImageRead = 1590;
inline constexpr uint32_t kMsgRunCommands = 1591;

// How long the opening waits for anything more after the phone answered AT or
// ATE0 with an error text other than "ERROR", on the tick clock.
inline constexpr uint32_t kOpeningSilenceMs = 10000;
// AT is sent at most this often before a time-out ends the operation.
inline constexpr int32_t kAttentionTries = 3;

class CATTransferThread {
  public:
    // `notices`, when given, keeps the notices of the link (notice_store.h).
    explicit CATTransferThread(WindowSink& window, NoticeStore* notices = nullptr);
    // The thread must have ended (StopWorkerLink) or never have started.
    ~CATTransferThread();
    CATTransferThread(const CATTransferThread&) = delete;
    CATTransferThread& operator=(const CATTransferThread&) = delete;

    // Start-up and close-down, on the client's thread.
    // Starts the thread and returns once its queue takes messages.
    bool CreateThread();
    void SetLinkParameters(uint8_t port, uint32_t baudRate, int32_t softwareFlow);
    // 1 when the worker runs and the port is open, else 0.
    int StartWorkerLink();
    // Stops the worker, ends the thread and waits for it; 1.
    int StopWorkerLink();

    // The export side, on any client thread. Each answers 1 or 0 as the
    // matching export does.
    int RequestMidInfo();
    int RequestMid(uint8_t slot);
    int RequestMidWrite(const MidRecord& record);
    int RequestAnimInfo();
    int RequestAnim(uint8_t id);
    int RequestAnimWrite(const AnimRecord& record);
    // Takes the blocks of ReadCommandList; `refusal` gets why when it answers 0.
    int RequestCommands(CommandList commands, FailureCause& refusal);
    int FetchCommandResult(const char** json);
    int FetchMidInfo(MidInfoRecord** info);
    int FetchMidData(MidRecord** record);
    int FetchAnimInfo(AnimInfoRecord** info);
    int FetchAnimData(AnimRecord** record);
    // True while the link stands and an operation runs.
    bool OperationRunning() const;
    // False once the link fell or was stopped.
    bool LinkStands() const;

  private:
    struct RequestRow;
    struct OkRow;
    struct ErrorRow;
    static const RequestRow kRequestRows[];
    static const OkRow kOkRows[];
    static const ErrorRow kErrorRows[];

    // The loop and its plumbing (transfer_thread.cpp).
    void Run();
    bool NextMessage(ThreadMessage& message);
    void Dispatch(const ThreadMessage& message);
    void AbandonOperation();
    void HandleRequest(const ThreadMessage& message);
    void HandleResult(ATCommandBlock* block);
    void ReleaseTransferData();
    void OnLinkEnd();

    bool OpenWith(int32_t state);
    void EndOperation(int32_t resultFlagAfter);
    bool EndIfIdle(uint32_t windowMessage, const FailureCause& cause);
    void PostToSelf(uint32_t message, intptr_t lParam = 0);
    void PostWindow(uint32_t message);
    void PostProgress(uint32_t message);
    void ClearWorkerPending();
    void ReleaseWriteRecords();

    CommandBlockPtr NewCommand(int32_t id);
    bool SendCommand(CommandBlockPtr command);
    int32_t PendingId() const;
    void SendAttention();
    void SendEchoOff();
    bool SendSingle(int32_t id, uint8_t slot);

    void OnCommandOk();
    void OnCommandTimeout();
    void OnCommandError(const ATCommandBlock& block);
    void OnOpeningSilence();
    void OnAttentionOk();
    void OnEchoOffOk();

    // A list of commands (command_run.cpp).
    void OnRequestRunCommands(const ThreadMessage& message);
    void SendRunCommand();
    void OnRunResult(const ATCommandBlock& block, uint32_t message);
    void EndRun(uint32_t windowMessage, const FailureCause* cause);
    void KeepNotice(const ATCommandBlock& block, uint32_t message);

    // Ring tones (tone_transfers.cpp).
    void OnRequestReadMidInfo(const ThreadMessage& message);
    void OnRequestReadMid(const ThreadMessage& message);
    void OnRequestWriteMid(const ThreadMessage& message);
    void SendToneInfo();
    void SendToneRead();
    void ToneChunkStep();
    void OnToneInfo(const ATCommandBlock& block);
    void OnTonePart(const ATCommandBlock& block);
    void OnToneInfoDone();
    void OnToneReadDone();
    void OnToneChunkDone();
    void ResetToneWrite();

    // Images (image_transfers.cpp).
    void OnRequestReadAnimInfo(const ThreadMessage& message);
    void OnRequestWriteAnimFrames(const ThreadMessage& message);
    void OnRequestReadAnimFrames(const ThreadMessage& message);
    void SendImageInfo();
    void SendImageRead();
    void ImageChunkStep();
    void OnImageInfo(ATCommandBlock& block);
    void OnImagePart(const ATCommandBlock& block);
    void OnImageInfoDone();
    void OnImageFrameDone();
    void OnImageChunkDone();
    void ReleaseAnimInfo();
    void ReleaseAnimWrite();
    void ReleaseAnimRead();

    WindowSink& window_;
    NoticeStore* notices_;
    std::thread thread_;
    ManualEvent queueReady_;
    ThreadId threadId_ = kNoThread;
    std::atomic<bool> stopRequested_{false};

    // Guarded by stateLock.
    mutable std::mutex stateLock;
    int32_t transferState = kStateIdle;
    int32_t readyFlag = 1;
    int32_t resultFlag = 0;
    bool linkStands = true;

    // The records of each kind are handed out to, or taken over from, the
    // exports under stateLock; the rest is this thread's own while an
    // operation runs.
    ToneTransfer tone;
    ImageTransfer image;
    // The commands of the next run, and the JSON array of the last one,
    // which the client may read while readyFlag and commandResultReady stand.
    CommandList runRequested;
    std::string commandResult;
    bool commandResultReady = false;

    // Link parameters, set before the thread takes messages.
    uint8_t portNumber = 1;
    uint32_t baudRate = 19200;
    int32_t softwareFlow = 0;
    int32_t workerStarted = 0;
    ThreadId workerThreadId = kNoThread;

    // This thread's own.
    std::deque<CommandBlockPtr> pendingCommands;  // the command in flight
    std::deque<ThreadMessage> selfBacklog;        // posts to itself that found the queue full
    int32_t atRetryCount = 0;
    bool openingSilenceArmed = false;
    uint32_t openingSilenceSince = 0;
    std::string openingRefusal;  // the phone's answer that armed the wait
    LookHabit resultWait;        // whether results come fast enough to look for
    // The run of commands: its blocks, the place of the one in flight, true
    // from its first command to its end, and the JSON of its results.
    CommandList runCommands;
    std::size_t runNext = 0;
    bool runInFlight = false;
    std::vector<std::string> runResults;
};

}  // namespace velk
