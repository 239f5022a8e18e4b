// Transport probe: the device speaks AIDL to the virtual camera HAL when its manifest
// declares both AIDL channel instances. Declaration alone counts; the services need not
// be running.
#define LOG_TAG "GETVERSION"

#include "IVirCameraWrapper.h"

#include <string>

#include <aidl/vendor/zuvek/hardware/camera/vircamera/IVirCameraChannel.h>
#include <android/binder_manager.h>
#include <android/log.h>

#include "common/InstanceNames.h"

using aidl::vendor::zuvek::hardware::camera::vircamera::IVirCameraChannel;

namespace android {

namespace {

constexpr int VERSION_HIDL = 1;
constexpr int VERSION_AIDL = 2;

bool IsDeclared(const std::string& name) {
    if (AServiceManager_isDeclared(name.c_str())) return true;
    __android_log_print(ANDROID_LOG_INFO, LOG_TAG, "%s check %s is not Declared\n",
                        "IsServiceConfValid", name.c_str());
    return false;
}

// The stream-change instance is asked only when the register instance is declared.
bool IsServiceConfValid(const std::string& registerName, const std::string& streamChangeName) {
    return IsDeclared(registerName) && IsDeclared(streamChangeName);
}

}  // namespace

extern "C" int GetVersion() {
    const std::string registerName = AidlServiceName(IVirCameraChannel::descriptor, REGISTER_CHANNEL);
    const std::string streamChangeName = AidlServiceName(IVirCameraChannel::descriptor, STREAM_CHANGE_CHANNEL);
    const bool aidl = IsServiceConfValid(registerName, streamChangeName);
    __android_log_print(ANDROID_LOG_DEBUG, LOG_TAG,
                        aidl ? "%s: check service config is aidl %s"
                             : "%s: check service config is hidl %s",
                        "GetVersion", registerName.c_str());
    return aidl ? VERSION_AIDL : VERSION_HIDL;
}

}  // namespace android
