#define LOG_TAG "VIRCAMERA_AIDL_SERVICE"
// Trace sections of this file go to the camera category of a capture.
#define ATRACE_TAG ATRACE_TAG_CAMERA

#include "wrapper/AidlService.h"

#include <iterator>
#include <utility>

#include <android-base/no_destructor.h>
#include <android-base/unique_fd.h>
#include <android/binder_process.h>
#include <json/value.h>
#include <log/log.h>
#include <utils/Trace.h>

#include "client/AidlVirtualCameraClient.h"
#include "common/AidlCodes.h"
#include "common/HashIdCache.h"
#include "common/InstanceNames.h"
#include "common/JsonUtil.h"
#include "common/VirCameraConstants.h"
#include "wrapper/NdkUtil.h"

namespace android {

using aidl::vendor::zuvek::hardware::camera::vircamera::InfoData;
using aidl::vendor::zuvek::hardware::camera::vircamera::StatusResult;
using AIDLVIRTUAL_CAMERA_CLIENT::AidlVirtualCameraClient;

namespace {

// Never destroyed: a binder thread may still convert while the process exits.
int ConvertToHashID(const std::string& text) {
    static base::NoDestructor<HashIdCache> hashIds;
    return hashIds->ConvertToHashID(text);
}

// The members naming a buffer in the caller's lock and unlock texts.
const std::string* const BUFFER_KEYS[] = {&KEY_SESSION_ID, &KEY_STREAM_ID, &KEY_BUFFER_ID};
const std::string* const UNLOCK_KEYS[] = {&KEY_SESSION_ID, &KEY_STREAM_ID, &KEY_BUFFER_ID, &KEY_INDEX};

}  // namespace

// The death link's cookie. It names the connection weakly, so a death that arrives while
// or after the connection is destroyed finds nothing; the link frees it when it goes.
struct AidlService::DeathCookie {
    std::weak_ptr<AidlService> service;

    static void OnUnlinked(void* cookie) { delete static_cast<DeathCookie*>(cookie); }
};

AidlVirCameraCallbackReflector::AidlVirCameraCallbackReflector(
    const std::weak_ptr<IVirCameraWrapperCallbackV2>& callback)
    : mCallback(ndk::SharedRefBase::make<AidlVirCameraCallback>(callback)) {}

AidlVirCameraCallbackReflector::~AidlVirCameraCallbackReflector() {
    __android_log_print(ANDROID_LOG_DEBUG, "VIRCAMERA_AIDL_WRAPPERCB", "~AidlVirCameraCallbackReflector");
}

AidlService::AidlService() {
    ALOGD("AidlService");
}

AidlService::~AidlService() {
    // Deleting the recipient (with this object) removes its links; pending cookies are
    // freed with them.
    ALOGD("~AidlService");
}

std::shared_ptr<AidlService::IVirCameraChannel> AidlService::FindService() {
    const char* instance;
    {
        Mutex::Autolock lock(mMutex);
        // The channel this connection linked to, while it lives: a service leaves the
        // service manager only by dying, and the manifest does not change at run time.
        // A dead one is asked for anew, as every call did before the link.
        if (mChannel != nullptr && AIBinder_isAlive(mChannel->asBinder().get())) {
            return mChannel;
        }
        instance = ChannelInstance(mMode);
    }
    return NdkUtil::CheckOrGetService<IVirCameraChannel>(instance);
}

int AidlService::RegisterCallback(const std::string& device, const std::string& service,
                                  IVirCameraWrapper::VirCameraMode mode,
                                  const std::weak_ptr<IVirCameraWrapperCallbackV2>& callback) {
    if (callback.expired()) {
        return ERR_CALLBACK_EXPIRED;
    }
    {
        Mutex::Autolock lock(mMutex);
        if (mode != mMode) {
            mChannel.reset();  // another instance: nothing to reuse
        }
        mMode = mode;
    }
    std::shared_ptr<IVirCameraChannel> channel = NdkUtil::CheckAndStartService<IVirCameraChannel>(ChannelInstance(mode));
    if (channel == nullptr) {
        return ERR_NO_SERVICE;
    }
    std::shared_ptr<AidlVirCameraCallback> channelCallback;
    {
        // A later registration keeps the first channel callback and its caller callback.
        Mutex::Autolock lock(mMutex);
        if (mReflector == nullptr) {
            mReflector = std::make_shared<AidlVirCameraCallbackReflector>(callback);
        }
        channelCallback = mReflector->GetCallback();
    }
    int linked = LinkToDeath();
    ALOGI("%s: make new callback, linkToDeath ret %d", "RegisterCallback", linked);
    if (linked != 0) {
        return linked;
    }
    // The library never starts a pool itself (the program's main does): it only says
    // why the HAL's calls will not come.
    if (!ABinderProcess_isThreadPoolStarted()) {
        ALOGE("%s: no binder thread pool runs in this process, so the HAL's calls and death notices cannot "
              "arrive; the process's main must call ABinderProcess_startThreadPool() before registering",
              "RegisterCallback");
    }
    // The HAL knows every user of this connection under one default identity.
    int32_t result = 0;
    ndk::ScopedAStatus status =
        channel->registerVirtualChannelCallback(DEFAULT_DEVICE, DEFAULT_SERVICE_PREFIX, channelCallback, &result);
    (void)status;  // only the answer counts: a failed call leaves it at 0
    if (result == 0) {
        Mutex::Autolock lock(mMutex);
        mDeviceId = device;
        mServiceId = service;
        mRegistered = true;
    }
    return result;
}

int AidlService::UnRegisterCallback(const std::string& device, const std::string& service) {
    {
        Mutex::Autolock lock(mMutex);
        if (!mRegistered) {
            ALOGW("UnRegisterCallback not regist before");
            return 0;
        }
    }
    std::shared_ptr<IVirCameraChannel> channel = FindService();
    if (channel == nullptr) {
        return 0;
    }
    int32_t result = 0;
    ndk::ScopedAStatus status = channel->unregisterVirtualChannelCallback(device, service, &result);
    (void)status;
    if (result == 0) {
        Mutex::Autolock lock(mMutex);
        mRegistered = false;
    }
    return result;
}

std::shared_ptr<AidlVirCameraCallback> AidlService::GetAidlCallback() const {
    Mutex::Autolock lock(mMutex);
    if (mReflector == nullptr) {
        ALOGE("%s: failed with mCallback is null", "GetAidlCallback");
        return nullptr;
    }
    return mReflector->GetCallback();
}

AIBinder* AidlService::GetBinder() {
    std::shared_ptr<IVirCameraChannel> channel = FindService();
    Mutex::Autolock lock(mMutex);
    mChannel = channel;
    if (mChannel == nullptr) {
        ALOGE("%s: failed cannot get service /%s", "GetBinder", ChannelInstance(mMode));
        return nullptr;
    }
    // The proxy keeps its binder alive as long as mChannel holds it.
    return mChannel->asBinder().get();
}

int AidlService::LinkToDeath() {
    AIBinder* binder = GetBinder();
    if (binder == nullptr) {
        ALOGE("%s: failed callback binder is null", "LinkToDeath");
        return ERR_NO_BINDER;
    }
    ndk::ScopedAIBinder_DeathRecipient recipient(AIBinder_DeathRecipient_new(BinderDied));
    AIBinder_DeathRecipient_setOnUnlinked(recipient.get(), DeathCookie::OnUnlinked);
    AIBinder_DeathRecipient* linking = recipient.get();
    auto* cookie = new DeathCookie{weak_from_this()};
    {
        Mutex::Autolock lock(mMutex);
        std::swap(recipient, mDeathRecipient);
        mDeathCookie = nullptr;
    }
    // The previous recipient goes, its links with it, once the lock is released: a death
    // being delivered on it may be waiting for that lock.
    recipient = ndk::ScopedAIBinder_DeathRecipient();
    // On failure the recipient's unlink callback has already freed the cookie.
    if (AIBinder_linkToDeath(binder, linking, cookie) != STATUS_OK) {
        ALOGW("%s: failed with binder wrong status", "LinkToDeath");
        return ERR_LINK_FAILED;
    }
    Mutex::Autolock lock(mMutex);
    mDeathCookie = cookie;
    return 0;
}

int AidlService::UnLinkToDeath() {
    AIBinder* binder = GetBinder();
    if (binder == nullptr) {
        ALOGE("%s: Unable to unlink to callback binder is null", "UnLinkToDeath");
        return ERR_NO_BINDER;
    }
    AIBinder_DeathRecipient* recipient;
    DeathCookie* cookie;
    {
        Mutex::Autolock lock(mMutex);
        recipient = mDeathRecipient.get();
        cookie = mDeathCookie;
        mDeathCookie = nullptr;
    }
    if (recipient != nullptr && cookie != nullptr) {
        (void)AIBinder_unlinkToDeath(binder, recipient, cookie);
    }
    return 0;
}

void AidlService::BinderDied(void* cookie) {
    if (cookie == nullptr) {
        ALOGW("%s: skip because cookie is null", "BinderDied");
        return;
    }
    std::shared_ptr<AidlService> service = static_cast<DeathCookie*>(cookie)->service.lock();
    if (service == nullptr) {
        ALOGW("%s: skip because the connection is gone", "BinderDied");
        return;
    }
    service->OnBinderDied();
}

void AidlService::OnBinderDied() {
    std::shared_ptr<AidlVirCameraCallback> channelCallback = GetAidlCallback();
    if (channelCallback == nullptr) {
        ALOGE("%s: camera callback is null;", "BinderDied");
        return;
    }
    std::shared_ptr<IVirCameraWrapperCallbackV2> callback = channelCallback->GetWrapperCallback();
    if (callback == nullptr) {
        ALOGE("%s: wrapper callback is null;", "BinderDied");
        return;
    }
    ALOGW("%s: callback aidl service died", "BinderDied");
    std::string device;
    std::string service;
    {
        Mutex::Autolock lock(mMutex);
        device = mDeviceId;
        service = mServiceId;
    }
    const int uniqueID = ConvertToHashID(device) + ConvertToHashID(service);
    (void)callback->OnCommand(CMD_SERVICE_DIED, std::to_string(uniqueID));
    AidlVirtualCameraClient::Get().BinderDied(device, service);
}

OptResult AidlService::SendRequest(int cmd, const std::string& data) {
    ATRACE_NAME(cmd == CMD_IMAGE_DONE ? "AIDL imageBufferDone" : "AIDL sendRequest");
    ALOGD("%s: SendRequest %d ", "SendRequest", cmd);
    OptResult result;
    std::shared_ptr<IVirCameraChannel> channel = FindService();
    if (channel == nullptr) {
        result.result = ERR_NO_SERVICE;
        return result;
    }
    if (cmd < CMD_HAL_REQUEST_FIRST || cmd > CMD_HAL_REQUEST_LAST) {
        ALOGD("this cmd:%d not exits", cmd);
        return result;
    }
    StatusResult answer{};  // a failed call writes nothing: the code must read 0
    ndk::ScopedAStatus status = channel->doCmdRequest(cmd, data, &answer);
    if (NdkUtil::CallFailed(status, LOG_TAG, "SendRequest", "doCmdRequest ", answer.status)) {
        result.result = answer.status;
    }
    return result;
}

OptResult AidlService::SendData(int cmd, const std::string& data, const std::vector<CommonData>& items) {
    ALOGD("%s: with cmd=%d, data size=%lu", "SendData", cmd, static_cast<unsigned long>(items.size()));
    OptResult result;
    std::shared_ptr<IVirCameraChannel> channel = FindService();
    if (channel == nullptr) {
        result.result = ERR_NO_SERVICE;
        return result;
    }
    switch (cmd) {
        case CMD_LOCK_BUFFER:
            result.value = static_cast<int64_t>(LockVideoBuffer(data, items));
            break;
        case CMD_UNLOCK_BUFFER:
            result.result = UnLockVideoBuffer(data);
            break;
        case CMD_HAL_DATA: {
            StatusResult answer{};
            std::vector<InfoData> infos;  // not used: their descriptors close with the vector
            ndk::ScopedAStatus status = channel->processCmdRequest(data, &infos, &answer);
            if (NdkUtil::CallFailed(status, LOG_TAG, "SendData", "processCmdRequest ", answer.status)) {
                result.result = answer.status;
            }
            break;
        }
        default:
            ALOGD("%s: this cmd:%d not exits", "SendData", cmd);
            break;
    }
    return result;
}

uint64_t AidlService::LockVideoBuffer(const std::string& json, const std::vector<CommonData>& items) {
    // The caller's usual text takes the fast path; any other one the general path, with
    // its log lines in its order.
    int ids[std::size(BUFFER_KEYS)];
    const bool flat = JsonUtil::ReadIntMembers(json, BUFFER_KEYS, ids);
    Json::Value root;
    if (!flat && JsonUtil::StringToJsonValue(json, root) != 0) {
        ALOGE("%s inRoot decode failed", "LockVideoBuffer");
        return 0;
    }
    if (items.empty()) {
        ALOGE("%s: no item carries the handle data output", "LockVideoBuffer");
        return 0;
    }
    std::shared_ptr<AidlVirCameraCallback> callback = GetAidlCallback();
    if (callback == nullptr) {
        return 0;
    }
    auto** handleData = reinterpret_cast<void**>(static_cast<uintptr_t>(items[0].pointer));
    void* address = flat ? callback->LockVideoBuffer(ids[0], ids[1], ids[2], handleData)
                         : callback->LockVideoBuffer(JsonUtil::JsonParseInt(root, KEY_SESSION_ID),
                                                     JsonUtil::JsonParseInt(root, KEY_STREAM_ID),
                                                     JsonUtil::JsonParseInt(root, KEY_BUFFER_ID), handleData);
    return reinterpret_cast<uintptr_t>(address);
}

int AidlService::UnLockVideoBuffer(const std::string& json) {
    int ids[std::size(UNLOCK_KEYS)];
    const bool flat = JsonUtil::ReadIntMembers(json, UNLOCK_KEYS, ids);
    Json::Value root;
    if (!flat && JsonUtil::StringToJsonValue(json, root) != 0) {
        ALOGE("%s inRoot decode failed", "UnLockVideoBuffer");
        return ERR_FAILED;
    }
    std::shared_ptr<AidlVirCameraCallback> callback = GetAidlCallback();
    if (callback == nullptr) {
        return ERR_FAILED;
    }
    int fence = flat ? ids[3] : JsonUtil::JsonParseInt(root, KEY_INDEX);
    int result = flat ? callback->UnLockVideoBuffer(ids[0], ids[1], ids[2], fence)
                      : callback->UnLockVideoBuffer(JsonUtil::JsonParseInt(root, KEY_SESSION_ID),
                                                    JsonUtil::JsonParseInt(root, KEY_STREAM_ID),
                                                    JsonUtil::JsonParseInt(root, KEY_BUFFER_ID), fence);
    // Only a successful unlock writes a release fence (before, `fence` is the request's
    // index). Nothing hands it to the caller over this path: do not leak it.
    if (result == 0) {
        android::base::unique_fd releaseFence(fence);
    }
    return result;
}

}  // namespace android
