#include "CameraApp.h"

#include "FeedRun.h"
#include "FeedSteps.h"

namespace vircamdemo {

void FeedProgress::Registered() {
    std::lock_guard<std::mutex> lock(mMutex);
    ++mRegistrations;
    mChanged.notify_all();
}

void FeedProgress::Ended() {
    std::lock_guard<std::mutex> lock(mMutex);
    mEnded = true;
    mChanged.notify_all();
}

bool FeedProgress::WaitForRegistrations(uint32_t count, std::chrono::milliseconds timeout) {
    std::unique_lock<std::mutex> lock(mMutex);
    mChanged.wait_for(lock, timeout, [&] { return mRegistrations >= count || mEnded; });
    return mRegistrations >= count && !mEnded;
}

void FeedProgress::CameraClosed() {
    std::lock_guard<std::mutex> lock(mMutex);
    mCameraClosed = true;
    mChanged.notify_all();
}

void FeedProgress::WaitForCameraClosed(std::chrono::milliseconds timeout) {
    std::unique_lock<std::mutex> lock(mMutex);
    mChanged.wait_for(lock, timeout, [&] { return mCameraClosed; });
}

uint32_t RunCameraApp(SimulatedDevice& device, FeedProgress& feed, const DemoOptions& options) {
    uint32_t requested = 0;
    // The camera opens once the video service is there: the feed's `registration`-th one.
    auto streamFrames = [&](uint32_t registration, uint32_t first, uint32_t count) {
        if (!feed.WaitForRegistrations(registration, STEP_TIMEOUT)) {
            vircamfeed::PrintStep("HAL: the video service registered", -1);
            return false;
        }
        if (!device.OpenStream(options.width, options.height)) {
            return false;
        }
        requested += device.Stream(first, count, options.fps);
        return true;
    };
    const uint32_t firstBatch = options.killHalAfter.value_or(options.frames);
    bool streamed = streamFrames(1, 0, firstBatch);
    if (streamed && options.killHalAfter) {
        vircamfeed::PrintStep("HAL: killed, then restarted", device.KillAndRestore() ? 0 : -1);
        streamed = streamFrames(2, firstBatch, options.frames - firstBatch);
    }
    if (streamed) {
        device.CloseStream();
    }
    feed.CameraClosed();
    // Every frame that came back has been counted by the feed: it ends by itself unless one
    // went missing.
    if (device.Frames().size() < options.frames) {
        vircamfeed::StopFeed();
    }
    return requested;
}

}  // namespace vircamdemo
