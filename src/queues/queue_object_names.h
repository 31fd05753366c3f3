// Names of the kernel objects that belong to a shared queue. Both parties
// build them the same way, so a name is part of the format like the layout.
//
//   mapping        "ATNEXUM_" name "_FILEMAPPING"
//   empty event    "ATNEXUM_" name "_EMPTY_EVENT"
//   further event  "ATNEXUM_" name "_EVENT"
//   mutex          "ATNEXUM_" name "_MUTEX"
//   semaphore      "ATNEXUM_" name "_SEMAPHONE"   (sic: the other party spells it so)
//   guard objects  "SWMRGMutexNoWriter" name, "SWMRGEventNoReaders" name,
//                  "SWMRGSemNumReaders" name      (no "ATNEXUM_" prefix)
//
// Every name is built in a buffer of 100 bytes: a name that would not fit
// with its terminator is no name at all (the builders give an empty string),
// and the object it would have named is not made.
#pragma once

#include <cstddef>
#include <string>

namespace velk {

inline constexpr std::size_t kObjectNameBufferSize = 100;

enum class QueueObject { kMapping, kEmptyEvent, kEvent, kMutex, kSemaphore };
enum class GuardObject { kMutexNoWriter, kEventNoReaders, kSemNumReaders };

// Empty when `queueName` is null or the whole name would not fit.
std::string QueueObjectName(QueueObject object, const char* queueName);
std::string GuardObjectName(GuardObject object, const char* queueName);

}  // namespace velk
