#define LOG_TAG "VIRCAMERA_HIDL_CLIENT"

#include "client/VirtualCameraClient.h"

#include <unistd.h>

#include <android-base/no_destructor.h>
#include <android/hardware/camera/provider/2.4/ICameraProvider.h>
#include <hidl/ServiceManagement.h>
#include <json/value.h>
#include <log/log.h>

#include "client/VirCameraSwitchCallback.h"
#include "common/AnonyString.h"
#include "common/InstanceNames.h"
#include "common/JsonUtil.h"
#include "common/VirCameraConstants.h"

namespace VIRTUAL_CAMERA_CLIENT {

using android::sp;
using android::wp;
using android::hardware::hidl_string;
using android::hardware::hidl_vec;
using android::hardware::camera::common::V1_0::Status;
using android::hardware::camera::provider::V2_4::ICameraProvider;

namespace {

constexpr int32_t NOTIFY_KEY_PHYSICAL_IDS = 101;
constexpr int32_t NOTIFY_ALL_KEYS = -1;
constexpr uint32_t SWITCH_CALLBACK_STATUS_UNSUPPORTED = 4;
constexpr uint32_t REPORT_SUCCESS = 300;

int32_t SwitchStatusToCode(Status status) {
    switch (static_cast<uint32_t>(status)) {
        case 1: return -2;
        case 2: return -3;
        case 3: return -1;
        case 4: return -5;
        default: return -1;
    }
}

// False only when hwservicemanager says the device manifest lacks the provider: devices
// launched on Android 14 declare an AIDL camera provider instead, and waiting would be vain.
bool ProviderMayBeDeclared() {
    sp<android::hidl::manager::V1_0::IServiceManager> manager = android::hardware::defaultServiceManager();
    if (manager == nullptr) {
        return true;
    }
    auto transport = manager->getTransport(ICameraProvider::descriptor, android::VIRTUAL_PROVIDER_INSTANCE);
    return !transport.isOk() ||
           transport != android::hidl::manager::V1_0::IServiceManager::Transport::EMPTY;
}

std::string Masked(uint32_t number) {
    return android::VideoGetAnonyString(std::to_string(number));
}

using android::SwitchState;

// The sequence-number lines of this client's switch reports (numbers masked).
class HidlReportLog final : public SwitchState::ReportLog {
public:
    void SequenceMismatch(const char* caller, uint32_t reported, uint32_t expected) const override {
        ALOGE("%s: seqnum %s is invalid. mSequenNum: %s, seqnum: %s", caller, Masked(reported).c_str(),
              Masked(expected).c_str(), Masked(reported).c_str());
    }
    void SequenceTaken(const char* caller, uint32_t reported, uint32_t previous) const override {
        ALOGI("%s: seqnum: %u, mSequenNum:%u", caller, reported, previous);
    }
};

const HidlReportLog REPORT_LOG;

// The ends of a switch; a switch-off success has always been an error line.
const SwitchState::Ending SWITCH_ON_ENDING = {"SwitchOnCamStream", "%s: wait for switch on virtual camera return failed!",
                                              -1, "%s: switch on virtual camera return success!", ANDROID_LOG_INFO,
                                              "%s: switch on virtual camera return failed!", -1};
const SwitchState::Ending SWITCH_OFF_ENDING = {
    "SwitchOffCamStream", "%s: wait for switch off virtual camera return failed!", -1,
    "%s: switch off virtual camera return success!", ANDROID_LOG_ERROR, "%s: switch off virtual camera return failed!",
    -1};

// {"notifyKey":101,"notifyMsgData":"{\"virCamInfo\":[ids...]}"}: the HAL keeps the ids
// of the physical cameras behind the virtual one.
std::string PhysicalIdMessage(const std::vector<std::string>& physicalIds) {
    Json::Value inner;
    for (const std::string& id : physicalIds) {
        inner[android::KEY_VIR_CAM_INFO].append(id);
    }
    std::string innerText;
    JsonUtil::JsonValueToString(inner, innerText);
    Json::Value outer;
    outer[android::KEY_NOTIFY_KEY] = NOTIFY_KEY_PHYSICAL_IDS;
    outer[android::KEY_NOTIFY_MSG_DATA] = innerText;
    std::string outerText;
    JsonUtil::JsonValueToString(outer, outerText);
    return outerText;
}

}  // namespace

VirtualCameraClient* VirtualCameraClient::Get() {
    static android::base::NoDestructor<VirtualCameraClient> instance;
    return instance.get();
}

VirtualCameraClient::VirtualCameraClient() : mSwitch(LOG_TAG, REPORT_LOG), mSwitchCallback(new VirCameraSwitchCallback()) {
    ALOGI("%s: ctor VirtualCameraClient!", "VirtualCameraClient");
}

void VirtualCameraClient::ListenerDeathRecipient::serviceDied(uint64_t /*cookie*/,
                                                              const wp<android::hidl::base::V1_0::IBase>& /*who*/) {
    ALOGE("%s: VirtualCameraClient::ListenerDeathRecipient::serviceDied - hal virtual camera service died", __func__);
    mDied.store(true);
}

sp<VirtualCameraClient::IVirCameraChannel> VirtualCameraClient::Channel() const {
    android::Mutex::Autolock lock(mChannelMutex);
    return mChannel;
}

bool VirtualCameraClient::Init() {
    android::Turn::Scoped initTurn(mInitTurn);
    sp<IVirCameraChannel> channel = Channel();
    if (mDeathRecipient != nullptr && channel != nullptr) {
        if (!mDeathRecipient->Died()) {
            return true;
        }
        (void)channel->unlinkToDeath(mDeathRecipient).isOk();
    }
    bool providerFound = false;
    const bool providerDeclared = ProviderMayBeDeclared();
    if (!providerDeclared) {
        ALOGE("%s: %s/%s is not declared on this device; Android 14 devices declare an AIDL camera provider",
              __func__, ICameraProvider::descriptor, android::VIRTUAL_PROVIDER_INSTANCE);
    }
    for (int32_t attempt = 0; providerDeclared && attempt < TRY_MAX_COUNT; ++attempt) {
        // The provider is only waited for, not used.
        if (ICameraProvider::tryGetService(android::VIRTUAL_PROVIDER_INSTANCE, false) != nullptr) {
            providerFound = true;
            break;
        }
        ALOGE("%s: Can not find ICameraProvider service (virtual/0), tryGetService again!", __func__);
        usleep(SLEEP_TIME_MS);
    }
    if (!providerFound) {
        ALOGE("%s: Start hidl service (virtual/0) failed or startup scripts are not exist!", __func__);
        return false;
    }
    channel = IVirCameraChannel::getService(android::REGISTER_CHANNEL, false);
    {
        android::Mutex::Autolock lock(mChannelMutex);
        mChannel = channel;
    }
    if (channel == nullptr) {
        ALOGE("%s: Can not find IVirCameraChannel service!", __func__);
        return false;
    }
    mDeathRecipient = new ListenerDeathRecipient();
    (void)channel->linkToDeath(mDeathRecipient, 0).isOk();
    return true;
}

int32_t VirtualCameraClient::RegisterVirCamera(std::string device, std::string service,
                                               const std::vector<std::string>& camInfo) {
    android::Turn::Scoped operationTurn(mOperationTurn);
    sp<IVirCameraChannel> channel = Channel();
    if (channel == nullptr) {
        ALOGE("%s: Can not find IVirCameraChannel service!", __func__);
        return -1;
    }
    hidl_vec<CameraFormat> formats = GetCameraFmt(camInfo);
    if (formats.size() == 0) {
        ALOGE("%s: Static properties of the virtual camera device is empty!", __func__);
        return -2;
    }
    auto result = channel->registerVirCamera(device, service, formats, GetExtendInfo(camInfo));
    if (!result.isOk()) {
        ALOGE("%s: registerVirCamera transport failed: %s", __func__, result.description().c_str());
        return -1;
    }
    const uint32_t status = result;
    if (status != 0) {
        ALOGE("%s: Register virtual camera device failed!", __func__);
        return status <= 3 ? -static_cast<int32_t>(status + 1) : -1;
    }
    ALOGI("%s: Register virtual camera device success!", __func__);
    return 0;
}

int32_t VirtualCameraClient::UnRegisterVirCamera(std::string device, std::string service) {
    android::Turn::Scoped operationTurn(mOperationTurn);
    sp<IVirCameraChannel> channel = Channel();
    if (channel == nullptr) {
        ALOGE("%s: Can not find IVirCameraChannel service!", __func__);
        return -1;
    }
    auto result = channel->unRegisterVirCamera(device, service);
    if (!result.isOk()) {
        ALOGE("%s: unRegisterVirCamera transport failed: %s", __func__, result.description().c_str());
        return -1;
    }
    const uint32_t status = result;
    if (status != 0) {
        ALOGE("%s: Unregister virtual camera device failed!", __func__);
        return status == 1 ? -2 : -1;
    }
    ALOGI("%s: Unregister virtual camera device success!", __func__);
    return 0;
}

int32_t VirtualCameraClient::SwitchOnCamStream(std::string device, std::string service,
                                               const std::vector<std::string>& physicalIds) {
    android::Turn::Scoped operationTurn(mOperationTurn);
    sp<IVirCameraChannel> channel = IVirCameraChannel::tryGetService(android::STREAM_CHANGE_CHANNEL, false);
    if (channel == nullptr) {
        ALOGE("%s: Can not find IVirCameraChannel service!", __func__);
        return -1;
    }
    if (mSwitchCallback == nullptr) {
        mSwitchCallback = new VirCameraSwitchCallback();
    }
    auto registered = channel->registerSwitchCallback(mSwitchCallback);
    if (!registered.isOk() || registered != 0) {
        ALOGE("%s: Register switch callback failed!", __func__);
        return registered.isOk() && registered == SWITCH_CALLBACK_STATUS_UNSUPPORTED ? -5 : -1;
    }
    if (!channel->notify(NOTIFY_ALL_KEYS, PhysicalIdMessage(physicalIds)).isOk()) {
        ALOGE("%s: notify transport failed", __func__);
    }
    ALOGI("%s: notify save physicalCameraId success", __func__);

    Status status = Status::INTERNAL_ERROR;
    {
        SwitchState::Call switchCall(mSwitch, SwitchState::Direction::SWITCH_ON);
        uint32_t seqNum = 0;
        auto call = channel->switchOnVirCamera(device, service, [&](Status answer, uint32_t answerSeqNum) {
            status = answer;
            seqNum = answerSeqNum;
        });
        if (!call.isOk()) {
            ALOGE("%s: switchOnVirCamera transport failed: %s", __func__, call.description().c_str());
            return -1;
        }
        // Kept whatever the status; reports that came ahead of the answer are judged now.
        switchCall.Answer(seqNum);
    }
    if (status != Status::OK) {
        ALOGE("%s: Switch on virtual camera device failed!", __func__);
        return SwitchStatusToCode(status);
    }
    return mSwitch.AwaitReport(SwitchState::Direction::SWITCH_ON, mSwitch.SequenceNumber(), SWITCH_ON_ENDING);
}

int32_t VirtualCameraClient::SwitchOffCamStream(std::string device, std::string service) {
    android::Turn::Scoped operationTurn(mOperationTurn);
    sp<IVirCameraChannel> channel = IVirCameraChannel::tryGetService(android::STREAM_CHANGE_CHANNEL, false);
    if (channel == nullptr) {
        // Without the service there is no stream to switch off.
        ALOGW("%s: Can not find IVirCameraChannel service!", __func__);
        return 0;
    }
    Status status = Status::INTERNAL_ERROR;
    {
        SwitchState::Call switchCall(mSwitch, SwitchState::Direction::SWITCH_OFF);
        uint32_t seqNum = 0;
        auto call = channel->switchOffVirCamera(device, service, [&](Status answer, uint32_t answerSeqNum) {
            status = answer;
            seqNum = answerSeqNum;
        });
        if (!call.isOk()) {
            ALOGE("%s: switchOffVirCamera transport failed: %s", __func__, call.description().c_str());
            return -1;
        }
        switchCall.Answer(seqNum);
    }
    if (status != Status::OK) {
        ALOGE("%s: Switch off virtual camera device failed!", __func__);
        return SwitchStatusToCode(status);
    }
    // A switch-off report takes its own number: the wait follows whatever it left.
    const uint32_t seqNum = mSwitch.SequenceNumber();
    ALOGI("%s: Switch off virtual camera success, seqnum: %u", __func__, seqNum);
    return mSwitch.AwaitReport(SwitchState::Direction::SWITCH_OFF, seqNum, SWITCH_OFF_ENDING);
}

void VirtualCameraClient::NotifySwitchOnVirtualCameraResult(uint32_t seqNum, VirCamOptRet ret) {
    ALOGI("%s: NotifySwitchOnVirtualCameraResult start!", __func__);
    bool success = true;
    if (static_cast<uint32_t>(ret) != REPORT_SUCCESS) {
        ALOGE("%s: switch on vitual camera stream failed!", __func__);
        success = false;
    }
    // The sequence number is checked against the switch in flight (REPORT_LOG).
    mSwitch.Report(SwitchState::Direction::SWITCH_ON, seqNum, success, __func__);
}

void VirtualCameraClient::NotifySwitchOffVirtualCameraResult(uint32_t seqNum, VirCamOptRet ret) {
    ALOGI("%s: NotifySwitchOffVirtualCameraResult start!", __func__);
    bool success = true;
    if (static_cast<uint32_t>(ret) != REPORT_SUCCESS) {
        ALOGE("%s: switch off vitual camera stream failed!", __func__);
        success = false;
    }
    // Switch-off takes whatever sequence number the HAL reports.
    mSwitch.Report(SwitchState::Direction::SWITCH_OFF, seqNum, success, __func__);
}

std::vector<std::string> VirtualCameraClient::GetVirtualCameraIdList() {
    std::vector<std::string> ids;
    sp<IVirCameraChannel> channel = Channel();
    if (channel == nullptr) {
        ALOGE("%s: Can not find IVirCameraChannel service!", __func__);
        return ids;
    }
    Status status = Status::INTERNAL_ERROR;
    auto call = channel->getVirtualCameraIdList([&](Status answer, const hidl_vec<hidl_string>& list) {
        status = answer;
        if (answer == Status::OK) {
            for (const hidl_string& id : list) {
                ids.emplace_back(id);
            }
        }
    });
    if (!call.isOk() || status != Status::OK) {
        ALOGE("%s: get virtual camera id list failed!", __func__);
        ids.clear();
    }
    return ids;
}

}  // namespace VIRTUAL_CAMERA_CLIENT
