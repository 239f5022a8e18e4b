// Each call into the stable-C mapper 5 fails on the image path of a device that has no HIDL
// mapper: the frame is skipped or degraded, nothing aborts, and once the caller left no import
// or fd (release fences included) remains.
#include <android/log.h>
#include <gtest/gtest.h>
#include <hostkit/HidlServices.h>
#include <hostkit/LogCapture.h>
#include <hostkit/Mapper.h>

#include <chrono>

#include "FaultHidlFixture.h"
#include "LogLines.h"
#include "ProcessState.h"

namespace faults {
namespace {

using namespace std::chrono_literals;
using hostkit::mapper::Operation;

constexpr int32_t BAD_BUFFER = 2;
constexpr int32_t BAD_VALUE = 3;
constexpr int32_t NO_RESOURCES = 5;

class FaultMapper5 : public FaultHidlTest {
  protected:
    void SetUp() override {
        FaultHidlTest::SetUp();
        ASSERT_TRUE(hostkit::mapper::Offer({5}));
        hostkit::mapper::SetReleaseFenceMode(hostkit::mapper::FenceMode::ONE_FD);
        ASSERT_EQ(0, Register());
        StartSession();
        hostkit::logs::Clear();
    }
    bool Frame(uint32_t number) {
        return mFramework->SendImageRequest(FakeVideoService::DATA_SESSION_ID, number).has_value();
    }
};

TEST_F(FaultMapper5, FramesFlowAndFencesAreClosed) {
    for (uint32_t frame = 0; frame < 4; ++frame) ASSERT_TRUE(Frame(frame));
    EXPECT_EQ(0u, mSource->LockFailures());
    ASSERT_TRUE(mFramework->WaitForReturnedFrames(4, 5s));
    for (const vircamsim::ReturnedFrame& frame : mFramework->ReturnedFrames()) EXPECT_TRUE(frame.readBackOk);
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_INFO, HIDL_CALLBACK_TAG, "init mapper use V5");
    ExpectNothingLeft();
}

TEST_F(FaultMapper5, RefusedImportSkipsTheFrame) {
    hostkit::mapper::FailNextCode(Operation::IMPORT, NO_RESOURCES);
    ASSERT_TRUE(Frame(0));
    EXPECT_EQ(1u, mSource->LockFailures());
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_WARN, HIDL_CALLBACK_TAG, "ImportBuffer: mapper importBuffer failed: errMap 5");
    EXPECT_EQ(0u, hostkit::mapper::LiveImports());
    ASSERT_TRUE(Frame(1));
    EXPECT_EQ(1u, mSource->LockFailures());
    ExpectNothingLeft();
}

TEST_F(FaultMapper5, RefusedLockSkipsTheFrame) {
    hostkit::mapper::FailNextCode(Operation::LOCK, BAD_VALUE);
    ASSERT_TRUE(Frame(0));
    EXPECT_EQ(1u, mSource->LockFailures());
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_WARN, HIDL_CALLBACK_TAG, "Lock: lock and get img buffer failed,  error 3");
    ASSERT_TRUE(Frame(1));
    EXPECT_EQ(1u, mSource->LockFailures());
    ExpectNothingLeft();
}

TEST_F(FaultMapper5, RefusedUnlockStillAnswersZeroWithoutFence) {
    hostkit::mapper::FailNextCode(Operation::UNLOCK, BAD_BUFFER);
    ASSERT_TRUE(Frame(0));
    EXPECT_EQ(0u, mSource->LockFailures());
    EXPECT_EQ(std::vector<int>{0}, mSource->DoneResults());
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_DEBUG, HIDL_CALLBACK_TAG, "UnLock: failed to unlock error 2!");
    ASSERT_TRUE(Frame(1));
    ExpectNothingLeft();
}

TEST_F(FaultMapper5, RefusedFreeLeavesExactlyThatImport) {
    ASSERT_TRUE(Frame(0));
    ASSERT_TRUE(Frame(1));
    ASSERT_EQ(2u, hostkit::mapper::LiveImports());
    hostkit::mapper::FailNextCode(Operation::FREE, BAD_BUFFER);
    if (mWrapper != nullptr) (void)mWrapper->UnRegisterCallback(DEVICE, SERVICE);
    mWrapper.reset();
    mFramework.reset();
    hostkit::hidl::WaitForDeathNotifications();
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_WARN, HIDL_CALLBACK_TAG, "FreeBuffer: mapper freeBuffer failed: error 2");
    EXPECT_EQ(1u, hostkit::mapper::LiveImports());
    EXPECT_EQ(1u, hostkit::mapper::Reset());
    EXPECT_EQ(mFdsBefore, OpenFds());
}

}  // namespace
}  // namespace faults
