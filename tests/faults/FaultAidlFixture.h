#pragma once

#include <memory>
#include <set>
#include <string>

#include <gtest/gtest.h>

#include "FakeVideoService.h"
#include "IVirCameraWrapper.h"
#include "aidl/SimAidlChannel.h"
#include "aidl/SimAidlFramework.h"

namespace faults {

using vircamtest::FakeVideoService;

inline constexpr const char* AIDL_SERVICE_TAG = "VIRCAMERA_AIDL_SERVICE";
inline constexpr const char* AIDL_CLIENT_TAG = "VIRCAMERA_AIDL_CLIENT";

// Both simulated AIDL channels, mapper 4.0 and an AIDL wrapper. The AIDL client's maps
// and register channel are forgotten around each case, so no case sees another's state.
class FaultAidlTest : public ::testing::Test {
  protected:
    void SetUp() override;
    void TearDown() override;
    static void ForgetClientState();

    int UniqueId() const;
    int Register(android::IVirCameraWrapper::VirCameraMode mode = android::IVirCameraWrapper::MODE_REGISTER);
    // Control session, one 64x48 NV21 stream, data session on the register channel.
    void StartSession();
    // Frame `number` on buffer `bufferId` of stream 1: the answer's status.
    int32_t Frame(int32_t number, int32_t bufferId);
    // Kills `channel` and waits until every death notice it started has finished.
    void KillAndWait(const std::shared_ptr<vircamsim::SimAidlChannel>& channel);
    // Releases the buffers (flush: nothing is locked), unregisters, deletes the framework
    // and checks imports and descriptors against SetUp.
    void ExpectNothingLeft();

    std::shared_ptr<vircamsim::SimAidlChannel> mRegister;
    std::shared_ptr<vircamsim::SimAidlChannel> mStream;
    std::unique_ptr<android::IVirCameraWrapperV2> mWrapper;
    std::shared_ptr<FakeVideoService> mSource;
    std::shared_ptr<vircamsim::SimAidlFramework> mFramework;
    std::map<int, std::string> mFdsBefore;
};

}  // namespace faults
