#pragma once

#include <memory>

#include <vendor/zuvek/hardware/camera/vircamera/1.0/IVirCameraChannelCallback.h>

#include "IVirCameraWrapper.h"
#include "callback/ChannelBufferCore.h"

namespace android {

// The library's HIDL channel callback: the HAL opens sessions, configures streams and
// sends image, meta, unregister and flush requests here on hwbinder threads; each is
// passed to the caller's callback, held weakly and locked per call. Image buffers are
// imported once into the stream buffer cache, where the caller locks them by ids.
class VirCameraCallback : public vendor::zuvek::hardware::camera::vircamera::V1_0::IVirCameraChannelCallback,
                          public ChannelBufferCore {
public:
    using VirOptResult = vendor::zuvek::hardware::camera::vircamera::V1_0::VirOptResult;

    explicit VirCameraCallback(const std::weak_ptr<IVirCameraWrapperCallback>& callback);
    // Releases every cached buffer (waiting for locked ones to be unlocked).
    ~VirCameraCallback() override;

    hardware::Return<void> openControlSession(const hardware::hidl_string& device, const hardware::hidl_string& service,
                                              openControlSession_cb _hidl_cb) override;
    hardware::Return<VirOptResult> closeControlSession(uint32_t sessionId) override;
    hardware::Return<VirOptResult> configStream(
        uint32_t sessionId, const vendor::zuvek::hardware::camera::vircamera::V1_0::VirStreamConfiguration& config) override;
    hardware::Return<void> openDataSession(const hardware::hidl_string& device, const hardware::hidl_string& service,
                                           openDataSession_cb _hidl_cb) override;
    hardware::Return<VirOptResult> closeDataSession(uint32_t sessionId) override;
    hardware::Return<void> processImageRequest(
        uint32_t sessionId,
        const hardware::hidl_vec<vendor::zuvek::hardware::camera::vircamera::V1_0::VirImageBuffer>& buffers,
        processImageRequest_cb _hidl_cb) override;
    hardware::Return<VirOptResult> processMetaRequest(
        uint32_t sessionId, const vendor::zuvek::hardware::camera::vircamera::V1_0::VirMetaRequest& request) override;
    hardware::Return<VirOptResult> unregisterBuffer(
        uint32_t sessionId,
        const hardware::hidl_vec<vendor::zuvek::hardware::camera::vircamera::V1_0::VirBufferCache>& caches) override;
    hardware::Return<VirOptResult> flush(uint32_t sessionId) override;

private:
    int32_t ProcessOneImageRequest(const vendor::zuvek::hardware::camera::vircamera::V1_0::VirImageBuffer& buffer);
    int32_t UnregistOneBuffer(int32_t streamId, unsigned long bufferId);
    std::shared_ptr<IVirCameraWrapperCallback> LockCallback();

    const std::weak_ptr<IVirCameraWrapperCallback> mCallback;
};

}  // namespace android
