#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include <utils/RefBase.h>
#include <vendor/zuvek/hardware/camera/vircamera/1.0/IVirCameraChannel.h>

#include "client/HalReturnWaiter.h"

namespace VIRTUAL_CAMERA_CLIENT {

class VirCameraSwitchCallback;

// Registers virtual camera devices with the HAL over HIDL, switches their streams on
// and off (waiting up to three seconds for the HAL's report) and lists their ids. One
// per process, never destroyed. Register, unregister and switching run one at a time.
class VirtualCameraClient : public virtual android::RefBase {
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
    bool Init();
    // 0; -1 no channel (Init first) or HAL result >= 4; -2 bad capabilities or HAL 1;
    // -3 / -4 for HAL results 2 / 3. camInfo: formats, resolutions, fps, location.
    int32_t RegisterVirCamera(std::string device, std::string service, const std::vector<std::string>& camInfo);
    // 0; -1 no channel or HAL result other than 1; -2 HAL result 1.
    int32_t UnRegisterVirCamera(std::string device, std::string service);
    // 0 once the HAL reported success; negative codes otherwise (see the source).
    int32_t SwitchOnCamStream(std::string device, std::string service, const std::vector<std::string>& physicalIds);
    // 0 also when the stream-change service is missing.
    int32_t SwitchOffCamStream(std::string device, std::string service);
    int32_t WaitForHALReturn(std::condition_variable& cond, std::unique_lock<std::mutex>& lock, uint32_t seqNum);
    // Reports from the HAL, on binder threads.
    void NotifySwitchOnVirtualCameraResult(uint32_t seqNum, VirCamOptRet ret);
    void NotifySwitchOffVirtualCameraResult(uint32_t seqNum, VirCamOptRet ret);
    std::vector<std::string> GetVirtualCameraIdList();

    // Capability strings to the HAL's records.
    android::hardware::hidl_vec<CameraFormat> GetCameraFmt(const std::vector<std::string>& camInfo);
    android::hardware::hidl_vec<MetaItem> GetExtendInfo(const std::vector<std::string>& camInfo);
    void Split(const std::string& text, std::vector<std::string>& out, const std::string& separators);
    std::vector<uint8_t> ParseFrameRate(const std::string& fps);
    std::vector<FrameSizeRate> AddDefaultFormat(std::vector<std::pair<uint32_t, uint32_t>>& sizes,
                                                const std::vector<uint8_t>& frameRates);

protected:
    ~VirtualCameraClient() override;

private:
    class ListenerDeathRecipient : public android::hardware::hidl_death_recipient {
    public:
        void serviceDied(uint64_t cookie, const android::wp<android::hidl::base::V1_0::IBase>& who) override;
        bool Died() const { return mDied.load(); }

    private:
        std::atomic<bool> mDied{false};
    };

    VirtualCameraClient();
    android::sp<IVirCameraChannel> Channel() const;
    bool ParseResolutions(const std::string& text, std::vector<std::pair<uint32_t, uint32_t>>& sizes);

    std::mutex mInitMutex;
    std::mutex mOperationMutex;
    std::mutex mSwitchOnMutex;
    std::condition_variable mSwitchOnCond;
    std::mutex mSwitchOffMutex;
    std::condition_variable mSwitchOffCond;
    android::HalReturnWaiter mWaiter;
    std::atomic<bool> mSwitchOnResult{true};
    std::atomic<bool> mSwitchOffResult{true};
    std::atomic<uint32_t> mSequenNum{0};
    mutable std::mutex mChannelMutex;  // the channel is replaced by Init while operations read it
    android::sp<IVirCameraChannel> mChannel;
    android::sp<ListenerDeathRecipient> mDeathRecipient;
    android::sp<VirCameraSwitchCallback> mSwitchCallback;
};

}  // namespace VIRTUAL_CAMERA_CLIENT
