// The lines that the serial reader has taken from the phone, waiting for the
// worker. One queue per process. Each line is held with its CR LF, the
// prompt "> " alone has none, and no NUL is added. The reader pushes, the
// worker takes; every call holds the queue's lock.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace velk {

// Appends a copy of `count` bytes. Returns 1 (0 only when out of memory).
int PushLine(const char* bytes, uint32_t count);

// 1 when a line waits.
int HasLine();

// Drops every line. Returns 1.
int ClearLines();

// Moves the first line into `line`, as it was queued, and drops it from the
// queue: the line is not copied again on its way to the reader. False, with
// `line` left as it is, when no line waits.
bool TakeLineText(std::string& line);

}  // namespace velk
