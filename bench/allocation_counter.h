// The heap allocations made by the whole process so far. Linking
// allocation_counter.cpp into a program replaces the C allocator's entry
// points with counting ones.
#pragma once

#include <cstdint>

namespace velk::bench {

uint64_t AllocationCount();

}  // namespace velk::bench
