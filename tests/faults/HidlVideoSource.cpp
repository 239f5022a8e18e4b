#include "HidlVideoSource.h"

#include <unistd.h>

#include <cstring>

namespace faults {

size_t HidlVideoSource::LockFailures() const {
    std::lock_guard<std::mutex> lock(mLock);
    return mLockFailures;
}

std::vector<int> HidlVideoSource::DoneResults() const {
    std::lock_guard<std::mutex> lock(mLock);
    return mDoneResults;
}

size_t HidlVideoSource::ServiceDied() const {
    std::lock_guard<std::mutex> lock(mLock);
    return mServiceDied;
}

bool HidlVideoSource::WaitForServiceDied(size_t count, std::chrono::milliseconds timeout) const {
    std::unique_lock<std::mutex> lock(mLock);
    return mChanged.wait_for(lock, timeout, [&] { return mServiceDied >= count; });
}

int32_t HidlVideoSource::OnOpenControlSession(const std::string&, const std::string&, uint32_t& sessionId) {
    sessionId = CONTROL_SESSION;
    return 0;
}

int32_t HidlVideoSource::OnConfigStream(uint32_t, std::vector<android::VirCameraStream>& streams) {
    std::lock_guard<std::mutex> lock(mLock);
    for (const android::VirCameraStream& stream : streams) {
        mStreamBytes[static_cast<int32_t>(stream.streamId)] = stream.width * stream.height * 3 / 2;
    }
    return 0;
}

int32_t HidlVideoSource::OnOpenDataSession(const std::string&, const std::string&, uint32_t& sessionId) {
    sessionId = DATA_SESSION;
    return 0;
}

int32_t HidlVideoSource::OnProcessImageRequest(uint32_t, std::vector<android::VirCameraImageBuffer>& buffers,
                                               uint32_t& numberProcessed) {
    for (const android::VirCameraImageBuffer& buffer : buffers) {
        size_t bytes = 0;
        {
            std::lock_guard<std::mutex> lock(mLock);
            bytes = mStreamBytes[buffer.streamId];
        }
        void* handleData = nullptr;
        void* pixels = mWrapper->LockVideoBuffer(mUniqueId, buffer.streamId, buffer.bufferId, &handleData);
        if (pixels != nullptr) memset(pixels, static_cast<int>(buffer.frameNumber & 0xff), bytes);
        int fence = -1;
        (void)mWrapper->UnLockVideoBuffer(mUniqueId, buffer.streamId, buffer.bufferId, fence);
        if (fence >= 0) close(fence);
        android::VirCameraImageResult result;
        result.frameNumber = buffer.frameNumber;
        result.bufferId = buffer.bufferId;
        result.streamId = buffer.streamId;
        const int done = mWrapper->OnVirImageBufferDone(mUniqueId, result);
        std::lock_guard<std::mutex> lock(mLock);
        if (pixels == nullptr) ++mLockFailures;
        mDoneResults.push_back(done);
    }
    numberProcessed = static_cast<uint32_t>(buffers.size());
    return 0;
}

int32_t HidlVideoSource::OnServiceDied() {
    std::lock_guard<std::mutex> lock(mLock);
    ++mServiceDied;
    mChanged.notify_all();
    return 0;
}

}  // namespace faults
