#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "hidl/SimHidlTypes.h"

// The virtual camera HAL's IVirCameraChannel for one instance: keeps the channel and
// switch callbacks registered with it, records everything the library sends and answers
// with settable statuses. All methods are thread-safe; nothing is called out under the lock.
namespace vircamsim {

class SimHidlChannel : public vircam::IVirCameraChannel {
  public:
    using ImageDoneListener = std::function<void(int32_t sessionId, const vircam::VirImageResult&)>;

    // Creates a channel and registers it as `instance` (registerAsService); null on failure.
    static ::android::sp<SimHidlChannel> Start(const std::string& instance);
    ~SimHidlChannel() override;

    const std::string& Instance() const { return mInstance; }
    // The service dies like a crashed HAL process (death links fire, the callbacks it held
    // are dropped) / comes back with no callbacks registered.
    bool Kill();
    bool Restore();
    bool Alive() const;

    // Answers (defaults: all 0 / OK, seqNum 1, empty id list, report 300 after 100 ms).
    void SetRegisterChannelStatus(int32_t status);
    void SetUnregisterChannelStatus(int32_t status);
    void SetRegisterSwitchCallbackStatus(uint32_t status);
    void SetRegisterVirCameraStatus(uint32_t status);
    void SetUnRegisterVirCameraStatus(uint32_t status);
    void SetSwitchAnswer(CameraStatus status, uint32_t seqNum);
    void SetSwitchReport(const SwitchReportPlan& plan);
    void SetIdList(CameraStatus status, const std::vector<std::string>& ids);
    // Called (on the library's calling thread, no lock held) for each onVirImageBufferDone.
    void SetImageDoneListener(ImageDoneListener listener);
    // Runs inside registerVirtualChannelCallback, on the calling thread with no lock held,
    // after the callback was taken and before the answer: a HAL that is slow to answer.
    void SetWhileRegistering(std::function<void()> hook);

    // The channel callback of the last accepted registration; null when none or after
    // its unregistration.
    ::android::sp<vircam::IVirCameraChannelCallback> ChannelCallback() const;
    // Waits up to `timeout` for a registered channel callback; null if none came.
    ::android::sp<vircam::IVirCameraChannelCallback> WaitForChannelCallback(std::chrono::milliseconds timeout);
    std::vector<DevicePair> ChannelRegistrations() const;
    std::vector<DevicePair> ChannelUnregistrations() const;
    size_t SwitchCallbackRegistrations() const;

    std::vector<SessionResult> SessionResults() const;
    std::vector<NotifyRecord> Notifies() const;
    std::vector<vircam::VirImageResult> ImageResults() const;
    // Waits up to `timeout` until at least `count` image results arrived.
    bool WaitForImageResults(size_t count, std::chrono::milliseconds timeout);
    std::vector<VirCameraRegistration> VirCameraRegistrations() const;
    std::vector<DevicePair> VirCameraUnregistrations() const;
    size_t SwitchOnCalls() const;
    size_t SwitchOffCalls() const;
    // Joins the threads of delayed switch reports.
    void JoinReports();

    // IVirCameraChannel
    using hidl_string = ::android::hardware::hidl_string;
    template <typename T>
    using Return = ::android::hardware::Return<T>;
    Return<int32_t> registerVirtualChannelCallback(const hidl_string& device, const hidl_string& service,
                                                   const ::android::sp<vircam::IVirCameraChannelCallback>& callback) override;
    Return<int32_t> unregisterVirtualChannelCallback(const hidl_string& device, const hidl_string& service) override;
    Return<uint32_t> registerSwitchCallback(const ::android::sp<vircam::IVirCameraSwitchCallback>& callback) override;
    Return<uint32_t> unregisterSwitchCallback(const ::android::sp<vircam::IVirCameraSwitchCallback>& callback) override;
    Return<void> notifyOpenControlSessionResult(int32_t sessionId, bool failed) override;
    Return<void> notifyConfigStreamResult(int32_t sessionId, int32_t code) override;
    Return<void> notifyOpenDataSessionResult(int32_t sessionId, int32_t code) override;
    Return<void> onVirImageBufferDone(int32_t sessionId, const vircam::VirImageResult& result) override;
    Return<void> notify(int32_t key, const hidl_string& message) override;
    Return<uint32_t> registerVirCamera(const hidl_string& device, const hidl_string& service,
                                       const ::android::hardware::hidl_vec<vircam::CameraFormat>& formats,
                                       const ::android::hardware::hidl_vec<vircam::MetaItem>& extendInfo) override;
    Return<uint32_t> unRegisterVirCamera(const hidl_string& device, const hidl_string& service) override;
    Return<void> switchOnVirCamera(const hidl_string& device, const hidl_string& service,
                                   switchOnVirCamera_cb hidlCb) override;
    Return<void> switchOffVirCamera(const hidl_string& device, const hidl_string& service,
                                    switchOffVirCamera_cb hidlCb) override;
    Return<void> getVirtualCameraIdList(getVirtualCameraIdList_cb hidlCb) override;

  private:
    explicit SimHidlChannel(std::string instance);
    Return<void> Switch(bool on, switchOnVirCamera_cb hidlCb);
    void Report(bool on, const ::android::sp<vircam::IVirCameraSwitchCallback>& callback, uint32_t seqNum,
                vircam::VirCamOptRet ret);

    const std::string mInstance;
    mutable std::mutex mLock;
    std::condition_variable mChanged;
    bool mAlive = true;
    int32_t mRegisterChannelStatus = 0;
    int32_t mUnregisterChannelStatus = 0;
    uint32_t mRegisterSwitchStatus = 0;
    uint32_t mRegisterVirCameraStatus = 0;
    uint32_t mUnRegisterVirCameraStatus = 0;
    CameraStatus mSwitchStatus = CameraStatus::OK;
    uint32_t mSwitchSeqNum = 1;
    SwitchReportPlan mReportPlan;
    CameraStatus mIdListStatus = CameraStatus::OK;
    std::vector<std::string> mIds;
    ImageDoneListener mImageDoneListener;
    std::function<void()> mWhileRegistering;
    ::android::sp<vircam::IVirCameraChannelCallback> mChannelCallback;
    ::android::sp<vircam::IVirCameraSwitchCallback> mSwitchCallback;
    std::vector<DevicePair> mChannelRegistrations;
    std::vector<DevicePair> mChannelUnregistrations;
    size_t mSwitchCallbackRegistrations = 0;
    std::vector<SessionResult> mSessionResults;
    std::vector<NotifyRecord> mNotifies;
    std::vector<vircam::VirImageResult> mImageResults;
    std::vector<VirCameraRegistration> mVirCameraRegistrations;
    std::vector<DevicePair> mVirCameraUnregistrations;
    size_t mSwitchOnCalls = 0;
    size_t mSwitchOffCalls = 0;
    std::vector<std::thread> mReportThreads;
};

}  // namespace vircamsim
