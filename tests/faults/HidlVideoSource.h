#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <map>
#include <mutex>
#include <vector>

#include "IVirCameraWrapper.h"

namespace faults {

// The video service over HIDL: opens sessions, fills each requested buffer inline (lock,
// write, unlock even when the lock failed so no buffer stays marked, close the fence) and
// reports it done. Counts what went wrong and the service deaths it was told about.
class HidlVideoSource : public android::IVirCameraWrapperCallback {
  public:
    static constexpr uint32_t CONTROL_SESSION = 11;
    static constexpr uint32_t DATA_SESSION = 22;

    HidlVideoSource(android::IVirCameraWrapper* wrapper, int uniqueId) : mWrapper(wrapper), mUniqueId(uniqueId) {}

    size_t LockFailures() const;
    std::vector<int> DoneResults() const;
    size_t ServiceDied() const;
    bool WaitForServiceDied(size_t count, std::chrono::milliseconds timeout) const;

    int32_t OnOpenControlSession(const std::string&, const std::string&, uint32_t& sessionId) override;
    int32_t OnCloseControlSession(uint32_t) override { return 0; }
    int32_t OnConfigStream(uint32_t, std::vector<android::VirCameraStream>& streams) override;
    int32_t OnOpenDataSession(const std::string&, const std::string&, uint32_t& sessionId) override;
    int32_t OnCloseDataSession(uint32_t) override { return 0; }
    int32_t OnProcessImageRequest(uint32_t, std::vector<android::VirCameraImageBuffer>& buffers,
                                  uint32_t& numberProcessed) override;
    int32_t OnUnregisterBuffer(uint32_t, std::vector<android::VirCameraBufferCache>&) override { return 0; }
    int32_t OnFlush(uint32_t) override { return 0; }
    int32_t OnServiceDied() override;
    int32_t OnProcessMetaRequest(uint32_t, uint32_t, std::vector<android::VirCameraMetaInfo>&) override { return 0; }

  private:
    android::IVirCameraWrapper* const mWrapper;
    const int mUniqueId;
    mutable std::mutex mLock;
    mutable std::condition_variable mChanged;
    std::map<int32_t, size_t> mStreamBytes;
    size_t mLockFailures = 0;
    std::vector<int> mDoneResults;
    size_t mServiceDied = 0;
};

}  // namespace faults
