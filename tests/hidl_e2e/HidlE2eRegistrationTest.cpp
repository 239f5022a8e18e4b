// Registration through the exported factory: replacement, unregistration, wrong ids,
// expired callers, two wrappers, and the lines these paths write.
#include <android/log.h>
#include <gtest/gtest.h>
#include <hostkit/LogCapture.h>
#include <hostkit/Mapper.h>

#include "E2eSupport.h"
#include "hidl/SimHidlFramework.h"

namespace e2e {
namespace {

using namespace std::chrono_literals;
using vircamsim::SimHidlFramework;
using Mode = android::IVirCameraWrapper::VirCameraMode;

constexpr const char* DEVICE = "camera-device-03";
constexpr const char* SERVICE = "video.service";

class HidlE2eRegistration : public HidlE2eFixture {};

TEST_F(HidlE2eRegistration, RegisterWritesMaskedLinesAndHandsTheHalACallback) {
    android::IVirCameraWrapper* wrapper = NewWrapper();
    auto caller = std::make_shared<FakeVideoService>(wrapper, UniqueId(DEVICE, SERVICE));
    ASSERT_EQ(0, wrapper->RegisterCallback(DEVICE, SERVICE, Mode::MODE_REGISTER, caller));
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_INFO, WRAPPER_TAG,
                            "RegisterCallback device=" + Masked(DEVICE) + " service=" + Masked(SERVICE));
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_INFO, SERVICE_TAG, "find IVirCameraChannel success");
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_DEBUG, SERVICE_TAG, "RegisterVirtualChannelCallback OK service=" + Masked(SERVICE));
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_DEBUG, SERVICE_TAG, "RegServiceLinkDeath OK service=" + Masked(SERVICE));
    ASSERT_EQ(1u, mRegisterChannel->ChannelRegistrations().size());
    EXPECT_EQ(DEVICE, mRegisterChannel->ChannelRegistrations()[0].device);
    EXPECT_EQ(SERVICE, mRegisterChannel->ChannelRegistrations()[0].service);
    EXPECT_NE(nullptr, mRegisterChannel->ChannelCallback());
    EXPECT_TRUE(mStreamChannel->ChannelRegistrations().empty());
    EXPECT_EQ(0, wrapper->UnRegisterCallback(DEVICE, SERVICE));
}

TEST_F(HidlE2eRegistration, SecondRegistrationReplacesFirstAndUnregisterThenAnswersMinusOne) {
    android::IVirCameraWrapper* wrapper = NewWrapper();
    const int id = UniqueId(DEVICE, SERVICE);
    auto first = std::make_shared<FakeVideoService>(wrapper, id);
    auto second = std::make_shared<FakeVideoService>(wrapper, id);
    ASSERT_EQ(0, wrapper->RegisterCallback(DEVICE, SERVICE, Mode::MODE_REGISTER, first));
    ASSERT_EQ(0, wrapper->RegisterCallback(DEVICE, SERVICE, Mode::MODE_REGISTER, second));
    EXPECT_EQ(2u, mRegisterChannel->ChannelRegistrations().size());

    // Sessions now reach the second caller through the new connection.
    SimHidlFramework framework(mRegisterChannel, 2);
    ASSERT_TRUE(framework.OpenControlSession(DEVICE, SERVICE).has_value());
    ASSERT_TRUE(framework.ConfigureStreams(1, {{3, 64, 48, 17}}).has_value());
    EXPECT_EQ(0u, first->Streams().size());
    EXPECT_EQ(1u, second->Streams().size());

    EXPECT_EQ(0, wrapper->UnRegisterCallback(DEVICE, SERVICE));
    EXPECT_EQ(1u, mRegisterChannel->ChannelUnregistrations().size());
    EXPECT_EQ(-1, wrapper->UnRegisterCallback(DEVICE, SERVICE));
    EXPECT_EQ(1u, mRegisterChannel->ChannelUnregistrations().size());
    EXPECT_EQ(-1, wrapper->NotifyConfigStreamResult(id, 0));
}

TEST_F(HidlE2eRegistration, UnknownIdAnswersFailureEverywhere) {
    android::IVirCameraWrapper* wrapper = NewWrapper();
    const int id = UniqueId(DEVICE, SERVICE);
    auto caller = std::make_shared<FakeVideoService>(wrapper, id);
    ASSERT_EQ(0, wrapper->RegisterCallback(DEVICE, SERVICE, Mode::MODE_REGISTER, caller));
    const int wrong = id + 1;
    int fence = 7;
    void* data = nullptr;
    EXPECT_EQ(-1, wrapper->NotifyOpenControlSessionResult(wrong, 0));
    EXPECT_EQ(-1, wrapper->NotifyConfigStreamResult(wrong, 0));
    EXPECT_EQ(-1, wrapper->NotifyOpenDataSessionResult(wrong, 0));
    EXPECT_EQ(-1, wrapper->Notify(wrong, "text"));
    EXPECT_EQ(-1, wrapper->OnVirImageBufferDone(wrong, android::VirCameraImageResult{}));
    EXPECT_EQ(nullptr, wrapper->LockVideoBuffer(wrong, 0, 1, &data));
    EXPECT_EQ(-1, wrapper->UnLockVideoBuffer(wrong, 0, 1, fence));
    EXPECT_EQ(7, fence);
    EXPECT_TRUE(mRegisterChannel->SessionResults().empty());
    EXPECT_TRUE(mRegisterChannel->Notifies().empty());
    EXPECT_TRUE(mRegisterChannel->ImageResults().empty());
    // The right id reaches the HAL.
    EXPECT_EQ(0, wrapper->Notify(id, "text"));
    ASSERT_EQ(1u, mRegisterChannel->Notifies().size());
    EXPECT_EQ(id, mRegisterChannel->Notifies()[0].key);
    EXPECT_EQ("text", mRegisterChannel->Notifies()[0].message);
    EXPECT_EQ(0, wrapper->UnRegisterCallback(DEVICE, SERVICE));
}

TEST_F(HidlE2eRegistration, FactoryRefusesNullOutPointer) {
    EXPECT_EQ(-1, android::CreateVirCameraWrapper(nullptr));
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_ERROR, WRAPPER_TAG, "CreateVirCameraWrapper: wrapper out-pointer is null");
}

// Every field of a finished frame reaches the HAL; its handle goes empty (the HAL holds the buffer).
TEST_F(HidlE2eRegistration, FinishedFrameReachesTheHalFieldByField) {
    android::IVirCameraWrapper* wrapper = NewWrapper();
    const int id = UniqueId(DEVICE, SERVICE);
    auto caller = std::make_shared<FakeVideoService>(wrapper, id);
    ASSERT_EQ(0, wrapper->RegisterCallback(DEVICE, SERVICE, Mode::MODE_REGISTER, caller));
    EXPECT_EQ(0, wrapper->OnVirImageBufferDone(id, {7, 0x1234567890ull, 3, 5, 1700000000123456789ll, 2}));
    EXPECT_EQ(0, wrapper->OnVirImageBufferDone(id, {8, 9, 1, 0, 42, 0}));
    const auto results = mRegisterChannel->ImageResults();
    ASSERT_EQ(2u, results.size());
    EXPECT_EQ(7u, results[0].frameNumber);
    EXPECT_EQ(0x1234567890ull, results[0].bufferId);
    EXPECT_EQ(3, results[0].streamId);
    EXPECT_EQ(5, results[0].index);
    EXPECT_EQ(1700000000123456789ll, results[0].timestamp);
    EXPECT_TRUE(results[0].status);  // any non-zero status
    EXPECT_EQ(nullptr, results[0].buffer.getNativeHandle());
    EXPECT_EQ(0, results[1].index);
    EXPECT_FALSE(results[1].status);
    EXPECT_EQ(0, wrapper->UnRegisterCallback(DEVICE, SERVICE));
}

TEST_F(HidlE2eRegistration, ExpiredCallerIsRefusedAndLogged) {
    android::IVirCameraWrapper* wrapper = NewWrapper();
    const int id = UniqueId(DEVICE, SERVICE);
    std::weak_ptr<FakeVideoService> expired;
    {
        auto gone = std::make_shared<FakeVideoService>(wrapper, id);
        expired = gone;
    }
    EXPECT_EQ(-1, wrapper->RegisterCallback(DEVICE, SERVICE, Mode::MODE_REGISTER, expired));
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_WARN, SERVICE_TAG, "audio remote wrapper callback is null.");
    EXPECT_TRUE(mRegisterChannel->ChannelRegistrations().empty());

    // A caller that goes away after registering: the HAL's calls fail and are logged. Requests
    // with a result callback are answered too: the HIDL stub the HAL calls through ends the
    // process when a method returns without answering.
    auto caller = std::make_shared<FakeVideoService>(wrapper, id);
    ASSERT_EQ(0, wrapper->RegisterCallback(DEVICE, SERVICE, Mode::MODE_REGISTER, caller));
    caller.reset();
    hostkit::logs::Clear();
    SimHidlFramework framework(mRegisterChannel, 2);
    const auto failed = std::make_pair(SimHidlFramework::OptResult::FAILED, 0u);
    EXPECT_EQ(failed, framework.OpenControlSessionAnswer(DEVICE, SERVICE));
    EXPECT_EQ(std::optional<SimHidlFramework::OptResult>(SimHidlFramework::OptResult::FAILED),
              framework.ConfigureStreams(1, {{3, 64, 48, 17}}));
    EXPECT_EQ(failed, framework.OpenDataSessionAnswer(DEVICE, SERVICE));
    EXPECT_EQ(failed, framework.SendImageRequest(1, 1));
    HOSTKIT_EXPECT_LOG_COUNT(4u, ANDROID_LOG_WARN, CALLBACK_TAG, "wrapper callback has expired.");
    EXPECT_EQ(0, wrapper->UnRegisterCallback(DEVICE, SERVICE));
}

TEST_F(HidlE2eRegistration, RefusedRegistrationAnswersMinusOne) {
    android::IVirCameraWrapper* wrapper = NewWrapper();
    auto caller = std::make_shared<FakeVideoService>(wrapper, UniqueId(DEVICE, SERVICE));
    mRegisterChannel->SetRegisterChannelStatus(3);
    EXPECT_EQ(-1, wrapper->RegisterCallback(DEVICE, SERVICE, Mode::MODE_REGISTER, caller));
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_WARN, SERVICE_TAG, "Can't registerVirtualChannelCallback");
    EXPECT_EQ(nullptr, mRegisterChannel->ChannelCallback());
    // Never registered: unregistration has nothing to undo.
    EXPECT_EQ(0, wrapper->UnRegisterCallback(DEVICE, SERVICE));
    EXPECT_TRUE(mRegisterChannel->ChannelUnregistrations().empty());
}

TEST_F(HidlE2eRegistration, TwoWrappersSideBySideKeepTheirFramesApart) {
    const std::string deviceB = "camera-device-04";
    const std::string serviceB = "other.service";
    android::IVirCameraWrapper* wrapperA = NewWrapper();
    android::IVirCameraWrapper* wrapperB = NewWrapper();
    auto callerA = std::make_shared<FakeVideoService>(wrapperA, UniqueId(DEVICE, SERVICE));
    auto callerB = std::make_shared<FakeVideoService>(wrapperB, UniqueId(deviceB, serviceB));
    ASSERT_EQ(0, wrapperA->RegisterCallback(DEVICE, SERVICE, Mode::MODE_REGISTER, callerA));
    ASSERT_EQ(0, wrapperB->RegisterCallback(deviceB, serviceB, Mode::MODE_STREAM_CHANGE, callerB));
    // Each wrapper knows only its own registration.
    EXPECT_EQ(-1, wrapperA->Notify(UniqueId(deviceB, serviceB), "x"));
    EXPECT_EQ(-1, wrapperB->Notify(UniqueId(DEVICE, SERVICE), "x"));

    SimHidlFramework frameworkA(mRegisterChannel, 2);
    SimHidlFramework frameworkB(mStreamChannel, 2);
    ASSERT_TRUE(frameworkA.OpenControlSession(DEVICE, SERVICE).has_value());
    ASSERT_TRUE(frameworkB.OpenControlSession(deviceB, serviceB).has_value());
    ASSERT_TRUE(frameworkA.ConfigureStreams(1, {{1, 64, 48, 17}}).has_value());
    ASSERT_TRUE(frameworkB.ConfigureStreams(1, {{1, 96, 64, 17}}).has_value());
    for (uint32_t frame = 0; frame < 4; ++frame) {
        ASSERT_TRUE(frameworkA.SendImageRequest(1, frame).has_value());
        ASSERT_TRUE(frameworkB.SendImageRequest(1, 100 + frame).has_value());
    }
    ASSERT_TRUE(frameworkA.WaitForReturnedFrames(4, 5s));
    ASSERT_TRUE(frameworkB.WaitForReturnedFrames(4, 5s));
    for (const vircamsim::ReturnedFrame& frame : frameworkA.ReturnedFrames()) {
        EXPECT_LT(frame.frameNumber, 100u);
        EXPECT_TRUE(frame.bytes == FakeVideoService::Pattern(frame.frameNumber, 1, frame.bufferId, 64 * 48 * 3 / 2));
    }
    for (const vircamsim::ReturnedFrame& frame : frameworkB.ReturnedFrames()) {
        EXPECT_GE(frame.frameNumber, 100u);
        EXPECT_TRUE(frame.bytes == FakeVideoService::Pattern(frame.frameNumber, 1, frame.bufferId, 96 * 64 * 3 / 2));
    }
    EXPECT_EQ(4u, hostkit::mapper::LiveImports());
    EXPECT_EQ(0, wrapperA->UnRegisterCallback(DEVICE, SERVICE));
    EXPECT_EQ(0, wrapperB->UnRegisterCallback(deviceB, serviceB));
}

}  // namespace
}  // namespace e2e
