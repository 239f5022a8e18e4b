#pragma once

#include <functional>
#include <thread>

#include <hostkit/Process.h>

// The simulated HAL is a process of its own, as the vendor HAL is on a device: its services
// are registered from it, its threads call into the library, and the library's callbacks run
// on the library process's binder threads, never on the HAL's thread.
namespace vircamsim {

inline constexpr const char* HAL_PROCESS = "vircamera HAL";

// Runs the calling thread as the HAL process for a scope: every public entry point of the
// simulation that calls into the library, and every registration, runs inside one.
class AsHal {
  public:
    AsHal() : mAs(HAL_PROCESS) {}

  private:
    hostkit::process::As mAs;
};

// Configures and starts the HAL's binder thread pools as its main() would (idempotent).
void StartHalThreadPools();

// A thread of the HAL process of its own (a reporter, a streamer).
std::thread HalThread(std::function<void()> body);

}  // namespace vircamsim
