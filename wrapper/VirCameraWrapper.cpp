#define LOG_TAG "VIRCAMERA_HIDL_WRAPPER"

#include "wrapper/VirCameraWrapper.h"

#include <algorithm>

#include <android-base/no_destructor.h>
#include <log/log.h>

#include "common/AnonyString.h"
#include "common/HashIdCache.h"
#include "common/VirCameraConstants.h"
#include "client/VirtualCameraManager.h"

namespace android {

namespace {

constexpr int HIDL_TRANSPORT = 1;

// Never destroyed: a binder thread may still convert while the process exits.
int ConvertToHashID(const std::string& text) {
    static base::NoDestructor<HashIdCache> hashIds;
    return hashIds->ConvertToHashID(text);
}

}  // namespace

VirCameraWrapper::VirCameraWrapper() : mManagerCmds(VirtualCameraManager::COMMANDS) {
    ALOGD("VirCameraWrapper");
}

VirCameraWrapper::~VirCameraWrapper() {
    ALOGD("~VirCameraWrapper");
}

int VirCameraWrapper::RegisterCallback(const std::string& device, const std::string& service, VirCameraMode mode,
                                       const std::weak_ptr<IVirCameraWrapperCallback>& callback) {
    ALOGI("RegisterCallback device=%s service=%s", VideoGetAnonyString(device).c_str(),
          VideoGetAnonyString(service).c_str());
    Turn::Scoped turn(mRegistrationTurn);
    const int key = ConvertToHashID(device) + ConvertToHashID(service);
    auto connection = std::make_shared<HidlService>();
    // Stored before it registers, and kept even when the registration fails: calls for
    // this key reach it from now on, also the caller's answers to HAL calls made while
    // the registration runs.
    // A replaced connection lives on until the new one has registered, as it always did.
    std::shared_ptr<HidlService> replaced = Store(key, connection);
    return connection->RegisterCallback(device, service, mode, callback);
}

int VirCameraWrapper::UnRegisterCallback(const std::string& device, const std::string& service) {
    ALOGI("UnRegisterCallback device=%s service=%s", VideoGetAnonyString(device).c_str(),
          VideoGetAnonyString(service).c_str());
    Turn::Scoped turn(mRegistrationTurn);
    const int key = ConvertToHashID(device) + ConvertToHashID(service);
    std::shared_ptr<HidlService> connection = FindService(key);
    if (connection == nullptr) {
        return -1;
    }
    int result = connection->UnRegisterCallback(device, service);
    {
        Mutex::Autolock lock(mMutex);
        mServiceMap.erase(key);
    }
    return result;
}

std::shared_ptr<HidlService> VirCameraWrapper::Store(int key, std::shared_ptr<HidlService> connection) {
    Mutex::Autolock lock(mMutex);
    std::swap(mServiceMap[key], connection);
    return connection;
}

std::shared_ptr<HidlService> VirCameraWrapper::FindService(int uniqueID) {
    Mutex::Autolock lock(mMutex);
    auto entry = mServiceMap.find(uniqueID);
    return entry == mServiceMap.end() ? nullptr : entry->second;
}

int VirCameraWrapper::NotifyOpenControlSessionResult(int uniqueID, int result) {
    auto connection = FindService(uniqueID);
    return connection ? connection->NotifyOpenControlSessionResult(uniqueID, result) : -1;
}

int VirCameraWrapper::NotifyConfigStreamResult(int uniqueID, int result) {
    auto connection = FindService(uniqueID);
    return connection ? connection->NotifyConfigStreamResult(uniqueID, result) : -1;
}

int VirCameraWrapper::NotifyOpenDataSessionResult(int uniqueID, int result) {
    auto connection = FindService(uniqueID);
    return connection ? connection->NotifyOpenDataSessionResult(uniqueID, result) : -1;
}

int VirCameraWrapper::Notify(int uniqueID, const std::string& message) {
    auto connection = FindService(uniqueID);
    return connection ? connection->Notify(uniqueID, message) : -1;
}

int VirCameraWrapper::OnVirImageBufferDone(int uniqueID, const VirCameraImageResult& result) {
    auto connection = FindService(uniqueID);
    return connection ? connection->OnVirImageBufferDone(uniqueID, result) : -1;
}

void* VirCameraWrapper::LockVideoBuffer(int uniqueID, int streamId, unsigned long bufferId, void** handleData) {
    auto connection = FindService(uniqueID);
    return connection ? connection->LockVideoBuffer(uniqueID, streamId, bufferId, handleData) : nullptr;
}

int VirCameraWrapper::UnLockVideoBuffer(int uniqueID, int streamId, unsigned long bufferId, int& releaseFence) {
    auto connection = FindService(uniqueID);
    return connection ? connection->UnLockVideoBuffer(uniqueID, streamId, bufferId, releaseFence) : -1;
}

OptResult VirCameraWrapper::SendRequest(int cmd, const int& uniqueID, const std::string& data) {
    ALOGD("hidl SendRequest cmd:%d", cmd);
    if (std::find(mManagerCmds.begin(), mManagerCmds.end(), cmd) != mManagerCmds.end()) {
        return VirtualCameraManager::Get().HandleRequest(HIDL_TRANSPORT, cmd, uniqueID, data);
    }
    // Nothing else travels to the HAL over HIDL.
    OptResult result;
    result.data = STR_MINUS_ONE;
    return result;
}

}  // namespace android

extern "C" __attribute__((visibility("default"))) int CreateVirCameraWrapper(android::IVirCameraWrapper** wrapper) {
    __android_log_print(ANDROID_LOG_DEBUG, LOG_TAG, "CreateVirCameraWrapper");
    if (wrapper == nullptr) {
        __android_log_print(ANDROID_LOG_ERROR, LOG_TAG, "%s: wrapper out-pointer is null", "CreateVirCameraWrapper");
        return -1;
    }
    *wrapper = new android::VirCameraWrapper();
    return 0;
}
