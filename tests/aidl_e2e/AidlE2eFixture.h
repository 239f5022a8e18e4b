#pragma once

#include "OpenFds.h"

#include <dirent.h>

#include <memory>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "FakeVideoService.h"
#include "IVirCameraWrapper.h"
#include "aidl/SimAidlChannel.h"
#include "aidl/SimAidlFramework.h"

namespace aidle2e {

constexpr int TAG_PRIO_DEBUG = 3;
constexpr int TAG_PRIO_INFO = 4;
constexpr int TAG_PRIO_WARN = 5;
constexpr int TAG_PRIO_ERROR = 6;
constexpr const char* WRAPPER_TAG = "VIRCAMERA_AIDL_WRAPPER";

using android::IVirCameraWrapper;
using vircamtest::FakeVideoService;
using vircamtest::UniqueId;

// Both simulated HAL channel instances running, a mapper 4.0, and an AIDL wrapper made by
// the real library. TearDown kills the channels while the callers still live, so the
// library's per-mode maps are cleared for the next test.
class AidlE2eTest : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    // Registers through the wrapper with a new video service kept until TearDown.
    std::shared_ptr<FakeVideoService> Register(const std::string& device, const std::string& service,
                                        IVirCameraWrapper::VirCameraMode mode, int* result = nullptr);
    std::shared_ptr<vircamsim::SimAidlChannel> Channel(IVirCameraWrapper::VirCameraMode mode) const;

    std::shared_ptr<vircamsim::SimAidlChannel> mRegisterChannel;
    std::shared_ptr<vircamsim::SimAidlChannel> mStreamChannel;
    android::IVirCameraWrapperV2* mWrapper = nullptr;
    std::vector<std::shared_ptr<FakeVideoService>> mCallers;
};

}  // namespace aidle2e
