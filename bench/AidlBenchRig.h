#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <cutils/native_handle.h>

#include "IVirCameraWrapper.h"
#include "aidl/SimAidlChannel.h"

namespace vircambench {

// An AIDL wrapper registered with the simulated HAL, one configured 1080p NV21 stream and
// its buffers already cached by the library. The HAL side sends image commands through the
// binder proxy of the library's channel callback; the caller locks and unlocks through
// SendData and reports with SendRequest.
class AidlBenchRig {
public:
    static constexpr uint32_t WIDTH = 1920;
    static constexpr uint32_t HEIGHT = 1080;
    static constexpr size_t FRAME_BYTES = WIDTH * HEIGHT * 3 / 2;

    AidlBenchRig(uint32_t buffers, bool copyFrames);
    ~AidlBenchRig();

    bool Ok() const { return mOk; }
    // One image command for a cached buffer; true when the caller filled and reported it.
    bool Frame(uint32_t frameNumber, int32_t bufferId);

private:
    class Caller;

    bool mOk = false;
    std::shared_ptr<vircamsim::SimAidlChannel> mChannel;
    std::unique_ptr<android::IVirCameraWrapperV2> mWrapper;
    std::shared_ptr<Caller> mCaller;
    std::shared_ptr<vircamsim::IVirCameraChannelCallback> mCallback;
    std::vector<native_handle_t*> mAllocations;
};

}  // namespace vircambench
