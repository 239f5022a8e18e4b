#pragma once

#include "IVirCameraWrapper.h"

namespace android {

// The HAL channel instance a service mode binds to: only mode 0 is the stream-change one.
inline const char* HidlChannelName(IVirCameraWrapper::VirCameraMode mode) {
    return mode == IVirCameraWrapper::MODE_STREAM_CHANGE ? "virtualcamera.streamchange" : "virtualcamera.register";
}

}  // namespace android
