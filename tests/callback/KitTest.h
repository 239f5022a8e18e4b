#pragma once

#include <android/log.h>
#include <gtest/gtest.h>
#include <hostkit/BinderServices.h>
#include <hostkit/HidlServices.h>
#include <hostkit/LogCapture.h>
#include <hostkit/Mapper.h>

#include <chrono>

// Usage the library's CPU locks ask for (read and write often) and NV21.
constexpr uint64_t CPU_READ_WRITE = 0x33;
constexpr int32_t NV21 = 17;

constexpr const char* HIDL_TAG = "VIRCAMERA_HIDL_WRAPPERCB";
constexpr const char* AIDL_TAG = "VIRCAMERA_AIDL_WRAPPERCB";

// Every test starts and ends on a device without services and with an empty log.
// Tests drop the objects under test before TearDown runs.
class KitTest : public ::testing::Test {
  protected:
    static void ResetKit() {
        hostkit::mapper::Reset();
        hostkit::hidl::Reset();
        hostkit::binder::Reset();
        hostkit::logs::Clear();
    }
    void SetUp() override { ResetKit(); }
    void TearDown() override {
        EXPECT_EQ(0u, hostkit::mapper::Reset()) << "imports left behind";
        hostkit::hidl::Reset();
        hostkit::binder::Reset();
        hostkit::logs::Clear();
    }
};
