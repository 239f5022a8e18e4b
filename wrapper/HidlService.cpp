#define LOG_TAG "VIRCAMERA_HIDL_SERVICE"
// Trace sections of this file go to the camera category of a capture.
#define ATRACE_TAG ATRACE_TAG_CAMERA

#include "wrapper/HidlService.h"

#include <unistd.h>

#include <log/log.h>
#include <utils/Trace.h>

#include "common/AnonyString.h"
#include "common/InstanceNames.h"

namespace android {

using vendor::zuvek::hardware::camera::vircamera::V1_0::VirImageResult;

namespace {

constexpr int TRY_MAX_COUNT = 25;
constexpr useconds_t SLEEP_TIME_US = 20000;
constexpr int32_t CONFIG_STREAM_OK = 100;
constexpr int32_t CONFIG_STREAM_FAILED = 101;
constexpr int32_t OPEN_DATA_SESSION_OK = 200;
constexpr int32_t OPEN_DATA_SESSION_FAILED = 201;
constexpr const char* SERVICE_MISSING = "Can not find IVirCameraChannel service";
constexpr const char* SERVICE_NOT_AVAILABLE = "IVirCameraChannel service not available";

}  // namespace

HidlService::HidlService() {
    ALOGD("HidlService");
}

HidlService::~HidlService() {
    ALOGD("~HidlService");
}

std::string HidlService::ServiceName() const {
    Mutex::Autolock lock(mMutex);
    return mServiceName;
}

sp<VirCameraCallback> HidlService::ChannelCallback() const {
    Mutex::Autolock lock(mMutex);
    return mReflector ? mReflector->GetCallback() : nullptr;
}

sp<VirCameraDeathWatcher> HidlService::DeathWatcher() const {
    Mutex::Autolock lock(mMutex);
    return mDeathWatcher;
}

sp<HidlService::IVirCameraChannel> HidlService::FindService(const char* name) const {
    sp<IVirCameraChannel> service = IVirCameraChannel::tryGetService(name, false);
    if (service == nullptr) {
        ALOGW("%s", SERVICE_MISSING);
    }
    return service;
}

int HidlService::RegisterCallback(const std::string& device, const std::string& service,
                                  IVirCameraWrapper::VirCameraMode mode,
                                  const std::weak_ptr<IVirCameraWrapperCallback>& callback) {
    ALOGD("RegisterCallback service=%s", VideoGetAnonyString(service).c_str());
    if (callback.expired()) {
        ALOGW("audio remote wrapper callback is null.");
        return -1;
    }
    const char* name = ChannelInstance(mode);
    {
        Mutex::Autolock lock(mMutex);
        mServiceName = name;
        mMode = mode;
    }
    sp<IVirCameraChannel> channel;
    for (int attempt = 0; attempt < TRY_MAX_COUNT && channel == nullptr; ++attempt) {
        channel = IVirCameraChannel::tryGetService(name, false);
        if (channel == nullptr) {
            usleep(SLEEP_TIME_US);
        }
    }
    if (channel == nullptr) {
        ALOGW("%s", SERVICE_MISSING);
        return -1;
    }
    ALOGI("find IVirCameraChannel success");

    sp<VirCameraCallback> channelCallback;
    {
        // A later registration keeps the first channel callback and its caller callback.
        Mutex::Autolock lock(mMutex);
        if (mReflector == nullptr) {
            mReflector = std::make_shared<VirCameraCallbackReflector>(new VirCameraCallback(callback));
        }
        channelCallback = mReflector->GetCallback();
    }
    ALOGD("RegisterVirtualChannelCallback start");
    auto status = channel->registerVirtualChannelCallback(device, service, channelCallback);
    if (!status.isOk()) {
        ALOGW("%s", SERVICE_NOT_AVAILABLE);
        return -1;
    }
    if (status != 0) {
        ALOGW("Can't registerVirtualChannelCallback");
        return -1;
    }
    sp<VirCameraDeathWatcher> watcher;
    {
        Mutex::Autolock lock(mMutex);
        mRegistered = true;
        if (mDeathWatcher == nullptr) {
            mDeathWatcher = new VirCameraDeathWatcher(callback);
        }
        watcher = mDeathWatcher;
    }
    ALOGD("RegisterVirtualChannelCallback OK service=%s", VideoGetAnonyString(service).c_str());
    if (watcher->RegServiceLinkDeath(mode) != 0) {
        ALOGW("Can't RegServiceLinkDeath mode=%d", mode);
        return -1;
    }
    ALOGD("RegServiceLinkDeath OK service=%s", VideoGetAnonyString(service).c_str());
    return 0;
}

int HidlService::UnRegisterCallback(const std::string& device, const std::string& service) {
    ALOGD("UnRegisterCallback service=%s", VideoGetAnonyString(service).c_str());
    if (sp<VirCameraDeathWatcher> watcher = DeathWatcher()) {
        watcher->UnregServiceLinkDeath();
    }
    const char* name;
    {
        Mutex::Autolock lock(mMutex);
        if (!mRegistered) {
            ALOGD("UnRegisterCallback not regist before");
            return 0;
        }
        name = ChannelInstance(mMode);
        mServiceName = name;
    }
    sp<IVirCameraChannel> channel = FindService(name);
    int result = 0;
    bool registered = false;
    if (channel != nullptr) {
        auto status = channel->unregisterVirtualChannelCallback(device, service);
        if (!status.isOk()) {
            ALOGD("%s", SERVICE_NOT_AVAILABLE);
        } else if (status != 0) {
            // The register wording is the established text for this failure too.
            ALOGD("Can't registerVirtualChannelCallback");
            result = -1;
            registered = true;
        } else {
            ALOGD("unregisterVirtualChannelCallback OK service=%s", VideoGetAnonyString(service).c_str());
        }
    }
    Mutex::Autolock lock(mMutex);
    mRegistered = registered;
    return result;
}

template <class Code>
int HidlService::ForwardSessionResult(const char* what, int sessionId, int result, Code halCode,
                                      hardware::Return<void> (IVirCameraChannel::*method)(int32_t, Code)) {
    sp<IVirCameraChannel> channel = FindService(ServiceName().c_str());
    if (channel == nullptr) {
        return -1;
    }
    ALOGD("%s sessionID=%s,result=%d", what, AnonySessionId(sessionId).c_str(), result);
    if (!((*channel).*method)(sessionId, halCode).isOk()) {
        ALOGI("%s", SERVICE_NOT_AVAILABLE);
        return -1;
    }
    return 0;
}

int HidlService::NotifyOpenControlSessionResult(int sessionId, int result) {
    return ForwardSessionResult<bool>("NotifyOpenControlSessionResult", sessionId, result, result != 0,
                                      &IVirCameraChannel::notifyOpenControlSessionResult);
}

int HidlService::NotifyConfigStreamResult(int sessionId, int result) {
    return ForwardSessionResult<int32_t>("NotifyConfigStreamResult", sessionId, result,
                                         result == 0 ? CONFIG_STREAM_OK : CONFIG_STREAM_FAILED,
                                         &IVirCameraChannel::notifyConfigStreamResult);
}

int HidlService::NotifyOpenDataSessionResult(int sessionId, int result) {
    return ForwardSessionResult<int32_t>("NotifyOpenDataSessionResult", sessionId, result,
                                         result == 0 ? OPEN_DATA_SESSION_OK : OPEN_DATA_SESSION_FAILED,
                                         &IVirCameraChannel::notifyOpenDataSessionResult);
}

int HidlService::Notify(int msgId, const std::string& data) {
    sp<IVirCameraChannel> channel = FindService(ServiceName().c_str());
    if (channel == nullptr) {
        return -1;
    }
    if (!channel->notify(msgId, data).isOk()) {
        ALOGI("%s", SERVICE_NOT_AVAILABLE);
        return -1;
    }
    return 0;
}

int HidlService::OnVirImageBufferDone(int sessionId, const VirCameraImageResult& result) {
    ATRACE_NAME("HIDL imageBufferDone");
    sp<VirCameraDeathWatcher> watcher = DeathWatcher();
    if (watcher == nullptr) {
        return -1;
    }
    sp<IVirCameraChannel> channel = watcher->GetCameraService();
    if (channel == nullptr) {
        ALOGW("%s", SERVICE_MISSING);
        return -1;
    }
    // The HAL already holds the buffer: its handle is sent empty.
    VirImageResult record;
    record.frameNumber = result.frameNumber;
    record.bufferId = result.bufferId;
    record.streamId = result.streamId;
    record.index = result.index;
    record.timestamp = result.timestamp;
    record.status = result.status != 0;
    if (!channel->onVirImageBufferDone(sessionId, record).isOk()) {
        ALOGI("%s", SERVICE_NOT_AVAILABLE);
        return -1;
    }
    return 0;
}

void* HidlService::LockVideoBuffer(int uniqueID, int streamId, unsigned long bufferId, void** address) {
    sp<VirCameraCallback> callback = ChannelCallback();
    if (callback == nullptr) {
        ALOGE("%s: no channel callback before a registration", "LockVideoBuffer");
        return nullptr;
    }
    return callback->LockVideoBuffer(uniqueID, streamId, bufferId, address);
}

int HidlService::UnLockVideoBuffer(int uniqueID, int streamId, unsigned long bufferId, int& releaseFence) {
    sp<VirCameraCallback> callback = ChannelCallback();
    if (callback == nullptr) {
        ALOGE("%s: no channel callback before a registration", "UnLockVideoBuffer");
        return -1;
    }
    (void)callback->UnLockVideoBuffer(uniqueID, streamId, bufferId, releaseFence);
    return 0;
}

}  // namespace android
