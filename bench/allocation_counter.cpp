// Counts the heap allocations of the process: the C allocator's entry points
// are replaced by ones that count and hand on to the C library's own, so
// that malloc, calloc and every operator new are seen alike.
#include "allocation_counter.h"

#include <atomic>
#include <cstddef>

// The C library's own allocator, under the names it exports for this use.
// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* pointer, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);
}
// NOLINTEND(bugprone-reserved-identifier)

namespace velk::bench {
namespace {

std::atomic<uint64_t> allocations{0};

}  // namespace

uint64_t AllocationCount() {
    return allocations.load(std::memory_order_relaxed);
}

}  // namespace velk::bench

using velk::bench::allocations;

extern "C" {

void* malloc(std::size_t size) {
    allocations.fetch_add(1, std::memory_order_relaxed);
    return __libc_malloc(size);
}

void* calloc(std::size_t count, std::size_t size) {
    allocations.fetch_add(1, std::memory_order_relaxed);
    return __libc_calloc(count, size);
}

void* realloc(void* pointer, std::size_t size) {
    allocations.fetch_add(1, std::memory_order_relaxed);
    return __libc_realloc(pointer, size);
}

void* aligned_alloc(std::size_t alignment, std::size_t size) {
    allocations.fetch_add(1, std::memory_order_relaxed);
    return __libc_memalign(alignment, size);
}

void* memalign(std::size_t alignment, std::size_t size) {
    allocations.fetch_add(1, std::memory_order_relaxed);
    return __libc_memalign(alignment, size);
}

int posix_memalign(void** out, std::size_t alignment, std::size_t size) {
    allocations.fetch_add(1, std::memory_order_relaxed);
    void* pointer = __libc_memalign(alignment, size);
    if (pointer == nullptr) return 12;  // ENOMEM
    *out = pointer;
    return 0;
}

}  // extern "C"
