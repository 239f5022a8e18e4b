#pragma once

#include <functional>
#include <map>
#include <mutex>
#include <string>

#include "hidl/SimHidlChannel.h"

namespace faults {

// The HAL channel methods the library calls.
enum class HidlPoint {
    REGISTER_CHANNEL_CALLBACK,
    UNREGISTER_CHANNEL_CALLBACK,
    REGISTER_SWITCH_CALLBACK,
    NOTIFY_CONTROL_RESULT,
    NOTIFY_CONFIG_RESULT,
    NOTIFY_DATA_RESULT,
    IMAGE_DONE,
    NOTIFY,
    REGISTER_VIR_CAMERA,
    UNREGISTER_VIR_CAMERA,
    SWITCH_ON,
    SWITCH_OFF,
    ID_LIST,
};

enum class HidlFault {
    FAIL,        // the call fails in transport and never reaches the HAL
    DIE_AFTER,   // the HAL answers, then its process dies before the next call
};

// A HAL channel that breaks at a chosen method: registered under the real instance name,
// it passes every call to a simulated channel (registered as "fault.<instance>"). A FAIL
// fault is injected into the kit's transport, since a HAL that returns a failed status
// itself is ended by its stub; DIE_AFTER kills both registrations after the answer.
// Faults fire once.
class FaultHidlChannel : public vircamsim::vircam::IVirCameraChannel {
  public:
    static ::android::sp<FaultHidlChannel> Start(const std::string& instance);

    const ::android::sp<vircamsim::SimHidlChannel>& Sim() const { return mSim; }
    void Arm(HidlPoint point, HidlFault fault);
    // Both registrations die (death links fire) / come back.
    bool Kill();
    bool Restore();
    bool Alive() const;

    using hidl_string = ::android::hardware::hidl_string;
    template <typename T>
    using Return = ::android::hardware::Return<T>;
    using ChannelCallback = ::android::sp<vircamsim::vircam::IVirCameraChannelCallback>;
    using SwitchCallback = ::android::sp<vircamsim::vircam::IVirCameraSwitchCallback>;
    Return<int32_t> registerVirtualChannelCallback(const hidl_string& device, const hidl_string& service,
                                                   const ChannelCallback& callback) override;
    Return<int32_t> unregisterVirtualChannelCallback(const hidl_string& device, const hidl_string& service) override;
    Return<uint32_t> registerSwitchCallback(const SwitchCallback& callback) override;
    Return<uint32_t> unregisterSwitchCallback(const SwitchCallback& callback) override;
    Return<void> notifyOpenControlSessionResult(int32_t sessionId, bool failed) override;
    Return<void> notifyConfigStreamResult(int32_t sessionId, int32_t code) override;
    Return<void> notifyOpenDataSessionResult(int32_t sessionId, int32_t code) override;
    Return<void> onVirImageBufferDone(int32_t sessionId, const vircamsim::vircam::VirImageResult& result) override;
    Return<void> notify(int32_t key, const hidl_string& message) override;
    Return<uint32_t> registerVirCamera(const hidl_string& device, const hidl_string& service,
                                       const ::android::hardware::hidl_vec<vircamsim::vircam::CameraFormat>& formats,
                                       const ::android::hardware::hidl_vec<vircamsim::vircam::MetaItem>& extendInfo) override;
    Return<uint32_t> unRegisterVirCamera(const hidl_string& device, const hidl_string& service) override;
    Return<void> switchOnVirCamera(const hidl_string& device, const hidl_string& service,
                                   switchOnVirCamera_cb hidlCb) override;
    Return<void> switchOffVirCamera(const hidl_string& device, const hidl_string& service,
                                    switchOffVirCamera_cb hidlCb) override;
    Return<void> getVirtualCameraIdList(getVirtualCameraIdList_cb hidlCb) override;

  private:
    FaultHidlChannel(std::string instance, ::android::sp<vircamsim::SimHidlChannel> sim);
    // The call went through: dies if that was armed.
    void Passed(HidlPoint point);
    template <typename T>
    Return<T> Forward(HidlPoint point, const std::function<Return<T>()>& call);

    const std::string mInstance;
    const ::android::sp<vircamsim::SimHidlChannel> mSim;
    mutable std::mutex mLock;
    std::map<HidlPoint, HidlFault> mArmed;  // DIE_AFTER faults only
};

}  // namespace faults
