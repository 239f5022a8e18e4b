#include "client/VirCameraSwitchCallback.h"

#include <android/log.h>

#include "client/VirtualCameraClient.h"

namespace VIRTUAL_CAMERA_CLIENT {

using android::hardware::Return;
using android::hardware::Void;

// These two lines carry no tag: the platform logs them under the process's default tag.
VirCameraSwitchCallback::VirCameraSwitchCallback() {
    __android_log_print(ANDROID_LOG_INFO, nullptr, "%s: ctor VirCameraSwitchCallback!", "VirCameraSwitchCallback");
}

VirCameraSwitchCallback::~VirCameraSwitchCallback() {
    __android_log_print(ANDROID_LOG_INFO, nullptr, "%s: dtor VirCameraSwitchCallback!", "~VirCameraSwitchCallback");
}

Return<void> VirCameraSwitchCallback::notifySwitchOnVirtualCameraResult(uint32_t seqNum, VirCamOptRet ret) {
    VirtualCameraClient::Get()->NotifySwitchOnVirtualCameraResult(seqNum, ret);
    return Void();
}

Return<void> VirCameraSwitchCallback::notifySwitchOffVirtualCameraResult(uint32_t seqNum, VirCamOptRet ret) {
    VirtualCameraClient::Get()->NotifySwitchOffVirtualCameraResult(seqNum, ret);
    return Void();
}

}  // namespace VIRTUAL_CAMERA_CLIENT
