#pragma once

#include <cstddef>

#include <hidl/HidlSupport.h>
#include <utils/Errors.h>

namespace android {
namespace hardware {

// The hwbinder thread pool of the calling process: at most maxThreads threads (one unless
// configured). It starts when the process first sends a callback or links to a death through
// a proxy, or when a thread joins it. BAD_VALUE for zero threads, else OK.
status_t configureRpcThreadpool(size_t maxThreads, bool callerWillJoin);
// The calling thread serves the process's hwbinder pool; never returns.
void joinRpcThreadpool();

}  // namespace hardware
}  // namespace android
