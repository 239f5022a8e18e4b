#pragma once

#include <chrono>
#include <cstddef>

#include "OpenFds.h"

// What a case must leave behind as it found it: open descriptors (OpenFds, with their
// targets, so a replaced descriptor shows) and the threads of the process.
namespace faults {

// The process's threads, binder pool threads left out.
size_t ThreadCount();
// Waits up to `timeout` for the thread count to come down to `expected`: a thread that has
// been joined can still be listed for a moment. Returns the last count seen.
size_t WaitForThreadCount(size_t expected, std::chrono::milliseconds timeout);

}  // namespace faults
