#pragma once

#include <string>

#include "IVirCameraWrapper.h"

// The service instances the library looks up, spelled once. HIDL asks for an instance by
// its name alone; AIDL names a service "descriptor/instance".
namespace android {

// The HAL channel of each service mode.
constexpr const char* REGISTER_CHANNEL = "virtualcamera.register";
constexpr const char* STREAM_CHANGE_CHANNEL = "virtualcamera.streamchange";
// The HIDL camera provider of the virtual cameras: waited for before registering.
constexpr const char* VIRTUAL_PROVIDER_INSTANCE = "virtual/0";
// The AIDL camera provider whose declared instances are logged when the AIDL client starts.
constexpr const char* AIDL_CAMERA_PROVIDER = "android.hardware.camera.provider.ICameraProvider";
// The graphics services' instance (mappers, allocator).
constexpr const char* DEFAULT_INSTANCE = "default";

// The channel a service mode binds to: only mode 0 is the stream-change one.
inline const char* ChannelInstance(IVirCameraWrapper::VirCameraMode mode) {
    return mode == IVirCameraWrapper::MODE_STREAM_CHANGE ? STREAM_CHANGE_CHANNEL : REGISTER_CHANNEL;
}

// "descriptor/instance": an AIDL service's name in the service manager.
inline std::string AidlServiceName(const char* descriptor, const char* instance) {
    std::string name(descriptor);
    name += '/';
    name += instance;
    return name;
}

}  // namespace android
