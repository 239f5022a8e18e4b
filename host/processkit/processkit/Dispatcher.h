#pragma once

#include <functional>

#include "processkit/Process.h"

namespace hostkit::processkit {

// Sends calls between the kit's processes the way the binder driver does. Thread-safe.
class Dispatcher {
  public:
    // A two-way call of the calling thread into `target`; returns once `work` ran there.
    // Within the caller's process it runs right here. Otherwise it runs on the thread of
    // `target` that waits in the caller's chain of calls (a nested call), else on a thread of
    // the target's `kind` pool, queued until one is free. Meanwhile the caller serves the
    // nested calls that come back to it.
    static void call(Process& target, PoolKind kind, std::function<void()> work);
    // A oneway call (also a death notice): queued on the `kind` pool of `target`, never run
    // here; the caller does not wait.
    static void post(Process& target, PoolKind kind, std::function<void()> work);
    // The calling thread's process.
    static Process& currentProcess();
};

}  // namespace hostkit::processkit
