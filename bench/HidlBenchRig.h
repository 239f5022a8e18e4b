#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include <cutils/native_handle.h>

#include "IVirCameraWrapper.h"
#include "hidl/SimHidlChannel.h"

namespace vircambench {

// A HIDL wrapper registered with the simulated HAL, one configured 1080p NV21 stream and
// its buffers already cached by the library: what a streaming video service runs in.
// The HAL side calls the library's channel callback directly, as hwbinder would.
class HidlBenchRig {
public:
    static constexpr uint32_t WIDTH = 1920;
    static constexpr uint32_t HEIGHT = 1080;
    static constexpr size_t FRAME_BYTES = WIDTH * HEIGHT * 3 / 2;

    // `buffers` per stream on `streams` streams; `copyFrames` makes the caller write a frame.
    HidlBenchRig(uint32_t streams, uint32_t buffers, bool copyFrames);
    ~HidlBenchRig();

    bool Ok() const { return mOk; }
    // One image request for a cached buffer, filled and reported by the caller. True when
    // the caller filled it.
    bool Frame(uint32_t frameNumber, int32_t streamId, uint64_t bufferId);
    android::IVirCameraWrapper& Wrapper() { return *mWrapper; }
    int UniqueId() const { return mUniqueId; }

private:
    class Caller;

    bool mOk = false;
    android::sp<vircamsim::SimHidlChannel> mChannel;
    std::unique_ptr<android::IVirCameraWrapper> mWrapper;
    std::shared_ptr<Caller> mCaller;
    android::sp<vircamsim::vircam::IVirCameraChannelCallback> mCallback;
    std::vector<native_handle_t*> mAllocations;
    android::hardware::hidl_vec<vircamsim::vircam::VirImageBuffer> mRequest;  // reused per frame
    int mUniqueId = 0;
};

}  // namespace vircambench
