#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <vector>

#include "IVirCameraWrapper.h"

namespace faults {

// The video service over AIDL: answers every command with 0, fills the buffers of each
// image request (9107) through SendData lock/unlock (unlocking also after a failed lock)
// and counts the service deaths (15016) it was told about.
class AidlVideoSource : public android::IVirCameraWrapperCallbackV2 {
  public:
    static constexpr int32_t CMD_IMAGE_REQUEST = 9107;
    static constexpr int32_t CMD_SERVICE_DIED = 15016;

    AidlVideoSource(android::IVirCameraWrapperV2* wrapper, int uniqueId) : mWrapper(wrapper), mUniqueId(uniqueId) {}

    size_t Deaths() const;
    std::vector<std::string> DeathTexts() const;
    bool WaitForDeaths(size_t count, std::chrono::milliseconds timeout) const;
    size_t LockFailures() const;
    size_t Filled() const;

    android::CallbackResult OnCommand(int32_t cmd, const std::string& data) override;
    android::CallbackResult OnCommandWithData(int32_t cmd, const std::string& data,
                                              std::vector<android::CommonData>& items) override;

  private:
    android::IVirCameraWrapperV2* const mWrapper;
    const int mUniqueId;
    mutable std::mutex mLock;
    mutable std::condition_variable mChanged;
    std::vector<std::string> mDeaths;
    size_t mLockFailures = 0;
    size_t mFilled = 0;
};

}  // namespace faults
