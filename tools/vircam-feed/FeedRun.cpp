#include "FeedRun.h"

#include <unistd.h>

#include <atomic>
#include <csignal>
#include <cstdio>
#include <functional>
#include <memory>
#include <optional>
#include <thread>

#include "AidlVideoService.h"
#include "FeedSteps.h"
#include "FramePacer.h"
#include "HidlVideoService.h"

namespace vircamfeed {

namespace {

std::atomic<bool> gStopRequested{false};

void RequestStop(int) {
    StopFeed();
}

// Waits until `filled()` reaches `total` or a signal asks to stop, with progress on stderr
// (a line that updates itself on a terminal, a line a second while frames come otherwise).
// The report starts with the first frame: the camera may open long after the feed.
// `poll` runs between checks.
template <class Filled, class Poll>
void WaitForFrames(Filled filled, uint32_t total, FeedReport& report, Poll poll) {
    const bool terminal = isatty(STDERR_FILENO);
    uint32_t shown = UINT32_MAX;
    auto lastLine = std::chrono::steady_clock::now();
    for (uint32_t done = filled(); done < total && !gStopRequested; done = filled()) {
        if (done > 0 && !report.Started()) {
            report.Start();
        }
        const auto now = std::chrono::steady_clock::now();
        if (terminal && done != shown) {
            fprintf(stderr, "\r  frames %u/%u", done, total);
            shown = done;
        } else if (!terminal && done != shown && now - lastLine >= std::chrono::seconds(1)) {
            fprintf(stderr, "  frames %u/%u\n", done, total);
            shown = done;
            lastLine = now;
        }
        poll();
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    fprintf(stderr, "%s  frames %u/%u%s\n", terminal ? "\r" : "", filled(), total,
            gStopRequested ? " (stopped)" : "");
    report.Stop();
}

template <class Wrapper, class Service>
std::optional<uint32_t> Feed(Wrapper& wrapper, const std::shared_ptr<Service>& service, bool aidl,
                             const FeedOptions& options, FeedReport& report, const FeedHooks& hooks) {
    const int uniqueID = UniqueId(FEED_DEVICE, FEED_SERVICE);
    auto registerAll = [&] {
        int ret = wrapper.RegisterCallback(FEED_DEVICE, FEED_SERVICE, android::IVirCameraWrapper::MODE_REGISTER,
                                           service);
        PrintStep("RegisterCallback (register instance)", ret);
        if (ret == 0 && aidl && options.registerCamera) {
            // Over AIDL, switch reports reach the callback registered with the stream-change instance.
            ret = wrapper.RegisterCallback(FEED_DEVICE, FEED_SERVICE, android::IVirCameraWrapper::MODE_STREAM_CHANGE,
                                           service);
            PrintStep("RegisterCallback (stream-change instance)", ret);
        }
        if (ret != 0) {
            return false;
        }
        if (options.registerCamera) {
            RegisterVirtualCamera(wrapper, uniqueID, options);
        }
        if (hooks.registered) {
            hooks.registered();
        }
        return true;
    };
    if (!registerAll()) {
        return std::nullopt;
    }
    // A HAL that dies and restarts has forgotten the feed: register again once it is back.
    auto registerAfterDeath = [&] {
        if (!service->TakeServiceDied()) {
            return;
        }
        fprintf(stderr, "vircam-feed: the HAL died; registering again\n");
        while (!gStopRequested && !registerAll()) {
            std::this_thread::sleep_for(std::chrono::seconds(1));
        }
    };
    fprintf(stderr, "vircam-feed: waiting for the camera to ask for frames (Ctrl-C stops)\n");
    WaitForFrames([&] { return service->FramesFilled(); }, options.frames, report, registerAfterDeath);
    if (hooks.framesDone) {
        hooks.framesDone();
    }
    if (options.registerCamera) {
        UnregisterVirtualCamera(wrapper, uniqueID);
    }
    PrintStep("UnRegisterCallback", wrapper.UnRegisterCallback(FEED_DEVICE, FEED_SERVICE));
    return service->FramesFilled();
}

}  // namespace

void StopFeed() {
    gStopRequested = true;
}

std::optional<uint32_t> RunFeed(const FeedOptions& options, bool aidl, LibraryLoader& library, FrameSource& source,
                                FeedReport& report, const FeedHooks& hooks) {
    signal(SIGINT, RequestStop);
    signal(SIGTERM, RequestStop);
    const int uniqueID = UniqueId(FEED_DEVICE, FEED_SERVICE);
    FramePacer pacer(options.fps);
    if (aidl) {
        android::IVirCameraWrapperV2* raw = nullptr;
        library.createWrapperV2(&raw);
        std::unique_ptr<android::IVirCameraWrapperV2> wrapper(raw);
        if (wrapper == nullptr) {
            return std::nullopt;
        }
        auto service = std::make_shared<AidlVideoService>(*wrapper, uniqueID, report, source, pacer);
        return Feed(*wrapper, service, true, options, report, hooks);
    }
    android::IVirCameraWrapper* raw = nullptr;
    library.createWrapper(&raw);
    std::unique_ptr<android::IVirCameraWrapper> wrapper(raw);
    if (wrapper == nullptr) {
        return std::nullopt;
    }
    auto service = std::make_shared<HidlVideoService>(*wrapper, uniqueID, report, source, pacer);
    return Feed(*wrapper, service, false, options, report, hooks);
}

}  // namespace vircamfeed
