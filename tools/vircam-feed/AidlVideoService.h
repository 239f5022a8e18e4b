#pragma once

#include <atomic>
#include <map>
#include <mutex>

#include "FeedReport.h"
#include "FramePacer.h"
#include "FrameSource.h"
#include "IVirCameraWrapper.h"

namespace vircamfeed {

// The feed's video service on the AIDL wrapper: answers the HAL's commands and fills each
// requested buffer from its frame source, locking and unlocking it through SendData and
// reporting it with SendRequest, on the HAL's thread.
class AidlVideoService : public android::IVirCameraWrapperCallbackV2 {
public:
    // The caller request that reports a filled buffer to the HAL.
    static constexpr int CMD_IMAGE_DONE = 20003;

    AidlVideoService(android::IVirCameraWrapperV2& wrapper, int uniqueID, FeedReport& report,
                      FrameSource& source, FramePacer& pacer)
        : mWrapper(wrapper), mUniqueId(uniqueID), mReport(report), mSource(source), mPacer(pacer) {}

    android::CallbackResult OnCommand(int32_t cmd, const std::string& data) override;
    android::CallbackResult OnCommandWithData(int32_t cmd, const std::string& data,
                                              std::vector<android::CommonData>& items) override;

    // True once for each death notice of the HAL.
    bool TakeServiceDied();
    uint32_t FramesFilled() const { return mFilled.load(); }

private:
    struct Size {
        uint32_t width = 0;
        uint32_t height = 0;
    };
    bool FillBuffer(const std::string& itemJson);

    android::IVirCameraWrapperV2& mWrapper;
    const int mUniqueId;
    FeedReport& mReport;
    FrameSource& mSource;
    FramePacer& mPacer;
    std::atomic<uint32_t> mNextSession{1};
    std::atomic<uint32_t> mFilled{0};
    std::mutex mMutex;
    bool mServiceDied = false;
    std::map<int32_t, Size> mStreams;  // guarded by mMutex
};

}  // namespace vircamfeed
