#include "HidlVideoService.h"

#include <unistd.h>

#include <cstdio>


namespace vircamfeed {

int32_t HidlVideoService::OnOpenControlSession(const std::string&, const std::string&, uint32_t& sessionId) {
    sessionId = mNextSession++;
    return 0;
}

int32_t HidlVideoService::OnCloseControlSession(uint32_t) {
    return 0;
}

int32_t HidlVideoService::OnConfigStream(uint32_t, std::vector<android::VirCameraStream>& streams) {
    {
        std::lock_guard<std::mutex> lock(mMutex);
        mStreams.clear();
        for (const auto& stream : streams) {
            mStreams[static_cast<int32_t>(stream.streamId)] = stream;
        }
    }
    mWrapper.NotifyConfigStreamResult(mUniqueId, 0);
    return 0;
}

int32_t HidlVideoService::OnOpenDataSession(const std::string&, const std::string&, uint32_t& sessionId) {
    sessionId = mNextSession++;
    return 0;
}

int32_t HidlVideoService::OnCloseDataSession(uint32_t) {
    return 0;
}

int32_t HidlVideoService::OnProcessImageRequest(uint32_t, std::vector<android::VirCameraImageBuffer>& buffers,
                                                uint32_t& numberProcessed) {
    for (const auto& buffer : buffers) {
        const auto requested = FeedReport::Clock::now();
        android::VirCameraStream stream;
        {
            std::lock_guard<std::mutex> lock(mMutex);
            auto found = mStreams.find(buffer.streamId);
            if (found == mStreams.end()) {
                continue;
            }
            stream = found->second;
        }
        void* handleData = nullptr;
        auto* pixels = static_cast<uint8_t*>(
            mWrapper.LockVideoBuffer(mUniqueId, buffer.streamId, buffer.bufferId, &handleData));
        if (pixels == nullptr) {
            continue;
        }
        // The public API gives no row stride: rows are taken as packed, as gralloc packs NV21.
        const bool filled = mSource.Fill(pixels, stream.width, stream.height, stream.width, buffer.frameNumber);
        int releaseFence = -1;
        mWrapper.UnLockVideoBuffer(mUniqueId, buffer.streamId, buffer.bufferId, releaseFence);
        if (releaseFence >= 0) {
            close(releaseFence);
        }
        if (!filled) {
            continue;
        }
        mPacer.Wait();
        android::VirCameraImageResult result;
        result.frameNumber = buffer.frameNumber;
        result.bufferId = buffer.bufferId;
        result.streamId = buffer.streamId;
        result.timestamp = std::chrono::duration_cast<std::chrono::nanoseconds>(requested.time_since_epoch()).count();
        if (mWrapper.OnVirImageBufferDone(mUniqueId, result) == 0) {
            mReport.FrameDelivered(FeedReport::Clock::now() - requested, size_t{stream.width} * stream.height * 3 / 2);
            ++mFilled;
            ++numberProcessed;
        }
    }
    return 0;
}

int32_t HidlVideoService::OnUnregisterBuffer(uint32_t, std::vector<android::VirCameraBufferCache>&) {
    return 0;
}

int32_t HidlVideoService::OnFlush(uint32_t) {
    return 0;
}

int32_t HidlVideoService::OnServiceDied() {
    fprintf(stderr, "vircam-feed: the HAL channel service died\n");
    std::lock_guard<std::mutex> lock(mMutex);
    mServiceDied = true;
    return 0;
}

int32_t HidlVideoService::OnProcessMetaRequest(uint32_t, uint32_t, std::vector<android::VirCameraMetaInfo>&) {
    return 0;
}

bool HidlVideoService::TakeServiceDied() {
    std::lock_guard<std::mutex> lock(mMutex);
    const bool died = mServiceDied;
    mServiceDied = false;
    return died;
}

}  // namespace vircamfeed
