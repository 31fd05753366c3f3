// Many readers or one writer at a time, across processes: the lock that the
// users of a shared queue take around its operations (the queue does not
// lock on its own).
//
// Three named objects make it, named after the queue (queue_object_names.h):
//   mutexNoWriter   held by the writer, and by a reader for a moment while it
//                   enters or leaves
//   eventNoReaders  manual-reset; signalled exactly when no reader is inside
//   semNumReaders   its count is the number of readers inside
// A null queue name makes the three objects anonymous, shared only with
// children forked later.
//
// Waits answer kWaitObject0, kWaitAbandoned (the mutex's last holder ended
// holding it: the guard is ours, but what it guarded may be half written),
// kWaitTimeout (nothing was changed) or kWaitFailed (the guard is not built),
// as in named_sync.h.
//
// A process that ends inside the guard does not lock it for ever: a writer's
// mutex passes on as abandoned, and the readers a dead process left counted
// are taken back by the next writer, which looks for them when it starts to
// wait and then once a second while readers keep it waiting.
//
// Any thread may use the guard; WaitToWrite and DoneWriting must run on the
// same thread, which may enter again (the mutex is recursive).
#pragma once

#include <cstdint>

#include "platform/named_sync.h"

namespace velk {

class CSingleWriterGuard {
  public:
    CSingleWriterGuard() = default;
    ~CSingleWriterGuard() { Delete(); }
    CSingleWriterGuard(const CSingleWriterGuard&) = delete;
    CSingleWriterGuard& operator=(const CSingleWriterGuard&) = delete;

    // Opens or makes the three objects; 1 when all three are there, else 0
    // with none left open. A name of 81 characters or more builds nothing.
    int Initialize(const char* queueName);
    // Closes the objects that are open; the named objects stay in place.
    void Delete();

    // Waits until this thread holds the mutex and no reader is inside.
    uint32_t WaitToWrite(uint32_t timeoutMs);
    void DoneWriting();
    // Waits for the mutex, counts this reader in and lets the mutex go.
    uint32_t WaitToRead(uint32_t timeoutMs);
    // Counts this reader out, without a time-out; the last reader out
    // signals eventNoReaders.
    void DoneReading();

  private:
    // Takes back the readers of ended processes; the mutex is held.
    void ReclaimEndedReaders();

    NamedMutex mutexNoWriter_;
    NamedEvent eventNoReaders_;
    NamedSemaphore semNumReaders_;
};

}  // namespace velk
