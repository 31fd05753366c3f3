// Start-up and close-down of the link on CATTransferThread, run on the
// client's thread by velk_BeginThread and velk_EndThread: the thread, the
// worker behind it, and what the thread leaves when its loop ends.

#include "client/transfer_thread.h"
#include "engine/message_numbers.h"
#include "engine/worker_control.h"
#include "platform/post_until_taken.h"
#include "platform/window_sink.h"

namespace velk {

bool CATTransferThread::CreateThread() {
    try {
        thread_ = std::thread([this] { Run(); });
    } catch (const std::system_error&) {
        return false;
    }
    queueReady_.Wait(kInfinite);
    return true;
}

// NOLINTNEXTLINE(bugprone-easily-swappable-parameters): the order of velk_BeginThread
void CATTransferThread::SetLinkParameters(uint8_t port, uint32_t rate, int32_t flow) {
    portNumber = port;
    baudRate = rate;
    softwareFlow = flow;
}

int CATTransferThread::StartWorkerLink() {
    if (workerStarted) return workerStarted;
    if (StartWorker(threadId_, portNumber, baudRate, softwareFlow != 0) != 1) return 0;
    workerThreadId = GetWorkerThreadId();
    workerStarted = 1;
    return 1;
}

int CATTransferThread::StopWorkerLink() {
    stopRequested_ = true;
    // A final message waiting for room in a full pipe must not hold the
    // thread from reading the stop.
    window_.Interrupt();
    if (workerStarted) StopWorker();
    // The worker posts AT_MSG_STOPPED before it ends; when there was none,
    // or it fell silent, the stop comes from here. A second one is never read.
    if (thread_.joinable()) PostUntilTaken(threadId_, AT_MSG_STOPPED, kResultParam, 0);
    if (thread_.joinable()) thread_.join();
    return 1;
}

void CATTransferThread::ReleaseTransferData() {
    std::lock_guard<std::mutex> hold(stateLock);
    // From here on the exports find the link gone and touch nothing.
    linkStands = false;
    pendingCommands.clear();
    tone.writeRecord.reset();
    tone.readRecord.reset();
    tone.info.reset();
    image.writeRecord.reset();
    image.info.reset();
    image.readRecord.reset();
}

}  // namespace velk
