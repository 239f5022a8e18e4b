// Init's wait for the provider, and the register / unregister result codes.
#include <android/log.h>
#include <gtest/gtest.h>
#include <hostkit/HidlServices.h>
#include <hostkit/LogCapture.h>

#include "ClientFixture.h"
#include "client/VirtualCameraClient.h"

namespace {

using namespace std::chrono_literals;
using VIRTUAL_CAMERA_CLIENT::VirtualCameraClient;

const std::vector<std::string> CAPS = {"17", "1080,1920", "30000,30000", "front"};
const std::string RETRY = "Init: Can not find ICameraProvider service (virtual/0), tryGetService again!";
const std::string GIVE_UP = "Init: Start hidl service (virtual/0) failed or startup scripts are not exist!";

class HidlClientInit : public HidlClientFixture {
  protected:
    void SetUp() override { StartHal(false); }
};

TEST_F(HidlClientInit, GivesUpAfterTwentyFiveTries) {
    // Declared but never started.
    hostkit::hidl::Declare(vircamsim::SimCameraProvider::descriptor, vircamsim::SimCameraProvider::INSTANCE);
    EXPECT_FALSE(VirtualCameraClient::Get()->Init());
    HOSTKIT_EXPECT_LOG_COUNT(25u, ANDROID_LOG_ERROR, TAG, RETRY);
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_ERROR, TAG, GIVE_UP);
    EXPECT_EQ(-1, VirtualCameraClient::Get()->RegisterVirCamera("d", "s", CAPS));
    EXPECT_TRUE(mRegisterChannel->VirCameraRegistrations().empty());
}

TEST_F(HidlClientInit, UndeclaredProviderIsNamedInsteadOfWaitedFor) {
    EXPECT_FALSE(VirtualCameraClient::Get()->Init());
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_ERROR, TAG,
                            "Init: android.hardware.camera.provider@2.4::ICameraProvider/virtual/0 is not declared on "
                            "this device; Android 14 devices declare an AIDL camera provider");
    HOSTKIT_EXPECT_LOG_COUNT(0u, ANDROID_LOG_ERROR, TAG, RETRY);
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_ERROR, TAG, GIVE_UP);
}

TEST_F(HidlClientInit, UnreachableServiceManagerMeansTryingAsBefore) {
    hostkit::hidl::FailNextManagerCalls(1, android::DEAD_OBJECT);
    mProvider = vircamsim::SimCameraProvider::StartLate(100ms);
    EXPECT_TRUE(VirtualCameraClient::Get()->Init());
    EXPECT_TRUE(mProvider->JoinLateStart());
    EXPECT_GE(hostkit::logs::Count(ANDROID_LOG_ERROR, TAG, RETRY), 1u);
}

TEST_F(HidlClientInit, ProviderAppearingLateIsWaitedFor) {
    mProvider = vircamsim::SimCameraProvider::StartLate(100ms);
    EXPECT_TRUE(VirtualCameraClient::Get()->Init());
    EXPECT_TRUE(mProvider->JoinLateStart());
    const size_t retries = hostkit::logs::Count(ANDROID_LOG_ERROR, TAG, RETRY);
    EXPECT_GE(retries, 1u);
    EXPECT_LT(retries, 25u);
    EXPECT_EQ(0u, hostkit::logs::Count(ANDROID_LOG_ERROR, TAG, GIVE_UP));
    // Connected: a second Init returns at once.
    hostkit::logs::Clear();
    EXPECT_TRUE(VirtualCameraClient::Get()->Init());
    EXPECT_TRUE(hostkit::logs::Lines().empty());
}

TEST_F(HidlClientInit, MissingChannelFailsAfterProvider) {
    mProvider = vircamsim::SimCameraProvider::Start();
    // Not on this device: getService() would wait for a declared channel that died.
    mRegisterChannel->Kill();
    hostkit::hidl::Undeclare(vircamsim::vircam::IVirCameraChannel::descriptor, mRegisterChannel->Instance());
    EXPECT_FALSE(VirtualCameraClient::Get()->Init());
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_ERROR, TAG, "Init: Can not find IVirCameraChannel service!");
}

struct StatusCase {
    uint32_t halStatus;
    int32_t registerCode;
    int32_t unregisterCode;
};

class HidlClientRegisterCodes : public HidlClientFixture, public ::testing::WithParamInterface<StatusCase> {};

TEST_P(HidlClientRegisterCodes, HalStatusMapsToCode) {
    const StatusCase& c = GetParam();
    ASSERT_TRUE(VirtualCameraClient::Get()->Init());
    mRegisterChannel->SetRegisterVirCameraStatus(c.halStatus);
    mRegisterChannel->SetUnRegisterVirCameraStatus(c.halStatus);
    EXPECT_EQ(c.registerCode, VirtualCameraClient::Get()->RegisterVirCamera("dev", "svc", CAPS));
    EXPECT_EQ(c.unregisterCode, VirtualCameraClient::Get()->UnRegisterVirCamera("dev", "svc"));
    const bool ok = c.halStatus == 0;
    HOSTKIT_EXPECT_LOG_COUNT(ok ? 1u : 0u, ANDROID_LOG_INFO, TAG, "RegisterVirCamera: Register virtual camera device success!");
    HOSTKIT_EXPECT_LOG_COUNT(ok ? 0u : 1u, ANDROID_LOG_ERROR, TAG, "RegisterVirCamera: Register virtual camera device failed!");
    HOSTKIT_EXPECT_LOG_COUNT(ok ? 0u : 1u, ANDROID_LOG_ERROR, TAG, "UnRegisterVirCamera: Unregister virtual camera device failed!");
    ASSERT_EQ(1u, mRegisterChannel->VirCameraRegistrations().size());
    const vircamsim::VirCameraRegistration reg = mRegisterChannel->VirCameraRegistrations()[0];
    EXPECT_EQ("dev", reg.device);
    EXPECT_EQ("svc", reg.service);
    ASSERT_EQ(1u, reg.formats.size());
    EXPECT_EQ(11u, reg.formats[0].frameSizeRates.size());
    ASSERT_EQ(1u, reg.extendInfo.size());
    EXPECT_EQ("front", std::string(reg.extendInfo[0].value));
    ASSERT_EQ(1u, mRegisterChannel->VirCameraUnregistrations().size());
}

INSTANTIATE_TEST_SUITE_P(Table, HidlClientRegisterCodes,
                         ::testing::Values(StatusCase{0, 0, 0}, StatusCase{1, -2, -2}, StatusCase{2, -3, -1},
                                           StatusCase{3, -4, -1}, StatusCase{4, -1, -1}, StatusCase{77, -1, -1}));

TEST_F(HidlClientFixture, BadCapabilitiesNeverReachTheHal) {
    ASSERT_TRUE(VirtualCameraClient::Get()->Init());
    EXPECT_EQ(-2, VirtualCameraClient::Get()->RegisterVirCamera("dev", "svc", {"17", "1080,1920", ""}));
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_ERROR, TAG, "GetCameraFmt: Invalid virtual camera info, vector size is: 3");
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_ERROR, TAG,
                            "RegisterVirCamera: Static properties of the virtual camera device is empty!");
    EXPECT_TRUE(mRegisterChannel->VirCameraRegistrations().empty());
}

}  // namespace
