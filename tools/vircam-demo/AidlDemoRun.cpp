#include "AidlDemoRun.h"

#include <cstdio>
#include <memory>
#include <thread>

#include <hostkit/BinderServices.h>

#include "AidlVideoService.h"
#include "FeedSteps.h"
#include "aidl/SimAidlFramework.h"

namespace vircamdemo {

namespace {

using vircamfeed::FEED_DEVICE;
using vircamfeed::FEED_SERVICE;
using vircamfeed::PrintStep;

constexpr std::chrono::seconds STEP_TIMEOUT{10};
constexpr int32_t RING = 3;

struct SimulatedAidlDevice {
    std::shared_ptr<vircamsim::SimAidlChannel> registerChannel =
        vircamsim::SimAidlChannel::Start(vircamsim::SimAidlChannel::REGISTER);
    std::shared_ptr<vircamsim::SimAidlChannel> streamChangeChannel =
        vircamsim::SimAidlChannel::Start(vircamsim::SimAidlChannel::STREAM_CHANGE);

    bool Ok() const {
        if (registerChannel && streamChangeChannel) {
            // The id the simulated HAL gives the demo's virtual camera.
            registerChannel->SetIdList(0, R"(["10"])");
            return true;
        }
        return false;
    }
};

// Waits until the kit has delivered `count` death notifications in all.
void WaitForDeathNotifications(uint64_t count) {
    const auto deadline = std::chrono::steady_clock::now() + STEP_TIMEOUT;
    while (hostkit::binder::DeathNotificationCount() < count && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
}

bool OpenStream(vircamsim::SimAidlFramework& framework, const DemoOptions& options) {
    auto control = framework.OpenControlSession();
    PrintStep("HAL: open control session (10005)", control.status);
    auto configured = framework.ConfigureStreams({{0, options.width, options.height, 17}});
    PrintStep("HAL: configure stream (9105, NV21)", configured.status);
    auto data = framework.OpenDataSession();
    PrintStep("HAL: open data session (10008)", data.status);
    return control.status == 0 && configured.status == 0 && data.status == 0;
}

// Sends image requests for frames [first, first + count) at the chosen rate.
uint32_t Stream(vircamsim::SimAidlFramework& framework, uint32_t first, uint32_t count, const DemoOptions& options) {
    const auto period = std::chrono::microseconds(1000000 / options.fps);
    auto next = std::chrono::steady_clock::now();
    uint32_t sent = 0;
    for (uint32_t frame = first; frame < first + count; ++frame) {
        std::this_thread::sleep_until(next);
        next += period;
        const int32_t bufferId = static_cast<int32_t>(frame % RING) + 1;
        if (framework.RequestImages(static_cast<int32_t>(frame), {{0, bufferId}}).status == 0) {
            ++sent;
        }
    }
    return sent;
}

}  // namespace

RunResult RunAidl(const DemoOptions& options, LibraryLoader& library, FrameSource& source,
                 FeedReport& report) {
    RunResult run;
    SimulatedAidlDevice device;
    if (!device.Ok()) {
        fprintf(stderr, "vircam-demo: could not start the simulated HAL\n");
        return run;
    }
    auto framework = vircamsim::SimAidlFramework::Make(device.registerChannel);
    android::IVirCameraWrapperV2* raw = nullptr;
    library.createWrapperV2(&raw);
    std::unique_ptr<android::IVirCameraWrapperV2> wrapper(raw);
    const int uniqueID = vircamfeed::UniqueId(FEED_DEVICE, FEED_SERVICE);
    auto service = std::make_shared<vircamfeed::AidlVideoService>(*wrapper, uniqueID, report, source);

    auto registerCallback = [&] {
        int ret = wrapper->RegisterCallback(FEED_DEVICE, FEED_SERVICE, android::IVirCameraWrapper::MODE_REGISTER, service);
        PrintStep("RegisterCallback (register instance)", ret);
        if (ret == 0 && options.registerCamera) {
            // Switch reports reach the callback registered with the stream-change instance.
            ret = wrapper->RegisterCallback(FEED_DEVICE, FEED_SERVICE, android::IVirCameraWrapper::MODE_STREAM_CHANGE,
                                            service);
            PrintStep("RegisterCallback (stream-change instance)", ret);
        }
        return ret == 0;
    };
    if (!registerCallback()) {
        return run;
    }
    if (options.registerCamera) {
        vircamfeed::RegisterVirtualCamera(*wrapper, uniqueID, options);
    }
    if (!OpenStream(*framework, options)) {
        return run;
    }
    report.Start();
    const uint32_t firstBatch = options.killHalAfter.value_or(options.frames);
    run.requested = Stream(*framework, 0, firstBatch, options);
    if (options.killHalAfter) {
        const uint64_t delivered = hostkit::binder::DeathNotificationCount();
        const size_t links = hostkit::binder::DeathLinkCount(device.registerChannel->Name());
        device.registerChannel->Kill();
        PrintStep("HAL killed; command 15016 received", service->WaitForServiceDied(STEP_TIMEOUT));
        // 15016 reaches the caller before the library forgets the dead connection: the HAL
        // side waits until every death notification has run before it comes back.
        WaitForDeathNotifications(delivered + links);
        device.registerChannel->Restore();
        if (!registerCallback() || !OpenStream(*framework, options)) {
            return run;
        }
        if (options.registerCamera) {
            // The client's connection died with the HAL: a new service check reconnects it.
            PrintStep("service check after the restart", std::stol(wrapper->SendRequest(
                                                              1115016, uniqueID, R"({"type":"VIRTUAL"})").data));
        }
        run.requested += Stream(*framework, firstBatch, options.frames - firstBatch, options);
    }
    report.Stop();
    framework->CloseDataSession();
    if (options.registerCamera) {
        vircamfeed::UnregisterVirtualCamera(*wrapper, uniqueID);
    }
    for (const auto& request : device.registerChannel->CallerRequests()) {
        if (request.cmd == vircamfeed::AidlVideoService::CMD_IMAGE_DONE && request.bytes) {
            run.frames[static_cast<uint32_t>(request.frameNumber)] = *request.bytes;
        }
    }
    // The simulated HAL shuts down while the demo is still registered: the library keeps its
    // AIDL connections until their HAL dies (unregistering keeps them), and it forgets a
    // connection only for the users it still lists. Every death notification runs first.
    const uint64_t delivered = hostkit::binder::DeathNotificationCount();
    size_t links = 0;
    for (const auto& channel : {device.registerChannel, device.streamChangeChannel}) {
        links += hostkit::binder::DeathLinkCount(channel->Name());
        channel->Kill();
    }
    WaitForDeathNotifications(delivered + links);
    PrintStep("UnRegisterCallback", wrapper->UnRegisterCallback(FEED_DEVICE, FEED_SERVICE));
    run.ok = true;
    return run;
}

}  // namespace vircamdemo
