#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include <aidl/vendor/zuvek/hardware/camera/vircamera/IVirCameraChannel.h>
#include <android-base/no_destructor.h>
#include <android-base/thread_annotations.h>
#include <utils/Mutex.h>

#include "client/SwitchState.h"
#include "common/DevStrInfo.h"
#include "common/Turn.h"

namespace android {
class AidlService;
}

namespace AIDLVIRTUAL_CAMERA_CLIENT {

// The AIDL counterpart of the HIDL virtual camera client: registration, stream switching
// (with the same wait for the HAL's report) and the id list, each as one doCmdRequest
// with a JSON text. It also owns the per-mode user and service maps of the AIDL
// wrappers and clears a mode when its channel service dies. One per process, never
// destroyed.
class AidlVirtualCameraClient {
public:
    using IVirCameraChannel = aidl::vendor::zuvek::hardware::camera::vircamera::IVirCameraChannel;
    using UserMap = std::map<int, std::vector<android::DevStrInfo>>;
    using ServiceMap = std::map<int, std::shared_ptr<android::AidlService>>;

    static AidlVirtualCameraClient& Get();

    // Connects to the register channel; true even when it is missing (a later
    // registration then answers -200014).
    bool Init() EXCLUDES(mInitTurn, mConnectMutex);
    // The HAL's status, or -200014 no channel, -200015 binder call failed.
    int32_t RegisterVirCamera(std::string device, std::string service, const std::vector<std::string>& camInfo)
        EXCLUDES(mOperationTurn, mConnectMutex);
    int32_t UnRegisterVirCamera(std::string device, std::string service) EXCLUDES(mOperationTurn, mConnectMutex);
    // 0 once the HAL reported success; -200010 no report in 3 s, -200011 bad answer,
    // -200013 refused, -200014 no service, -200015 binder failure, -200016 reported
    // failure, or the HAL's non-zero status.
    int32_t SwitchOnCamStream(std::string device, std::string service, int cameraCount,
                              const std::vector<std::string>& physicalIds) EXCLUDES(mOperationTurn);
    // As switch-on (-200017 reported failure); 0 when the service is missing.
    int32_t SwitchOffCamStream(std::string device, std::string service) EXCLUDES(mOperationTurn);
    // Switch reports from the channel callback; 0, or -200011 when `json` does not parse.
    int32_t NotifySwitchOnVirtualCameraResult(const std::string& json);
    int32_t NotifySwitchOffVirtualCameraResult(const std::string& json);
    // The HAL's answer text, or "-1".
    std::string GetVirtualCameraIdList() EXCLUDES(mConnectMutex);
    // Forgets the stream-change mode (0) in both maps.
    void ClearSwitchService() EXCLUDES(mMapsMutex);
    // Forgets every mode the (device, service) user was on, and the register channel.
    void BinderDied(const std::string& device, const std::string& service) EXCLUDES(mMapsMutex, mConnectMutex);

    // The shared maps; hold MapsMutex() while using them, and only briefly: never across a
    // call to the HAL, a service wait or a call into the caller.
    UserMap& GetUserMap() REQUIRES(mMapsMutex) { return mUserMap; }
    ServiceMap& GetServiceMap() REQUIRES(mMapsMutex) { return mServiceMap; }
    android::Mutex& MapsMutex() RETURN_CAPABILITY(mMapsMutex) { return mMapsMutex; }
    // Taken by every AIDL wrapper's RegisterCallback and UnRegisterCallback, so that the
    // registrations of the process take effect one at a time, in call order.
    android::Turn& RegistrationTurn() RETURN_CAPABILITY(mRegistrationTurn) { return mRegistrationTurn; }

private:
    friend class android::base::NoDestructor<AidlVirtualCameraClient>;
    AidlVirtualCameraClient();
    std::shared_ptr<IVirCameraChannel> Connect() const EXCLUDES(mConnectMutex);
    int32_t Switch(bool on, const std::string& device, const std::string& service, int cameraCount,
                   const std::vector<std::string>& physicalIds) EXCLUDES(mOperationTurn);
    // A switch report; `failedLine` (taking the function name) logs a reported failure.
    int32_t NotifySwitchResult(android::SwitchState::Direction direction, const std::string& json,
                               const char* function, const char* failedLine);

    // Init runs one at a time; it may wait for the register channel without a time limit.
    android::Turn mInitTurn;
    mutable android::Mutex mConnectMutex;  // guards mConnect: the binder death thread drops it
    std::shared_ptr<IVirCameraChannel> mConnect GUARDED_BY(mConnectMutex);
    // A whole register, unregister or switch runs one at a time, HAL calls and the wait
    // for the HAL's report included: a turn, not a mutex.
    android::Turn mOperationTurn;
    // The switch in flight: its sequence number, the reported outcomes and the wait.
    android::SwitchState mSwitch;
    android::Turn mRegistrationTurn;
    // Guards both maps; the AIDL facades and the death handling take it too.
    android::Mutex mMapsMutex;
    UserMap mUserMap GUARDED_BY(mMapsMutex);
    ServiceMap mServiceMap GUARDED_BY(mMapsMutex);
};

}  // namespace AIDLVIRTUAL_CAMERA_CLIENT
