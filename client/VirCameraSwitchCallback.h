#pragma once

#include <vendor/zuvek/hardware/camera/vircamera/1.0/IVirCameraSwitchCallback.h>

namespace VIRTUAL_CAMERA_CLIENT {

// Receives the HAL's switch reports and hands them to the client singleton unchanged.
class VirCameraSwitchCallback : public vendor::zuvek::hardware::camera::vircamera::V1_0::IVirCameraSwitchCallback {
public:
    using VirCamOptRet = vendor::zuvek::hardware::camera::vircamera::V1_0::VirCamOptRet;

    VirCameraSwitchCallback();
    ~VirCameraSwitchCallback() override;

    android::hardware::Return<void> notifySwitchOnVirtualCameraResult(uint32_t seqNum, VirCamOptRet ret) override;
    android::hardware::Return<void> notifySwitchOffVirtualCameraResult(uint32_t seqNum, VirCamOptRet ret) override;
};

}  // namespace VIRTUAL_CAMERA_CLIENT
