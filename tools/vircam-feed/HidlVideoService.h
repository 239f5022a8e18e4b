#pragma once

#include <atomic>
#include <map>
#include <mutex>

#include "FeedReport.h"
#include "FramePacer.h"
#include "FrameSource.h"
#include "IVirCameraWrapper.h"

namespace vircamfeed {

// The feed's video service on the HIDL wrapper: accepts the HAL's sessions and fills every
// requested buffer from its frame source (lock, draw, unlock, report done), on the HAL's
// thread, as a simple service would.
class HidlVideoService final : public android::IVirCameraWrapperCallback {
public:
    HidlVideoService(android::IVirCameraWrapper& wrapper, int uniqueID, FeedReport& report,
                      FrameSource& source, FramePacer& pacer)
        : mWrapper(wrapper), mUniqueId(uniqueID), mReport(report), mSource(source), mPacer(pacer) {}

    int32_t OnOpenControlSession(const std::string& device, const std::string& service, uint32_t& sessionId) override;
    int32_t OnCloseControlSession(uint32_t sessionId) override;
    int32_t OnConfigStream(uint32_t sessionId, std::vector<android::VirCameraStream>& streams) override;
    int32_t OnOpenDataSession(const std::string& device, const std::string& service, uint32_t& sessionId) override;
    int32_t OnCloseDataSession(uint32_t sessionId) override;
    int32_t OnProcessImageRequest(uint32_t sessionId, std::vector<android::VirCameraImageBuffer>& buffers,
                                  uint32_t& numberProcessed) override;
    int32_t OnUnregisterBuffer(uint32_t sessionId, std::vector<android::VirCameraBufferCache>& buffers) override;
    int32_t OnFlush(uint32_t sessionId) override;
    int32_t OnServiceDied() override;
    int32_t OnProcessMetaRequest(uint32_t sessionId, uint32_t number,
                                 std::vector<android::VirCameraMetaInfo>& metas) override;

    // True once for each death notice of the HAL.
    bool TakeServiceDied();
    uint32_t FramesFilled() const { return mFilled.load(); }

private:
    android::IVirCameraWrapper& mWrapper;
    const int mUniqueId;
    FeedReport& mReport;
    FrameSource& mSource;
    FramePacer& mPacer;
    std::atomic<uint32_t> mNextSession{1};
    std::atomic<uint32_t> mFilled{0};
    std::mutex mMutex;
    bool mServiceDied = false;
    std::map<int32_t, android::VirCameraStream> mStreams;  // guarded by mMutex
};

}  // namespace vircamfeed
