// Turns the signals of a named event into calls on a thread of our own, so
// that a loop that sleeps on its thread-message queue can also wake for the
// event without polling it: the callback posts a message to that loop.
//
// The watcher counts edges, not levels. Each Set that finds the event
// unsignalled (in any process) gives one call; an event that stays signalled
// gives no more, and a Reset followed by a Set gives a new one. A signal that
// was there before Start gives none. Edges that come while the callback runs
// are merged into one further call.
//
// Use, as the worker does with the empty event of its "PB" queue:
//     CNamedEventWatcher watcher;
//     watcher.Start(*queue.EmptyEvent(), [id] { PostThreadMessage(id, AT_MSG_TICK, 0, 0); });
//     ...
//     watcher.Stop();   // before the queue (and with it the event) is closed
//
// The callback runs on the watcher's thread, which blocks every asynchronous
// signal. It must not call Stop. Start and Stop belong to one thread.
#pragma once

#include <atomic>
#include <functional>
#include <thread>

#include "platform/named_sync.h"

namespace velk {

class CNamedEventWatcher {
  public:
    CNamedEventWatcher() = default;
    ~CNamedEventWatcher() { Stop(); }
    CNamedEventWatcher(const CNamedEventWatcher&) = delete;
    CNamedEventWatcher& operator=(const CNamedEventWatcher&) = delete;

    // Starts watching `event`, which must stay open until Stop. False when
    // the event is not open or a watch is running already.
    bool Start(NamedEvent& event, std::function<void()> onSignalled);
    // Ends the watch and joins its thread; returns at once when none runs.
    // A callback that is running is let finish first.
    void Stop();
    bool Running() const { return thread_.joinable(); }

  private:
    void Run(uint64_t seen);

    NamedEvent* event_ = nullptr;
    std::function<void()> onSignalled_;
    std::atomic<bool> stopping_{false};
    std::thread thread_;
};

}  // namespace velk
