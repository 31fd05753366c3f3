#include "platform/thread_messages.h"

#include <pthread.h>
#include <signal.h>
#include <sys/resource.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <deque>
#include <memory>
#include <mutex>
#include <unordered_map>

namespace velk {
namespace {

struct Queue {
    std::mutex mutex;
    std::condition_variable cv;
    std::deque<ThreadMessage> messages;
    bool closed = false;
    // messages.size(), kept under the mutex, read without it by a thread
    // that looks for a message before it sleeps.
    std::atomic<std::size_t> queued{0};

    void Count() { queued.store(messages.size(), std::memory_order_release); }
};

void LookBeforeSleeping(const Queue& queue) {
    const LookWindow window;
    while (queue.queued.load(std::memory_order_acquire) == 0 && window.LookAgain()) {
    }
}

struct Registry {
    std::mutex mutex;
    std::unordered_map<ThreadId, std::shared_ptr<Queue>> queues;
    ThreadId nextId = 1;
};

Registry& TheRegistry() {
    // Never destroyed: a thread of a link that the application did not end
    // may still post or close its queue while the process exits.
    static Registry* const registry = new Registry();
    return *registry;
}

thread_local std::shared_ptr<Queue> t_queue;
thread_local ThreadId t_id = kNoThread;

std::shared_ptr<Queue> Find(ThreadId id) {
    Registry& r = TheRegistry();
    std::lock_guard<std::mutex> hold(r.mutex);
    auto it = r.queues.find(id);
    return it == r.queues.end() ? nullptr : it->second;
}

// The queues this thread posted to last. A dialogue posts to the same two or
// three queues over and over; found here, a post takes no lock of the whole
// process, which the serial reader, the worker and the transfer thread would
// otherwise contend for with every line. An id is never given twice, so a
// queue found here is the one its id named; a closed one refuses the post
// under its own lock, as it would if found in the registry.
class PostTargets {
  public:
    Queue* Find(ThreadId id) {
        for (const Entry& entry : entries_) {
            if (entry.queue && entry.id == id) return entry.queue.get();
        }
        std::shared_ptr<Queue> queue = velk::Find(id);
        if (!queue) return nullptr;
        Entry& slot = entries_[next_];
        next_ = (next_ + 1) % entries_.size();
        slot = {id, std::move(queue)};
        return slot.queue.get();
    }

  private:
    struct Entry {
        ThreadId id = kNoThread;
        std::shared_ptr<Queue> queue;
    };
    std::array<Entry, 4> entries_;
    std::size_t next_ = 0;
};

thread_local PostTargets t_postTargets;

bool InRange(const ThreadMessage& m, uint32_t first, uint32_t last) {
    return (first == 0 && last == 0) || (m.message >= first && m.message <= last);
}

}  // namespace

ThreadId EnsureThreadQueue() {
    if (t_queue) return t_id;
    auto queue = std::make_shared<Queue>();
    Registry& r = TheRegistry();
    std::lock_guard<std::mutex> hold(r.mutex);
    t_id = r.nextId++;
    r.queues.emplace(t_id, queue);
    t_queue = std::move(queue);
    return t_id;
}

ThreadId CurrentThreadId() {
    return t_id;
}

void CloseThreadQueue(const std::function<void(const ThreadMessage&)>& disposeLeftover) {
    if (!t_queue) return;
    {
        Registry& r = TheRegistry();
        std::lock_guard<std::mutex> hold(r.mutex);
        r.queues.erase(t_id);
    }
    std::deque<ThreadMessage> leftover;
    {
        std::lock_guard<std::mutex> hold(t_queue->mutex);
        t_queue->closed = true;
        leftover.swap(t_queue->messages);
        t_queue->Count();
    }
    if (disposeLeftover) {
        for (const ThreadMessage& m : leftover) disposeLeftover(m);
    }
    t_queue.reset();
    t_id = kNoThread;
}

// NOLINTNEXTLINE(bugprone-easily-swappable-parameters): wParam before lParam, as ever
bool PostThreadMessage(ThreadId target, uint32_t message, uintptr_t wParam, intptr_t lParam) {
    return PostThreadMessages(target, message, wParam, lParam, 1) == 1;
}

// NOLINTNEXTLINE(bugprone-easily-swappable-parameters): wParam before lParam, as ever
std::size_t PostThreadMessages(ThreadId target, uint32_t message, uintptr_t wParam, intptr_t lParam,
                               std::size_t count) {
    Queue* queue = t_postTargets.Find(target);
    if (queue == nullptr || count == 0) return 0;
    std::size_t queued = 0;
    {
        std::lock_guard<std::mutex> hold(queue->mutex);
        if (queue->closed) return 0;
        for (; queued < count && queue->messages.size() < kMaxQueuedMessages; ++queued) {
            queue->messages.push_back({message, wParam, lParam});
        }
        queue->Count();
    }
    // Woken once the lock is free, the receiver takes the message at once
    // instead of waking only to wait for the lock again.
    if (queued > 0) queue->cv.notify_one();
    return queued;
}

bool ThreadQueueAlive(ThreadId target) {
    return Find(target) != nullptr;
}

bool PeekThreadMessage(ThreadMessage& out, uint32_t first, uint32_t last, bool remove) {
    Queue* queue = t_queue.get();
    if (!queue) return false;
    std::lock_guard<std::mutex> hold(queue->mutex);
    for (auto it = queue->messages.begin(); it != queue->messages.end(); ++it) {
        if (!InRange(*it, first, last)) continue;
        out = *it;
        if (remove) {
            queue->messages.erase(it);
            queue->Count();
        }
        return true;
    }
    return false;
}

void GetThreadMessage(ThreadMessage& out, LookHabit* habit) {
    EnsureThreadQueue();
    Queue* queue = t_queue.get();
    const auto start = std::chrono::steady_clock::now();
    if (habit == nullptr || habit->ShouldLook()) LookBeforeSleeping(*queue);
    std::unique_lock<std::mutex> lock(queue->mutex);
    queue->cv.wait(lock, [queue] { return !queue->messages.empty(); });
    out = queue->messages.front();
    queue->messages.pop_front();
    queue->Count();
    if (habit != nullptr) habit->Learn(start);
}

bool WaitForThreadMessage(uint32_t timeoutMs, LookHabit* habit) {
    EnsureThreadQueue();
    Queue* queue = t_queue.get();
    const auto start = std::chrono::steady_clock::now();
    if (timeoutMs != 0 && (habit == nullptr || habit->ShouldLook())) LookBeforeSleeping(*queue);
    std::unique_lock<std::mutex> lock(queue->mutex);
    const bool got =
        WaitOnTickClock(queue->cv, lock, timeoutMs, [queue] { return !queue->messages.empty(); });
    if (habit != nullptr) habit->Learn(start);
    return got;
}

void BlockSignalsOnThisThread() {
    sigset_t set;
    sigfillset(&set);
    // Faults raised by the thread itself must still reach their handlers.
    for (int sig : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGABRT}) sigdelset(&set, sig);
    pthread_sigmask(SIG_BLOCK, &set, nullptr);
}

void LowerThisThreadPriority() {
    const pid_t tid = gettid();
    errno = 0;
    const int current = getpriority(PRIO_PROCESS, static_cast<id_t>(tid));
    if (errno != 0) return;
    // Failure (no permission, a limit) leaves the thread as it is.
    (void)setpriority(PRIO_PROCESS, static_cast<id_t>(tid), current + 1);
}

void NameThisThread(const char* name) {
    char bounded[16];
    std::snprintf(bounded, sizeof bounded, "%s", name);
    (void)pthread_setname_np(pthread_self(), bounded);
}

void SetUpLinkThread(const char* name) {
    BlockSignalsOnThisThread();
    LowerThisThreadPriority();
    NameThisThread(name);
}

}  // namespace velk
