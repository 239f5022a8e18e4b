// The frame path a streaming video service runs for every frame, against a bare memcpy of
// the same 1080p NV21 frame measured in the same run.
#include <android/binder_process.h>
#include <benchmark/benchmark.h>

#include <sys/mman.h>

#include <cstring>
#include <memory>
#include <vector>

#include <hostkit/Mapper.h>

#include "AidlBenchRig.h"
#include "AllocCounter.h"
#include "HidlBenchRig.h"

namespace vircambench {
namespace {

constexpr uint32_t RING = 4;

// The baseline: copying one frame into the same ring of shared gralloc mappings the frame
// path writes to, nothing else.
void BM_Memcpy1080p(benchmark::State& state) {
    hostkit::mapper::Offer({4});
    std::vector<native_handle_t*> handles;
    std::vector<void*> destinations;
    for (uint32_t i = 0; i < RING; ++i) {
        handles.push_back(hostkit::mapper::Allocate(HidlBenchRig::WIDTH, HidlBenchRig::HEIGHT, 17, 0x33));
        destinations.push_back(mmap(nullptr, HidlBenchRig::FRAME_BYTES, PROT_READ | PROT_WRITE, MAP_SHARED,
                                    handles.back()->data[0], 0));
    }
    std::vector<uint8_t> source(HidlBenchRig::FRAME_BYTES, 0x5a);
    uint32_t frame = 0;
    for (auto _ : state) {
        std::memcpy(destinations[frame++ % RING], source.data(), source.size());
        benchmark::ClobberMemory();
    }
    for (uint32_t i = 0; i < RING; ++i) {
        munmap(destinations[i], HidlBenchRig::FRAME_BYTES);
        hostkit::mapper::FreeAllocated(handles[i]);
    }
    hostkit::mapper::Reset();
    state.SetBytesProcessed(int64_t(state.iterations()) * HidlBenchRig::FRAME_BYTES);
}
BENCHMARK(BM_Memcpy1080p)->Unit(benchmark::kMicrosecond);

// Image request for a cached buffer -> lock -> write the frame -> unlock -> buffer done.
void BM_HidlFramePath1080p(benchmark::State& state) {
    HidlBenchRig rig(1, RING, true);
    if (!rig.Ok()) {
        state.SkipWithError("rig setup failed");
        return;
    }
    uint32_t frame = 0;
    for (auto _ : state) {
        if (!rig.Frame(frame, 0, frame % RING)) {
            state.SkipWithError("frame not filled");
            break;
        }
        ++frame;
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * HidlBenchRig::FRAME_BYTES);
}
BENCHMARK(BM_HidlFramePath1080p)->Unit(benchmark::kMicrosecond);

// The same without writing the frame: the library's own cost per frame, and the heap
// allocations it makes per frame once the buffers are cached.
void BM_HidlFrameOverhead(benchmark::State& state) {
    HidlBenchRig rig(1, RING, false);
    if (!rig.Ok()) {
        state.SkipWithError("rig setup failed");
        return;
    }
    for (uint32_t warm = 0; warm < 2 * RING; ++warm) {
        rig.Frame(warm, 0, warm % RING);
    }
    const uint64_t before = AllocationCount();
    uint32_t frame = 0;
    for (auto _ : state) {
        rig.Frame(frame, 0, frame % RING);
        ++frame;
    }
    state.counters["allocs_per_frame"] =
        benchmark::Counter(double(AllocationCount() - before) / double(std::max<int64_t>(1, state.iterations())));
}
BENCHMARK(BM_HidlFrameOverhead)->Unit(benchmark::kMicrosecond);

// The AIDL frame path: image command through the callback's binder proxy -> lock with
// SendData 9108 -> write -> unlock with 9109 -> report with SendRequest.
void BM_AidlFramePath1080p(benchmark::State& state) {
    AidlBenchRig rig(RING, true);
    if (!rig.Ok()) {
        state.SkipWithError("rig setup failed");
        return;
    }
    uint32_t frame = 0;
    for (auto _ : state) {
        if (!rig.Frame(frame, static_cast<int32_t>(frame % RING))) {
            state.SkipWithError("frame not filled");
            break;
        }
        ++frame;
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * AidlBenchRig::FRAME_BYTES);
}
BENCHMARK(BM_AidlFramePath1080p)->Unit(benchmark::kMicrosecond);

void BM_AidlFrameOverhead(benchmark::State& state) {
    AidlBenchRig rig(RING, false);
    if (!rig.Ok()) {
        state.SkipWithError("rig setup failed");
        return;
    }
    const uint64_t before = AllocationCount();
    uint32_t frame = 0;
    for (auto _ : state) {
        rig.Frame(frame, static_cast<int32_t>(frame % RING));
        ++frame;
    }
    state.counters["allocs_per_frame"] =
        benchmark::Counter(double(AllocationCount() - before) / double(std::max<int64_t>(1, state.iterations())));
}
BENCHMARK(BM_AidlFrameOverhead)->Unit(benchmark::kMicrosecond);

// Lock and unlock by ids with 8 streams x 64 buffers in the cache.
void BM_BufferCacheLookup8x64(benchmark::State& state) {
    HidlBenchRig rig(8, 64, false);
    if (!rig.Ok()) {
        state.SkipWithError("rig setup failed");
        return;
    }
    android::IVirCameraWrapper& wrapper = rig.Wrapper();
    uint32_t i = 0;
    for (auto _ : state) {
        const int32_t stream = static_cast<int32_t>(i % 8);
        const uint64_t buffer = (i * 7) % 64;
        void* handleData = nullptr;
        benchmark::DoNotOptimize(wrapper.LockVideoBuffer(rig.UniqueId(), stream, buffer, &handleData));
        int fence = -1;
        wrapper.UnLockVideoBuffer(rig.UniqueId(), stream, buffer, fence);
        ++i;
    }
}
BENCHMARK(BM_BufferCacheLookup8x64)->Unit(benchmark::kMicrosecond);

// A manager command through SendRequest: JSON in, client call, JSON answer out.
void BM_SendRequestJsonRoundTrip(benchmark::State& state) {
    HidlBenchRig rig(1, 1, false);
    if (!rig.Ok()) {
        state.SkipWithError("rig setup failed");
        return;
    }
    for (auto _ : state) {
        benchmark::DoNotOptimize(rig.Wrapper().SendRequest(1115016, rig.UniqueId(), R"({"type":"SWITCH"})"));
    }
}
BENCHMARK(BM_SendRequestJsonRoundTrip)->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace vircambench

// BENCHMARK_MAIN(), plus the binder thread pool a device process's main starts first.
int main(int argc, char** argv) {
    ABinderProcess_startThreadPool();
    ::benchmark::Initialize(&argc, argv);
    if (::benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    ::benchmark::RunSpecifiedBenchmarks();
    ::benchmark::Shutdown();
    return 0;
}
