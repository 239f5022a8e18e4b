// vircam-feed: a video service for the phone. It loads libvircamerawrapper, registers with
// the virtual camera HAL the device declares (HIDL or AIDL), and feeds the frames the camera
// asks for: a moving test pattern or the frames of a Y4M file.
#include <android/binder_process.h>

#include <cstdio>
#include <string>

#include "FeedOptions.h"
#include "FeedReport.h"
#include "FeedRun.h"
#include "FrameSource.h"
#include "LibraryLoader.h"

using namespace vircamfeed;

int main(int argc, char** argv) {
    std::string error;
    bool help = false;
    auto options = ParseFeedOptions(argc, argv, error, help);
    if (help) {
        fputs(FeedUsage().c_str(), stdout);
        return 0;
    }
    if (!options) {
        fprintf(stderr, "vircam-feed: %s\n%s", error.c_str(), FeedUsage().c_str());
        return 2;
    }
    std::unique_ptr<FrameSource> source = OpenFrameSource(options->source, error);
    if (source == nullptr) {
        fprintf(stderr, "vircam-feed: %s\n", error.c_str());
        return 2;
    }
    // The HAL's calls and death notices arrive on binder threads: a device process starts
    // its pool before it registers anywhere.
    ABinderProcess_startThreadPool();
    LibraryLoader library;
    if (!library.Load("libvircamerawrapper.so", error)) {
        fprintf(stderr, "vircam-feed: %s\n", error.c_str());
        return 1;
    }
    const int version = library.getVersion();
    const bool aidl = options->transport == Transport::AUTO ? version == 2 : options->transport == Transport::AIDL;
    printf("vircam-feed: GetVersion() = %d, feeding %u frames from %s at up to %u fps over %s\n", version,
           options->frames, options->source.c_str(), options->fps, aidl ? "AIDL" : "HIDL");
    FeedReport report;
    std::optional<uint32_t> delivered = RunFeed(*options, aidl, library, *source, report);
    if (!delivered) {
        fprintf(stderr, "vircam-feed: could not register with the virtual camera HAL\n");
        return 1;
    }
    report.Print(options->frames, *delivered, aidl ? "AIDL" : "HIDL");
    return 0;
}
