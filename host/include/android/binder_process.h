#pragma once

// The process's binder thread pool (libbinder_ndk, platform API). Calls into the process's
// binder objects and death notices are delivered only on pool threads: until the pool is
// started none is delivered. A library must not start or join the pool; the program's main
// does, and a library can check whether it did.

#include <stdbool.h>
#include <stdint.h>
#include <sys/cdefs.h>

#include <android/binder_status.h>

__BEGIN_DECLS

// Starts the pool if it is not started yet.
void ABinderProcess_startThreadPool(void) __INTRODUCED_IN(29);
// The most threads the pool may grow to; false once the pool was started.
bool ABinderProcess_setThreadPoolMaxThreadCount(uint32_t numThreads) __INTRODUCED_IN(29);
// Whether ABinderProcess_startThreadPool() ran in this process.
bool ABinderProcess_isThreadPoolStarted(void) __INTRODUCED_IN(31);
// Makes the calling thread a pool thread; does not return.
void ABinderProcess_joinThreadPool(void) __INTRODUCED_IN(29);

__END_DECLS
