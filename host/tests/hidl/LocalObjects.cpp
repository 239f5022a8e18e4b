#include "LocalObjects.h"

#include <fcntl.h>
#include <unistd.h>

#include <cutils/native_handle.h>

using ::android::hardware::hidl_handle;
using ::android::hardware::hidl_string;
using ::android::hardware::hidl_vec;
using ::android::hardware::Return;
using ::android::hardware::Void;
using vircam::VirOptResult;

Return<void> CountingSwitchCallback::notifySwitchOnVirtualCameraResult(uint32_t, vircam::VirCamOptRet) {
    ++mReports;
    return Void();
}
Return<void> CountingSwitchCallback::notifySwitchOffVirtualCameraResult(uint32_t, vircam::VirCamOptRet) {
    ++mReports;
    return Void();
}

Return<void> LocalChannelCallback::openControlSession(const hidl_string&, const hidl_string&,
                                                      openControlSession_cb _hidl_cb) {
    for (int i = 0; i < mAnswers; ++i) _hidl_cb(VirOptResult::SUCCESS, 5);
    return Void();
}
Return<VirOptResult> LocalChannelCallback::closeControlSession(uint32_t) { return VirOptResult::SUCCESS; }
Return<VirOptResult> LocalChannelCallback::configStream(uint32_t, const vircam::VirStreamConfiguration&) {
    return VirOptResult::SUCCESS;
}
Return<void> LocalChannelCallback::openDataSession(const hidl_string&, const hidl_string&,
                                                   openDataSession_cb _hidl_cb) {
    _hidl_cb(VirOptResult::SUCCESS, 6);
    return Void();
}
Return<VirOptResult> LocalChannelCallback::closeDataSession(uint32_t) { return VirOptResult::SUCCESS; }
Return<void> LocalChannelCallback::processImageRequest(uint32_t, const hidl_vec<vircam::VirImageBuffer>& buffers,
                                                       processImageRequest_cb _hidl_cb) {
    for (const vircam::VirImageBuffer& buffer : buffers) {
        const native_handle_t* handle = buffer.buffer.getNativeHandle();
        const int fd = handle != nullptr && handle->numFds > 0 ? handle->data[0] : -1;
        mSeen.push_back({handle, fd, fd >= 0 && fcntl(fd, F_GETFD) != -1});
    }
    _hidl_cb(VirOptResult::SUCCESS, static_cast<uint32_t>(buffers.size()));
    return Void();
}
Return<VirOptResult> LocalChannelCallback::processMetaRequest(uint32_t, const vircam::VirMetaRequest&) {
    return VirOptResult::SUCCESS;
}
Return<VirOptResult> LocalChannelCallback::unregisterBuffer(uint32_t, const hidl_vec<vircam::VirBufferCache>&) {
    return VirOptResult::SUCCESS;
}
Return<VirOptResult> LocalChannelCallback::flush(uint32_t) { return VirOptResult::SUCCESS; }

Return<void> FenceMapper::importBuffer(const hidl_handle&, importBuffer_cb _hidl_cb) {
    _hidl_cb(Error::NONE, nullptr);
    return Void();
}
Return<FenceMapper::Error> FenceMapper::freeBuffer(void*) { return Error::NONE; }
Return<void> FenceMapper::lock(void*, ::android::hardware::hidl_bitfield<::android::hardware::graphics::common::V1_0::BufferUsage>,
                               const Rect&, const hidl_handle&, lock_cb _hidl_cb) {
    _hidl_cb(Error::NONE, nullptr);
    return Void();
}
Return<void> FenceMapper::unlock(void*, unlock_cb _hidl_cb) {
    int fds[2];
    if (pipe2(fds, O_CLOEXEC) != 0) {
        _hidl_cb(Error::NO_RESOURCES, hidl_handle());
        return Void();
    }
    close(fds[1]);
    native_handle_t* fence = native_handle_create(1, 0);
    fence->data[0] = fds[0];
    mLastFence = fence;
    mLastFenceFd = fds[0];
    _hidl_cb(Error::NONE, hidl_handle(fence));
    native_handle_close(fence);
    native_handle_delete(fence);
    return Void();
}
