// ABinderProcess_*: the binder thread pool of the calling thread's process.
#define LOG_TAG "binderkit"

#include <android/binder_process.h>

#include <android/log.h>

#include <cstdlib>

#include "processkit/Dispatcher.h"

using hostkit::processkit::Dispatcher;
using hostkit::processkit::PoolKind;
using hostkit::processkit::ThreadPool;

namespace {
ThreadPool& ProcessPool() { return Dispatcher::currentProcess().pool(PoolKind::BINDER); }
// The maximum counts the threads the driver asks for, not the one the start spawns.
constexpr size_t STARTED_THREAD = 1;
}  // namespace

void ABinderProcess_startThreadPool(void) { ProcessPool().start(); }

bool ABinderProcess_setThreadPoolMaxThreadCount(uint32_t numThreads) {
    ThreadPool& pool = ProcessPool();
    if (pool.started() && numThreads + STARTED_THREAD < pool.maxThreads()) {
        // libbinder's ProcessState refuses this with a fatal log.
        __android_log_print(ANDROID_LOG_FATAL, LOG_TAG, "Binder threadpool cannot be shrunk after starting");
        abort();
    }
    pool.setMaxThreads(numThreads + STARTED_THREAD);
    return true;
}

bool ABinderProcess_isThreadPoolStarted(void) { return ProcessPool().started(); }

void ABinderProcess_joinThreadPool(void) { ProcessPool().join(); }
