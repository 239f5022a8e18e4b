// vircam-demo: a small video service on libvircamerawrapper, with the simulated virtual
// camera HAL in the same process. It streams a test pattern and writes what the HAL got.
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <string>

#include <android/binder_process.h>
#include <hostkit/BinderServices.h>
#include <hostkit/HidlServices.h>
#include <hostkit/Mapper.h>

#include "AidlDemoRun.h"
#include "DemoOptions.h"
#include "FeedReport.h"
#include "FrameWriters.h"
#include "HidlDemoRun.h"
#include "LibraryLoader.h"
#include "FrameSource.h"

namespace {

using namespace vircamdemo;
using vircamfeed::FrameSource;
using vircamfeed::LibraryLoader;

bool MakeDirs(const std::string& path) {
    std::string partial;
    for (size_t i = 0; i <= path.size(); ++i) {
        if (i == path.size() || path[i] == '/') {
            if (!partial.empty() && mkdir(partial.c_str(), 0755) != 0 && errno != EEXIST) {
                return false;
            }
        }
        if (i < path.size()) {
            partial += path[i];
        }
    }
    return true;
}

bool WriteOutputs(const DemoOptions& options, const ReceivedFrames& frames) {
    if (frames.empty()) {
        fprintf(stderr, "vircam-demo: the HAL received no frame\n");
        return false;
    }
    if (!MakeDirs(options.outDir)) {
        fprintf(stderr, "vircam-demo: cannot create %s\n", options.outDir.c_str());
        return false;
    }
    const std::string y4m = options.outDir + "/frames.y4m";
    Y4mWriter writer(y4m, options.width, options.height, options.fps);
    for (const auto& [number, bytes] : frames) {
        if (!writer.Append(bytes)) {
            fprintf(stderr, "vircam-demo: cannot write %s\n", y4m.c_str());
            return false;
        }
    }
    const std::string first = options.outDir + "/first.png";
    const std::string last = options.outDir + "/last.png";
    if (!WritePng(first, frames.begin()->second, options.width, options.height) ||
        !WritePng(last, frames.rbegin()->second, options.width, options.height)) {
        fprintf(stderr, "vircam-demo: cannot write the PNG files\n");
        return false;
    }
    printf("wrote %s (%zu frames), %s (frame %u), %s (frame %u)\n", y4m.c_str(), frames.size(), first.c_str(),
           frames.begin()->first, last.c_str(), frames.rbegin()->first);
    return true;
}

// The simulated device's manifest declares the AIDL channel instances.
// What the frames actually went through: the version of the mapper that imported last.
std::string MapperUsed() {
    const int version = hostkit::mapper::LastImportVersion();
    return version != 0 ? "V" + std::to_string(version) : "none";
}

void DeclareAidlHal() {
    const std::string descriptor = "vendor.zuvek.hardware.camera.vircamera.IVirCameraChannel";
    hostkit::binder::Declare(descriptor + "/virtualcamera.register");
    hostkit::binder::Declare(descriptor + "/virtualcamera.streamchange");
}

}  // namespace

int main(int argc, char** argv) {
    std::string error;
    bool help = false;
    auto options = ParseDemoOptions(argc, argv, error, help);
    if (help) {
        fputs(DemoUsage().c_str(), stdout);
        return 0;
    }
    if (!options) {
        fprintf(stderr, "vircam-demo: %s\n%s", error.c_str(), DemoUsage().c_str());
        return 2;
    }
    std::unique_ptr<FrameSource> source = vircamfeed::OpenFrameSource(options->source, error);
    if (source == nullptr) {
        fprintf(stderr, "vircam-demo: %s\n", error.c_str());
        return 2;
    }
    // A video service's main starts its binder thread pool before anything else: the HAL's
    // calls and death notices arrive on it (HIDL's pool starts by itself with a callback).
    ABinderProcess_startThreadPool();
    // The simulated device: its graphics mappers, and the HAL transport its manifest declares
    // (HIDL unless --transport aidl), which GetVersion reports.
    hostkit::mapper::Offer(options->mappers);
    const bool aidlDevice = options->transport == Transport::AIDL;

    LibraryLoader library;
    if (!library.Load("libvircamerawrapper.so", error)) {
        fprintf(stderr, "vircam-demo: %s\n", error.c_str());
        return 1;
    }
    if (aidlDevice) {
        DeclareAidlHal();
    }
    const int version = library.getVersion();
    const bool aidl = options->transport == Transport::AUTO ? version == 2 : aidlDevice;
    printf("vircam-demo: GetVersion() = %d, streaming %u frames of %ux%u NV21 at %u fps over %s\n", version,
           options->frames, options->width, options->height, options->fps, aidl ? "AIDL" : "HIDL");
    vircamfeed::FeedReport report;
    RunResult run = aidl ? RunAidl(*options, library, *source, report)
                         : RunHidl(*options, library, *source, report);
    if (!run.ok) {
        fprintf(stderr, "vircam-demo: the run failed\n");
        return 1;
    }
    report.Print(run.requested, static_cast<uint32_t>(run.frames.size()), aidl ? "AIDL" : "HIDL", MapperUsed());
    const bool written = WriteOutputs(*options, run.frames);
    // The simulated device shuts down: its service threads end before the process does.
    hostkit::binder::Reset();
    hostkit::hidl::Reset();
    return written ? 0 : 1;
}
