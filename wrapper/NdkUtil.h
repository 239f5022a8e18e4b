#pragma once

#include <memory>
#include <string>

#include <android/binder_manager.h>
#include <android/log.h>

// Lookups of AIDL services by instance suffix ("/name"), declared in the device manifest.
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
std::shared_ptr<T> CheckAndStartService(const std::string& instance) {
    const std::string name = std::string(T::descriptor) + instance;
    if (!IsServiceConfValid(name, "VIRCAMERA_AIDL_SERVICE")) {
        return nullptr;
    }
    return T::fromBinder(ndk::SpAIBinder(AServiceManager_waitForService(name.c_str())));
}

// The service if it is registered now; empty otherwise.
template <class T>
std::shared_ptr<T> CheckOrGetService(const std::string& instance) {
    const std::string name = std::string(T::descriptor) + instance;
    if (!IsServiceConfValid(name, "VIRCAMERA_AIDL_SERVICE")) {
        return nullptr;
    }
    return T::fromBinder(ndk::SpAIBinder(AServiceManager_checkService(name.c_str())));
}

}  // namespace NdkUtil
