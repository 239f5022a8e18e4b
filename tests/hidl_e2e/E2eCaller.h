#pragma once

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <map>
#include <mutex>
#include <thread>
#include <vector>

#include "IVirCameraWrapper.h"

// The video service in the end-to-end tests: answers the HAL through the wrapper and
// fills every requested buffer with a per-frame pattern (lock, write, unlock, close the
// release fence, report done), inline on the HAL's thread or on its own worker threads.
class E2eCaller : public android::IVirCameraWrapperCallback {
  public:
    static constexpr uint32_t CONTROL_SESSION_ID = 12345;
    static constexpr uint32_t DATA_SESSION_ID = 67890;

    // workers == 0: buffers are filled inside OnProcessImageRequest.
    E2eCaller(android::IVirCameraWrapper* wrapper, int uniqueId, int workers = 0);
    ~E2eCaller();

    // The bytes frame `frameNumber` of `streamId` carries, `size` long.
    static std::vector<uint8_t> Pattern(uint32_t frameNumber, int32_t streamId, size_t size);

    // Waits until `count` buffers were filled and reported (or failed).
    bool WaitForHandled(size_t count, std::chrono::milliseconds timeout);
    bool WaitForServiceDied(std::chrono::milliseconds timeout);
    size_t Handled() const;
    size_t Failures() const;
    size_t ServiceDiedCalls() const;
    std::thread::id ServiceDiedThread() const;
    std::vector<android::VirCameraStream> Streams() const;
    std::vector<android::VirCameraBufferCache> UnregisteredBuffers() const;
    std::vector<android::VirCameraMetaInfo> Metas() const;
    size_t Flushes() const;
    void StopWorkers();

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

  private:
    void Fill(const android::VirCameraImageBuffer& buffer);
    void WorkerLoop();
    size_t BytesOf(int32_t streamId) const;

    android::IVirCameraWrapper* const mWrapper;
    const int mUniqueId;
    mutable std::mutex mLock;
    std::condition_variable mChanged;
    std::map<int32_t, size_t> mStreamBytes;
    std::vector<android::VirCameraStream> mStreams;
    std::vector<android::VirCameraBufferCache> mUnregistered;
    std::vector<android::VirCameraMetaInfo> mMetas;
    std::deque<android::VirCameraImageBuffer> mQueue;
    bool mStop = false;
    size_t mHandled = 0;
    size_t mFailures = 0;
    size_t mFlushes = 0;
    size_t mServiceDied = 0;
    std::thread::id mServiceDiedThread;
    std::vector<std::thread> mWorkers;
};
