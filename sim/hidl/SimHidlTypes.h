#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

#include <vendor/zuvek/hardware/camera/vircamera/1.0/IVirCameraChannel.h>

// Records and settings shared by the simulated HIDL virtual camera HAL and framework.
namespace vircamsim {

namespace vircam = ::vendor::zuvek::hardware::camera::vircamera::V1_0;
using CameraStatus = ::android::hardware::camera::common::V1_0::Status;

// HAL instance names of the channel service.
inline constexpr const char* STREAM_CHANGE_INSTANCE = "virtualcamera.streamchange";
inline constexpr const char* REGISTER_INSTANCE = "virtualcamera.register";

// A session result the library sent: CONTROL carries failed as 0/1, CONFIG 100/101,
// DATA 200/201.
struct SessionResult {
    enum class Kind { CONTROL, CONFIG, DATA };
    Kind kind = Kind::CONTROL;
    int32_t sessionId = 0;
    int32_t code = 0;
};

struct NotifyRecord {
    int32_t key = 0;
    std::string message;
};

// One registerVirCamera call as the HAL received it.
struct VirCameraRegistration {
    std::string device;
    std::string service;
    std::vector<vircam::CameraFormat> formats;
    std::vector<vircam::MetaItem> extendInfo;
};

struct DevicePair {
    std::string device;
    std::string service;
};

// How the HAL reports the outcome of a stream switch to the registered switch callback.
struct SwitchReportPlan {
    enum class When {
        INSIDE_CALL,  // from inside the HAL call, after its result callback ran: the report
                      // reaches the caller before the answer does, as it can on a device
        AFTER_DELAY,  // from another thread after `delay`
        NEVER,
    };
    When when = When::AFTER_DELAY;
    std::chrono::milliseconds delay{100};
    bool wrongSeqNum = false;  // report seqNum + 1 instead of the answered one
    vircam::VirCamOptRet ret = vircam::VirCamOptRet::SUCCESS;
};

}  // namespace vircamsim
