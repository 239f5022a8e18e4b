#define LOG_TAG "VIRCAMERA_HIDL_WRAPPERCB"
// Trace sections of this file go to the camera category of a capture.
#define ATRACE_TAG ATRACE_TAG_CAMERA

#include "callback/VirCameraCallback.h"

#include <linux/dma-buf.h>
#include <sys/ioctl.h>

#include <cerrno>
#include <cstring>

#include <log/log.h>
#include <utils/Trace.h>

#include "callback/HidlRecordConvert.h"
#include "common/AnonyString.h"

namespace android {

using hardware::hidl_string;
using hardware::hidl_vec;
using hardware::Return;
using hardware::Void;
using vendor::zuvek::hardware::camera::vircamera::V1_0::VirBufferCache;
using vendor::zuvek::hardware::camera::vircamera::V1_0::VirImageBuffer;
using vendor::zuvek::hardware::camera::vircamera::V1_0::VirMetaRequest;
using vendor::zuvek::hardware::camera::vircamera::V1_0::VirStreamConfiguration;

namespace {

using VirOptResult = VirCameraCallback::VirOptResult;

constexpr const char* CALLBACK_EXPIRED = "wrapper callback has expired.";

VirOptResult ToHalStatus(int32_t callerResult) {
    return callerResult == 0 ? VirOptResult::SUCCESS : VirOptResult::FAILED;
}

// Logs one cache entry going away.
class HidlStreamBuffer final : public StreamBuffer {
public:
    using StreamBuffer::StreamBuffer;
    ~HidlStreamBuffer() override {
        ALOGD("VirCameraCallback ~~StreamBuffer streamid=%d,bufferId=%d", streamId, bufferId);
    }
};

}  // namespace

VirCameraCallback::VirCameraCallback(const std::weak_ptr<IVirCameraWrapperCallback>& callback)
    : mCallback(callback), mStreamBuffers(*this) {
    ALOGD("VirCameraCallback");
}

VirCameraCallback::~VirCameraCallback() {
    ALOGD("~VirCameraCallback");
    ReleaseStreamBuffers();
    ClearMapper();
}

std::shared_ptr<IVirCameraWrapperCallback> VirCameraCallback::LockCallback() {
    std::shared_ptr<IVirCameraWrapperCallback> callback = mCallback.lock();
    if (callback == nullptr) {
        ALOGW("%s", CALLBACK_EXPIRED);
    }
    return callback;
}

Return<void> VirCameraCallback::openControlSession(const hidl_string& device, const hidl_string& service,
                                                   openControlSession_cb _hidl_cb) {
    ATRACE_NAME("HIDL openControlSession");
    ALOGD("openControlSession service=%s", VideoGetAnonyString(service).c_str());
    auto callback = LockCallback();
    if (callback == nullptr) {
        // Answered: the HIDL stub ends the process when a method returns without answering.
        _hidl_cb(VirOptResult::FAILED, 0);
        return Void();
    }
    uint32_t sessionId = 0;
    int32_t ret = callback->OnOpenControlSession(device, service, sessionId);
    _hidl_cb(ToHalStatus(ret), sessionId);
    return Void();
}

Return<VirOptResult> VirCameraCallback::closeControlSession(uint32_t sessionId) {
    ATRACE_NAME("HIDL closeControlSession");
    ALOGD("closeControlSession sessionid=%s", AnonySessionId(sessionId).c_str());
    auto callback = LockCallback();
    if (callback == nullptr) {
        return VirOptResult::FAILED;
    }
    return ToHalStatus(callback->OnCloseControlSession(sessionId));
}

Return<VirOptResult> VirCameraCallback::configStream(uint32_t sessionId, const VirStreamConfiguration& config) {
    ATRACE_NAME("HIDL configStream");
    ALOGD("configStream sessionid=%s", AnonySessionId(sessionId).c_str());
    auto callback = LockCallback();
    if (callback == nullptr) {
        return VirOptResult::FAILED;
    }
    std::vector<VirCameraStream> streams(config.streams.size());
    for (size_t i = 0; i < config.streams.size(); ++i) {
        HidlRecordConvert::StreamConfigConvert(streams[i], config.streams[i]);
    }
    int32_t ret = callback->OnConfigStream(sessionId, streams);
    ReleaseStreamBuffers();
    return ToHalStatus(ret);
}

Return<void> VirCameraCallback::openDataSession(const hidl_string& device, const hidl_string& service,
                                                openDataSession_cb _hidl_cb) {
    ATRACE_NAME("HIDL openDataSession");
    ALOGD("openDataSession service=%s", VideoGetAnonyString(service).c_str());
    auto callback = LockCallback();
    if (callback == nullptr) {
        _hidl_cb(VirOptResult::FAILED, 0);
        return Void();
    }
    uint32_t sessionId = 0;
    int32_t ret = callback->OnOpenDataSession(device, service, sessionId);
    _hidl_cb(ToHalStatus(ret), sessionId);
    return Void();
}

Return<VirOptResult> VirCameraCallback::closeDataSession(uint32_t sessionId) {
    ATRACE_NAME("HIDL closeDataSession");
    ALOGD("closeDataSession sessionid=%s", AnonySessionId(sessionId).c_str());
    auto callback = LockCallback();
    if (callback == nullptr) {
        return VirOptResult::FAILED;
    }
    return ToHalStatus(callback->OnCloseDataSession(sessionId));
}

Return<VirOptResult> VirCameraCallback::flush(uint32_t sessionId) {
    ATRACE_NAME("HIDL flush");
    ALOGD("flush sessionid=%s", AnonySessionId(sessionId).c_str());
    auto callback = LockCallback();
    if (callback == nullptr) {
        return VirOptResult::FAILED;
    }
    int32_t ret = callback->OnFlush(sessionId);
    ReleaseStreamBuffers();
    return ToHalStatus(ret);
}

Return<void> VirCameraCallback::processImageRequest(uint32_t sessionId, const hidl_vec<VirImageBuffer>& buffers,
                                                    processImageRequest_cb _hidl_cb) {
    ATRACE_NAME("HIDL processImageRequest");
    if (buffers.size() == 0) {
        _hidl_cb(VirOptResult::SUCCESS, 0);
        return Void();
    }
    auto callback = LockCallback();
    if (callback == nullptr) {
        _hidl_cb(VirOptResult::FAILED, 0);
        return Void();
    }
    // Reused across requests so that a steady stream allocates nothing per frame.
    thread_local std::vector<VirCameraImageBuffer> requests;
    requests.clear();
    for (const VirImageBuffer& buffer : buffers) {
        // A buffer that failed to import is still listed: the caller's lock then fails.
        (void)ProcessOneImageRequest(buffer);
        requests.push_back({buffer.frameNumber, buffer.streamId, buffer.bufferId});
    }
    uint32_t processed = 0;
    int32_t ret = callback->OnProcessImageRequest(sessionId, requests, processed);
    _hidl_cb(ToHalStatus(ret), processed);
    return Void();
}

int32_t VirCameraCallback::ProcessOneImageRequest(const VirImageBuffer& buffer) {
    const StreamBufferID key = StreamBufferID::From(buffer.streamId, buffer.bufferId);
    CacheResult result = mStreamBuffers.Import(key, buffer.buffer.getNativeHandle(), [&key] {
        ALOGD("stream buffer is empty, insert a new buffer, streamId %d bufferId %d", key.streamId, key.bufferId);
    });
    switch (result.status) {
        case CacheStatus::OK:
            return 0;
        case CacheStatus::EMPTY:
            ALOGW("can not find avaliable streamBuffer, streamId %d bufferId %d", key.streamId, key.bufferId);
            return -1;
        case CacheStatus::NO_MAPPER:
            ALOGW("Can't get mapper service streamId=%d,bufferId=%d", key.streamId, key.bufferId);
            return -1;
        case CacheStatus::IMPORT_FAILED:
            ALOGW("%s: mapper importBuffer failed: errMap %d", "ProcessOneImageRequest", result.error);
            return -1;
        default:
            ALOGE("%s: unexpected cache status %d", "ProcessOneImageRequest", static_cast<int>(result.status));
            return -1;
    }
}

Return<VirOptResult> VirCameraCallback::unregisterBuffer(uint32_t sessionId, const hidl_vec<VirBufferCache>& caches) {
    ATRACE_NAME("HIDL unregisterBuffer");
    ALOGD("unregisterBuffer sessionid=%s", AnonySessionId(sessionId).c_str());
    if (caches.size() == 0) {
        return VirOptResult::SUCCESS;
    }
    auto callback = LockCallback();
    if (callback == nullptr) {
        return VirOptResult::FAILED;
    }
    std::vector<VirCameraBufferCache> released;
    released.reserve(caches.size());
    for (const VirBufferCache& cache : caches) {
        (void)UnregistOneBuffer(cache.streamId, cache.bufferId);
        released.push_back({cache.streamId, cache.bufferId});
    }
    return ToHalStatus(callback->OnUnregisterBuffer(sessionId, released));
}

int32_t VirCameraCallback::UnregistOneBuffer(int32_t streamId, unsigned long bufferId) {
    CacheResult result = mStreamBuffers.Remove(StreamBufferID::From(streamId, bufferId));
    switch (result.status) {
        case CacheStatus::OK:
            return 0;
        case CacheStatus::NO_ENTRY:
            ALOGW("Can't get stream buffer streamId=%d,bufferId=%lld", streamId, static_cast<long long>(bufferId));
            return -1;
        case CacheStatus::NO_MAPPER:
            ALOGW("Can't get mapper service streamId=%d,bufferId=%lld", streamId, static_cast<long long>(bufferId));
            return -1;
        default:
            ALOGE("%s: unexpected cache status %d", "UnregistOneBuffer", static_cast<int>(result.status));
            return -1;
    }
}

Return<VirOptResult> VirCameraCallback::processMetaRequest(uint32_t sessionId, const VirMetaRequest& request) {
    ATRACE_NAME("HIDL processMetaRequest");
    auto callback = LockCallback();
    if (callback == nullptr) {
        return VirOptResult::FAILED;
    }
    std::vector<VirCameraMetaInfo> metas;
    HidlRecordConvert::MetaItemsConvert(metas, request.items);
    return ToHalStatus(callback->OnProcessMetaRequest(sessionId, request.metaId, metas));
}

void* VirCameraCallback::LockVideoBuffer(int32_t /*uniqueID*/, int32_t streamId, unsigned long bufferId,
                                         void** outHandleData) {
    ATRACE_NAME("HIDL lockVideoBuffer");
    void* address = nullptr;
    CacheResult result = mStreamBuffers.Lock(StreamBufferID::From(streamId, bufferId), outHandleData, address);
    switch (result.status) {
        case CacheStatus::OK:
            return address;
        case CacheStatus::IN_RELEASE:
            return nullptr;
        case CacheStatus::NO_MAPPER:
            ALOGW("Can't get mapper service streamId=%d,bufferId=%lld", streamId, static_cast<long long>(bufferId));
            return nullptr;
        case CacheStatus::NO_ENTRY:
            ALOGD("Can't get stream buffer streamId=%d,bufferId=%lld", streamId, static_cast<long long>(bufferId));
            return nullptr;
        case CacheStatus::LOCK_FAILED:
            ALOGW("%s: lock and get img buffer failed,  error %d", "LockVideoBuffer", result.error);
            return nullptr;
        default:
            ALOGE("%s: unexpected cache status %d", "LockVideoBuffer", static_cast<int>(result.status));
            return nullptr;
    }
}

int32_t VirCameraCallback::UnLockVideoBuffer(int32_t /*uniqueID*/, int32_t streamId, unsigned long bufferId,
                                             int32_t& outReleaseFence) {
    ATRACE_NAME("HIDL unlockVideoBuffer");
    CacheResult result = mStreamBuffers.Unlock(StreamBufferID::From(streamId, bufferId), outReleaseFence);
    switch (result.status) {
        case CacheStatus::OK:
            return 0;
        case CacheStatus::NO_MAPPER:
            ALOGW("Can't get mapper service streamId=%d,bufferId=%lld", streamId, static_cast<long long>(bufferId));
            return -1;
        case CacheStatus::NO_ENTRY:
            ALOGW("Can't get stream buffer streamId=%d,bufferId=%lld", streamId, static_cast<long long>(bufferId));
            return -1;
        default:
            ALOGE("%s: unexpected cache status %d", "UnLockVideoBuffer", static_cast<int>(result.status));
            return -1;
    }
}

void VirCameraCallback::ReleaseStreamBuffers() {
    mStreamBuffers.ReleaseAll();
}

std::shared_ptr<VirMapperBase> VirCameraCallback::GetMapper() {
    auto lookup = mMapperWatcher.Get([this] { return sp<MapperDeathWatcher>(new MapperDeathWatcher(this)); });
    if (!lookup.missingOnce.empty()) {
        ALOGE("%s", lookup.missingOnce.c_str());
    }
    if (lookup.created) {
        if (lookup.registerResult != 0) {
            ALOGW("Can't RegServiceLinkDeath mapper");
        } else {
            ALOGD("RegServiceLinkDeath mapper OK");
        }
    }
    return lookup.mapper;
}

void VirCameraCallback::ClearMapper() {
    mMapperWatcher.Clear();
}

std::shared_ptr<StreamBuffer> VirCameraCallback::MakeStreamBuffer(int32_t streamId, int32_t bufferId,
                                                                  const native_handle_t* handle) {
    return std::make_shared<HidlStreamBuffer>(streamId, bufferId, handle);
}

void VirCameraCallback::FlushCache(const native_handle_t* handle) {
    if (handle == nullptr || handle->numFds < 1) {
        ALOGE("sync cache failed, ret: %d, err: %s", -1, strerror(EBADF));
        return;
    }
    dma_buf_sync sync = {DMA_BUF_SYNC_WRITE | DMA_BUF_SYNC_END};
    int ret = ioctl(handle->data[0], DMA_BUF_IOCTL_SYNC, &sync);
    if (ret < 0) {
        ALOGE("sync cache failed, ret: %d, err: %s", ret, strerror(errno));
    }
}

}  // namespace android
