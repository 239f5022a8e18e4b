// The hwbinder thread pool of the calling thread's process.
#include <hidl/HidlTransportSupport.h>

#include <hidlkit/HidlGlue.h>

#include "processkit/Dispatcher.h"

namespace {
hostkit::processkit::ThreadPool& ProcessPool() {
    return hostkit::processkit::Dispatcher::currentProcess().pool(hostkit::processkit::PoolKind::HWBINDER);
}
}  // namespace

namespace android {
namespace hardware {

status_t configureRpcThreadpool(size_t maxThreads, bool /*callerWillJoin*/) {
    if (maxThreads == 0) return BAD_VALUE;
    ProcessPool().setMaxThreads(maxThreads);
    return OK;
}

void joinRpcThreadpool() {
    // A joined pool grows like a started one, up to the configured maximum.
    ProcessPool().start();
    ProcessPool().join();
}

}  // namespace hardware
}  // namespace android

namespace hostkit {
namespace hidl {
namespace detail {

void startThreadPool() { ProcessPool().start(); }

}  // namespace detail
}  // namespace hidl
}  // namespace hostkit
