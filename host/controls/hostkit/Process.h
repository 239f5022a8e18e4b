#pragma once

#include <functional>
#include <string>
#include <thread>

// Test controls of the processes the kit models inside the one test program. Test code only.
//
// Every thread belongs to a process: "self" (the library, the test, the demo) unless it was
// started for another one or runs as another one for a scope. A local object belongs to the
// process that made it (NDK: AIBinder_new, i.e. the first asBinder(); HIDL: the process that
// registers it as a service or first sends it through a proxy). A two-way call from one
// process into another runs on the callee's binder threads, as on a device: on the callee's
// thread that waits in the caller's chain of calls if there is one (a nested call), else on
// a thread of the callee's pool (hwbinder for HIDL, binder for NDK), while the caller waits.
// Calls within a process run directly. All functions are thread-safe.
namespace hostkit::process {

inline constexpr const char* SELF = "self";

// The calling thread's process.
std::string Current();

// Runs the calling thread as process `name` (created on first use) until the scope ends.
// Do not hand calls of the scope to other threads.
class As {
  public:
    explicit As(const std::string& name);
    ~As();
    As(const As&) = delete;
    As& operator=(const As&) = delete;

  private:
    void* mPrevious;
};

// A new thread of process `name` running `body`; the caller joins or detaches it.
std::thread Thread(const std::string& name, std::function<void()> body);

enum class Pool { HWBINDER, BINDER };
// Whether the calling thread is a thread of `pool` of its process.
bool OnPoolThread(Pool pool);
// Whether the pool of process `name` was started (NDK: ABinderProcess_startThreadPool();
// HIDL: a callback sent or a death link made through a proxy, or joinRpcThreadpool()).
bool PoolStarted(const std::string& name, Pool pool);

}  // namespace hostkit::process
