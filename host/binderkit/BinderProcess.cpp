// ABinderProcess_* with no threads behind them: the kit delivers every call on the
// caller's thread, so the pool is only a flag the library can check.
#include <android/binder_process.h>

#include <unistd.h>

#include <atomic>

namespace {
std::atomic<bool> gStarted{false};
std::atomic<uint32_t> gMaxThreads{15};
}  // namespace

void ABinderProcess_startThreadPool(void) {
    gStarted.store(true);
}

bool ABinderProcess_setThreadPoolMaxThreadCount(uint32_t numThreads) {
    if (gStarted.load()) return false;
    gMaxThreads.store(numThreads);
    return true;
}

bool ABinderProcess_isThreadPoolStarted(void) {
    return gStarted.load();
}

void ABinderProcess_joinThreadPool(void) {
    gStarted.store(true);
    for (;;) pause();
}
