#pragma once

#include <cstdint>
#include <functional>
#include <optional>

#include "FeedOptions.h"
#include "FeedReport.h"
#include "FrameSource.h"
#include "LibraryLoader.h"

namespace vircamfeed {

// What a program that runs the feed next to its own camera (the demo) is told, on RunFeed's
// thread. Empty hooks are skipped.
struct FeedHooks {
    // Each time a registration is complete (the first one and each one after a HAL death),
    // virtual camera commands included.
    std::function<void()> registered;
    // Once the feed stops waiting for frames, before it unregisters: the camera may still
    // close its stream while the video service answers.
    std::function<void()> framesDone;
};

// Feeds the device's virtual camera HAL over HIDL or AIDL: registers with the library,
// optionally registers and switches on a virtual camera, answers the HAL until
// options.frames frames are delivered or SIGINT/SIGTERM arrives, then unregisters.
// The number of frames delivered, or nothing when registering failed.
std::optional<uint32_t> RunFeed(const FeedOptions& options, bool aidl, LibraryLoader& library, FrameSource& source,
                                FeedReport& report, const FeedHooks& hooks = {});

// Ends a RunFeed under way as SIGINT and SIGTERM do: it stops waiting for frames (and for
// the HAL to come back), unregisters and returns.
void StopFeed();

}  // namespace vircamfeed
