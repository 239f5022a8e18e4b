#pragma once

#include <gtest/gtest.h>

#include "hidl/SimCameraProvider.h"
#include "hidl/SimHidlChannel.h"

// Resets the kit around each test and starts the HAL: both channel instances and, unless
// told otherwise, the provider. The client singleton outlives the tests, so TearDown kills
// the channels: its death recipient fires and the next Init connects afresh.
class HidlClientFixture : public ::testing::Test {
  protected:
    static constexpr const char* TAG = "VIRCAMERA_HIDL_CLIENT";
    static constexpr const char* MANAGER_TAG = "VIRCAMERA_MANAGER";

    void SetUp() override { StartHal(true); }
    void TearDown() override;
    void StartHal(bool withProvider);

    android::sp<vircamsim::SimHidlChannel> mRegisterChannel;
    android::sp<vircamsim::SimHidlChannel> mStreamChannel;
    android::sp<vircamsim::SimCameraProvider> mProvider;
};
