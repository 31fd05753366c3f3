#include "queues/single_writer_guard.h"

#include <algorithm>
#include <chrono>
#include <string>

#include "platform/thread_messages.h"
#include "queues/queue_object_names.h"

namespace velk {
namespace {

constexpr int32_t kMostReaders = 2147483647;
// While readers keep a writer waiting, it looks this often for readers whose
// process has ended.
constexpr uint32_t kReaderCheckMs = 1000;

// The object's name, or null (anonymous) for a null queue name. `fits` turns
// false when the name is too long to be built.
const char* NameOrNull(const std::string& built, const char* queueName, bool& fits) {
    if (queueName == nullptr) return nullptr;
    fits = fits && !built.empty();
    return built.c_str();
}

}  // namespace

int CSingleWriterGuard::Initialize(const char* queueName) {
    Delete();
    const std::string mutexName = GuardObjectName(GuardObject::kMutexNoWriter, queueName);
    const std::string eventName = GuardObjectName(GuardObject::kEventNoReaders, queueName);
    const std::string semName = GuardObjectName(GuardObject::kSemNumReaders, queueName);
    bool fits = true;
    const char* mutexArg = NameOrNull(mutexName, queueName, fits);
    const char* eventArg = NameOrNull(eventName, queueName, fits);
    const char* semArg = NameOrNull(semName, queueName, fits);
    const bool built = fits && mutexNoWriter_.Create(mutexArg) &&
                       eventNoReaders_.Create(eventArg, true) &&
                       semNumReaders_.Create(semArg, 0, kMostReaders);
    if (!built) Delete();
    return built ? 1 : 0;
}

void CSingleWriterGuard::Delete() {
    mutexNoWriter_.Close();
    eventNoReaders_.Close();
    semNumReaders_.Close();
}

void CSingleWriterGuard::ReclaimEndedReaders() {
    if (semNumReaders_.ReclaimFromEndedProcesses() > 0 && semNumReaders_.Count() == 0) {
        eventNoReaders_.Set();
    }
}

uint32_t CSingleWriterGuard::WaitToWrite(uint32_t timeoutMs) {
    if (!mutexNoWriter_.IsOpen()) return kWaitFailed;
    // Both the mutex and an empty room are needed at once. The mutex is
    // never held while waiting for the readers, since the last of them needs
    // it to leave; after each wait for the room the mutex is taken again and
    // the room looked at again. The objects measure their waits on the
    // monotonic clock, so the whole wait is measured on it too.
    using Clock = std::chrono::steady_clock;
    const Clock::time_point end = Clock::now() + std::chrono::milliseconds(timeoutMs);
    auto left = [&]() -> uint32_t {
        if (timeoutMs == kInfinite) return kInfinite;
        const auto rest = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now());
        return rest.count() <= 0 ? 0 : static_cast<uint32_t>(rest.count());
    };
    for (;;) {
        const uint32_t result = mutexNoWriter_.Wait(left());
        if (result != kWaitObject0 && result != kWaitAbandoned) return result;
        ReclaimEndedReaders();
        if (eventNoReaders_.IsSet()) return result;
        mutexNoWriter_.Release();
        const uint32_t rest = left();
        if (rest == 0) return kWaitTimeout;
        if (eventNoReaders_.Wait(std::min(rest, kReaderCheckMs)) == kWaitFailed) {
            return kWaitFailed;
        }
    }
}

void CSingleWriterGuard::DoneWriting() {
    mutexNoWriter_.Release();
}

uint32_t CSingleWriterGuard::WaitToRead(uint32_t timeoutMs) {
    const uint32_t result = mutexNoWriter_.Wait(timeoutMs);
    if (result != kWaitObject0 && result != kWaitAbandoned) return result;
    int32_t before = 0;
    if (semNumReaders_.Release(1, &before) && before == 0) eventNoReaders_.Reset();
    mutexNoWriter_.Release();
    return result;
}

void CSingleWriterGuard::DoneReading() {
    // The mutex and one reader's unit, both at once, as in WaitToWrite.
    for (;;) {
        const uint32_t result = mutexNoWriter_.Wait(kInfinite);
        if (result != kWaitObject0 && result != kWaitAbandoned) return;
        if (semNumReaders_.TryTake()) break;
        mutexNoWriter_.Release();
        if (semNumReaders_.WaitAvailable(kInfinite) == kWaitFailed) return;
    }
    // The count after the take is the number of readers left; it is read by
    // giving the unit back and taking it again, which reports the count.
    int32_t left = 0;
    if (semNumReaders_.Release(1, &left)) semNumReaders_.Wait(kInfinite);
    if (left == 0) eventNoReaders_.Set();
    mutexNoWriter_.Release();
}

}  // namespace velk
