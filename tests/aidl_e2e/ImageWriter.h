#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "IVirCameraWrapper.h"

namespace aidle2e {

// The video source's side of an image request: for each item of command 9107 it locks the
// buffer (SendData 9108), writes a frame pattern, unlocks it (SendData 9109) and remembers
// what it wrote. Used as an E2eCaller handler.
class ImageWriter {
public:
    ImageWriter(android::IVirCameraWrapperV2* wrapper, int uniqueID, size_t frameBytes);

    android::CallbackResult OnImageRequest(const std::string& json, std::vector<android::CommonData>& items);
    // Reports one written buffer to the HAL with SendRequest(20003, ...).
    android::OptResult ReportDone(int32_t frameNumber, int32_t streamId, int32_t bufferId);

    // The bytes last written to (streamId, bufferId); empty when its lock failed.
    std::vector<uint8_t> Written(int32_t streamId, int32_t bufferId) const;
    int LockFailures() const;
    // Whether the lock handed back the handle's int array through items[0].pointer.
    bool SawHandleData() const;

    static std::vector<uint8_t> Pattern(int32_t frameNumber, int32_t bufferId, size_t size);

private:
    android::IVirCameraWrapperV2* const mWrapper;
    const int mUniqueId;
    const size_t mFrameBytes;
    mutable std::mutex mMutex;
    std::map<std::pair<int32_t, int32_t>, std::vector<uint8_t>> mWritten;
    int mLockFailures = 0;
    bool mSawHandleData = false;
};

}  // namespace aidle2e
