#pragma once

// The binder thread pool of the calling process (libbinder_ndk, platform API). A process
// receives nothing, no call and no death notice, until it has a pool: the calls wait. A
// library must not start or join the pool; the program's main does, and a library can check
// whether it did.

#include <stdbool.h>
#include <stdint.h>
#include <sys/cdefs.h>

#include <android/binder_status.h>

__BEGIN_DECLS

// Creates the pool if it was not created yet. Threads are added as calls need them, up to the
// maximum (15 unless set before).
void ABinderProcess_startThreadPool(void) __INTRODUCED_IN(29);
// The most threads the pool may have. Shrinking a started pool ends the process.
bool ABinderProcess_setThreadPoolMaxThreadCount(uint32_t numThreads) __INTRODUCED_IN(29);
// Whether ABinderProcess_startThreadPool() was called in this process.
bool ABinderProcess_isThreadPoolStarted(void) __INTRODUCED_IN(31);
// The calling thread serves the pool; never returns.
void ABinderProcess_joinThreadPool(void) __INTRODUCED_IN(29);

__END_DECLS
