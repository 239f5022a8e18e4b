#pragma once

#include <atomic>
#include <mutex>

#include <vendor/zuvek/hardware/camera/vircamera/1.0/IVirCameraChannel.h>

// IVirCameraChannel that counts the calls reaching it and keeps the callbacks
// it is given. switchOnVirCamera answers (OK, 7) through its callback, as many
// times as mSwitchAnswers says; with mFailReturns notify, registerVirCamera and
// switchOnVirCamera (after answering) return a failed status.
class FakeChannel : public vendor::zuvek::hardware::camera::vircamera::V1_0::IVirCameraChannel {
  public:
    using hidl_string = ::android::hardware::hidl_string;
    template <typename T>
    using Return = ::android::hardware::Return<T>;
    using V1_0Callback = ::vendor::zuvek::hardware::camera::vircamera::V1_0::IVirCameraChannelCallback;
    using V1_0Switch = ::vendor::zuvek::hardware::camera::vircamera::V1_0::IVirCameraSwitchCallback;
    using VirImageResult = ::vendor::zuvek::hardware::camera::vircamera::V1_0::VirImageResult;
    using CameraFormat = ::vendor::zuvek::hardware::camera::vircamera::V1_0::CameraFormat;
    using MetaItem = ::vendor::zuvek::hardware::camera::vircamera::V1_0::MetaItem;

    Return<int32_t> registerVirtualChannelCallback(const hidl_string& device, const hidl_string& service,
                                                   const ::android::sp<V1_0Callback>& callback) override;
    Return<int32_t> unregisterVirtualChannelCallback(const hidl_string& device, const hidl_string& service) override;
    Return<uint32_t> registerSwitchCallback(const ::android::sp<V1_0Switch>& callback) override;
    Return<uint32_t> unregisterSwitchCallback(const ::android::sp<V1_0Switch>& callback) override;
    Return<void> notifyOpenControlSessionResult(int32_t sessionId, bool failed) override;
    Return<void> notifyConfigStreamResult(int32_t sessionId, int32_t code) override;
    Return<void> notifyOpenDataSessionResult(int32_t sessionId, int32_t code) override;
    Return<void> onVirImageBufferDone(int32_t sessionId, const VirImageResult& result) override;
    Return<void> notify(int32_t key, const hidl_string& message) override;
    Return<uint32_t> registerVirCamera(const hidl_string& device, const hidl_string& service,
                                       const ::android::hardware::hidl_vec<CameraFormat>& formats,
                                       const ::android::hardware::hidl_vec<MetaItem>& extendInfo) override;
    Return<uint32_t> unRegisterVirCamera(const hidl_string& device, const hidl_string& service) override;
    Return<void> switchOnVirCamera(const hidl_string& device, const hidl_string& service,
                                   switchOnVirCamera_cb _hidl_cb) override;
    Return<void> switchOffVirCamera(const hidl_string& device, const hidl_string& service,
                                    switchOffVirCamera_cb _hidl_cb) override;
    Return<void> getVirtualCameraIdList(getVirtualCameraIdList_cb _hidl_cb) override;

    ::android::sp<V1_0Callback> ChannelCallback();
    ::android::sp<V1_0Switch> SwitchCallback();
    ::android::sp<V1_0Switch> UnregisteredSwitchCallback();
    // Where the id list the last getVirtualCameraIdList answered with lived.
    const void* IdListData();

    std::atomic<int> mCalls{0};
    std::atomic<int> mLastKey{0};
    std::atomic<int> mSwitchAnswers{1};
    std::atomic<bool> mFailReturns{false};

  private:
    std::mutex mLock;
    ::android::sp<V1_0Callback> mChannelCallback;
    ::android::sp<V1_0Switch> mSwitchCallback;
    ::android::sp<V1_0Switch> mUnregisteredSwitchCallback;
    const void* mIdListData = nullptr;
};
