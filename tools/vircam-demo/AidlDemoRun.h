#pragma once

#include "FeedReport.h"
#include "HidlDemoRun.h"

namespace vircamdemo {

// Streams over the AIDL wrapper against the simulated AIDL HAL.
RunResult RunAidl(const DemoOptions& options, LibraryLoader& library, FrameSource& source,
                 FeedReport& report);

}  // namespace vircamdemo
