// How the transfer thread starts, reaches and stops the worker of a link.
// Tests of the transfer thread put a scripted stand-in in the worker's place.
#pragma once

#include <cstdint>

#include "platform/thread_messages.h"

namespace velk {

class WorkerControl {
  public:
    virtual ~WorkerControl() = default;
    // Starts the worker and opens the link; 1 when the link stands, else 0.
    // On 0 nothing of the link is left running.
    virtual int Start(ThreadId controller, uint8_t port, uint32_t baudRate, bool softwareFlow) = 0;
    // Stops the link and returns when the worker thread has ended. The worker
    // posts AT_MSG_STOPPED (wParam 1) to the controller before it ends.
    virtual void Stop() = 0;
    virtual ThreadId WorkerId() const = 0;
};

// Installs a stand-in worker (nullptr: the real one). Tests only.
void SetWorkerControlForTests(WorkerControl* control);

int StartWorker(ThreadId controller, uint8_t port, uint32_t baudRate, bool softwareFlow);
void StopWorker();
ThreadId GetWorkerThreadId();

}  // namespace velk
