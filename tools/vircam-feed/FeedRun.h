#pragma once

#include <cstdint>
#include <optional>

#include "FeedOptions.h"
#include "FeedReport.h"
#include "FrameSource.h"
#include "LibraryLoader.h"

namespace vircamfeed {

// Feeds the device's virtual camera HAL over HIDL or AIDL: registers with the library,
// optionally registers and switches on a virtual camera, answers the HAL until
// options.frames frames are delivered or SIGINT/SIGTERM arrives, then unregisters.
// The number of frames delivered, or nothing when registering failed.
std::optional<uint32_t> RunFeed(const FeedOptions& options, bool aidl, LibraryLoader& library, FrameSource& source,
                                FeedReport& report);

}  // namespace vircamfeed
