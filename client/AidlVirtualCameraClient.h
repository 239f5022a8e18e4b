#pragma once

#include <atomic>
#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include <aidl/vendor/zuvek/hardware/camera/vircamera/IVirCameraChannel.h>

#include "client/HalReturnWaiter.h"
#include "common/DevStrInfo.h"

namespace android {
class AidlService;
}

namespace AIDLVIRTUAL_CAMERA_CLIENT {

// The AIDL counterpart of the HIDL virtual camera client: registration, stream switching
// (with the same wait for the HAL's report) and the id list, each as one doCmdRequest
// with a JSON text. It also owns the per-mode user and service maps of the AIDL
// wrappers and clears a mode when its channel service dies. One per process.
class AidlVirtualCameraClient {
public:
    using IVirCameraChannel = aidl::vendor::zuvek::hardware::camera::vircamera::IVirCameraChannel;
    using UserMap = std::map<int, std::vector<android::DevStrInfo>>;
    using ServiceMap = std::map<int, std::shared_ptr<android::AidlService>>;

    static AidlVirtualCameraClient& Get();

    // Connects to the register channel; true even when it is missing (a later
    // registration then answers -200014).
    bool Init();
    // The HAL's status, or -200014 no channel, -200015 binder call failed.
    int32_t RegisterVirCamera(std::string device, std::string service, const std::vector<std::string>& camInfo);
    int32_t UnRegisterVirCamera(std::string device, std::string service);
    // 0 once the HAL reported success; -200010 no report in 3 s, -200011 bad answer,
    // -200013 refused, -200014 no service, -200015 binder failure, -200016 reported
    // failure, or the HAL's non-zero status.
    int32_t SwitchOnCamStream(std::string device, std::string service, int cameraCount,
                              const std::vector<std::string>& physicalIds);
    // As switch-on (-200017 reported failure); 0 when the service is missing.
    int32_t SwitchOffCamStream(std::string device, std::string service);
    int32_t WaitForHALReturn(std::condition_variable& cond, std::unique_lock<std::mutex>& lock, uint32_t seqNum);
    // Switch reports from the channel callback; 0, or -200011 when `json` does not parse.
    int32_t NotifySwitchOnVirtualCameraResult(const std::string& json);
    int32_t NotifySwitchOffVirtualCameraResult(const std::string& json);
    // The HAL's answer text, or "-1".
    std::string GetVirtualCameraIdList();
    // Forgets the stream-change mode (0) in both maps.
    void ClearSwitchService();
    // Forgets every mode the (device, service) user was on, and the register channel.
    void BinderDied(const std::string& device, const std::string& service);

    // The shared maps; hold MapsMutex() while using them.
    UserMap& GetUserMap() { return mUserMap; }
    ServiceMap& GetServiceMap() { return mServiceMap; }
    std::recursive_mutex& MapsMutex() { return mMapsMutex; }

private:
    AidlVirtualCameraClient();
    ~AidlVirtualCameraClient();
    std::shared_ptr<IVirCameraChannel> Connect() const;
    int32_t Switch(bool on, const std::string& device, const std::string& service, int cameraCount,
                   const std::vector<std::string>& physicalIds);

    std::atomic<bool> mSwitchOnResult{true};
    std::atomic<bool> mSwitchOffResult{true};
    std::atomic<int32_t> mSequenNum{0};
    std::mutex mInitMutex;
    mutable std::mutex mConnectMutex;  // mConnect is dropped on the binder death thread
    std::shared_ptr<IVirCameraChannel> mConnect;
    std::mutex mOperationMutex;
    android::HalReturnWaiter mWaiter;
    std::mutex mSwitchOnMutex;
    std::condition_variable mSwitchOnCond;
    std::mutex mSwitchOffMutex;
    std::condition_variable mSwitchOffCond;
    std::recursive_mutex mMapsMutex;  // taken by the wrappers too
    UserMap mUserMap;
    ServiceMap mServiceMap;
};

}  // namespace AIDLVIRTUAL_CAMERA_CLIENT
