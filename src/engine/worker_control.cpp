#include "engine/worker_control.h"

#include <atomic>

namespace velk {
namespace {
std::atomic<WorkerControl*> g_standIn{nullptr};

// Until the real worker is wired in, a link cannot be opened without a
// stand-in.
WorkerControl* Current() { return g_standIn.load(); }
}  // namespace

void SetWorkerControlForTests(WorkerControl* control) { g_standIn.store(control); }

int StartWorker(ThreadId controller, uint8_t port, uint32_t baudRate, bool softwareFlow) {
    WorkerControl* c = Current();
    return c ? c->Start(controller, port, baudRate, softwareFlow) : 0;
}

void StopWorker() {
    if (WorkerControl* c = Current()) c->Stop();
}

ThreadId GetWorkerThreadId() {
    WorkerControl* c = Current();
    return c ? c->WorkerId() : kNoThread;
}

}  // namespace velk
