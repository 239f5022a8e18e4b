#define LOG_TAG "VIRCAMERA_AIDL_WRAPPERCB"
// Trace sections of this file go to the camera category of a capture.
#define ATRACE_TAG ATRACE_TAG_CAMERA

#include "callback/AidlVirCameraCallback.h"

#include <linux/dma-buf.h>
#include <sys/ioctl.h>

#include <aidlcommonsupport/NativeHandle.h>
#include <json/value.h>
#include <log/log.h>
#include <utils/Trace.h>

#include "client/AidlVirtualCameraClient.h"
#include "common/AidlCodes.h"
#include "common/JsonUtil.h"
#include "common/VirCameraConstants.h"

namespace android {

using AIDLVIRTUAL_CAMERA_CLIENT::AidlVirtualCameraClient;

namespace {

// The trace section of a HAL command.
const char* TraceName(int32_t cmd) {
    switch (cmd) {
        case CMD_META_REQUEST: return "AIDL metaRequest";
        case CMD_CONFIG_STREAM: return "AIDL configStream";
        case CMD_UNREGISTER_BUFFER: return "AIDL unregisterBuffer";
        case CMD_IMAGE_REQUEST: return "AIDL imageRequest";
        case CMD_OPEN_CONTROL_SESSION: return "AIDL openControlSession";
        case CMD_CLOSE_CONTROL_SESSION: return "AIDL closeControlSession";
        case CMD_OPEN_DATA_SESSION: return "AIDL openDataSession";
        case CMD_CLOSE_DATA_SESSION: return "AIDL closeDataSession";
        case CMD_FLUSH: return "AIDL flush";
        case CMD_SWITCH_ON_RESULT: return "AIDL switchOnResult";
        case CMD_SWITCH_OFF_RESULT: return "AIDL switchOffResult";
        case CMD_CLEAR_SWITCH_SERVICE: return "AIDL clearSwitchService";
        default: return "AIDL command";
    }
}

// Logs one cache entry going away.
class AidlStreamBuffer final : public StreamBuffer {
public:
    using StreamBuffer::StreamBuffer;
    ~AidlStreamBuffer() override { ALOGD("%s streamid=%d, bufferId=%d", "~StreamBuffer", streamId, bufferId); }
};

// The caller of a native_handle from dupFromAidl owns its descriptors and memory.
struct DupedHandleDeleter {
    void operator()(native_handle_t* handle) const {
        native_handle_close(handle);
        native_handle_delete(handle);
    }
};

}  // namespace

AidlVirCameraCallback::AidlVirCameraCallback(const std::weak_ptr<IVirCameraWrapperCallbackV2>& callback)
    : mCallback(callback), mStreamBuffers(*this) {
    ALOGD("%s", "AidlVirCameraCallback");
}

AidlVirCameraCallback::~AidlVirCameraCallback() {
    ALOGD("%s", "~AidlVirCameraCallback");
    mStreamBuffers.ReleaseAll();
    ClearMapper();
}

int32_t AidlVirCameraCallback::CallCaller(int32_t cmd, const std::string& json, std::string* replyData) {
    std::shared_ptr<IVirCameraWrapperCallbackV2> callback = mCallback.lock();
    if (callback == nullptr) {
        ALOGW("wrapper callback has expired.");
        return ERR_CALLBACK_EXPIRED;
    }
    CallbackResult result = callback->OnCommand(cmd, json);
    if (replyData != nullptr) {
        *replyData = std::move(result.data);
    }
    return result.result;
}

int32_t AidlVirCameraCallback::CallCallerWithData(int32_t cmd, const std::string& json, std::vector<CommonData>& items,
                                                  std::string* replyData) {
    std::shared_ptr<IVirCameraWrapperCallbackV2> callback = mCallback.lock();
    if (callback == nullptr) {
        ALOGW("wrapper callback has expired.");
        return ERR_CALLBACK_EXPIRED;
    }
    CallbackResult result = callback->OnCommandWithData(cmd, json, items);
    if (replyData != nullptr) {
        *replyData = std::move(result.data);
    }
    return result.result;
}

ndk::ScopedAStatus AidlVirCameraCallback::processCmdRequest(int32_t cmd, const std::string& json,
                                                            StatusResult* reply) {
    ATRACE_NAME(TraceName(cmd));
    ALOGD("%s cmd:%d", "processCmdRequest", cmd);
    if (reply == nullptr) {
        return ndk::ScopedAStatus::fromServiceSpecificError(ERR_NULL_REPLY);
    }
    switch (cmd) {
        case CMD_CONFIG_STREAM:
        case CMD_FLUSH:
            // Buffers of the old configuration are released whatever the caller answered,
            // but not when no caller was there to answer.
            if (mCallback.expired()) {
                ALOGW("wrapper callback has expired.");
                reply->status = ERR_CALLBACK_EXPIRED;
                break;
            }
            reply->status = CallCaller(cmd, json, nullptr);
            mStreamBuffers.ReleaseAll();
            break;
        case CMD_OPEN_CONTROL_SESSION:
        case CMD_OPEN_DATA_SESSION:
            reply->status = CallCaller(cmd, json, &reply->data);
            break;
        case CMD_CLOSE_CONTROL_SESSION:
        case CMD_CLOSE_DATA_SESSION:
            reply->status = CallCaller(cmd, json, nullptr);
            break;
        case CMD_SWITCH_ON_RESULT:
            reply->status = AidlVirtualCameraClient::Get().NotifySwitchOnVirtualCameraResult(json);
            break;
        case CMD_SWITCH_OFF_RESULT:
            reply->status = AidlVirtualCameraClient::Get().NotifySwitchOffVirtualCameraResult(json);
            break;
        case CMD_CLEAR_SWITCH_SERVICE:
            AidlVirtualCameraClient::Get().ClearSwitchService();
            reply->status = 0;
            break;
        default:  // including 10007, which this side refuses
            ALOGD("%s: processCmdRequest this cmd error: %d", "processCmdRequest", cmd);
            reply->status = ERR_UNKNOWN_CMD;
            break;
    }
    return ndk::ScopedAStatus::ok();
}

ndk::ScopedAStatus AidlVirCameraCallback::processInfoData(int32_t cmd, const std::string& json,
                                                          const std::vector<InfoData>& items, StatusResult* reply) {
    ATRACE_NAME(TraceName(cmd));
    ALOGD("%s cmd:%d", "processInfoData", cmd);
    if (reply == nullptr) {
        return ndk::ScopedAStatus::fromServiceSpecificError(ERR_NULL_REPLY);
    }
    switch (cmd) {
        case CMD_META_REQUEST:
        case CMD_UNREGISTER_BUFFER: {
            // The items are not used; an unregister leaves the cache as it is.
            std::vector<CommonData> none;
            reply->status = CallCallerWithData(cmd, json, none, nullptr);
            break;
        }
        case CMD_IMAGE_REQUEST:
            reply->status = ProcessImageRequest(json, items, reply->data);
            break;
        default:
            reply->status = ERR_UNKNOWN_CMD;
            break;
    }
    return ndk::ScopedAStatus::ok();
}

int32_t AidlVirCameraCallback::ProcessImageRequest(const std::string& json, const std::vector<InfoData>& items,
                                                   std::string& out) {
    Json::Value root;
    if (JsonUtil::StringToJsonValue(json, root) != 0) {
        return ERR_BAD_REQUEST_JSON;
    }
    if (items.empty()) {
        return ERR_NO_ITEMS;
    }
    std::vector<CommonData> list(items.size());
    for (size_t i = 0; i < items.size(); ++i) {
        list[i].data = items[i].data;
        Json::Value item;
        (void)JsonUtil::StringToJsonValue(items[i].data, item);
        VirImageBuffer buffer{JsonUtil::JsonParseInt(item, KEY_FRAME_NUMBER), JsonUtil::JsonParseInt(item, KEY_STREAM_ID),
                              JsonUtil::JsonParseInt(item, KEY_BUFFER_ID), &items[i].buffer};
        // Every item reaches the caller; a failed import shows up when it locks.
        (void)ProcessOneImageRequest(buffer);
    }
    return CallCallerWithData(CMD_IMAGE_REQUEST, json, list, &out);
}

int32_t AidlVirCameraCallback::ProcessOneImageRequest(const VirImageBuffer& buffer) {
    const StreamBufferID key{buffer.streamId, buffer.bufferId};
    std::unique_ptr<native_handle_t, DupedHandleDeleter> raw;
    if (!isAidlNativeHandleEmpty(*buffer.buffer)) {
        raw.reset(dupFromAidl(*buffer.buffer));
        if (raw == nullptr) {
            ALOGE("%s: native_handle_t dup err", "ProcessOneImageRequest");
            return ERR_DUP_FAILED;
        }
    }
    CacheResult result = mStreamBuffers.Import(key, raw.get(), [&key, &raw] {
        ALOGD("stream buffer is empty, insert a new buffer, streamId %d bufferId %d", key.streamId, key.bufferId);
        ALOGI("%s: buffer version:%d fd:%d ints:%d", "ProcessOneImageRequest", raw->version, raw->numFds,
              raw->numInts);
    });
    switch (result.status) {
        case CacheStatus::OK:
            if (raw != nullptr) {
                ALOGI("ProcessOneImageRequest mStreamBuffers.size():%zu", mStreamBuffers.Size());
            }
            return 0;
        case CacheStatus::EMPTY:
            ALOGW("%s: can not find avaliable streamBuffer, streamId %d bufferId %d", "ProcessOneImageRequest",
                  key.streamId, key.bufferId);
            return ERR_NO_HANDLE;
        case CacheStatus::NO_MAPPER:
            ALOGW("Can't get mapper service streamId=%d,bufferId=%d", key.streamId, key.bufferId);
            return ERR_NO_MAPPER;
        case CacheStatus::IMPORT_FAILED:
            ALOGE("%s: mapper importBuffer failed: errMap %d", "ProcessOneImageRequest", result.error);
            return ERR_IMPORT_FAILED;
        default:
            ALOGE("%s: unexpected cache status %d", "ProcessOneImageRequest", static_cast<int>(result.status));
            return ERR_IMPORT_FAILED;
    }
}

void* AidlVirCameraCallback::LockVideoBuffer(int32_t /*uniqueID*/, int32_t streamId, unsigned long bufferId,
                                             void** outHandleData) {
    ATRACE_NAME("AIDL lockVideoBuffer");
    void* address = nullptr;
    CacheResult result = mStreamBuffers.Lock(StreamBufferID::From(streamId, bufferId), outHandleData, address);
    const long long id = static_cast<long long>(bufferId);
    switch (result.status) {
        case CacheStatus::OK:
            return address;
        case CacheStatus::IN_RELEASE:
            ALOGW("%s: lock failed because in release, streamId %d bufferId %lld", "LockVideoBuffer", streamId, id);
            return nullptr;
        case CacheStatus::NO_MAPPER:
            ALOGW("%s: lock failed because null mapper, streamId=%d bufferId=%lld", "LockVideoBuffer", streamId, id);
            return nullptr;
        case CacheStatus::NO_ENTRY:
            ALOGW("%s: lock failed because no cache, streamId=%d bufferId=%lld", "LockVideoBuffer", streamId, id);
            return nullptr;
        case CacheStatus::LOCK_FAILED:
            ALOGW("%s: lock failed because lock err, streamId=%d bufferId=%lld ret=%d", "LockVideoBuffer", streamId,
                  id, result.error);
            return nullptr;
        default:
            ALOGE("%s: unexpected cache status %d", "LockVideoBuffer", static_cast<int>(result.status));
            return nullptr;
    }
}

int32_t AidlVirCameraCallback::UnLockVideoBuffer(int32_t /*uniqueID*/, int32_t streamId, unsigned long bufferId,
                                                 int32_t& outReleaseFence) {
    ATRACE_NAME("AIDL unlockVideoBuffer");
    CacheResult result = mStreamBuffers.Unlock(StreamBufferID::From(streamId, bufferId), outReleaseFence);
    const long long id = static_cast<long long>(bufferId);
    switch (result.status) {
        case CacheStatus::OK:
            return 0;
        case CacheStatus::NO_MAPPER:
            ALOGW("%s: unlock failed because null mapper, streamId %d bufferId %lld", "UnLockVideoBuffer", streamId, id);
            return -1;
        case CacheStatus::NO_ENTRY:
            ALOGW("%s: unlock failed because no cache, streamId=%d bufferId=%lld", "UnLockVideoBuffer", streamId, id);
            return -1;
        default:
            ALOGE("%s: unexpected cache status %d", "UnLockVideoBuffer", static_cast<int>(result.status));
            return -1;
    }
}

std::shared_ptr<VirMapperBase> AidlVirCameraCallback::GetMapper() {
    auto lookup = mMapperWatcher.Get([this] {
        return sp<AidlMapperDeathWatcher>(new AidlMapperDeathWatcher(ref<AidlVirCameraCallback>()));
    });
    if (!lookup.missingOnce.empty()) {
        ALOGE("%s", lookup.missingOnce.c_str());
    }
    if (lookup.created) {
        if (lookup.registerResult != 0) {
            ALOGW("Can't RegServiceLinkDeath mapper ret:%d", lookup.registerResult);
        } else {
            ALOGD("RegServiceLinkDeath mapper OK");
        }
    }
    return lookup.mapper;
}

void AidlVirCameraCallback::ClearMapper() {
    mMapperWatcher.Clear();
}

std::shared_ptr<StreamBuffer> AidlVirCameraCallback::MakeStreamBuffer(int32_t streamId, int32_t bufferId,
                                                                      const native_handle_t* handle) {
    return std::make_shared<AidlStreamBuffer>(streamId, bufferId, handle);
}

void AidlVirCameraCallback::FlushCache(const native_handle_t* handle) {
    int ret = -1;
    if (handle != nullptr && handle->numFds >= 1) {
        dma_buf_sync sync = {DMA_BUF_SYNC_WRITE | DMA_BUF_SYNC_END};
        ret = ioctl(handle->data[0], DMA_BUF_IOCTL_SYNC, &sync);
    }
    if (ret < 0) {
        ALOGE("%s: sync cache failed, ret: %d", "FlushCache", ret);
    }
}

}  // namespace android
