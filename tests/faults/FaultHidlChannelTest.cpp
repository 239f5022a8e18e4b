// Every call the HIDL connection makes to the HAL channel service fails in transport, or the
// service dies right after it or before it: the wrapper answers as documented, tells the
// caller of a death once (and never of a mere failed call) and leaves nothing behind.
#include <android/log.h>
#include <gtest/gtest.h>
#include <hostkit/HidlServices.h>
#include <hostkit/LogCapture.h>

#include <chrono>
#include <functional>

#include "FaultHidlFixture.h"
#include "LogLines.h"

namespace faults {
namespace {

using namespace std::chrono_literals;
using android::IVirCameraWrapper;

enum class When { FAIL, DIE_AFTER, DEAD_BEFORE };

struct ForwardCase {
    const char* name;
    HidlPoint point;
    When when;
    std::function<int(IVirCameraWrapper&, int)> call;
};

int OpenControl(IVirCameraWrapper& w, int id) { return w.NotifyOpenControlSessionResult(id, 0); }
int ConfigResult(IVirCameraWrapper& w, int id) { return w.NotifyConfigStreamResult(id, 0); }
int OpenData(IVirCameraWrapper& w, int id) { return w.NotifyOpenDataSessionResult(id, 1); }
int NotifyText(IVirCameraWrapper& w, int id) { return w.Notify(id, "{\"k\":1}"); }
int ImageDone(IVirCameraWrapper& w, int id) { return w.OnVirImageBufferDone(id, android::VirCameraImageResult{}); }

class FaultHidlForward : public FaultHidlTest, public ::testing::WithParamInterface<ForwardCase> {};

TEST_P(FaultHidlForward, AnswersDocumentedFailureAndReportsDeathOnlyOnce) {
    const ForwardCase& c = GetParam();
    ASSERT_EQ(0, Register());
    const int id = UniqueId();
    switch (c.when) {
        case When::FAIL:
            mRegister->Arm(c.point, HidlFault::FAIL);
            EXPECT_EQ(-1, c.call(*mWrapper, id));
            HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_INFO, HIDL_SERVICE_TAG, "IVirCameraChannel service not available");
            // A failed call is no death, and the next call goes through.
            EXPECT_EQ(0, c.call(*mWrapper, id));
            hostkit::hidl::WaitForDeathNotifications();
            EXPECT_EQ(0u, mSource->ServiceDied());
            break;
        case When::DIE_AFTER:
            mRegister->Arm(c.point, HidlFault::DIE_AFTER);
            EXPECT_EQ(0, c.call(*mWrapper, id));
            ASSERT_TRUE(mSource->WaitForServiceDied(1, 5s));
            hostkit::hidl::WaitForDeathNotifications();
            EXPECT_EQ(-1, c.call(*mWrapper, id));
            EXPECT_EQ(1u, mSource->ServiceDied());
            break;
        case When::DEAD_BEFORE:
            ASSERT_TRUE(mRegister->Kill());
            ASSERT_TRUE(mSource->WaitForServiceDied(1, 5s));
            hostkit::hidl::WaitForDeathNotifications();
            EXPECT_EQ(-1, c.call(*mWrapper, id));
            HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_WARN, HIDL_SERVICE_TAG, "Can not find IVirCameraChannel service");
            EXPECT_EQ(1u, mSource->ServiceDied());
            break;
    }
    ExpectNothingLeft();
    EXPECT_LE(mSource->ServiceDied(), 1u);
}

std::vector<ForwardCase> ForwardCases() {
    std::vector<ForwardCase> cases;
    const std::vector<std::tuple<const char*, HidlPoint, std::function<int(IVirCameraWrapper&, int)>>> points = {
        {"NotifyOpenControlSessionResult", HidlPoint::NOTIFY_CONTROL_RESULT, OpenControl},
        {"NotifyConfigStreamResult", HidlPoint::NOTIFY_CONFIG_RESULT, ConfigResult},
        {"NotifyOpenDataSessionResult", HidlPoint::NOTIFY_DATA_RESULT, OpenData},
        {"Notify", HidlPoint::NOTIFY, NotifyText},
        {"OnVirImageBufferDone", HidlPoint::IMAGE_DONE, ImageDone},
    };
    for (const auto& [name, point, call] : points) {
        cases.push_back({name, point, When::FAIL, call});
        cases.push_back({name, point, When::DIE_AFTER, call});
        cases.push_back({name, point, When::DEAD_BEFORE, call});
    }
    return cases;
}

std::string CaseName(const ::testing::TestParamInfo<ForwardCase>& info) {
    const char* when[] = {"Fails", "DiesAfter", "DeadBefore"};
    return std::string(info.param.name) + when[static_cast<int>(info.param.when)];
}

INSTANTIATE_TEST_SUITE_P(Points, FaultHidlForward, ::testing::ValuesIn(ForwardCases()), CaseName);

using FaultHidlRegistration = FaultHidlTest;

TEST_F(FaultHidlRegistration, LookupFindingNoServiceGivesUpWithMinusOne) {
    ASSERT_TRUE(mRegister->Kill());
    hostkit::hidl::WaitForDeathNotifications();
    EXPECT_EQ(-1, Register());
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_WARN, HIDL_SERVICE_TAG, "Can not find IVirCameraChannel service");
    EXPECT_EQ(0u, mSource->ServiceDied());
    ExpectNothingLeft();
}

TEST_F(FaultHidlRegistration, RegisterCallFailingInTransportIsNoDeath) {
    mRegister->Arm(HidlPoint::REGISTER_CHANNEL_CALLBACK, HidlFault::FAIL);
    EXPECT_EQ(-1, Register());
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_WARN, HIDL_SERVICE_TAG, "IVirCameraChannel service not available");
    EXPECT_TRUE(mRegister->Sim()->ChannelRegistrations().empty());
    // The same wrapper registers once the HAL answers again.
    EXPECT_EQ(0, mWrapper->RegisterCallback(DEVICE, SERVICE, IVirCameraWrapper::MODE_REGISTER, mSource));
    EXPECT_EQ(1u, mRegister->Sim()->ChannelRegistrations().size());
    ExpectNothingLeft();
    EXPECT_EQ(0u, mSource->ServiceDied());
}

TEST_F(FaultHidlRegistration, ServiceDyingBeforeTheDeathLinkFailsTheRegistration) {
    mRegister->Arm(HidlPoint::REGISTER_CHANNEL_CALLBACK, HidlFault::DIE_AFTER);
    EXPECT_EQ(-1, Register());
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_WARN, HIDL_SERVICE_TAG, "Can't RegServiceLinkDeath mode=1");
    hostkit::hidl::WaitForDeathNotifications();
    // Nothing was linked, so nobody is told.
    EXPECT_EQ(0u, mSource->ServiceDied());
    ExpectNothingLeft();
    EXPECT_EQ(0u, mSource->ServiceDied());
}

TEST_F(FaultHidlRegistration, UnregisterCallFailingOrServiceGoneStillAnswersZero) {
    ASSERT_EQ(0, Register());
    mRegister->Arm(HidlPoint::UNREGISTER_CHANNEL_CALLBACK, HidlFault::FAIL);
    EXPECT_EQ(0, mWrapper->UnRegisterCallback(DEVICE, SERVICE));
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_DEBUG, HIDL_SERVICE_TAG, "IVirCameraChannel service not available");

    ASSERT_EQ(0, mWrapper->RegisterCallback(DEVICE, SERVICE, IVirCameraWrapper::MODE_REGISTER, mSource));
    mRegister->Arm(HidlPoint::UNREGISTER_CHANNEL_CALLBACK, HidlFault::DIE_AFTER);
    EXPECT_EQ(0, mWrapper->UnRegisterCallback(DEVICE, SERVICE));
    hostkit::hidl::WaitForDeathNotifications();
    // The death link went with the unregistration: the death after it is nobody's news.
    EXPECT_EQ(0u, mSource->ServiceDied());
    ExpectNothingLeft();
}

TEST_F(FaultHidlRegistration, UnregisterAfterDeathAnswersZeroAndDeathWasToldOnce) {
    ASSERT_EQ(0, Register(IVirCameraWrapper::MODE_STREAM_CHANGE));
    ASSERT_TRUE(mStream->Kill());
    ASSERT_TRUE(mSource->WaitForServiceDied(1, 5s));
    EXPECT_EQ(0, mWrapper->UnRegisterCallback(DEVICE, SERVICE));
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_DEBUG, HIDL_CALLBACK_TAG, "Vircamera serviceDied replace");
    ExpectNothingLeft();
    EXPECT_EQ(1u, mSource->ServiceDied());
}

TEST_F(FaultHidlRegistration, ImageDoneFailingMidStreamLosesNoImport) {
    ASSERT_EQ(0, Register());
    StartSession();
    mRegister->Arm(HidlPoint::IMAGE_DONE, HidlFault::FAIL);
    ASSERT_TRUE(mFramework->SendImageRequest(HidlVideoSource::DATA_SESSION, 0).has_value());
    ASSERT_TRUE(mFramework->SendImageRequest(HidlVideoSource::DATA_SESSION, 1).has_value());
    EXPECT_EQ((std::vector<int>{-1, 0}), mSource->DoneResults());
    EXPECT_TRUE(mFramework->WaitForReturnedFrames(1, 5s));
    EXPECT_EQ(0u, mSource->LockFailures());
    ExpectNothingLeft();
    EXPECT_EQ(0u, mSource->ServiceDied());
}

TEST_F(FaultHidlRegistration, DeathMidStreamReleasesImportsOnDelete) {
    ASSERT_EQ(0, Register());
    StartSession();
    ASSERT_TRUE(mFramework->SendImageRequest(HidlVideoSource::DATA_SESSION, 0).has_value());
    mRegister->Arm(HidlPoint::IMAGE_DONE, HidlFault::DIE_AFTER);
    ASSERT_TRUE(mFramework->SendImageRequest(HidlVideoSource::DATA_SESSION, 1).has_value());
    ASSERT_TRUE(mSource->WaitForServiceDied(1, 5s));
    EXPECT_FALSE(mFramework->SendImageRequest(HidlVideoSource::DATA_SESSION, 2).has_value());
    ExpectNothingLeft();
    EXPECT_EQ(1u, mSource->ServiceDied());
}

}  // namespace
}  // namespace faults
