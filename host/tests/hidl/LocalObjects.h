#pragma once

#include <atomic>
#include <vector>

#include <android/hardware/graphics/mapper/2.0/IMapper.h>
#include <vendor/zuvek/hardware/camera/vircamera/1.0/IVirCameraChannelCallback.h>
#include <vendor/zuvek/hardware/camera/vircamera/1.0/IVirCameraSwitchCallback.h>

namespace vircam = ::vendor::zuvek::hardware::camera::vircamera::V1_0;

// A video source's switch callback that counts the reports reaching it.
class CountingSwitchCallback : public vircam::IVirCameraSwitchCallback {
  public:
    ::android::hardware::Return<void> notifySwitchOnVirtualCameraResult(uint32_t seqNum, vircam::VirCamOptRet) override;
    ::android::hardware::Return<void> notifySwitchOffVirtualCameraResult(uint32_t seqNum, vircam::VirCamOptRet) override;

    std::atomic<int> mReports{0};
};

// A video source's channel callback: openControlSession answers (SUCCESS, 5)
// mAnswers times; processImageRequest answers (SUCCESS, count) and records
// the handles it was given, with their first fd, while the call runs.
class LocalChannelCallback : public vircam::IVirCameraChannelCallback {
  public:
    struct SeenHandle {
        const native_handle_t* handle;
        int fd;
        bool fdOpen;
    };
    using hidl_string = ::android::hardware::hidl_string;
    template <typename T>
    using Return = ::android::hardware::Return<T>;

    Return<void> openControlSession(const hidl_string&, const hidl_string&, openControlSession_cb _hidl_cb) override;
    Return<vircam::VirOptResult> closeControlSession(uint32_t) override;
    Return<vircam::VirOptResult> configStream(uint32_t, const vircam::VirStreamConfiguration&) override;
    Return<void> openDataSession(const hidl_string&, const hidl_string&, openDataSession_cb _hidl_cb) override;
    Return<vircam::VirOptResult> closeDataSession(uint32_t) override;
    Return<void> processImageRequest(uint32_t, const ::android::hardware::hidl_vec<vircam::VirImageBuffer>& buffers,
                                     processImageRequest_cb _hidl_cb) override;
    Return<vircam::VirOptResult> processMetaRequest(uint32_t, const vircam::VirMetaRequest&) override;
    Return<vircam::VirOptResult> unregisterBuffer(uint32_t,
                                                  const ::android::hardware::hidl_vec<vircam::VirBufferCache>&) override;
    Return<vircam::VirOptResult> flush(uint32_t) override;

    std::atomic<int> mAnswers{1};
    std::vector<SeenHandle> mSeen;
};

// A mapper whose unlock hands out a release fence (the read end of a pipe)
// that it closes as soon as the callback returns, as mappers do.
class FenceMapper : public ::android::hardware::graphics::mapper::V2_0::IMapper {
  public:
    using Error = ::android::hardware::graphics::mapper::V2_0::Error;
    template <typename T>
    using Return = ::android::hardware::Return<T>;

    Return<void> importBuffer(const ::android::hardware::hidl_handle&, importBuffer_cb _hidl_cb) override;
    Return<Error> freeBuffer(void*) override;
    Return<void> lock(void*, ::android::hardware::hidl_bitfield<::android::hardware::graphics::common::V1_0::BufferUsage>,
                      const Rect&, const ::android::hardware::hidl_handle&, lock_cb _hidl_cb) override;
    Return<void> unlock(void*, unlock_cb _hidl_cb) override;

    // The fence handle of the last unlock and its fd (both gone now).
    const native_handle_t* mLastFence = nullptr;
    int mLastFenceFd = -1;
};
