#include <thread>

#include <hostkit/HidlServices.h>

#include "FeedSteps.h"
#include "SimulatedDevice.h"
#include "hidl/SimCameraProvider.h"
#include "hidl/SimHidlFramework.h"

namespace vircamdemo {

namespace {

using vircamfeed::FEED_DEVICE;
using vircamfeed::FEED_SERVICE;
using vircamfeed::PrintStep;

class HidlDevice final : public SimulatedDevice {
public:
    HidlDevice() {
        if (Started()) {
            // The id the simulated HAL gives the feed's virtual camera.
            mRegisterChannel->SetIdList(vircamsim::CameraStatus::OK, {"10"});
            mFramework = std::make_unique<vircamsim::SimHidlFramework>(mRegisterChannel);
        }
    }

    bool Started() const { return mProvider && mRegisterChannel && mStreamChangeChannel; }

    bool OpenStream(uint32_t width, uint32_t height) override {
        auto control = mFramework->OpenControlSession(FEED_DEVICE, FEED_SERVICE);
        if (!control) {
            return false;
        }
        PrintStep("HAL: open control session", *control);
        auto configured = mFramework->ConfigureStreams(*control, {{0, width, height, 17}});
        if (!configured || *configured != vircamsim::vircam::VirOptResult::SUCCESS) {
            return false;
        }
        PrintStep("HAL: configure stream (NV21)", 0);
        auto data = mFramework->OpenDataSession(FEED_DEVICE, FEED_SERVICE);
        if (data) {
            PrintStep("HAL: open data session", *data);
        }
        mSession = data.value_or(0);
        return mSession != 0;
    }

    uint32_t Stream(uint32_t first, uint32_t count, uint32_t fps) override {
        const size_t alreadyReturned = mFramework->ReturnedFrames().size();
        mFramework->StartStreaming(mSession, first, count, std::chrono::milliseconds(1000 / fps));
        const uint32_t sent = mFramework->StopStreaming();
        mFramework->WaitForReturnedFrames(alreadyReturned + sent, STEP_TIMEOUT);
        return sent;
    }

    // A closing camera flushes first: the video service's buffers go back.
    void CloseStream() override {
        mFramework->Flush(mSession);
        mFramework->CloseDataSession(mSession);
    }

    bool KillAndRestore() override {
        const std::string descriptor = vircamsim::vircam::IVirCameraChannel::descriptor;
        const uint64_t delivered = hostkit::hidl::DeathNotificationsDelivered();
        const size_t links = hostkit::hidl::LinkCount(descriptor, mRegisterChannel->Instance());
        if (!mRegisterChannel->Kill()) {
            return false;
        }
        const auto deadline = std::chrono::steady_clock::now() + STEP_TIMEOUT;
        while (hostkit::hidl::DeathNotificationsDelivered() < delivered + links &&
               std::chrono::steady_clock::now() < deadline) {
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
        hostkit::hidl::WaitForDeathNotifications();
        return mRegisterChannel->Restore();
    }

    ReceivedFrames Frames() const override {
        ReceivedFrames frames;
        for (const auto& frame : mFramework->ReturnedFrames()) {
            if (frame.readBackOk) {
                frames[frame.frameNumber] = frame.bytes;
            }
        }
        return frames;
    }

private:
    android::sp<vircamsim::SimCameraProvider> mProvider = vircamsim::SimCameraProvider::Start();
    android::sp<vircamsim::SimHidlChannel> mRegisterChannel =
        vircamsim::SimHidlChannel::Start(vircamsim::REGISTER_INSTANCE);
    android::sp<vircamsim::SimHidlChannel> mStreamChangeChannel =
        vircamsim::SimHidlChannel::Start(vircamsim::STREAM_CHANGE_INSTANCE);
    std::unique_ptr<vircamsim::SimHidlFramework> mFramework;
    uint32_t mSession = 0;
};

}  // namespace

std::unique_ptr<SimulatedDevice> StartHidlDevice() {
    auto device = std::make_unique<HidlDevice>();
    if (!device->Started()) {
        return nullptr;
    }
    return device;
}

}  // namespace vircamdemo
