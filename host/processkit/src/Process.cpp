#include "processkit/Process.h"

#include <utility>

namespace hostkit::processkit {

namespace {
// libhidl's pool has one thread unless configureRpcThreadpool() asks for more. libbinder's
// has the one its start spawns plus up to 15 the driver asks for (DEFAULT_MAX_BINDER_THREADS).
constexpr size_t HWBINDER_THREADS = 1;
constexpr size_t BINDER_THREADS = 1 + 15;
}  // namespace

Process::Process(std::string name)
    : mName(std::move(name)),
      mHwbinder(*this, "hwbinder", HWBINDER_THREADS),
      mBinder(*this, "binder", BINDER_THREADS) {}

}  // namespace hostkit::processkit
