#pragma once

#include <memory>
#include <set>
#include <string>

#include <gtest/gtest.h>

#include "FaultHidlChannel.h"
#include "FakeVideoService.h"
#include "IVirCameraWrapper.h"
#include "hidl/SimCameraProvider.h"
#include "hidl/SimHidlFramework.h"

namespace faults {

using vircamtest::FakeVideoService;

inline constexpr const char* HIDL_SERVICE_TAG = "VIRCAMERA_HIDL_SERVICE";
inline constexpr const char* HIDL_CALLBACK_TAG = "VIRCAMERA_HIDL_WRAPPERCB";
inline constexpr const char* HIDL_CLIENT_TAG = "VIRCAMERA_HIDL_CLIENT";
inline constexpr const char* DEVICE = "fault-device";
inline constexpr const char* SERVICE = "fault.service";

// The HIDL HAL (both channel instances behind FaultHidlChannel, the camera provider) and
// mappers 2.0-4.0. A case registers one video source, breaks something, and ends with
// ExpectNothingLeft(): the caller leaves, the HAL frees its buffers, and no import or
// descriptor may remain.
class FaultHidlTest : public ::testing::Test {
  protected:
    void SetUp() override;
    void TearDown() override;

    int UniqueId() const;
    // A wrapper and a video source registered in `mode`; the registration's result.
    int Register(android::IVirCameraWrapper::VirCameraMode mode = android::IVirCameraWrapper::MODE_REGISTER);
    // Control session, one 64x48 NV21 stream (ring of 2), data session.
    void StartSession(uint32_t ringSize = 2);
    // Unregisters, deletes the wrapper and the framework, waits for death notices, then
    // checks imports and descriptors against SetUp.
    void ExpectNothingLeft();

    android::sp<FaultHidlChannel> mRegister;
    android::sp<FaultHidlChannel> mStream;
    android::sp<vircamsim::SimCameraProvider> mProvider;
    std::unique_ptr<android::IVirCameraWrapper> mWrapper;
    std::shared_ptr<FakeVideoService> mSource;
    std::unique_ptr<vircamsim::SimHidlFramework> mFramework;
    std::map<int, std::string> mFdsBefore;
};

}  // namespace faults
