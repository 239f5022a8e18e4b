#define LOG_TAG "VIRCAMERA_HIDL_WRAPPERCB"
// Trace sections of this file go to the camera category of a capture.
#define ATRACE_TAG ATRACE_TAG_CAMERA

#include "callback/VirCameraCallback.h"

#include <iterator>

#include <log/log.h>
#include <utils/Trace.h>

#include "callback/HidlRecordConvert.h"
#include "callback/MapperDeathWatcher.h"
#include "callback/PerCallList.h"
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

constexpr StatusLine STATUS_LINES[] = {
    {BufferOp::IMPORT, CacheStatus::EMPTY, ANDROID_LOG_WARN,
     "can not find avaliable streamBuffer, streamId %d bufferId %d", LineArgs::IDS, -1},
    {BufferOp::IMPORT, CacheStatus::NO_MAPPER, ANDROID_LOG_WARN, "Can't get mapper service streamId=%d,bufferId=%d",
     LineArgs::IDS, -1},
    {BufferOp::IMPORT, CacheStatus::IMPORT_FAILED, ANDROID_LOG_WARN,
     "ProcessOneImageRequest: mapper importBuffer failed: errMap %d", LineArgs::ERROR, -1},
    {BufferOp::REMOVE, CacheStatus::NO_ENTRY, ANDROID_LOG_WARN, "Can't get stream buffer streamId=%d,bufferId=%lld",
     LineArgs::IDS_WIDE, -1},
    {BufferOp::REMOVE, CacheStatus::NO_MAPPER, ANDROID_LOG_WARN, "Can't get mapper service streamId=%d,bufferId=%lld",
     LineArgs::IDS_WIDE, -1},
    // A lock during a release is refused without a word.
    {BufferOp::LOCK, CacheStatus::IN_RELEASE, 0, nullptr, LineArgs::IDS_WIDE, -1},
    {BufferOp::LOCK, CacheStatus::NO_MAPPER, ANDROID_LOG_WARN, "Can't get mapper service streamId=%d,bufferId=%lld",
     LineArgs::IDS_WIDE, -1},
    {BufferOp::LOCK, CacheStatus::NO_ENTRY, ANDROID_LOG_DEBUG, "Can't get stream buffer streamId=%d,bufferId=%lld",
     LineArgs::IDS_WIDE, -1},
    {BufferOp::LOCK, CacheStatus::LOCK_FAILED, ANDROID_LOG_WARN,
     "LockVideoBuffer: lock and get img buffer failed,  error %d", LineArgs::ERROR, -1},
    {BufferOp::UNLOCK, CacheStatus::NO_MAPPER, ANDROID_LOG_WARN,
     "Can't get mapper service streamId=%d,bufferId=%lld", LineArgs::IDS_WIDE, -1},
    {BufferOp::UNLOCK, CacheStatus::NO_ENTRY, ANDROID_LOG_WARN, "Can't get stream buffer streamId=%d,bufferId=%lld",
     LineArgs::IDS_WIDE, -1},
};

constexpr ChannelTexts TEXTS = {
    LOG_TAG,
    STATUS_LINES,
    std::size(STATUS_LINES),
    -1,  // unexpected import status
    "VirCameraCallback ~~StreamBuffer streamid=%d,bufferId=%d",
    "Can't RegServiceLinkDeath mapper",
    "sync cache failed, ret: %d, err: %s",
    nullptr,  // nothing said about an imported handle
    nullptr,  // nor about the cache size
    false,    // unlocks do not sync the CPU caches
    "HIDL lockVideoBuffer",
    "HIDL unlockVideoBuffer",
};

}  // namespace

VirCameraCallback::VirCameraCallback(const std::weak_ptr<IVirCameraWrapperCallback>& callback)
    : ChannelBufferCore(TEXTS, [this] { return sp<MapperWatcherBase>(new MapperDeathWatcher(this)); }),
      mCallback(callback) {
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
    PerCallList<VirCameraImageBuffer> list;
    std::vector<VirCameraImageBuffer>& requests = list.Get();
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
    return ImportStreamBuffer(StreamBufferID::From(buffer.streamId, buffer.bufferId), buffer.buffer.getNativeHandle());
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
    return RemoveStreamBuffer(streamId, bufferId);
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

}  // namespace android
