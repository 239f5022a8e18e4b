#pragma once

#include <cstddef>

#include <hidl/HidlSupport.h>
#include <utils/Errors.h>

namespace android {
namespace hardware {

// The host runtime delivers death notifications on threads of its own, so
// this only checks the arguments: BAD_VALUE for zero threads, else OK.
status_t configureRpcThreadpool(size_t maxThreads, bool callerWillJoin);

}  // namespace hardware
}  // namespace android
