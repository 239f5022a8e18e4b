#pragma once

#include <cstdint>
#include <map>
#include <vector>

#include "DemoOptions.h"
#include "FeedReport.h"
#include "FrameSource.h"
#include "LibraryLoader.h"

namespace vircamdemo {

using vircamfeed::FeedReport;
using vircamfeed::FrameSource;
using vircamfeed::LibraryLoader;

// What the simulated HAL received: frame number -> the bytes it read back.
using ReceivedFrames = std::map<uint32_t, std::vector<uint8_t>>;

struct RunResult {
    bool ok = false;
    uint32_t requested = 0;
    ReceivedFrames frames;
};

// Streams over the HIDL wrapper against the simulated HIDL HAL.
RunResult RunHidl(const DemoOptions& options, LibraryLoader& library, FrameSource& source,
                 FeedReport& report);

}  // namespace vircamdemo
