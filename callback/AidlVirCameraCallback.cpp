#define LOG_TAG "VIRCAMERA_AIDL_WRAPPERCB"
// Trace sections of this file go to the camera category of a capture.
#define ATRACE_TAG ATRACE_TAG_CAMERA

#include "callback/AidlVirCameraCallback.h"

#include <iterator>

#include <aidlcommonsupport/NativeHandle.h>
#include <json/value.h>
#include <log/log.h>
#include <utils/Trace.h>

#include "callback/AidlMapperDeathWatcher.h"
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


// The caller of a native_handle from dupFromAidl owns its descriptors and memory.
struct DupedHandleDeleter {
    void operator()(native_handle_t* handle) const {
        native_handle_close(handle);
        native_handle_delete(handle);
    }
};

constexpr StatusLine STATUS_LINES[] = {
    {BufferOp::IMPORT, CacheStatus::EMPTY, ANDROID_LOG_WARN,
     "ProcessOneImageRequest: can not find avaliable streamBuffer, streamId %d bufferId %d", LineArgs::IDS,
     ERR_NO_HANDLE},
    {BufferOp::IMPORT, CacheStatus::NO_MAPPER, ANDROID_LOG_WARN, "Can't get mapper service streamId=%d,bufferId=%d",
     LineArgs::IDS, ERR_NO_MAPPER},
    {BufferOp::IMPORT, CacheStatus::IMPORT_FAILED, ANDROID_LOG_ERROR,
     "ProcessOneImageRequest: mapper importBuffer failed: errMap %d", LineArgs::ERROR, ERR_IMPORT_FAILED},
    {BufferOp::LOCK, CacheStatus::IN_RELEASE, ANDROID_LOG_WARN,
     "LockVideoBuffer: lock failed because in release, streamId %d bufferId %lld", LineArgs::IDS_WIDE, -1},
    {BufferOp::LOCK, CacheStatus::NO_MAPPER, ANDROID_LOG_WARN,
     "LockVideoBuffer: lock failed because null mapper, streamId=%d bufferId=%lld", LineArgs::IDS_WIDE, -1},
    {BufferOp::LOCK, CacheStatus::NO_ENTRY, ANDROID_LOG_WARN,
     "LockVideoBuffer: lock failed because no cache, streamId=%d bufferId=%lld", LineArgs::IDS_WIDE, -1},
    {BufferOp::LOCK, CacheStatus::LOCK_FAILED, ANDROID_LOG_WARN,
     "LockVideoBuffer: lock failed because lock err, streamId=%d bufferId=%lld ret=%d", LineArgs::IDS_WIDE_ERROR,
     -1},
    {BufferOp::UNLOCK, CacheStatus::NO_MAPPER, ANDROID_LOG_WARN,
     "UnLockVideoBuffer: unlock failed because null mapper, streamId %d bufferId %lld", LineArgs::IDS_WIDE, -1},
    {BufferOp::UNLOCK, CacheStatus::NO_ENTRY, ANDROID_LOG_WARN,
     "UnLockVideoBuffer: unlock failed because no cache, streamId=%d bufferId=%lld", LineArgs::IDS_WIDE, -1},
};

constexpr ChannelTexts TEXTS = {
    LOG_TAG,
    STATUS_LINES,
    std::size(STATUS_LINES),
    ERR_IMPORT_FAILED,  // unexpected import status
    "~StreamBuffer streamid=%d, bufferId=%d",
    "Can't RegServiceLinkDeath mapper ret:%d",
    "FlushCache: sync cache failed, ret: %d",
    "ProcessOneImageRequest: buffer version:%d fd:%d ints:%d",
    "ProcessOneImageRequest mStreamBuffers.size():%zu",
    true,  // unlocks write the CPU caches back first
    "AIDL lockVideoBuffer",
    "AIDL unlockVideoBuffer",
};

// The frame of both HAL methods: traces and logs the command, refuses a null reply,
// lets `run` fill the reply.
template <class Run>
ndk::ScopedAStatus Answer(const char* method, int32_t cmd, AidlVirCameraCallback::StatusResult* reply, Run&& run) {
    ATRACE_NAME(TraceName(cmd));
    ALOGD("%s cmd:%d", method, cmd);
    if (reply == nullptr) {
        return ndk::ScopedAStatus::fromServiceSpecificError(ERR_NULL_REPLY);
    }
    run();
    return ndk::ScopedAStatus::ok();
}

}  // namespace

AidlVirCameraCallback::AidlVirCameraCallback(const std::weak_ptr<IVirCameraWrapperCallbackV2>& callback)
    : ChannelBufferCore(TEXTS,
                        [this] {
                            return sp<MapperWatcherBase>(
                                new AidlMapperDeathWatcher(ref<AidlVirCameraCallback>()));
                        }),
      mCallback(callback) {
    ALOGD("%s", "AidlVirCameraCallback");
}

AidlVirCameraCallback::~AidlVirCameraCallback() {
    ALOGD("%s", "~AidlVirCameraCallback");
    ReleaseStreamBuffers();
    ClearMapper();
}

int32_t AidlVirCameraCallback::CallCaller(int32_t cmd, const std::string& json, std::vector<CommonData>* items,
                                          std::string* replyData) {
    std::shared_ptr<IVirCameraWrapperCallbackV2> callback = mCallback.lock();
    if (callback == nullptr) {
        ALOGW("wrapper callback has expired.");
        return ERR_CALLBACK_EXPIRED;
    }
    CallbackResult result =
        items == nullptr ? callback->OnCommand(cmd, json) : callback->OnCommandWithData(cmd, json, *items);
    if (replyData != nullptr) {
        *replyData = std::move(result.data);
    }
    return result.result;
}

ndk::ScopedAStatus AidlVirCameraCallback::processCmdRequest(int32_t cmd, const std::string& json,
                                                            StatusResult* reply) {
    return Answer("processCmdRequest", cmd, reply, [&] {
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
                reply->status = CallCaller(cmd, json, nullptr, nullptr);
                ReleaseStreamBuffers();
                break;
            case CMD_OPEN_CONTROL_SESSION:
            case CMD_OPEN_DATA_SESSION:
                reply->status = CallCaller(cmd, json, nullptr, &reply->data);
                break;
            case CMD_CLOSE_CONTROL_SESSION:
            case CMD_CLOSE_DATA_SESSION:
                reply->status = CallCaller(cmd, json, nullptr, nullptr);
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
    });
}

ndk::ScopedAStatus AidlVirCameraCallback::processInfoData(int32_t cmd, const std::string& json,
                                                          const std::vector<InfoData>& items, StatusResult* reply) {
    return Answer("processInfoData", cmd, reply, [&] {
        switch (cmd) {
            case CMD_META_REQUEST:
            case CMD_UNREGISTER_BUFFER: {
                // The items are not used; an unregister leaves the cache as it is.
                std::vector<CommonData> none;
                reply->status = CallCaller(cmd, json, &none, nullptr);
                break;
            }
            case CMD_IMAGE_REQUEST:
                reply->status = ProcessImageRequest(json, items, reply->data);
                break;
            default:
                reply->status = ERR_UNKNOWN_CMD;
                break;
        }
    });
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
    return CallCaller(CMD_IMAGE_REQUEST, json, &list, &out);
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
    return ImportStreamBuffer(key, raw.get());
}

}  // namespace android
