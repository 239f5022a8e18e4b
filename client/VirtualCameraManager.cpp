#define LOG_TAG "VIRCAMERA_MANAGER"

#include "client/VirtualCameraManager.h"

#include <android-base/no_destructor.h>
#include <json/value.h>
#include <log/log.h>

#include "client/AidlVirtualCameraClient.h"
#include "client/VirtualCameraClient.h"
#include "common/JsonUtil.h"
#include "common/VirCameraConstants.h"

namespace android {

using AIDLVIRTUAL_CAMERA_CLIENT::AidlVirtualCameraClient;
using VIRTUAL_CAMERA_CLIENT::VirtualCameraClient;

namespace {

const std::string ENABLE_TYPE_VIRTUAL = "VIRTUAL";
const std::string ENABLE_TYPE_SWITCH = "SWITCH";
constexpr int AIDL_TRANSPORT = 2;

bool IsAidl(int type) {
    return type == AIDL_TRANSPORT;
}

bool ParseRequest(const char* operation, const std::string& data, Json::Value& root) {
    JsonUtil::StringToJsonValue(data, root);
    if (root.empty()) {
        ALOGE("%s inRoot failed %s", operation, data.c_str());
        return false;
    }
    return true;
}

// What a start or finish request names: the kind of thing and the device it belongs to,
// with the whole request for the members only some kinds have.
struct DeviceRequest {
    Json::Value root;
    std::string type;
    std::string deviceId;
    std::string serviceId;
};

bool ReadDeviceRequest(const char* operation, const std::string& data, DeviceRequest& request) {
    if (!ParseRequest(operation, data, request.root)) {
        return false;
    }
    request.type = JsonUtil::JsonParseString(request.root, KEY_TYPE);
    request.deviceId = JsonUtil::JsonParseString(request.root, KEY_DEVICE_ID);
    request.serviceId = JsonUtil::JsonParseString(request.root, KEY_SERVICE_ID);
    return true;
}

}  // namespace

const std::list<int> VirtualCameraManager::COMMANDS = {CMD_IS_HAL_SVC_RUNNING, CMD_START_VIRTUAL_CAMERA,
                                                       CMD_FINISH_VIRTUAL_CAMERA, CMD_GET_VIRTUAL_CAMERA_ID_LIST};

VirtualCameraManager& VirtualCameraManager::Get() {
    static base::NoDestructor<VirtualCameraManager> instance;
    return *instance;
}

OptResult VirtualCameraManager::HandleRequest(int type, int cmd, int uniqueID, const std::string& data) {
    OptResult result;
    switch (cmd) {
        case CMD_IS_HAL_SVC_RUNNING:
            IsHalSvcRunning(type, data, result);
            break;
        case CMD_START_VIRTUAL_CAMERA:
            StartVirtualCamera(type, data, result);
            break;
        case CMD_FINISH_VIRTUAL_CAMERA:
            FinishVirtualCamera(type, data, result);
            break;
        case CMD_GET_VIRTUAL_CAMERA_ID_LIST:
            GetVirtualCameraIdList(type, result);
            break;
        default:
            ALOGE("%s: cmd error: %d, uniqueID: %d", __func__, cmd, uniqueID);
            result.data = STR_MINUS_ONE;
            break;
    }
    ALOGI("%s: end cmd %d, type: %d, ret %d", __func__, cmd, type, result.result);
    return result;
}

void VirtualCameraManager::IsHalSvcRunning(int type, std::string data, OptResult& result) {
    result.data = STR_MINUS_ONE;
    Json::Value root;
    if (!ParseRequest(__func__, data, root)) {
        return;
    }
    const std::string enableType = JsonUtil::JsonParseString(root, KEY_TYPE);
    if (enableType == ENABLE_TYPE_VIRTUAL) {
        const bool running = IsAidl(type) ? AidlVirtualCameraClient::Get().Init() : VirtualCameraClient::Get()->Init();
        result.data = running ? STR_ZERO : STR_MINUS_ONE;
    } else if (enableType == ENABLE_TYPE_SWITCH) {
        result.data = STR_ZERO;
    } else {
        ALOGE("%s: Unsupported type: '%s'", __func__, enableType.c_str());
    }
}

void VirtualCameraManager::StartVirtualCamera(int type, std::string data, OptResult& result) {
    result.data = STR_MINUS_ONE;
    DeviceRequest request;
    if (!ReadDeviceRequest(__func__, data, request)) {
        return;
    }
    const std::string& deviceId = request.deviceId;
    const std::string& serviceId = request.serviceId;
    const std::vector<std::string> vectorObj = JsonUtil::JsonParseArrayStr(request.root, KEY_VECTOR_OBJ);
    if (request.type == ENABLE_TYPE_VIRTUAL) {
        const int32_t ret = IsAidl(type) ? AidlVirtualCameraClient::Get().RegisterVirCamera(deviceId, serviceId, vectorObj)
                                         : VirtualCameraClient::Get()->RegisterVirCamera(deviceId, serviceId, vectorObj);
        result.data = std::to_string(ret);
    } else if (request.type == ENABLE_TYPE_SWITCH) {
        int32_t ret;
        if (IsAidl(type)) {
            const int cameraCount = JsonUtil::JsonParseInt(request.root, KEY_CAMERA_COUNT);
            ret = AidlVirtualCameraClient::Get().SwitchOnCamStream(deviceId, serviceId, cameraCount, vectorObj);
        } else {
            ret = VirtualCameraClient::Get()->SwitchOnCamStream(deviceId, serviceId, vectorObj);
        }
        result.data = std::to_string(ret);
    } else {
        // The start path has always logged this wording.
        ALOGE("%s: Finish virtual camera failed. Unsupported enableType:'%s'", __func__, request.type.c_str());
    }
}

void VirtualCameraManager::FinishVirtualCamera(int type, std::string data, OptResult& result) {
    result.data = STR_MINUS_ONE;
    DeviceRequest request;
    if (!ReadDeviceRequest(__func__, data, request)) {
        return;
    }
    const std::string& device = request.deviceId;
    const std::string& service = request.serviceId;
    if (request.type == ENABLE_TYPE_VIRTUAL) {
        const int32_t ret = IsAidl(type) ? AidlVirtualCameraClient::Get().UnRegisterVirCamera(device, service)
                                         : VirtualCameraClient::Get()->UnRegisterVirCamera(device, service);
        result.data = std::to_string(ret);
    } else if (request.type == ENABLE_TYPE_SWITCH) {
        const int32_t ret = IsAidl(type) ? AidlVirtualCameraClient::Get().SwitchOffCamStream(device, service)
                                         : VirtualCameraClient::Get()->SwitchOffCamStream(device, service);
        result.data = std::to_string(ret);
    } else {
        ALOGE("%s: Finish virtual camera failed. Unsupported enableType: '%s'", __func__, request.type.c_str());
    }
}

void VirtualCameraManager::GetVirtualCameraIdList(int type, OptResult& result) {
    if (IsAidl(type)) {
        result.data = AidlVirtualCameraClient::Get().GetVirtualCameraIdList();
        return;
    }
    Json::Value ids;
    for (const std::string& id : VirtualCameraClient::Get()->GetVirtualCameraIdList()) {
        ids.append(id);
    }
    JsonUtil::JsonValueToString(ids, result.data);
}

}  // namespace android
