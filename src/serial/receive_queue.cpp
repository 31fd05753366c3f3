#include "serial/receive_queue.h"

#include <deque>
#include <mutex>
#include <new>
#include <string>

namespace velk {
namespace {

struct ReceiveQueue {
    std::mutex lock;
    std::deque<std::string> lines;
};

ReceiveQueue& TheQueue() {
    // Never destroyed: a reader thread may still push while the process exits.
    static ReceiveQueue* const queue = new ReceiveQueue();
    return *queue;
}

}  // namespace

int PushLine(const char* bytes, uint32_t count) {
    ReceiveQueue& queue = TheQueue();
    try {
        std::string line(bytes, count);
        std::lock_guard<std::mutex> hold(queue.lock);
        queue.lines.push_back(std::move(line));
    } catch (const std::bad_alloc&) {
        return 0;
    }
    return 1;
}

int HasLine() {
    ReceiveQueue& queue = TheQueue();
    std::lock_guard<std::mutex> hold(queue.lock);
    return queue.lines.empty() ? 0 : 1;
}

int ClearLines() {
    ReceiveQueue& queue = TheQueue();
    std::lock_guard<std::mutex> hold(queue.lock);
    queue.lines.clear();
    return 1;
}

bool TakeLineText(std::string& line) {
    ReceiveQueue& queue = TheQueue();
    std::lock_guard<std::mutex> hold(queue.lock);
    if (queue.lines.empty()) return false;
    line.swap(queue.lines.front());
    queue.lines.pop_front();
    return true;
}

}  // namespace velk
