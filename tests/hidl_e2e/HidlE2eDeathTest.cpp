// The HAL channel service dies and comes back at several points of a session.
#include <android/log.h>
#include <gtest/gtest.h>
#include <hostkit/HidlServices.h>
#include <hostkit/LogCapture.h>
#include <hostkit/Mapper.h>

#include "E2eSupport.h"
#include "hidl/SimHidlFramework.h"

namespace e2e {
namespace {

using namespace std::chrono_literals;
using vircamsim::SimHidlFramework;

constexpr const char* DEVICE = "camera-device-02";
constexpr const char* SERVICE = "video.service";

class HidlE2eDeath : public HidlE2eFixture {
  protected:
    void RegisterCaller(android::IVirCameraWrapper::VirCameraMode mode) {
        mId = UniqueId(DEVICE, SERVICE);
        mWrapper = NewWrapper();
        mCaller = std::make_shared<FakeVideoService>(mWrapper, mId);
        ASSERT_EQ(0, mWrapper->RegisterCallback(DEVICE, SERVICE, mode, mCaller));
    }
    // One frame through a fresh session; true when its bytes came back as written.
    static bool FrameRoundTrip(SimHidlFramework& framework, uint32_t frame) {
        const size_t before = framework.ReturnedFrames().size();
        if (!framework.OpenControlSession(DEVICE, SERVICE) ||
            !framework.ConfigureStreams(FakeVideoService::CONTROL_SESSION_ID, {{2, 64, 48, 17}}) ||
            !framework.SendImageRequest(FakeVideoService::DATA_SESSION_ID, frame) ||
            !framework.WaitForReturnedFrames(before + 1, 5s)) {
            return false;
        }
        const vircamsim::ReturnedFrame last = framework.ReturnedFrames().back();
        return last.frameNumber == frame && last.bytes == FakeVideoService::Pattern(frame, 2, last.bufferId, 64 * 48 * 3 / 2);
    }

    int mId = 0;
    android::IVirCameraWrapper* mWrapper = nullptr;
    std::shared_ptr<FakeVideoService> mCaller;
};

TEST_F(HidlE2eDeath, RegisterChannelDeathTellsCallerOnceOnAnotherThreadThenReRegisterWorks) {
    RegisterCaller(android::IVirCameraWrapper::MODE_REGISTER);
    SimHidlFramework framework(mRegisterChannel, 2);
    ASSERT_TRUE(FrameRoundTrip(framework, 0));

    ASSERT_TRUE(mRegisterChannel->Kill());
    ASSERT_TRUE(mCaller->WaitForServiceDied(5s));
    hostkit::hidl::WaitForDeathNotifications();
    EXPECT_EQ(1u, mCaller->ServiceDied());
    EXPECT_NE(std::this_thread::get_id(), mCaller->ServiceDiedThread());
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_DEBUG, CALLBACK_TAG, "Vircamera serviceDied vitual");
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_DEBUG, CALLBACK_TAG, "Vircamera serviceDied type=1");

    // Every answer to the dead HAL fails without crashing.
    EXPECT_EQ(-1, mWrapper->NotifyOpenControlSessionResult(mId, 0));
    EXPECT_EQ(-1, mWrapper->NotifyConfigStreamResult(mId, 0));
    EXPECT_EQ(-1, mWrapper->NotifyOpenDataSessionResult(mId, 0));
    EXPECT_EQ(-1, mWrapper->Notify(mId, "x"));
    EXPECT_EQ(-1, mWrapper->OnVirImageBufferDone(mId, android::VirCameraImageResult{}));
    EXPECT_GE(hostkit::logs::Count(ANDROID_LOG_WARN, SERVICE_TAG, "Can not find IVirCameraChannel service"), 5u);
    EXPECT_FALSE(framework.SendImageRequest(FakeVideoService::DATA_SESSION_ID, 1).has_value());

    ASSERT_TRUE(mRegisterChannel->Restore());
    ASSERT_EQ(0, mWrapper->RegisterCallback(DEVICE, SERVICE, android::IVirCameraWrapper::MODE_REGISTER, mCaller));
    EXPECT_TRUE(FrameRoundTrip(framework, 2));
    EXPECT_EQ(0, mWrapper->NotifyConfigStreamResult(mId, 0));
    EXPECT_EQ(1u, mCaller->ServiceDied());
    EXPECT_EQ(0, mWrapper->UnRegisterCallback(DEVICE, SERVICE));
}

TEST_F(HidlE2eDeath, StreamChangeChannelDeathIsReportedAsReplace) {
    RegisterCaller(android::IVirCameraWrapper::MODE_STREAM_CHANGE);
    ASSERT_TRUE(mStreamChannel->Kill());
    ASSERT_TRUE(mCaller->WaitForServiceDied(5s));
    hostkit::hidl::WaitForDeathNotifications();
    EXPECT_EQ(1u, mCaller->ServiceDied());
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_DEBUG, CALLBACK_TAG, "Vircamera serviceDied replace");
    EXPECT_EQ(1u, hostkit::hidl::DeathNotificationsDelivered());
    // Unregistering from the dead HAL still answers 0, and the death was told only once.
    EXPECT_EQ(0, mWrapper->UnRegisterCallback(DEVICE, SERVICE));
    EXPECT_EQ(1u, mCaller->ServiceDied());
}

TEST_F(HidlE2eDeath, DeathWithExpiredCallerOnlyLogs) {
    RegisterCaller(android::IVirCameraWrapper::MODE_REGISTER);
    std::weak_ptr<FakeVideoService> weak = mCaller;
    mCaller.reset();
    ASSERT_TRUE(weak.expired());
    ASSERT_TRUE(mRegisterChannel->Kill());
    hostkit::hidl::WaitForDeathNotifications();
    EXPECT_EQ(1u, hostkit::hidl::DeathNotificationsDelivered());
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_WARN, CALLBACK_TAG, "wrapper callback has expired.");
}

TEST_F(HidlE2eDeath, DeadBeforeRegistrationGivesUpAfterRetries) {
    ASSERT_TRUE(mRegisterChannel->Kill());
    android::IVirCameraWrapper* wrapper = NewWrapper();
    auto caller = std::make_shared<FakeVideoService>(wrapper, UniqueId(DEVICE, SERVICE));
    EXPECT_EQ(-1, wrapper->RegisterCallback(DEVICE, SERVICE, android::IVirCameraWrapper::MODE_REGISTER, caller));
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_WARN, SERVICE_TAG, "Can not find IVirCameraChannel service");
    EXPECT_EQ(0u, hostkit::logs::Count(ANDROID_LOG_INFO, SERVICE_TAG, "find IVirCameraChannel success"));
    // The failed connection stays stored: its unregistration finds nothing registered.
    EXPECT_EQ(0, wrapper->UnRegisterCallback(DEVICE, SERVICE));
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_DEBUG, SERVICE_TAG, "UnRegisterCallback not regist before");
}

TEST_F(HidlE2eDeath, DeathBetweenConfigurationAndFirstRequest) {
    RegisterCaller(android::IVirCameraWrapper::MODE_REGISTER);
    SimHidlFramework framework(mRegisterChannel, 2);
    ASSERT_TRUE(framework.OpenControlSession(DEVICE, SERVICE).has_value());
    ASSERT_TRUE(framework.ConfigureStreams(FakeVideoService::CONTROL_SESSION_ID, {{2, 64, 48, 17}}).has_value());
    ASSERT_TRUE(mRegisterChannel->Kill());
    ASSERT_TRUE(mCaller->WaitForServiceDied(5s));
    hostkit::hidl::WaitForDeathNotifications();
    EXPECT_FALSE(framework.SendImageRequest(FakeVideoService::DATA_SESSION_ID, 0).has_value());
    EXPECT_EQ(0u, hostkit::mapper::LiveImports());

    ASSERT_TRUE(mRegisterChannel->Restore());
    ASSERT_EQ(0, mWrapper->RegisterCallback(DEVICE, SERVICE, android::IVirCameraWrapper::MODE_REGISTER, mCaller));
    EXPECT_TRUE(FrameRoundTrip(framework, 1));
}

TEST_F(HidlE2eDeath, DeathMidStreamStopsTheStreamAndLeavesNoImportsAfterDelete) {
    RegisterCaller(android::IVirCameraWrapper::MODE_REGISTER);
    SimHidlFramework framework(mRegisterChannel, 3);
    ASSERT_TRUE(framework.OpenControlSession(DEVICE, SERVICE).has_value());
    ASSERT_TRUE(framework.ConfigureStreams(FakeVideoService::CONTROL_SESSION_ID, {{2, 64, 48, 17}}).has_value());
    framework.StartStreaming(FakeVideoService::DATA_SESSION_ID, 0, 10000, 2ms);
    ASSERT_TRUE(framework.WaitForReturnedFrames(5, 5s));
    ASSERT_TRUE(mRegisterChannel->Kill());
    const uint32_t sent = framework.StopStreaming();
    EXPECT_LT(sent, 10000u);
    ASSERT_TRUE(mCaller->WaitForServiceDied(5s));
    // The notifying thread lets go of the watcher before the wrapper is deleted.
    hostkit::hidl::WaitForDeathNotifications();
    EXPECT_EQ(1u, mCaller->ServiceDied());
    for (const vircamsim::ReturnedFrame& frame : framework.ReturnedFrames()) {
        EXPECT_TRUE(frame.bytes == FakeVideoService::Pattern(frame.frameNumber, 2, frame.bufferId, 64 * 48 * 3 / 2));
    }
    EXPECT_EQ(3u, hostkit::mapper::LiveImports());
    // Unregistering from a dead HAL still succeeds; deleting releases the imports.
    EXPECT_EQ(0, mWrapper->UnRegisterCallback(DEVICE, SERVICE));
    DeleteWrappers();
    EXPECT_EQ(0u, hostkit::mapper::LiveImports());
}

}  // namespace
}  // namespace e2e
