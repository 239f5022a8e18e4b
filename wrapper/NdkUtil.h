#pragma once

#include <memory>
#include <string>

#include <android/binder_auto_utils.h>
#include <android/binder_manager.h>
#include <android/log.h>

#include "common/InstanceNames.h"

// Lookups of AIDL services by instance name, declared in the device manifest, and the
// outcome of a call to one.
namespace NdkUtil {

// True when "descriptor/instance" is declared; logs the undeclared name under `logTag`.
inline bool IsServiceConfValid(const std::string& name, const char* logTag) {
    if (AServiceManager_isDeclared(name.c_str())) {
        return true;
    }
    __android_log_print(ANDROID_LOG_INFO, logTag, "%s check %s is not Declared\n", "IsServiceConfValid", name.c_str());
    return false;
}

// The service, waiting until it is registered (starting a lazy service). Empty when it
// is not declared.
template <class T>
std::shared_ptr<T> CheckAndStartService(const char* instance) {
    const std::string name = android::AidlServiceName(T::descriptor, instance);
    if (!IsServiceConfValid(name, "VIRCAMERA_AIDL_SERVICE")) {
        return nullptr;
    }
    return T::fromBinder(ndk::SpAIBinder(AServiceManager_waitForService(name.c_str())));
}

// The service if it is registered now; empty otherwise.
template <class T>
std::shared_ptr<T> CheckOrGetService(const char* instance) {
    const std::string name = android::AidlServiceName(T::descriptor, instance);
    if (!IsServiceConfValid(name, "VIRCAMERA_AIDL_SERVICE")) {
        return nullptr;
    }
    return T::fromBinder(ndk::SpAIBinder(AServiceManager_checkService(name.c_str())));
}

// Whether a call to an AIDL service failed: its transport failed or, given the service's
// `answer`, the answer is not 0. A failure is logged under `logTag` as
// "<function>: <call>failed: <exception code> msg: <message>"; `call` is empty or ends
// with a space.
inline bool CallFailed(const ndk::ScopedAStatus& status, const char* logTag, const char* function, const char* call,
                       int32_t answer = 0) {
    if (status.isOk() && answer == 0) {
        return false;
    }
    __android_log_print(ANDROID_LOG_ERROR, logTag, "%s: %sfailed: %d msg: %s", function, call,
                        status.getExceptionCode(), status.getMessage());
    return true;
}

}  // namespace NdkUtil
