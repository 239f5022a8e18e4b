#include "HidlDemoRun.h"

#include <cstdio>
#include <memory>

#include <hostkit/HidlServices.h>
#include <hostkit/Mapper.h>

#include "FeedSteps.h"
#include "HidlVideoService.h"
#include "hidl/SimCameraProvider.h"
#include "hidl/SimHidlFramework.h"

namespace vircamdemo {

namespace {

using vircamfeed::FEED_DEVICE;
using vircamfeed::FEED_SERVICE;
using vircamfeed::PrintStep;

constexpr std::chrono::seconds STEP_TIMEOUT{10};

struct SimulatedHidlDevice {
    android::sp<vircamsim::SimCameraProvider> provider = vircamsim::SimCameraProvider::Start();
    android::sp<vircamsim::SimHidlChannel> registerChannel =
        vircamsim::SimHidlChannel::Start(vircamsim::REGISTER_INSTANCE);
    android::sp<vircamsim::SimHidlChannel> streamChangeChannel =
        vircamsim::SimHidlChannel::Start(vircamsim::STREAM_CHANGE_INSTANCE);

    bool Ok() const {
        if (provider && registerChannel && streamChangeChannel) {
            // The id the simulated HAL gives the demo's virtual camera.
            registerChannel->SetIdList(vircamsim::CameraStatus::OK, {"10"});
            return true;
        }
        return false;
    }
};

// Opens the sessions and configures one NV21 stream; the data session id, or 0.
uint32_t OpenStream(vircamsim::SimHidlFramework& framework, const DemoOptions& options) {
    auto control = framework.OpenControlSession(FEED_DEVICE, FEED_SERVICE);
    if (!control) {
        return 0;
    }
    PrintStep("HAL: open control session", *control);
    auto configured = framework.ConfigureStreams(*control, {{0, options.width, options.height, 17}});
    if (!configured || *configured != vircamsim::vircam::VirOptResult::SUCCESS) {
        return 0;
    }
    PrintStep("HAL: configure stream (NV21)", 0);
    auto data = framework.OpenDataSession(FEED_DEVICE, FEED_SERVICE);
    if (data) {
        PrintStep("HAL: open data session", *data);
    }
    return data.value_or(0);
}

// Streams frames [first, first + count) and waits for them to come back; the number sent.
uint32_t Stream(vircamsim::SimHidlFramework& framework, const vircamfeed::HidlVideoService& service, uint32_t session,
                uint32_t first, uint32_t count, const DemoOptions& options, size_t alreadyReturned) {
    framework.StartStreaming(session, first, count, std::chrono::milliseconds(1000 / options.fps));
    vircamfeed::ShowProgress([&] { return service.FramesFilled(); }, first + count);
    const uint32_t sent = framework.StopStreaming();
    framework.WaitForReturnedFrames(alreadyReturned + sent, STEP_TIMEOUT);
    return sent;
}

}  // namespace

RunResult RunHidl(const DemoOptions& options, LibraryLoader& library, FrameSource& source,
                 FeedReport& report) {
    RunResult run;
    SimulatedHidlDevice device;
    if (!device.Ok()) {
        fprintf(stderr, "vircam-demo: could not start the simulated HAL\n");
        return run;
    }
    vircamsim::SimHidlFramework framework(device.registerChannel);
    android::IVirCameraWrapper* raw = nullptr;
    library.createWrapper(&raw);
    std::unique_ptr<android::IVirCameraWrapper> wrapper(raw);
    const int uniqueID = vircamfeed::UniqueId(FEED_DEVICE, FEED_SERVICE);
    auto service = std::make_shared<vircamfeed::HidlVideoService>(*wrapper, uniqueID, report, source);

    auto registerCallback = [&] {
        int ret = wrapper->RegisterCallback(FEED_DEVICE, FEED_SERVICE, android::IVirCameraWrapper::MODE_REGISTER, service);
        PrintStep("RegisterCallback", ret);
        return ret == 0;
    };
    if (!registerCallback()) {
        return run;
    }
    if (options.registerCamera) {
        vircamfeed::RegisterVirtualCamera(*wrapper, uniqueID, options);
    }
    uint32_t session = OpenStream(framework, options);
    if (session == 0) {
        return run;
    }
    report.Start();
    uint32_t firstBatch = options.killHalAfter.value_or(options.frames);
    run.requested = Stream(framework, *service, session, 0, firstBatch, options, 0);
    if (options.killHalAfter) {
        device.registerChannel->Kill();
        PrintStep("HAL killed; OnServiceDied received", service->WaitForServiceDied(STEP_TIMEOUT));
        // The HAL side waits until every death recipient of the library has run (the
        // client's own included) before it comes back, as a restarting process takes time.
        hostkit::hidl::WaitForDeathNotifications();
        device.registerChannel->Restore();
        if (!registerCallback() || (session = OpenStream(framework, options)) == 0) {
            return run;
        }
        if (options.registerCamera) {
            // The client's connection died with the HAL: a new service check reconnects it.
            PrintStep("service check after the restart", std::stol(wrapper->SendRequest(
                                                              1115016, uniqueID, R"({"type":"VIRTUAL"})").data));
        }
        run.requested += Stream(framework, *service, session, firstBatch, options.frames - firstBatch, options,
                                framework.ReturnedFrames().size());
    }
    report.Stop();
    framework.CloseDataSession(session);
    if (options.registerCamera) {
        vircamfeed::UnregisterVirtualCamera(*wrapper, uniqueID);
    }
    PrintStep("UnRegisterCallback", wrapper->UnRegisterCallback(FEED_DEVICE, FEED_SERVICE));
    wrapper.reset();
    for (const auto& frame : framework.ReturnedFrames()) {
        if (frame.readBackOk) {
            run.frames[frame.frameNumber] = frame.bytes;
        }
    }
    framework.FreeBuffers();
    run.ok = true;
    return run;
}

}  // namespace vircamdemo
