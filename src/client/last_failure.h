// The cause of the latest failure, kept for velk_GetLastError: set where a
// start or an operation fails, before the application can hear of it, and
// cleared by each start and each request the library takes.
//
// The text lives in a buffer of the process that is never freed, so a
// pointer handed out never dangles; what it reads changes only when a start,
// a request or the failure of an operation the application asked for sets it
// anew. None of these calls blocks on anything but the record's own lock, and
// none throws.
#pragma once

#include <cstdint>
#include <string_view>

#include "client/failure_causes.h"

namespace velk {

void ClearLastFailure() noexcept;

// A longer text is cut to the record's room.
void RecordLastFailure(int32_t code, std::string_view text) noexcept;
void RecordLastFailure(const FailureCause& cause) noexcept;

// The number recorded; `*text` (when not null) gets the recorded text, ""
// when nothing is recorded.
int32_t LastFailure(const char** text) noexcept;

}  // namespace velk
