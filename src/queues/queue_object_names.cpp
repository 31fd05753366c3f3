#include "queues/queue_object_names.h"

#include <cstring>

namespace velk {
namespace {

struct NameForm {
    const char* prefix;
    const char* suffix;
};

// Indexed by QueueObject.
constexpr NameForm kQueueNames[] = {
    {"ATNEXUM_", "_FILEMAPPING"}, {"ATNEXUM_", "_EMPTY_EVENT"}, {"ATNEXUM_", "_EVENT"},
    {"ATNEXUM_", "_MUTEX"},       {"ATNEXUM_", "_SEMAPHONE"},
};

// Indexed by GuardObject.
constexpr NameForm kGuardNames[] = {
    {"SWMRGMutexNoWriter", ""},
    {"SWMRGEventNoReaders", ""},
    {"SWMRGSemNumReaders", ""},
};

std::string Build(const NameForm& form, const char* queueName) {
    if (queueName == nullptr) return {};
    const std::size_t length =
        std::strlen(form.prefix) + std::strlen(queueName) + std::strlen(form.suffix);
    if (length + 1 > kObjectNameBufferSize) return {};
    std::string name;
    name.reserve(length);
    return name.append(form.prefix).append(queueName).append(form.suffix);
}

}  // namespace

std::string QueueObjectName(QueueObject object, const char* queueName) {
    return Build(kQueueNames[static_cast<std::size_t>(object)], queueName);
}

std::string GuardObjectName(GuardObject object, const char* queueName) {
    return Build(kGuardNames[static_cast<std::size_t>(object)], queueName);
}

}  // namespace velk
