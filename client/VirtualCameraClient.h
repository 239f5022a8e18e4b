#pragma once

#include <atomic>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include <android-base/no_destructor.h>
#include <android-base/thread_annotations.h>
#include <utils/Mutex.h>
#include <utils/RefBase.h>
#include <vendor/zuvek/hardware/camera/vircamera/1.0/IVirCameraChannel.h>

#include "client/SwitchState.h"
#include "common/Turn.h"

namespace VIRTUAL_CAMERA_CLIENT {

class VirCameraSwitchCallback;

// Registers virtual camera devices with the HAL over HIDL, switches their streams on
// and off (waiting up to three seconds for the HAL's report) and lists their ids. One
// per process, never destroyed (binder threads may report to it while the process exits).
// Register, unregister and switching run one at a time.
class VirtualCameraClient {
public:
    using IVirCameraChannel = vendor::zuvek::hardware::camera::vircamera::V1_0::IVirCameraChannel;
    using CameraFormat = vendor::zuvek::hardware::camera::vircamera::V1_0::CameraFormat;
    using FrameSizeRate = vendor::zuvek::hardware::camera::vircamera::V1_0::FrameSizeRate;
    using MetaItem = vendor::zuvek::hardware::camera::vircamera::V1_0::MetaItem;
    using VirCamOptRet = vendor::zuvek::hardware::camera::vircamera::V1_0::VirCamOptRet;

    static constexpr uint8_t DEFAULT_FPS = 30;
    static constexpr uint8_t CAMINFO_ARRAY_LEN = 4;
    static constexpr int32_t TRY_MAX_COUNT = 25;
    static constexpr int32_t SLEEP_TIME_MS = 20000;  // passed to usleep: 20 ms
    static constexpr int32_t SIZE_FMT_LEN = 2;
    static const std::string IMAGE_FORMAT_NV21;
    static const std::string PIXEL_FORMAT_YUV420;
    static const std::string COMMA_SEPARATOR;
    static const std::string SEMICOLON_SEPARATOR;

    static VirtualCameraClient* Get();

    // Waits for the camera provider "virtual/0" and connects to the register channel.
    bool Init() EXCLUDES(mInitTurn, mChannelMutex);
    // 0; -1 no channel (Init first) or HAL result >= 4; -2 bad capabilities or HAL 1;
    // -3 / -4 for HAL results 2 / 3. camInfo: formats, resolutions, fps, location.
    int32_t RegisterVirCamera(std::string device, std::string service, const std::vector<std::string>& camInfo)
        EXCLUDES(mOperationTurn, mChannelMutex);
    // 0; -1 no channel or HAL result other than 1; -2 HAL result 1.
    int32_t UnRegisterVirCamera(std::string device, std::string service) EXCLUDES(mOperationTurn, mChannelMutex);
    // 0 once the HAL reported success; negative codes otherwise (see the source).
    int32_t SwitchOnCamStream(std::string device, std::string service, const std::vector<std::string>& physicalIds)
        EXCLUDES(mOperationTurn);
    // 0 also when the stream-change service is missing.
    int32_t SwitchOffCamStream(std::string device, std::string service) EXCLUDES(mOperationTurn);
    // Reports from the HAL, on binder threads.
    void NotifySwitchOnVirtualCameraResult(uint32_t seqNum, VirCamOptRet ret);
    void NotifySwitchOffVirtualCameraResult(uint32_t seqNum, VirCamOptRet ret);
    std::vector<std::string> GetVirtualCameraIdList() EXCLUDES(mChannelMutex);

    // Capability strings to the HAL's records.
    android::hardware::hidl_vec<CameraFormat> GetCameraFmt(const std::vector<std::string>& camInfo);
    android::hardware::hidl_vec<MetaItem> GetExtendInfo(const std::vector<std::string>& camInfo);
    void Split(const std::string& text, std::vector<std::string>& out, const std::string& separators);
    std::vector<uint8_t> ParseFrameRate(const std::string& fps);
    std::vector<FrameSizeRate> AddDefaultFormat(std::vector<std::pair<uint32_t, uint32_t>>& sizes,
                                                const std::vector<uint8_t>& frameRates);

private:
    friend class android::base::NoDestructor<VirtualCameraClient>;

    class ListenerDeathRecipient : public android::hardware::hidl_death_recipient {
    public:
        void serviceDied(uint64_t cookie, const android::wp<android::hidl::base::V1_0::IBase>& who) override;
        bool Died() const { return mDied.load(); }

    private:
        std::atomic<bool> mDied{false};
    };

    VirtualCameraClient();
    android::sp<IVirCameraChannel> Channel() const EXCLUDES(mChannelMutex);
    bool ParseResolutions(const std::string& text, std::vector<std::pair<uint32_t, uint32_t>>& sizes);

    // Init runs one at a time: it waits for the provider and looks the channel up.
    android::Turn mInitTurn;
    // A whole register, unregister or switch runs one at a time: HAL calls and the wait
    // for the HAL's report happen while holding it, so it is a turn, not a mutex.
    android::Turn mOperationTurn;
    // The switch in flight: its sequence number, the reported outcomes and the wait.
    android::SwitchState mSwitch;
    mutable android::Mutex mChannelMutex;  // guards the channel: Init replaces it while operations read it
    android::sp<IVirCameraChannel> mChannel GUARDED_BY(mChannelMutex);
    android::sp<ListenerDeathRecipient> mDeathRecipient GUARDED_BY(mInitTurn);
    android::sp<VirCameraSwitchCallback> mSwitchCallback GUARDED_BY(mOperationTurn);
};

}  // namespace VIRTUAL_CAMERA_CLIENT
