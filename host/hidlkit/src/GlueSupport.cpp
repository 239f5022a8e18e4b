#define LOG_TAG "HidlServiceManagement"

#include <hidlkit/HidlGlue.h>

#include <string>

#include <hidl/HidlInternal.h>
#include <log/log.h>

#include "ServiceRegistry.h"

namespace hostkit {
namespace hidl {
namespace detail {

Lookup findService(const char* descriptor, const std::string& instance, bool wait) {
    if (descriptor == nullptr) return Lookup{};
    return ServiceRegistry::get().find(descriptor, instance, wait);
}

::android::status_t registerService(const char* descriptor, const std::string& instance,
                                    const sp<IBase>& service) {
    if (descriptor == nullptr) return ::android::BAD_VALUE;
    const ::android::status_t status = ServiceRegistry::get().add(descriptor, instance, service);
    // registerAsService() sends the object to hwservicemanager through a proxy, which starts
    // the process's hwbinder pool: the calls to the service need a thread to arrive on.
    if (status == ::android::OK) startThreadPool();
    return status;
}

void logBadCast(const char* descriptor, const std::string& instance) {
    ALOGE("getService: found %s/%s but it is not of that type", descriptor, instance.c_str());
}

::android::hardware::Status nullCallbackStatus() {
    return ::android::hardware::Status::fromExceptionCode(::android::hardware::Status::EX_ILLEGAL_ARGUMENT,
                                                          "Null synchronous callback passed.");
}

void callbackCalledTwice(const char* method) {
    ::android::hardware::details::logAlwaysFatal(
            (std::string(method) + ": _hidl_cb called a second time, but must be called once.").c_str());
}

void callbackNotCalled(const char* method) {
    ::android::hardware::details::logAlwaysFatal(
            (std::string(method) + ": _hidl_cb not called, but must be called once.").c_str());
}

}  // namespace detail
}  // namespace hidl
}  // namespace hostkit
