#include "FaultHidlChannel.h"

#include <hostkit/HidlServices.h>

#include "process/SimProcess.h"

namespace faults {

using ::android::hardware::Void;
namespace vircam = vircamsim::vircam;

::android::sp<FaultHidlChannel> FaultHidlChannel::Start(const std::string& instance) {
    ::android::sp<vircamsim::SimHidlChannel> sim = vircamsim::SimHidlChannel::Start("fault." + instance);
    if (sim == nullptr) return nullptr;
    // The faulty channel is the HAL's service under the declared name, in the HAL process.
    hostkit::hidl::Declare(vircam::IVirCameraChannel::descriptor, instance);
    const vircamsim::AsHal hal;
    ::android::sp<FaultHidlChannel> channel = new FaultHidlChannel(instance, sim);
    if (channel->registerAsService(instance) != ::android::OK) return nullptr;
    return channel;
}

FaultHidlChannel::FaultHidlChannel(std::string instance, ::android::sp<vircamsim::SimHidlChannel> sim)
    : mInstance(std::move(instance)), mSim(std::move(sim)) {}

namespace {

const char* MethodOf(HidlPoint point) {
    switch (point) {
        case HidlPoint::REGISTER_CHANNEL_CALLBACK: return "registerVirtualChannelCallback";
        case HidlPoint::UNREGISTER_CHANNEL_CALLBACK: return "unregisterVirtualChannelCallback";
        case HidlPoint::REGISTER_SWITCH_CALLBACK: return "registerSwitchCallback";
        case HidlPoint::NOTIFY_CONTROL_RESULT: return "notifyOpenControlSessionResult";
        case HidlPoint::NOTIFY_CONFIG_RESULT: return "notifyConfigStreamResult";
        case HidlPoint::NOTIFY_DATA_RESULT: return "notifyOpenDataSessionResult";
        case HidlPoint::IMAGE_DONE: return "onVirImageBufferDone";
        case HidlPoint::NOTIFY: return "notify";
        case HidlPoint::REGISTER_VIR_CAMERA: return "registerVirCamera";
        case HidlPoint::UNREGISTER_VIR_CAMERA: return "unRegisterVirCamera";
        case HidlPoint::SWITCH_ON: return "switchOnVirCamera";
        case HidlPoint::SWITCH_OFF: return "switchOffVirCamera";
        case HidlPoint::ID_LIST: return "getVirtualCameraIdList";
    }
    return "";
}

}  // namespace

void FaultHidlChannel::Arm(HidlPoint point, HidlFault fault) {
    if (fault == HidlFault::FAIL) {
        (void)hostkit::hidl::FailNextCallOf(descriptor, mInstance, MethodOf(point), ::android::FAILED_TRANSACTION);
        return;
    }
    std::lock_guard<std::mutex> lock(mLock);
    mArmed[point] = fault;
}

bool FaultHidlChannel::Kill() {
    const bool killed = hostkit::hidl::Kill(descriptor, mInstance);
    if (mSim->Alive()) mSim->Kill();
    return killed;
}

bool FaultHidlChannel::Restore() {
    const bool restored = hostkit::hidl::Restore(descriptor, mInstance);
    if (!mSim->Alive()) mSim->Restore();
    return restored;
}

bool FaultHidlChannel::Alive() const { return hostkit::hidl::IsRegistered(descriptor, mInstance); }

void FaultHidlChannel::Passed(HidlPoint point) {
    {
        std::lock_guard<std::mutex> lock(mLock);
        auto armed = mArmed.find(point);
        if (armed == mArmed.end()) return;
        mArmed.erase(armed);
    }
    Kill();
}

template <typename T>
FaultHidlChannel::Return<T> FaultHidlChannel::Forward(HidlPoint point, const std::function<Return<T>()>& call) {
    Return<T> answer = call();
    Passed(point);
    return answer;
}

FaultHidlChannel::Return<int32_t> FaultHidlChannel::registerVirtualChannelCallback(const hidl_string& device,
                                                                                  const hidl_string& service,
                                                                                  const ChannelCallback& callback) {
    return Forward<int32_t>(HidlPoint::REGISTER_CHANNEL_CALLBACK,
                            [&] { return mSim->registerVirtualChannelCallback(device, service, callback); });
}

FaultHidlChannel::Return<int32_t> FaultHidlChannel::unregisterVirtualChannelCallback(const hidl_string& device,
                                                                                    const hidl_string& service) {
    return Forward<int32_t>(HidlPoint::UNREGISTER_CHANNEL_CALLBACK,
                            [&] { return mSim->unregisterVirtualChannelCallback(device, service); });
}

FaultHidlChannel::Return<uint32_t> FaultHidlChannel::registerSwitchCallback(const SwitchCallback& callback) {
    return Forward<uint32_t>(HidlPoint::REGISTER_SWITCH_CALLBACK, [&] { return mSim->registerSwitchCallback(callback); });
}

FaultHidlChannel::Return<uint32_t> FaultHidlChannel::unregisterSwitchCallback(const SwitchCallback& callback) {
    return mSim->unregisterSwitchCallback(callback);
}

FaultHidlChannel::Return<void> FaultHidlChannel::notifyOpenControlSessionResult(int32_t sessionId, bool failed) {
    return Forward<void>(HidlPoint::NOTIFY_CONTROL_RESULT,
                         [&] { return mSim->notifyOpenControlSessionResult(sessionId, failed); });
}

FaultHidlChannel::Return<void> FaultHidlChannel::notifyConfigStreamResult(int32_t sessionId, int32_t code) {
    return Forward<void>(HidlPoint::NOTIFY_CONFIG_RESULT, [&] { return mSim->notifyConfigStreamResult(sessionId, code); });
}

FaultHidlChannel::Return<void> FaultHidlChannel::notifyOpenDataSessionResult(int32_t sessionId, int32_t code) {
    return Forward<void>(HidlPoint::NOTIFY_DATA_RESULT, [&] { return mSim->notifyOpenDataSessionResult(sessionId, code); });
}

FaultHidlChannel::Return<void> FaultHidlChannel::onVirImageBufferDone(int32_t sessionId,
                                                                     const vircam::VirImageResult& result) {
    return Forward<void>(HidlPoint::IMAGE_DONE, [&] { return mSim->onVirImageBufferDone(sessionId, result); });
}

FaultHidlChannel::Return<void> FaultHidlChannel::notify(int32_t key, const hidl_string& message) {
    return Forward<void>(HidlPoint::NOTIFY, [&] { return mSim->notify(key, message); });
}

FaultHidlChannel::Return<uint32_t> FaultHidlChannel::registerVirCamera(
    const hidl_string& device, const hidl_string& service,
    const ::android::hardware::hidl_vec<vircam::CameraFormat>& formats,
    const ::android::hardware::hidl_vec<vircam::MetaItem>& extendInfo) {
    return Forward<uint32_t>(HidlPoint::REGISTER_VIR_CAMERA,
                             [&] { return mSim->registerVirCamera(device, service, formats, extendInfo); });
}

FaultHidlChannel::Return<uint32_t> FaultHidlChannel::unRegisterVirCamera(const hidl_string& device,
                                                                        const hidl_string& service) {
    return Forward<uint32_t>(HidlPoint::UNREGISTER_VIR_CAMERA, [&] { return mSim->unRegisterVirCamera(device, service); });
}

FaultHidlChannel::Return<void> FaultHidlChannel::switchOnVirCamera(const hidl_string& device, const hidl_string& service,
                                                                  switchOnVirCamera_cb hidlCb) {
    return Forward<void>(HidlPoint::SWITCH_ON, [&] { return mSim->switchOnVirCamera(device, service, hidlCb); });
}

FaultHidlChannel::Return<void> FaultHidlChannel::switchOffVirCamera(const hidl_string& device,
                                                                   const hidl_string& service,
                                                                   switchOffVirCamera_cb hidlCb) {
    return Forward<void>(HidlPoint::SWITCH_OFF, [&] { return mSim->switchOffVirCamera(device, service, hidlCb); });
}

FaultHidlChannel::Return<void> FaultHidlChannel::getVirtualCameraIdList(getVirtualCameraIdList_cb hidlCb) {
    return Forward<void>(HidlPoint::ID_LIST, [&] { return mSim->getVirtualCameraIdList(hidlCb); });
}

}  // namespace faults
