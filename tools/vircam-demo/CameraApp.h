#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>

#include "DemoOptions.h"
#include "SimulatedDevice.h"

namespace vircamdemo {

// What the feed and the camera app tell each other: how many times the feed has completed
// its registration and whether its run ended; whether the camera is closed. Thread-safe.
class FeedProgress {
public:
    void Registered();
    void Ended();
    void CameraClosed();
    // Waits up to `timeout` until the feed has registered `count` times; false when it ended
    // or the time ran out first.
    bool WaitForRegistrations(uint32_t count, std::chrono::milliseconds timeout);
    // Waits up to `timeout` until the camera app has closed its stream.
    void WaitForCameraClosed(std::chrono::milliseconds timeout);

private:
    std::mutex mMutex;
    std::condition_variable mChanged;
    uint32_t mRegistrations = 0;  // guarded by mMutex
    bool mEnded = false;          // guarded by mMutex
    bool mCameraClosed = false;   // guarded by mMutex
};

// Run on a thread of its own while the feed runs: opens the stream once the feed has
// registered, streams the frames, kills and restores the HAL when --kill-hal-after asks,
// streams the rest once the feed has registered again, then closes the stream (the feed
// unregisters only after that). Stops a feed still waiting for frames that will not come.
// The number of image requests sent.
uint32_t RunCameraApp(SimulatedDevice& device, FeedProgress& feed, const DemoOptions& options);

}  // namespace vircamdemo
