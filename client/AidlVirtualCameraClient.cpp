#define LOG_TAG "VIRCAMERA_AIDL_CLIENT"

#include "client/AidlVirtualCameraClient.h"

#include <binder/IServiceManager.h>
#include <json/value.h>
#include <log/log.h>
#include <utils/String16.h>
#include <utils/String8.h>

#include "common/AidlCodes.h"
#include "common/InstanceNames.h"
#include "common/JsonUtil.h"
#include "common/VirCameraConstants.h"
#include "wrapper/AidlService.h"
#include "wrapper/NdkUtil.h"

namespace AIDLVIRTUAL_CAMERA_CLIENT {

using aidl::vendor::zuvek::hardware::camera::vircamera::StatusResult;
using android::DevStrInfo;
using android::SwitchState;

namespace {

using android::CMD_ID_LIST;
using android::CMD_REGISTER;
using android::CMD_SWITCH_OFF;
using android::CMD_SWITCH_ON;
using android::CMD_UNREGISTER;
using android::ERR_BAD_SWITCH_JSON;
using android::ERR_BINDER;
using android::ERR_NO_SERVICE;
using android::ERR_SWITCH_OFF_FAILED;
using android::ERR_SWITCH_ON_FAILED;
using android::ERR_SWITCH_REFUSED;
using android::ERR_WAIT_TIMEOUT;

constexpr int STREAM_CHANGE_MODE = 0;

std::string ToText(const Json::Value& value) {
    std::string text;
    JsonUtil::JsonValueToString(value, text);
    return text;
}

Json::Value DeviceRequest(const std::string& device, const std::string& service) {
    Json::Value request;
    request[android::KEY_DEVICE_ID] = device;
    request[android::KEY_SERVICE_ID] = service;
    return request;
}

// The command and texts of one switch direction.
struct SwitchTexts {
    int32_t cmd;
    const char* refused;
    SwitchState::Ending ending;
};

const SwitchTexts SWITCH_ON = {CMD_SWITCH_ON,
                               "%s: Switch on aidl virtual camera device failed!",
                               {"SwitchOnCamStream", "%s: wait for switch on aidl virtual camera return failed!",
                                ERR_WAIT_TIMEOUT, "%s: switch on aidl virtual camera return success!", ANDROID_LOG_INFO,
                                "%s: switch on aidl virtual camera return failed!", ERR_SWITCH_ON_FAILED}};
const SwitchTexts SWITCH_OFF = {CMD_SWITCH_OFF,
                                "%s: Switch off aidl virtual camera device failed!",
                                {"SwitchOffCamStream", "%s: wait for switch off aidl virtual camera return failed!",
                                 ERR_WAIT_TIMEOUT, "%s: switch off aidl virtual camera end success!", ANDROID_LOG_INFO,
                                 "%s: switch off aidl virtual camera return failed!", ERR_SWITCH_OFF_FAILED}};

// The sequence-number lines of this client's switch reports (plain numbers).
class AidlReportLog final : public SwitchState::ReportLog {
public:
    void SequenceMismatch(const char* caller, uint32_t reported, uint32_t expected) const override {
        ALOGE("%s: aidl seqnum is invalid. mSequenNum: %d, seqnum: %d", caller, static_cast<int32_t>(expected),
              static_cast<int32_t>(reported));
    }
    void SequenceTaken(const char* caller, uint32_t reported, uint32_t previous) const override {
        ALOGI("%s: seqnum: %d mSequenNum:%d", caller, static_cast<int32_t>(reported), static_cast<int32_t>(previous));
    }
};

const AidlReportLog REPORT_LOG;

}  // namespace

AidlVirtualCameraClient& AidlVirtualCameraClient::Get() {
    // Never destroyed: binder threads may still report to it while the process exits.
    static android::base::NoDestructor<AidlVirtualCameraClient> instance;
    return *instance;
}

AidlVirtualCameraClient::AidlVirtualCameraClient() : mSwitch(LOG_TAG, REPORT_LOG) {
    ALOGI("%s", "AidlVirtualCameraClient");
}

std::shared_ptr<AidlVirtualCameraClient::IVirCameraChannel> AidlVirtualCameraClient::Connect() const {
    android::Mutex::Autolock lock(mConnectMutex);
    return mConnect;
}

bool AidlVirtualCameraClient::Init() {
    android::Turn::Scoped initTurn(mInitTurn);
    if (Connect() != nullptr) {
        ALOGI("%s: already init service", __func__);
        return true;
    }
    android::Vector<android::String16> instances =
        android::defaultServiceManager()->getDeclaredInstances(android::String16(android::AIDL_CAMERA_PROVIDER));
    for (const android::String16& instance : instances) {
        const std::string name = android::String8(instance).c_str();
        ALOGI("%s: AidlVirtualCameraClient : %s   ,%s", __func__,
              android::AidlServiceName(android::AIDL_CAMERA_PROVIDER, name.c_str()).c_str(), name.c_str());
    }
    ALOGI("%s: check for aidl client start", __func__);
    std::shared_ptr<IVirCameraChannel> connect = NdkUtil::CheckAndStartService<IVirCameraChannel>(android::REGISTER_CHANNEL);
    if (connect != nullptr) {
        ALOGI("%s: find mConnect", __func__);
    } else {
        ALOGW("%s: unable to find mConnect", __func__);
    }
    android::Mutex::Autolock lock(mConnectMutex);
    mConnect = connect;
    // Over AIDL the service check always passes; registration reports a missing channel.
    return true;
}

int32_t AidlVirtualCameraClient::RegisterVirCamera(std::string device, std::string service,
                                                   const std::vector<std::string>& camInfo) {
    android::Turn::Scoped operationTurn(mOperationTurn);
    std::shared_ptr<IVirCameraChannel> connect = Connect();
    if (connect == nullptr) {
        ALOGE("%s: Can not find service!", __func__);
        return ERR_NO_SERVICE;
    }
    Json::Value request = DeviceRequest(device, service);
    request[android::KEY_VIR_CAM_INFO] = Json::Value(Json::arrayValue);
    for (const std::string& info : camInfo) {
        request[android::KEY_VIR_CAM_INFO].append(info);
    }
    StatusResult result;
    ndk::ScopedAStatus status = connect->doCmdRequest(CMD_REGISTER, ToText(request), &result);
    if (NdkUtil::CallFailed(status, LOG_TAG, __func__, "")) {
        return ERR_BINDER;
    }
    ALOGI("%s: Register virtual camera device with ret %d", __func__, result.status);
    return result.status;
}

int32_t AidlVirtualCameraClient::UnRegisterVirCamera(std::string device, std::string service) {
    android::Turn::Scoped operationTurn(mOperationTurn);
    std::shared_ptr<IVirCameraChannel> connect = Connect();
    if (connect == nullptr) {
        ALOGE("%s: Can not find service!", __func__);
        return ERR_NO_SERVICE;
    }
    StatusResult result;
    ndk::ScopedAStatus status = connect->doCmdRequest(CMD_UNREGISTER, ToText(DeviceRequest(device, service)), &result);
    if (NdkUtil::CallFailed(status, LOG_TAG, __func__, "")) {
        return ERR_BINDER;
    }
    ALOGI("%s: Unregister virtual camera device with ret %d", __func__, result.status);
    return result.status;
}

int32_t AidlVirtualCameraClient::SwitchOnCamStream(std::string device, std::string service, int cameraCount,
                                                   const std::vector<std::string>& physicalIds) {
    return Switch(true, device, service, cameraCount, physicalIds);
}

int32_t AidlVirtualCameraClient::SwitchOffCamStream(std::string device, std::string service) {
    return Switch(false, device, service, 0, {});
}

int32_t AidlVirtualCameraClient::Switch(bool on, const std::string& device, const std::string& service,
                                        int cameraCount, const std::vector<std::string>& physicalIds) {
    const SwitchTexts& texts = on ? SWITCH_ON : SWITCH_OFF;
    android::Turn::Scoped operationTurn(mOperationTurn);
    // Switch-on may start the stream-change service; switch-off only uses a running one.
    std::shared_ptr<IVirCameraChannel> channel =
        on ? NdkUtil::CheckAndStartService<IVirCameraChannel>(android::STREAM_CHANGE_CHANNEL)
           : NdkUtil::CheckOrGetService<IVirCameraChannel>(android::STREAM_CHANGE_CHANNEL);
    if (channel == nullptr) {
        if (!on) {
            ALOGW("%s: Can not find service!", texts.ending.function);
            return 0;
        }
        ALOGE("%s: Can not find service!", texts.ending.function);
        return ERR_NO_SERVICE;
    }
    Json::Value request = DeviceRequest(device, service);
    if (on) {
        std::string joined;  // the HAL expects the ids back to back, without a separator
        for (const std::string& id : physicalIds) {
            joined += id;
        }
        request[android::KEY_CAMERA_COUNT] = cameraCount;
        request[android::KEY_CAMERA_PHYSICAL_ID] = joined;
    }
    const auto direction = on ? SwitchState::Direction::SWITCH_ON : SwitchState::Direction::SWITCH_OFF;
    {
        // The HAL may report from inside doCmdRequest, ahead of its answer: the report is
        // judged once the answer's sequence number is known.
        SwitchState::Call switchCall(mSwitch, direction);
        StatusResult result;
        ndk::ScopedAStatus status = channel->doCmdRequest(texts.cmd, ToText(request), &result);
        if (NdkUtil::CallFailed(status, LOG_TAG, texts.ending.function, "")) {
            return ERR_BINDER;
        }
        if (result.status != 0) {
            ALOGE("%s: failed ret: %d", texts.ending.function, result.status);
            return result.status;
        }
        Json::Value answer;
        JsonUtil::StringToJsonValue(result.data, answer);
        if (answer.empty()) {
            ALOGE("%s inRoot failed %s", texts.ending.function, result.data.c_str());
            return ERR_BAD_SWITCH_JSON;
        }
        switchCall.Answer(static_cast<uint32_t>(JsonUtil::JsonParseInt(answer, android::KEY_SEQ_NO)));
        if (JsonUtil::JsonParseInt(answer, android::KEY_OPT_RET) != 0) {
            ALOGE(texts.refused, texts.ending.function);
            return ERR_SWITCH_REFUSED;
        }
    }
    // A switch-off report takes its own number: the wait follows whatever it left.
    const int32_t seqNum = static_cast<int32_t>(mSwitch.SequenceNumber());
    if (!on) {
        ALOGI("%s: Switch off aidl virtual camera start success, seqnum: %d", texts.ending.function, seqNum);
    }
    return mSwitch.AwaitReport(direction, static_cast<uint32_t>(seqNum), texts.ending);
}

int32_t AidlVirtualCameraClient::NotifySwitchOnVirtualCameraResult(const std::string& json) {
    // The sequence number is checked against the switch in flight (REPORT_LOG).
    return NotifySwitchResult(SwitchState::Direction::SWITCH_ON, json, __func__,
                              "%s: switch on aidl vitual camera stream failed!");
}

int32_t AidlVirtualCameraClient::NotifySwitchOffVirtualCameraResult(const std::string& json) {
    // Switch-off takes whatever sequence number the HAL reports.
    return NotifySwitchResult(SwitchState::Direction::SWITCH_OFF, json, __func__,
                              "%s: switch off vitual camera stream failed!");
}

int32_t AidlVirtualCameraClient::NotifySwitchResult(SwitchState::Direction direction, const std::string& json,
                                                    const char* function, const char* failedLine) {
    Json::Value report;
    JsonUtil::StringToJsonValue(json, report);
    if (report.empty()) {
        ALOGE("%s inRoot failed %s", function, json.c_str());
        return ERR_BAD_SWITCH_JSON;
    }
    const int32_t seqNum = JsonUtil::JsonParseInt(report, android::KEY_SEQ_NO);
    const bool success = JsonUtil::JsonParseInt(report, android::KEY_OPT_RET) == 0;
    if (!success) {
        ALOGE(failedLine, function);
    }
    mSwitch.Report(direction, static_cast<uint32_t>(seqNum), success, function);
    return 0;
}

std::string AidlVirtualCameraClient::GetVirtualCameraIdList() {
    std::shared_ptr<IVirCameraChannel> connect = Connect();
    if (connect == nullptr) {
        ALOGE("%s: Can not find IVirCameraChannel service!", __func__);
        return android::STR_MINUS_ONE;
    }
    StatusResult result;
    ndk::ScopedAStatus status = connect->doCmdRequest(CMD_ID_LIST, "", &result);
    if (NdkUtil::CallFailed(status, LOG_TAG, __func__, "processCmdRequest ", result.status)) {
        return android::STR_MINUS_ONE;
    }
    return result.data;
}

void AidlVirtualCameraClient::ClearSwitchService() {
    ALOGD("%s: clear start", __func__);
    std::shared_ptr<android::AidlService> dropped;  // destroyed after the lock is released
    android::Mutex::Autolock lock(mMapsMutex);
    if (auto users = mUserMap.find(STREAM_CHANGE_MODE); users != mUserMap.end()) {
        ALOGI("use map has invalid cache size=%lu", static_cast<unsigned long>(users->second.size()));
        mUserMap.erase(users);
    }
    if (auto service = mServiceMap.find(STREAM_CHANGE_MODE); service != mServiceMap.end()) {
        ALOGI("service map has invalid cache");
        dropped = std::move(service->second);
        mServiceMap.erase(service);
    }
}

void AidlVirtualCameraClient::BinderDied(const std::string& device, const std::string& service) {
    const DevStrInfo user{device, service};
    std::vector<std::shared_ptr<android::AidlService>> dropped;  // destroyed after the lock
    {
        android::Mutex::Autolock lock(mMapsMutex);
        std::vector<int> modes;
        for (const auto& [mode, users] : mUserMap) {
            if (std::find(users.begin(), users.end(), user) != users.end()) {
                modes.push_back(mode);
            }
        }
        for (int mode : modes) {
            ALOGI("%s: delete service mode %d", __func__, mode);
            mUserMap.erase(mode);
            if (auto entry = mServiceMap.find(mode); entry != mServiceMap.end()) {
                dropped.push_back(std::move(entry->second));
                mServiceMap.erase(entry);
            }
        }
    }
    ALOGI("%s: success", __func__);
    android::Mutex::Autolock lock(mConnectMutex);
    if (mConnect != nullptr) {
        ALOGD("%s: set mConnect null", __func__);
        mConnect.reset();
    }
}

}  // namespace AIDLVIRTUAL_CAMERA_CLIENT
