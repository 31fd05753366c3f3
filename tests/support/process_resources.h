// What the process holds right now: open descriptors and running threads.
// Tests take it before and after a link's life to show that nothing stayed.
#pragma once

#include <chrono>
#include <cstddef>
#include <ostream>

namespace velk::test {

struct ProcessResources {
    std::size_t descriptors = 0;
    std::size_t threads = 0;

    static ProcessResources Now();
    bool operator==(const ProcessResources&) const = default;
};

// For the messages of a failed comparison.
void PrintTo(const ProcessResources& resources, std::ostream* out);

// Waits until the process holds exactly `wanted`, for a thread that has
// ended but not yet left the task list. False when it does not come to that
// within `within`.
bool ResourcesBecome(const ProcessResources& wanted, std::chrono::milliseconds within);

}  // namespace velk::test
