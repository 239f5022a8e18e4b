#define LOG_TAG "VIRCAMERA_AIDL_WRAPPER"

#include "wrapper/AidlVirCameraWrapper.h"

#include <algorithm>

#include <android-base/no_destructor.h>
#include <log/log.h>

#include "client/AidlVirtualCameraClient.h"
#include "client/VirtualCameraManager.h"
#include "common/AnonyString.h"
#include "common/HashIdCache.h"
#include "common/Turn.h"
#include "wrapper/AidlService.h"

namespace android {

using AIDLVIRTUAL_CAMERA_CLIENT::AidlVirtualCameraClient;

namespace {

constexpr int AIDL_TRANSPORT = 2;

// Never destroyed: a binder thread may still convert while the process exits.
int ConvertToHashID(const std::string& text) {
    static base::NoDestructor<HashIdCache> hashIds;
    return hashIds->ConvertToHashID(text);
}

OptResult Failure() {
    OptResult result;
    result.result = -1;
    return result;
}

// The highest mode with a user whose identifiers sum to uniqueID, or -1.
int ModeOf(const AidlVirtualCameraClient::UserMap& users, int uniqueID) {
    int result = -1;
    for (const auto& [mode, list] : users) {
        for (const DevStrInfo& user : list) {
            if (ConvertToHashID(user.device) + ConvertToHashID(user.service) == uniqueID) {
                result = mode;
                break;
            }
        }
    }
    return result;
}

// The mode of uniqueID and, when asked for, its connection, found in one look at the maps.
// The connection is copied out under the maps lock so a concurrent death cannot destroy it
// under a running call; null (found false) when the mode has none.
struct Route {
    int mode = -1;
    bool found = false;
    std::shared_ptr<AidlService> connection;
};

Route RouteOf(int uniqueID, bool withConnection) {
    AidlVirtualCameraClient& client = AidlVirtualCameraClient::Get();
    Route route;
    Mutex::Autolock lock(client.MapsMutex());
    route.mode = ModeOf(client.GetUserMap(), uniqueID);
    if (!withConnection) {
        return route;
    }
    auto entry = client.GetServiceMap().find(route.mode);
    route.found = entry != client.GetServiceMap().end();
    if (route.found) {
        route.connection = entry->second;
    }
    return route;
}

}  // namespace

AidlVirCameraWrapper::AidlVirCameraWrapper() : mManagerCmds(VirtualCameraManager::COMMANDS) {
    ALOGD("%s", "AidlVirCameraWrapper");
}

AidlVirCameraWrapper::~AidlVirCameraWrapper() {
    ALOGD("%s", "~AidlVirCameraWrapper");
}

int AidlVirCameraWrapper::RegisterCallback(const std::string& device, const std::string& service,
                                           IVirCameraWrapper::VirCameraMode mode,
                                           const std::weak_ptr<IVirCameraWrapperCallbackV2>& callback) {
    ALOGI("%s: device=%s service=%s mode:%d", __func__, VideoGetAnonyString(device).c_str(),
          VideoGetAnonyString(service).c_str(), mode);
    const DevStrInfo user{device, service};
    AidlVirtualCameraClient& client = AidlVirtualCameraClient::Get();
    // The maps lock is held only to read and update the maps: the connection's
    // registration waits for the service and calls the HAL, which may call back into the
    // library meanwhile (a nested call, or one from a thread of its own).
    Turn::Scoped turn(client.RegistrationTurn());
    std::shared_ptr<AidlService> existing;
    {
        Mutex::Autolock mapsLock(client.MapsMutex());
        auto& users = client.GetUserMap();
        auto& services = client.GetServiceMap();
        const bool hasService = services.count(mode) != 0;
        const bool hasUsers = users.count(mode) != 0;
        if (hasService && hasUsers) {
            // Events keep going to the callback of the user that registered the connection.
            auto& list = users[mode];
            if (std::find(list.begin(), list.end(), user) != list.end()) {
                ALOGI("RegisterCallback success with already register");
            } else {
                list.push_back(user);
                ALOGI("RegisterCallback success with add user");
            }
            return 0;
        }
        if (hasService) {
            ALOGW("already reg service but no user use");
            users[mode] = {user};
            auto entry = services.find(mode);
            if (entry == services.end()) {
                ALOGE("not found mode : %d", mode);
                return -1;
            }
            if (entry->second == nullptr) {
                ALOGE("aidl service is null : %d", -1);
                return -1;
            }
            // The copy keeps the connection alive through its call, also when the HAL
            // clears the mode meanwhile.
            existing = entry->second;
        } else if (auto stale = users.find(mode); stale != users.end()) {
            ALOGW("use map has invalid cache size=%lu", static_cast<unsigned long>(stale->second.size()));
            users.erase(stale);
        }
    }
    if (existing != nullptr) {
        int result = existing->RegisterCallback(device, service, mode, callback);
        if (result != 0) {
            ALOGE("RegisterCallback failed with ret=%d", result);
        }
        return result;
    }
    auto connection = std::make_shared<AidlService>();
    int result = connection->RegisterCallback(device, service, mode, callback);
    if (result != 0) {
        ALOGE("RegisterCallback failed with ret=%d", result);
        return result;
    }
    {
        Mutex::Autolock mapsLock(client.MapsMutex());
        client.GetServiceMap()[mode] = connection;
        client.GetUserMap()[mode] = {user};
    }
    ALOGI("RegisterCallback success with start service mode:%d", mode);
    return 0;
}

int AidlVirCameraWrapper::UnRegisterCallback(const std::string& device, const std::string& service) {
    ALOGI("%s: UnRegisterCallback device=%s service=%s", __func__, VideoGetAnonyString(device).c_str(),
          VideoGetAnonyString(service).c_str());
    const DevStrInfo user{device, service};
    AidlVirtualCameraClient& client = AidlVirtualCameraClient::Get();
    Turn::Scoped turn(client.RegistrationTurn());
    Mutex::Autolock mapsLock(client.MapsMutex());
    auto& users = client.GetUserMap();
    auto& services = client.GetServiceMap();
    const auto snapshot = users;
    int count = 0;
    for (const auto& [mode, list] : snapshot) {
        auto entry = services.find(mode);
        if (entry == services.end() || entry->second == nullptr) {
            ALOGE("UnRegisterCallback failed with null service");
            if (entry != services.end()) {
                services.erase(entry);
            }
            return -1;
        }
        auto remaining = list;
        auto found = std::find(remaining.begin(), remaining.end(), user);
        if (found != remaining.end()) {
            remaining.erase(found);
        } else {
            ALOGI("%s: vector iterator is end", __func__);
        }
        if (remaining.empty()) {
            // The connection stays registered with the HAL for the mode's next user.
            users.erase(mode);
            ++count;
        } else {
            users[mode] = remaining;
        }
    }
    ALOGI("UnRegisterCallback success with count: %d", count);
    return 0;
}

int AidlVirCameraWrapper::GetServiceMode(int uniqueID) {
    AidlVirtualCameraClient& client = AidlVirtualCameraClient::Get();
    Mutex::Autolock mapsLock(client.MapsMutex());
    return ModeOf(client.GetUserMap(), uniqueID);
}

OptResult AidlVirCameraWrapper::SendRequest(int cmd, const int& uniqueID, const std::string& data) {
    const bool managerCmd = std::find(mManagerCmds.begin(), mManagerCmds.end(), cmd) != mManagerCmds.end();
    const Route route = RouteOf(uniqueID, !managerCmd);
    ALOGI("%s: cmd=%d uniqueID=%d serviceMode=%d", __func__, cmd, uniqueID, route.mode);
    if (managerCmd) {
        return VirtualCameraManager::Get().HandleRequest(AIDL_TRANSPORT, cmd, uniqueID, data);
    }
    if (!route.found) {
        return Failure();
    }
    if (route.connection == nullptr) {
        ALOGE("%s : mService is null", __func__);
        return Failure();
    }
    return route.connection->SendRequest(cmd, data);
}

OptResult AidlVirCameraWrapper::SendData(int cmd, const int& uniqueID, const std::string& data,
                                         const std::vector<CommonData>& items) {
    const Route route = RouteOf(uniqueID, true);
    ALOGD("%s: cmd=%d uniqueID=%d serviceMode=%d", __func__, cmd, uniqueID, route.mode);
    if (!route.found || route.connection == nullptr) {
        ALOGE("%s : mService is null", __func__);
        return Failure();
    }
    return route.connection->SendData(cmd, data, items);
}

}  // namespace android

extern "C" __attribute__((visibility("default"))) int CreateVirCameraWrapperV2(android::IVirCameraWrapperV2** wrapper) {
    __android_log_print(ANDROID_LOG_DEBUG, LOG_TAG, "CreateVirCameraWrapperV2");
    if (wrapper == nullptr) {
        __android_log_print(ANDROID_LOG_ERROR, LOG_TAG, "%s: wrapper out-pointer is null", "CreateVirCameraWrapperV2");
        return -1;
    }
    *wrapper = new android::AidlVirCameraWrapper();
    return 0;
}
