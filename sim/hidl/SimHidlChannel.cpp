#include "hidl/SimHidlChannel.h"

#include <hostkit/HidlServices.h>

#include "process/SimProcess.h"

namespace vircamsim {

using ::android::sp;
using ::android::hardware::hidl_vec;
using ::android::hardware::Void;

sp<SimHidlChannel> SimHidlChannel::Start(const std::string& instance) {
    // The vendor manifest declares the instance; the HAL process registers it.
    hostkit::hidl::Declare(IVirCameraChannel::descriptor, instance);
    StartHalThreadPools();
    const AsHal hal;
    sp<SimHidlChannel> channel = new SimHidlChannel(instance);
    if (channel->registerAsService(instance) != ::android::OK) {
        return nullptr;
    }
    return channel;
}

SimHidlChannel::SimHidlChannel(std::string instance) : mInstance(std::move(instance)) {}

SimHidlChannel::~SimHidlChannel() { JoinReports(); }

bool SimHidlChannel::Kill() {
    sp<vircam::IVirCameraChannelCallback> channelCallback;
    sp<vircam::IVirCameraSwitchCallback> switchCallback;
    {
        std::lock_guard<std::mutex> lock(mLock);
        mAlive = false;
        // A dead HAL process holds no references to the library's objects any more.
        channelCallback = mChannelCallback;
        mChannelCallback = nullptr;
        switchCallback = mSwitchCallback;
        mSwitchCallback = nullptr;
    }
    return hostkit::hidl::Kill(descriptor, mInstance);
}

bool SimHidlChannel::Restore() {
    const bool restored = hostkit::hidl::Restore(descriptor, mInstance);
    std::lock_guard<std::mutex> lock(mLock);
    if (restored) {
        mAlive = true;
    }
    return restored;
}

bool SimHidlChannel::Alive() const {
    std::lock_guard<std::mutex> lock(mLock);
    return mAlive;
}

void SimHidlChannel::SetRegisterChannelStatus(int32_t status) {
    std::lock_guard<std::mutex> lock(mLock);
    mRegisterChannelStatus = status;
}

void SimHidlChannel::SetUnregisterChannelStatus(int32_t status) {
    std::lock_guard<std::mutex> lock(mLock);
    mUnregisterChannelStatus = status;
}

void SimHidlChannel::SetRegisterSwitchCallbackStatus(uint32_t status) {
    std::lock_guard<std::mutex> lock(mLock);
    mRegisterSwitchStatus = status;
}

void SimHidlChannel::SetRegisterVirCameraStatus(uint32_t status) {
    std::lock_guard<std::mutex> lock(mLock);
    mRegisterVirCameraStatus = status;
}

void SimHidlChannel::SetUnRegisterVirCameraStatus(uint32_t status) {
    std::lock_guard<std::mutex> lock(mLock);
    mUnRegisterVirCameraStatus = status;
}

void SimHidlChannel::SetSwitchAnswer(CameraStatus status, uint32_t seqNum) {
    std::lock_guard<std::mutex> lock(mLock);
    mSwitchStatus = status;
    mSwitchSeqNum = seqNum;
}

void SimHidlChannel::SetSwitchReport(const SwitchReportPlan& plan) {
    std::lock_guard<std::mutex> lock(mLock);
    mReportPlan = plan;
}

void SimHidlChannel::SetIdList(CameraStatus status, const std::vector<std::string>& ids) {
    std::lock_guard<std::mutex> lock(mLock);
    mIdListStatus = status;
    mIds = ids;
}

void SimHidlChannel::SetImageDoneListener(ImageDoneListener listener) {
    std::lock_guard<std::mutex> lock(mLock);
    mImageDoneListener = std::move(listener);
}

sp<vircam::IVirCameraChannelCallback> SimHidlChannel::ChannelCallback() const {
    std::lock_guard<std::mutex> lock(mLock);
    return mChannelCallback;
}

sp<vircam::IVirCameraChannelCallback> SimHidlChannel::WaitForChannelCallback(std::chrono::milliseconds timeout) {
    std::unique_lock<std::mutex> lock(mLock);
    mChanged.wait_for(lock, timeout, [this] { return mChannelCallback != nullptr; });
    return mChannelCallback;
}

std::vector<DevicePair> SimHidlChannel::ChannelRegistrations() const {
    std::lock_guard<std::mutex> lock(mLock);
    return mChannelRegistrations;
}

std::vector<DevicePair> SimHidlChannel::ChannelUnregistrations() const {
    std::lock_guard<std::mutex> lock(mLock);
    return mChannelUnregistrations;
}

size_t SimHidlChannel::SwitchCallbackRegistrations() const {
    std::lock_guard<std::mutex> lock(mLock);
    return mSwitchCallbackRegistrations;
}

std::vector<SessionResult> SimHidlChannel::SessionResults() const {
    std::lock_guard<std::mutex> lock(mLock);
    return mSessionResults;
}

std::vector<NotifyRecord> SimHidlChannel::Notifies() const {
    std::lock_guard<std::mutex> lock(mLock);
    return mNotifies;
}

std::vector<vircam::VirImageResult> SimHidlChannel::ImageResults() const {
    std::lock_guard<std::mutex> lock(mLock);
    return mImageResults;
}

bool SimHidlChannel::WaitForImageResults(size_t count, std::chrono::milliseconds timeout) {
    std::unique_lock<std::mutex> lock(mLock);
    return mChanged.wait_for(lock, timeout, [&] { return mImageResults.size() >= count; });
}

std::vector<VirCameraRegistration> SimHidlChannel::VirCameraRegistrations() const {
    std::lock_guard<std::mutex> lock(mLock);
    return mVirCameraRegistrations;
}

std::vector<DevicePair> SimHidlChannel::VirCameraUnregistrations() const {
    std::lock_guard<std::mutex> lock(mLock);
    return mVirCameraUnregistrations;
}

size_t SimHidlChannel::SwitchOnCalls() const {
    std::lock_guard<std::mutex> lock(mLock);
    return mSwitchOnCalls;
}

size_t SimHidlChannel::SwitchOffCalls() const {
    std::lock_guard<std::mutex> lock(mLock);
    return mSwitchOffCalls;
}

void SimHidlChannel::JoinReports() {
    std::vector<std::thread> threads;
    {
        std::lock_guard<std::mutex> lock(mLock);
        threads.swap(mReportThreads);
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

void SimHidlChannel::SetWhileRegistering(std::function<void()> hook) {
    std::lock_guard<std::mutex> lock(mLock);
    mWhileRegistering = std::move(hook);
}

SimHidlChannel::Return<int32_t> SimHidlChannel::registerVirtualChannelCallback(
        const hidl_string& device, const hidl_string& service, const sp<vircam::IVirCameraChannelCallback>& callback) {
    int32_t status;
    std::function<void()> hook;
    {
        std::lock_guard<std::mutex> lock(mLock);
        mChannelRegistrations.push_back({device, service});
        if (mRegisterChannelStatus == 0 && callback != nullptr) {
            mChannelCallback = callback;
            mChanged.notify_all();
        }
        status = callback == nullptr ? -1 : mRegisterChannelStatus;
        hook = mWhileRegistering;
    }
    if (hook) {
        hook();
    }
    return status;
}

SimHidlChannel::Return<int32_t> SimHidlChannel::unregisterVirtualChannelCallback(const hidl_string& device,
                                                                                 const hidl_string& service) {
    std::lock_guard<std::mutex> lock(mLock);
    mChannelUnregistrations.push_back({device, service});
    if (mUnregisterChannelStatus == 0) {
        mChannelCallback = nullptr;
    }
    return mUnregisterChannelStatus;
}

SimHidlChannel::Return<uint32_t> SimHidlChannel::registerSwitchCallback(
        const sp<vircam::IVirCameraSwitchCallback>& callback) {
    std::lock_guard<std::mutex> lock(mLock);
    ++mSwitchCallbackRegistrations;
    if (mRegisterSwitchStatus == 0) {
        mSwitchCallback = callback;
    }
    return mRegisterSwitchStatus;
}

SimHidlChannel::Return<uint32_t> SimHidlChannel::unregisterSwitchCallback(
        const sp<vircam::IVirCameraSwitchCallback>& /*callback*/) {
    std::lock_guard<std::mutex> lock(mLock);
    mSwitchCallback = nullptr;
    return 0u;
}

SimHidlChannel::Return<void> SimHidlChannel::notifyOpenControlSessionResult(int32_t sessionId, bool failed) {
    std::lock_guard<std::mutex> lock(mLock);
    mSessionResults.push_back({SessionResult::Kind::CONTROL, sessionId, failed ? 1 : 0});
    return Void();
}

SimHidlChannel::Return<void> SimHidlChannel::notifyConfigStreamResult(int32_t sessionId, int32_t code) {
    std::lock_guard<std::mutex> lock(mLock);
    mSessionResults.push_back({SessionResult::Kind::CONFIG, sessionId, code});
    return Void();
}

SimHidlChannel::Return<void> SimHidlChannel::notifyOpenDataSessionResult(int32_t sessionId, int32_t code) {
    std::lock_guard<std::mutex> lock(mLock);
    mSessionResults.push_back({SessionResult::Kind::DATA, sessionId, code});
    return Void();
}

SimHidlChannel::Return<void> SimHidlChannel::onVirImageBufferDone(int32_t sessionId,
                                                                  const vircam::VirImageResult& result) {
    ImageDoneListener listener;
    {
        std::lock_guard<std::mutex> lock(mLock);
        listener = mImageDoneListener;
    }
    // The listener reads the buffer back before the result counts as arrived, so a test
    // that waited for the result finds the bytes.
    if (listener) {
        listener(sessionId, result);
    }
    std::lock_guard<std::mutex> lock(mLock);
    mImageResults.push_back(result);
    mChanged.notify_all();
    return Void();
}

SimHidlChannel::Return<void> SimHidlChannel::notify(int32_t key, const hidl_string& message) {
    std::lock_guard<std::mutex> lock(mLock);
    mNotifies.push_back({key, message});
    return Void();
}

SimHidlChannel::Return<uint32_t> SimHidlChannel::registerVirCamera(const hidl_string& device,
                                                                   const hidl_string& service,
                                                                   const hidl_vec<vircam::CameraFormat>& formats,
                                                                   const hidl_vec<vircam::MetaItem>& extendInfo) {
    std::lock_guard<std::mutex> lock(mLock);
    mVirCameraRegistrations.push_back({device, service, formats, extendInfo});
    return mRegisterVirCameraStatus;
}

SimHidlChannel::Return<uint32_t> SimHidlChannel::unRegisterVirCamera(const hidl_string& device,
                                                                     const hidl_string& service) {
    std::lock_guard<std::mutex> lock(mLock);
    mVirCameraUnregistrations.push_back({device, service});
    return mUnRegisterVirCameraStatus;
}

SimHidlChannel::Return<void> SimHidlChannel::switchOnVirCamera(const hidl_string& /*device*/,
                                                               const hidl_string& /*service*/,
                                                               switchOnVirCamera_cb hidlCb) {
    return Switch(true, hidlCb);
}

SimHidlChannel::Return<void> SimHidlChannel::switchOffVirCamera(const hidl_string& /*device*/,
                                                                const hidl_string& /*service*/,
                                                                switchOffVirCamera_cb hidlCb) {
    return Switch(false, hidlCb);
}

SimHidlChannel::Return<void> SimHidlChannel::Switch(bool on, switchOnVirCamera_cb hidlCb) {
    CameraStatus status;
    uint32_t seqNum;
    SwitchReportPlan plan;
    sp<vircam::IVirCameraSwitchCallback> callback;
    {
        std::lock_guard<std::mutex> lock(mLock);
        ++(on ? mSwitchOnCalls : mSwitchOffCalls);
        status = mSwitchStatus;
        seqNum = mSwitchSeqNum;
        plan = mReportPlan;
        callback = mSwitchCallback;
    }
    hidlCb(status, seqNum);
    // A HAL that refused the switch, or has nobody to tell, reports nothing.
    if (status != CameraStatus::OK || callback == nullptr) {
        return Void();
    }
    const uint32_t reported = plan.wrongSeqNum ? seqNum + 1 : seqNum;
    switch (plan.when) {
        case SwitchReportPlan::When::INSIDE_CALL:
            Report(on, callback, reported, plan.ret);
            break;
        case SwitchReportPlan::When::AFTER_DELAY: {
            std::lock_guard<std::mutex> lock(mLock);
            // The HAL reports later, from a thread of its own.
            mReportThreads.push_back(HalThread([this, on, callback, reported, plan] {
                std::this_thread::sleep_for(plan.delay);
                Report(on, callback, reported, plan.ret);
            }));
            break;
        }
        case SwitchReportPlan::When::NEVER:
            break;
    }
    return Void();
}

void SimHidlChannel::Report(bool on, const sp<vircam::IVirCameraSwitchCallback>& callback, uint32_t seqNum,
                            vircam::VirCamOptRet ret) {
    auto sent = on ? callback->notifySwitchOnVirtualCameraResult(seqNum, ret)
                   : callback->notifySwitchOffVirtualCameraResult(seqNum, ret);
    (void)sent.isOk();
}

SimHidlChannel::Return<void> SimHidlChannel::getVirtualCameraIdList(getVirtualCameraIdList_cb hidlCb) {
    CameraStatus status;
    hidl_vec<hidl_string> ids;
    {
        std::lock_guard<std::mutex> lock(mLock);
        status = mIdListStatus;
        ids.resize(mIds.size());
        for (size_t i = 0; i < mIds.size(); ++i) {
            ids[i] = mIds[i];
        }
    }
    hidlCb(status, ids);
    return Void();
}

}  // namespace vircamsim
