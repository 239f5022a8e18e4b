// vircam-demo: vircam-feed's run with the simulated virtual camera HAL in the same process.
// The feed does everything the video service does; the demo adds the simulated device and a
// camera app that streams from it, then writes what the HAL got.
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <string>

#include <android/binder_process.h>
#include <hostkit/BinderServices.h>
#include <hostkit/HidlServices.h>
#include <hostkit/Mapper.h>

#include <thread>

#include "CameraApp.h"
#include "DemoOptions.h"
#include "FeedReport.h"
#include "FeedRun.h"
#include "FrameSource.h"
#include "FrameWriters.h"
#include "LibraryLoader.h"
#include "SimulatedDevice.h"

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

// What the frames actually went through: the version of the mapper that imported last.
std::string MapperUsed() {
    const int version = hostkit::mapper::LastImportVersion();
    return version != 0 ? "V" + std::to_string(version) : "none";
}

// The simulated device's manifest declares the AIDL channel instances.
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
    std::unique_ptr<SimulatedDevice> device = aidl ? StartAidlDevice() : StartHidlDevice();
    if (device == nullptr) {
        fprintf(stderr, "vircam-demo: could not start the simulated HAL\n");
        return 1;
    }
    FeedProgress progress;
    uint32_t requested = 0;
    std::thread cameraApp([&] { requested = RunCameraApp(*device, progress, *options); });
    vircamfeed::FeedReport report;
    const std::optional<uint32_t> delivered =
        vircamfeed::RunFeed(*options, aidl, library, *source, report,
                            {[&] { progress.Registered(); }, [&] { progress.WaitForCameraClosed(STEP_TIMEOUT); }});
    progress.Ended();
    cameraApp.join();
    const ReceivedFrames frames = device->Frames();
    device.reset();
    if (!delivered) {
        fprintf(stderr, "vircam-demo: the run failed\n");
        return 1;
    }
    report.Print(requested, static_cast<uint32_t>(frames.size()), aidl ? "AIDL" : "HIDL", MapperUsed());
    const bool written = WriteOutputs(*options, frames);
    // The simulated device shuts down: its service threads end before the process does.
    hostkit::binder::Reset();
    hostkit::hidl::Reset();
    return written ? 0 : 1;
}
