#include "FakeChannel.h"

using ::android::hardware::hidl_string;
using ::android::hardware::hidl_vec;
using ::android::hardware::Return;
using ::android::hardware::Void;
using ::android::hardware::camera::common::V1_0::Status;

namespace {
::android::hardware::Status Failure() {
    return ::android::hardware::Status::fromExceptionCode(::android::hardware::Status::EX_ILLEGAL_STATE, "refused");
}
}  // namespace

::android::sp<FakeChannel::V1_0Callback> FakeChannel::ChannelCallback() {
    std::lock_guard<std::mutex> lock(mLock);
    return mChannelCallback;
}
::android::sp<FakeChannel::V1_0Switch> FakeChannel::SwitchCallback() {
    std::lock_guard<std::mutex> lock(mLock);
    return mSwitchCallback;
}
::android::sp<FakeChannel::V1_0Switch> FakeChannel::UnregisteredSwitchCallback() {
    std::lock_guard<std::mutex> lock(mLock);
    return mUnregisteredSwitchCallback;
}
const void* FakeChannel::IdListData() {
    std::lock_guard<std::mutex> lock(mLock);
    return mIdListData;
}

Return<int32_t> FakeChannel::registerVirtualChannelCallback(const hidl_string&, const hidl_string&,
                                                            const ::android::sp<V1_0Callback>& callback) {
    ++mCalls;
    std::lock_guard<std::mutex> lock(mLock);
    mChannelCallback = callback;
    return 0;
}
Return<int32_t> FakeChannel::unregisterVirtualChannelCallback(const hidl_string&, const hidl_string&) {
    ++mCalls;
    return 0;
}
Return<uint32_t> FakeChannel::registerSwitchCallback(const ::android::sp<V1_0Switch>& callback) {
    ++mCalls;
    std::lock_guard<std::mutex> lock(mLock);
    mSwitchCallback = callback;
    return 0;
}
Return<uint32_t> FakeChannel::unregisterSwitchCallback(const ::android::sp<V1_0Switch>& callback) {
    ++mCalls;
    std::lock_guard<std::mutex> lock(mLock);
    mUnregisteredSwitchCallback = callback;
    return 0;
}
Return<void> FakeChannel::notifyOpenControlSessionResult(int32_t, bool) {
    ++mCalls;
    return Void();
}
Return<void> FakeChannel::notifyConfigStreamResult(int32_t, int32_t) {
    ++mCalls;
    return Void();
}
Return<void> FakeChannel::notifyOpenDataSessionResult(int32_t, int32_t) {
    ++mCalls;
    return Void();
}
Return<void> FakeChannel::onVirImageBufferDone(int32_t, const VirImageResult&) {
    ++mCalls;
    return Void();
}
Return<void> FakeChannel::notify(int32_t key, const hidl_string&) {
    ++mCalls;
    mLastKey = key;
    if (mFailReturns) return Failure();
    return Void();
}
Return<uint32_t> FakeChannel::registerVirCamera(const hidl_string&, const hidl_string&, const hidl_vec<CameraFormat>&,
                                                const hidl_vec<MetaItem>& extendInfo) {
    ++mCalls;
    if (mFailReturns) return Failure();
    return static_cast<uint32_t>(extendInfo.size());
}
Return<uint32_t> FakeChannel::unRegisterVirCamera(const hidl_string&, const hidl_string&) {
    ++mCalls;
    return 0;
}
Return<void> FakeChannel::switchOnVirCamera(const hidl_string&, const hidl_string&, switchOnVirCamera_cb _hidl_cb) {
    ++mCalls;
    for (int i = 0; i < mSwitchAnswers; ++i) _hidl_cb(Status::OK, 7);
    if (mFailReturns) return Failure();
    return Void();
}
Return<void> FakeChannel::switchOffVirCamera(const hidl_string&, const hidl_string&, switchOffVirCamera_cb _hidl_cb) {
    ++mCalls;
    _hidl_cb(Status::OK, 8);
    return Void();
}
Return<void> FakeChannel::getVirtualCameraIdList(getVirtualCameraIdList_cb _hidl_cb) {
    ++mCalls;
    const hidl_vec<hidl_string> ids{"0", "1"};
    {
        std::lock_guard<std::mutex> lock(mLock);
        mIdListData = ids.data();
    }
    _hidl_cb(Status::OK, ids);
    return Void();
}
