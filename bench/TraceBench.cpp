// What the trace sections of the frame path cost while no capture runs: the four sections a
// frame passes through (image request, lock, unlock, buffer done), written exactly as the
// library writes them, against a plain copy of one 1080p NV21 frame in the same run.
// Needs only the platform, so it runs on a phone as well (the vircam_trace_bench module).
#define ATRACE_TAG ATRACE_TAG_CAMERA
#include <benchmark/benchmark.h>
#include <utils/Trace.h>

#include <cstring>
#include <vector>

namespace vircambench {
namespace {

constexpr size_t FRAME_BYTES = 1920 * 1080 * 3 / 2;

void BM_HeapMemcpy1080p(benchmark::State& state) {
    std::vector<uint8_t> source(FRAME_BYTES, 0x5a);
    std::vector<uint8_t> destination(FRAME_BYTES);
    for (auto _ : state) {
        std::memcpy(destination.data(), source.data(), source.size());
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * FRAME_BYTES);
}
BENCHMARK(BM_HeapMemcpy1080p)->Unit(benchmark::kMicrosecond);

void BM_FrameTraceSectionsOff(benchmark::State& state) {
    if (ATRACE_ENABLED()) {
        state.SkipWithError("a trace capture is running");
        return;
    }
    for (auto _ : state) {
        ATRACE_NAME("HIDL processImageRequest");
        { ATRACE_NAME("HIDL lockVideoBuffer"); }
        { ATRACE_NAME("HIDL unlockVideoBuffer"); }
        { ATRACE_NAME("HIDL imageBufferDone"); }
        benchmark::ClobberMemory();
    }
}
BENCHMARK(BM_FrameTraceSectionsOff)->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace vircambench
