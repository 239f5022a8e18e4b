#include <thread>

#include <hostkit/BinderServices.h>

#include "AidlVideoService.h"
#include "FeedSteps.h"
#include "SimulatedDevice.h"
#include "aidl/SimAidlFramework.h"

namespace vircamdemo {

namespace {

using vircamfeed::PrintStep;

constexpr int32_t RING = 3;

// Waits until the kit has delivered `count` death notifications in all.
void WaitForDeathNotifications(uint64_t count) {
    const auto deadline = std::chrono::steady_clock::now() + STEP_TIMEOUT;
    while (hostkit::binder::DeathNotificationCount() < count && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
}

class AidlDevice final : public SimulatedDevice {
public:
    AidlDevice() {
        if (Started()) {
            // The id the simulated HAL gives the feed's virtual camera.
            mRegisterChannel->SetIdList(0, R"(["10"])");
            mFramework = vircamsim::SimAidlFramework::Make(mRegisterChannel);
        }
    }

    bool Started() const { return mRegisterChannel && mStreamChangeChannel; }

    bool OpenStream(uint32_t width, uint32_t height) override {
        auto control = mFramework->OpenControlSession();
        PrintStep("HAL: open control session (10005)", control.status);
        auto configured = mFramework->ConfigureStreams({{0, width, height, 17}});
        PrintStep("HAL: configure stream (9105, NV21)", configured.status);
        auto data = mFramework->OpenDataSession();
        PrintStep("HAL: open data session (10008)", data.status);
        return control.status == 0 && configured.status == 0 && data.status == 0;
    }

    // Each request comes back within its call: the video service reports the buffer done
    // before it answers.
    uint32_t Stream(uint32_t first, uint32_t count, uint32_t fps) override {
        const auto period = std::chrono::microseconds(1000000 / fps);
        auto next = std::chrono::steady_clock::now();
        uint32_t sent = 0;
        for (uint32_t frame = first; frame < first + count; ++frame) {
            std::this_thread::sleep_until(next);
            next += period;
            const int32_t bufferId = static_cast<int32_t>(frame % RING) + 1;
            if (mFramework->RequestImages(static_cast<int32_t>(frame), {{0, bufferId}}).status == 0) {
                ++sent;
            }
        }
        return sent;
    }

    // A closing camera flushes first: the video service's buffers go back.
    void CloseStream() override {
        mFramework->Flush();
        mFramework->CloseDataSession();
    }

    bool KillAndRestore() override {
        const uint64_t delivered = hostkit::binder::DeathNotificationCount();
        const size_t links = hostkit::binder::DeathLinkCount(mRegisterChannel->Name());
        if (!mRegisterChannel->Kill()) {
            return false;
        }
        WaitForDeathNotifications(delivered + links);
        return mRegisterChannel->Restore();
    }

    ReceivedFrames Frames() const override {
        ReceivedFrames frames;
        for (const auto& request : mRegisterChannel->CallerRequests()) {
            if (request.cmd == vircamfeed::AidlVideoService::CMD_IMAGE_DONE && request.bytes) {
                frames[static_cast<uint32_t>(request.frameNumber)] = *request.bytes;
            }
        }
        return frames;
    }

private:
    std::shared_ptr<vircamsim::SimAidlChannel> mRegisterChannel =
        vircamsim::SimAidlChannel::Start(vircamsim::SimAidlChannel::REGISTER);
    std::shared_ptr<vircamsim::SimAidlChannel> mStreamChangeChannel =
        vircamsim::SimAidlChannel::Start(vircamsim::SimAidlChannel::STREAM_CHANGE);
    std::shared_ptr<vircamsim::SimAidlFramework> mFramework;
};

}  // namespace

std::unique_ptr<SimulatedDevice> StartAidlDevice() {
    auto device = std::make_unique<AidlDevice>();
    if (!device->Started()) {
        return nullptr;
    }
    return device;
}

}  // namespace vircamdemo
