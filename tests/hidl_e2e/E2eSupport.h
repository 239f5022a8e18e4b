#pragma once

#include <memory>
#include <set>
#include <string>

#include <gtest/gtest.h>

#include "FakeVideoService.h"
#include "IVirCameraWrapper.h"
#include "hidl/SimHidlChannel.h"

// Shared pieces of the HIDL end-to-end tests: a kit reset around each test, the two HAL
// channel instances, and a wrapper created through the exported factory.
namespace e2e {

inline constexpr const char* WRAPPER_TAG = "VIRCAMERA_HIDL_WRAPPER";
inline constexpr const char* SERVICE_TAG = "VIRCAMERA_HIDL_SERVICE";
inline constexpr const char* CALLBACK_TAG = "VIRCAMERA_HIDL_WRAPPERCB";

using vircamtest::FakeVideoService;
using vircamtest::UniqueId;

// First and last character kept, the rest '*'; one character becomes "*".
std::string Masked(const std::string& text);

class HidlE2eFixture : public ::testing::Test {
  protected:
    void SetUp() override;
    void TearDown() override;
    // A new wrapper from CreateVirCameraWrapper, owned by the fixture.
    android::IVirCameraWrapper* NewWrapper();
    void DeleteWrappers();

    android::sp<vircamsim::SimHidlChannel> mRegisterChannel;
    android::sp<vircamsim::SimHidlChannel> mStreamChannel;
    std::vector<std::unique_ptr<android::IVirCameraWrapper>> mWrappers;
};

}  // namespace e2e
