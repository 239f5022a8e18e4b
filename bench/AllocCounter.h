#pragma once

#include <cstdint>

namespace vircambench {

// Heap allocations made by this process so far (malloc, calloc, realloc, operator new).
uint64_t AllocationCount();

}  // namespace vircambench
