#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <vector>

namespace vircamdemo {

// What the simulated HAL read back: frame number -> the bytes the video service wrote.
using ReceivedFrames = std::map<uint32_t, std::vector<uint8_t>>;

// How long one step of the simulated device may take before it counts as failed.
constexpr std::chrono::seconds STEP_TIMEOUT{10};

// The phone around the video service: the virtual camera HAL of one transport and the camera
// framework that drives it. Its steps print what the HAL was answered. Destroying it frees
// the framework's buffers.
class SimulatedDevice {
public:
    virtual ~SimulatedDevice() = default;

    // Opens the control and data sessions and configures one NV21 stream; false if a step failed.
    virtual bool OpenStream(uint32_t width, uint32_t height) = 0;
    // Requests frames [first, first + count) at `fps` and waits for them to come back; the
    // number of requests sent.
    virtual uint32_t Stream(uint32_t first, uint32_t count, uint32_t fps) = 0;
    virtual void CloseStream() = 0;
    // The HAL's register channel dies like a crashed process and comes back once every
    // death notice of the library has run, as a restarting HAL takes that long at least.
    virtual bool KillAndRestore() = 0;
    virtual ReceivedFrames Frames() const = 0;
};

// Starts the simulated HIDL HAL (channels and camera provider); null if it could not start.
std::unique_ptr<SimulatedDevice> StartHidlDevice();
// Starts the simulated AIDL HAL; its channel instances must be declared already.
std::unique_ptr<SimulatedDevice> StartAidlDevice();

}  // namespace vircamdemo
