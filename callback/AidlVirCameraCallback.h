#pragma once

#include <memory>
#include <string>
#include <vector>

#include <aidl/vendor/zuvek/hardware/camera/vircamera/BnVirCameraChannelCallback.h>

#include "IVirCameraWrapper.h"
#include "callback/ChannelBufferCore.h"

namespace android {

// The library's AIDL channel callback: numbered HAL commands with JSON texts are passed
// to the caller's V2 callback (held weakly) and its result goes back in StatusResult.
// Image commands carry buffers as NativeHandles, imported once into the stream buffer
// cache where the caller locks them through SendData. Binder threads call it.
class AidlVirCameraCallback : public aidl::vendor::zuvek::hardware::camera::vircamera::BnVirCameraChannelCallback,
                              public ChannelBufferCore {
public:
    using StatusResult = aidl::vendor::zuvek::hardware::camera::vircamera::StatusResult;
    using InfoData = aidl::vendor::zuvek::hardware::camera::vircamera::InfoData;

    explicit AidlVirCameraCallback(const std::weak_ptr<IVirCameraWrapperCallbackV2>& callback);
    // Releases every cached buffer (waiting for locked ones to be unlocked).
    ~AidlVirCameraCallback() override;

    // A null reply gives the service-specific error -200001; otherwise the outcome is in
    // reply->status (the caller's result, or -200002 unknown command, -200004 expired
    // callback) with a binder OK.
    ndk::ScopedAStatus processCmdRequest(int32_t cmd, const std::string& json, StatusResult* reply) override;
    // As processCmdRequest; image commands also answer -200003 (no items) and -200012
    // (JSON not parsed).
    ndk::ScopedAStatus processInfoData(int32_t cmd, const std::string& json, const std::vector<InfoData>& items,
                                       StatusResult* reply) override;

    // LockVideoBuffer and UnLockVideoBuffer come from ChannelBufferCore, with this
    // transport's log lines; the unlock also writes the CPU caches back to the dma-buf first.
    // The caller's callback, or null when it has expired.
    std::shared_ptr<IVirCameraWrapperCallbackV2> GetWrapperCallback() const { return mCallback.lock(); }

private:
    struct VirImageBuffer {
        int32_t frameNumber;
        int32_t streamId;
        int32_t bufferId;
        const aidl::android::hardware::common::NativeHandle* buffer;
    };

    // Passes a command to the caller's callback, with `items` when set; the caller's
    // result (its data to `replyData` when set), or -200004 when the callback expired.
    int32_t CallCaller(int32_t cmd, const std::string& json, std::vector<CommonData>* items, std::string* replyData);
    int32_t ProcessImageRequest(const std::string& json, const std::vector<InfoData>& items, std::string& out);
    int32_t ProcessOneImageRequest(const VirImageBuffer& buffer);

    const std::weak_ptr<IVirCameraWrapperCallbackV2> mCallback;
};

}  // namespace android
