// Each mapper call of the image path fails (with the mapper's error or in transport) or the
// mapper dies between requests, through mapper 2.0, 3.0, 4.0 and the stable-C mapper 5 of a
// device with no HIDL mapper in turn: the frame is skipped or degraded, nothing aborts, and
// once the caller left no import or fd (release fences included) remains.
#include <android/log.h>
#include <gtest/gtest.h>
#include <hostkit/HidlServices.h>
#include <hostkit/LogCapture.h>
#include <hostkit/Mapper.h>

#include <chrono>
#include <string>

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

std::string MapperDescriptor(int version) {
    return "android.hardware.graphics.mapper@" + std::to_string(version) + ".0::IMapper";
}

// Mapper 5 is a library loaded in the process: no transport to fail, no process to die.
constexpr int STABLE_C = 5;

class FaultMapper : public FaultHidlTest, public ::testing::WithParamInterface<int> {
  protected:
    void SetUp() override {
        FaultHidlTest::SetUp();
        ASSERT_TRUE(hostkit::mapper::Offer({GetParam()}, GetParam() == STABLE_C
                                                              ? hostkit::mapper::Transport::PASSTHROUGH
                                                              : hostkit::mapper::Transport::BINDERIZED));
        hostkit::mapper::SetReleaseFenceMode(hostkit::mapper::FenceMode::ONE_FD);
        ASSERT_EQ(0, Register());
        StartSession();
        hostkit::logs::Clear();
    }
    bool Frame(uint32_t number) {
        return mFramework->SendImageRequest(FakeVideoService::DATA_SESSION_ID, number).has_value();
    }
};

TEST_P(FaultMapper, FramesFlowAndFencesAreClosed) {
    for (uint32_t frame = 0; frame < 4; ++frame) ASSERT_TRUE(Frame(frame));
    EXPECT_EQ(0u, mSource->LockFailures());
    ASSERT_TRUE(mFramework->WaitForReturnedFrames(4, 5s));
    for (const vircamsim::ReturnedFrame& frame : mFramework->ReturnedFrames()) {
        EXPECT_TRUE(frame.readBackOk);
        EXPECT_EQ(FakeVideoService::Pattern(frame.frameNumber, frame.streamId, frame.bufferId, frame.bytes.size()),
                  frame.bytes);
    }
    if (GetParam() == STABLE_C) HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_INFO, HIDL_CALLBACK_TAG, "init mapper use V5");
    ExpectNothingLeft();
    EXPECT_TRUE(hostkit::mapper::MappedRegions().empty());
}

TEST_P(FaultMapper, RefusedImportSkipsTheFrame) {
    hostkit::mapper::FailNextCode(Operation::IMPORT, NO_RESOURCES);
    ASSERT_TRUE(Frame(0));
    EXPECT_EQ(1u, mSource->LockFailures());
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_WARN, HIDL_CALLBACK_TAG, "ImportBuffer: mapper importBuffer failed: errMap 5");
    EXPECT_EQ(0u, hostkit::mapper::LiveImports());
    ASSERT_TRUE(Frame(1));  // the other ring slot imports fine
    EXPECT_EQ(1u, mSource->LockFailures());
    ExpectNothingLeft();
}

TEST_P(FaultMapper, ImportFailingInTransportSkipsTheFrame) {
    if (GetParam() == STABLE_C) GTEST_SKIP() << "mapper 5 has no transport";
    ASSERT_TRUE(hostkit::hidl::FailNextCalls(MapperDescriptor(GetParam()), "default", 1, android::FAILED_TRANSACTION));
    ASSERT_TRUE(Frame(0));
    EXPECT_EQ(1u, mSource->LockFailures());
    EXPECT_EQ(1u, CountStartingWith(ANDROID_LOG_WARN, HIDL_CALLBACK_TAG, "ImportBuffer: mapper importBuffer failed: "));
    ExpectNothingLeft();
}

TEST_P(FaultMapper, RefusedLockSkipsTheFrameAndTheUnlockClearsTheMark) {
    hostkit::mapper::FailNextCode(Operation::LOCK, BAD_VALUE);
    ASSERT_TRUE(Frame(0));
    EXPECT_EQ(1u, mSource->LockFailures());
    if (GetParam() == STABLE_C) {
        HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_WARN, HIDL_CALLBACK_TAG, "Lock: lock and get img buffer failed,  error 3");
    } else {
        EXPECT_EQ(1u, CountStartingWith(ANDROID_LOG_WARN, HIDL_CALLBACK_TAG, "LockVideoBuffer: lock and get img buffer failed"));
    }
    ASSERT_TRUE(Frame(1));
    EXPECT_EQ(1u, mSource->LockFailures());
    // A fresh configuration releases both buffers: the failed lock left nothing marked.
    ASSERT_TRUE(mFramework->ConfigureStreams(FakeVideoService::CONTROL_SESSION_ID, {{2, 64, 48, 17}}).has_value());
    EXPECT_EQ(0u, hostkit::mapper::LiveImports());
    ExpectNothingLeft();
}

TEST_P(FaultMapper, LockFailingInTransportSkipsTheFrame) {
    if (GetParam() == STABLE_C) GTEST_SKIP() << "mapper 5 has no transport";
    ASSERT_TRUE(Frame(0));
    ASSERT_TRUE(hostkit::hidl::FailNextCalls(MapperDescriptor(GetParam()), "default", 1, android::FAILED_TRANSACTION));
    ASSERT_TRUE(Frame(1));  // a new slot: the import fails in transport
    ASSERT_TRUE(Frame(2));  // slot 0 again: cached, locks fine
    EXPECT_EQ(1u, mSource->LockFailures());
    ExpectNothingLeft();
}

TEST_P(FaultMapper, RefusedUnlockStillAnswersZeroWithoutFence) {
    hostkit::mapper::FailNextCode(Operation::UNLOCK, BAD_BUFFER);
    ASSERT_TRUE(Frame(0));
    EXPECT_EQ(0u, mSource->LockFailures());
    EXPECT_EQ(std::vector<int>{0}, mSource->DoneResults());
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_DEBUG, HIDL_CALLBACK_TAG,
                            GetParam() == STABLE_C ? "UnLock: failed to unlock error 2!"
                                                   : "operator(): failed to unlock error 2!");
    ASSERT_TRUE(Frame(1));
    ExpectNothingLeft();
}

TEST_P(FaultMapper, RefusedFreeLeavesExactlyThatImport) {
    ASSERT_TRUE(Frame(0));
    ASSERT_TRUE(Frame(1));
    ASSERT_EQ(2u, hostkit::mapper::LiveImports());
    hostkit::mapper::FailNextCode(Operation::FREE, BAD_BUFFER);
    if (mWrapper != nullptr) (void)mWrapper->UnRegisterCallback(DEVICE, SERVICE);
    mWrapper.reset();
    mFramework.reset();
    hostkit::hidl::WaitForDeathNotifications();
    if (GetParam() == STABLE_C) {
        HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_WARN, HIDL_CALLBACK_TAG, "FreeBuffer: mapper freeBuffer failed: error 2");
    }
    // The mapper kept the buffer it refused to free; the library did not retry or crash.
    EXPECT_EQ(1u, hostkit::mapper::LiveImports());
    EXPECT_EQ(1u, hostkit::mapper::Reset());
    EXPECT_EQ(mFdsBefore, OpenFds());
}

TEST_P(FaultMapper, DeathBetweenRequestsRecoversThroughTheRestoredMapper) {
    if (GetParam() == STABLE_C) GTEST_SKIP() << "mapper 5 runs in the process";
    ASSERT_TRUE(Frame(0));
    ASSERT_TRUE(hostkit::mapper::Kill(GetParam()));
    hostkit::hidl::WaitForDeathNotifications();
    ASSERT_TRUE(hostkit::mapper::Restore(GetParam()));
    ASSERT_TRUE(Frame(1));
    ASSERT_TRUE(Frame(2));
    EXPECT_EQ(0u, mSource->LockFailures());
    EXPECT_TRUE(mFramework->WaitForReturnedFrames(3, 5s));
    for (const vircamsim::ReturnedFrame& frame : mFramework->ReturnedFrames()) {
        EXPECT_TRUE(frame.readBackOk);
        ASSERT_FALSE(frame.bytes.empty());
        EXPECT_EQ(FakeVideoService::Pattern(frame.frameNumber, frame.streamId, frame.bufferId, frame.bytes.size()),
                  frame.bytes);
    }
    ExpectNothingLeft();
    EXPECT_EQ(0u, mSource->ServiceDied());
}

TEST_P(FaultMapper, DeadMapperSkipsFramesUntilItIsBack) {
    if (GetParam() == STABLE_C) GTEST_SKIP() << "mapper 5 runs in the process";
    ASSERT_TRUE(Frame(0));
    ASSERT_TRUE(hostkit::mapper::Kill(GetParam()));
    hostkit::hidl::WaitForDeathNotifications();
    ASSERT_TRUE(Frame(1));
    ASSERT_TRUE(Frame(2));
    EXPECT_EQ(2u, mSource->LockFailures());
    // The release goes through the mapper that is back.
    ASSERT_TRUE(hostkit::mapper::Restore(GetParam()));
    ExpectNothingLeft();
}

INSTANTIATE_TEST_SUITE_P(Versions, FaultMapper, ::testing::Values(2, 3, 4, STABLE_C),
                         [](const ::testing::TestParamInfo<int>& info) { return "V" + std::to_string(info.param); });

}  // namespace
}  // namespace faults
