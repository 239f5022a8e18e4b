// Counts every heap allocation of the benchmark process by interposing glibc's allocator
// entry points; the real work is done by glibc's own __libc_* functions.
#include "AllocCounter.h"

#include <atomic>
#include <cstddef>

extern "C" {
void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* pointer, size_t size);
void __libc_free(void* pointer);
}

namespace {
std::atomic<uint64_t> gAllocations{0};
}

namespace vircambench {
uint64_t AllocationCount() {
    return gAllocations.load(std::memory_order_relaxed);
}
}  // namespace vircambench

extern "C" {

void* malloc(size_t size) {
    gAllocations.fetch_add(1, std::memory_order_relaxed);
    return __libc_malloc(size);
}

void* calloc(size_t count, size_t size) {
    gAllocations.fetch_add(1, std::memory_order_relaxed);
    return __libc_calloc(count, size);
}

void* realloc(void* pointer, size_t size) {
    gAllocations.fetch_add(1, std::memory_order_relaxed);
    return __libc_realloc(pointer, size);
}

void free(void* pointer) {
    __libc_free(pointer);
}

}  // extern "C"
