#include "process/SimProcess.h"

#include <android/binder_process.h>
#include <hidl/HidlTransportSupport.h>

namespace vircamsim {

namespace {
// A few threads each, so that one slow callback of the library does not hold up the HAL.
constexpr size_t HAL_HWBINDER_THREADS = 4;
constexpr uint32_t HAL_BINDER_THREADS = 4;
}  // namespace

void StartHalThreadPools() {
    const AsHal hal;
    ::android::hardware::configureRpcThreadpool(HAL_HWBINDER_THREADS, true);
    if (!ABinderProcess_isThreadPoolStarted()) {
        ABinderProcess_setThreadPoolMaxThreadCount(HAL_BINDER_THREADS);
        ABinderProcess_startThreadPool();
    }
}

std::thread HalThread(std::function<void()> body) { return hostkit::process::Thread(HAL_PROCESS, std::move(body)); }

}  // namespace vircamsim
