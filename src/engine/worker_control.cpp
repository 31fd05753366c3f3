#include "engine/worker_control.h"

#include <atomic>
#include <memory>
#include <mutex>
#include <thread>

#include "engine/message_numbers.h"
#include "engine/thread_ids.h"
#include "engine/worker_thread.h"
#include "platform/post_until_taken.h"
#include "serial/serial_link.h"

namespace velk {
namespace {

std::atomic<WorkerControl*> g_standIn{nullptr};

// The worker of the link, null when there is none. Start and stop run on the
// transfer thread (or the thread ending the link), one at a time.
std::mutex g_workerMutex;
std::unique_ptr<CATWorkerThread> g_pWorkerThread;

// NOLINTNEXTLINE(bugprone-easily-swappable-parameters): the order of StartWorker
int StartRealWorker(ThreadId controller, uint8_t port, uint32_t baudRate, bool softwareFlow) {
    std::lock_guard<std::mutex> hold(g_workerMutex);
    g_pWorkerThread.reset();  // a worker left from an earlier link
    auto worker = std::make_unique<CATWorkerThread>();
    const ThreadId id = worker->Launch();
    controllerThreadId.store(controller);
    CSerialLink& link = CSerialLink::Instance();
    if (link.StartLink(id, port, baudRate, softwareFlow) != 1) {
        // Nothing of a link that never stood may stay running.
        worker->EndSilently();
        worker.reset();
        return 0;
    }
    link.ResetReceive();
    workerThreadId.store(id);
    g_pWorkerThread = std::move(worker);
    return 1;
}

void StopRealWorker() {
    std::lock_guard<std::mutex> hold(g_workerMutex);
    if (!g_pWorkerThread) return;
    const ThreadId id = g_pWorkerThread->ThreadIdOf();
    // Wake a write held up by flow control before asking the worker to stop.
    CSerialLink::Instance().RequestStop();
    // A worker whose link fell has ended already: its queue is gone.
    PostUntilTaken(id, AT_MSG_STOP, 0, 0);
    g_pWorkerThread->Join();
    g_pWorkerThread.reset();
    // A link that fell by itself left its reader thread ended but not yet
    // joined; a link the worker stopped has nothing left, and this is a no-op.
    CSerialLink::Instance().StopLink();
    workerThreadId.store(kNoThread);
}

}  // namespace

void SetWorkerControlForTests(WorkerControl* control) {
    g_standIn.store(control);
}

int StartWorker(ThreadId controller, uint8_t port, uint32_t baudRate, bool softwareFlow) {
    if (WorkerControl* c = g_standIn.load())
        return c->Start(controller, port, baudRate, softwareFlow);
    return StartRealWorker(controller, port, baudRate, softwareFlow);
}

void StopWorker() {
    if (WorkerControl* c = g_standIn.load()) {
        c->Stop();
        return;
    }
    StopRealWorker();
}

ThreadId GetWorkerThreadId() {
    if (WorkerControl* c = g_standIn.load()) return c->WorkerId();
    return workerThreadId.load();
}

}  // namespace velk
