// The four manager commands through the HIDL wrapper's SendRequest, and hostile requests.
#include <android/log.h>
#include <gtest/gtest.h>
#include <hostkit/LogCapture.h>

#include <memory>

#include "ClientFixture.h"
#include "IVirCameraWrapper.h"

namespace {

class HidlClientManager : public HidlClientFixture {
  protected:
    void SetUp() override {
        HidlClientFixture::SetUp();
        android::IVirCameraWrapper* raw = nullptr;
        ASSERT_EQ(0, CreateVirCameraWrapper(&raw));
        mWrapper.reset(raw);
    }
    void TearDown() override {
        mWrapper.reset();
        HidlClientFixture::TearDown();
    }
    std::string Send(int cmd, const std::string& data) {
        android::OptResult result = mWrapper->SendRequest(cmd, 4242, data);
        EXPECT_EQ(0, result.result);
        EXPECT_EQ(0, result.value);
        return result.data;
    }

    std::unique_ptr<android::IVirCameraWrapper> mWrapper;
};

constexpr int CHECK = 1115016;
constexpr int START = 1115017;
constexpr int FINISH = 1115018;
constexpr int IDS = 1115019;

TEST_F(HidlClientManager, CommandsEndToEnd) {
    EXPECT_EQ("0", Send(CHECK, R"({"type":"VIRTUAL"})"));
    EXPECT_EQ("0", Send(CHECK, R"({"type":"SWITCH"})"));
    EXPECT_EQ("0", Send(START, R"({"type":"VIRTUAL","deviceId":"dev","serviceId":"svc",)"
                               R"("vectorObj":["17","1080,1920","30000,30000","front"]})"));
    ASSERT_EQ(1u, mRegisterChannel->VirCameraRegistrations().size());
    EXPECT_EQ("dev", mRegisterChannel->VirCameraRegistrations()[0].device);
    EXPECT_EQ("0", Send(START, R"({"type":"SWITCH","deviceId":"dev","serviceId":"svc","vectorObj":["3"]})"));
    EXPECT_EQ(1u, mStreamChannel->SwitchOnCalls());
    EXPECT_EQ("null", Send(IDS, ""));
    mRegisterChannel->SetIdList(vircamsim::CameraStatus::OK, {"1", "2"});
    EXPECT_EQ(R"(["1","2"])", Send(IDS, "ignored"));
    EXPECT_EQ("0", Send(FINISH, R"({"type":"SWITCH","deviceId":"dev","serviceId":"svc"})"));
    EXPECT_EQ(1u, mStreamChannel->SwitchOffCalls());
    mRegisterChannel->SetUnRegisterVirCameraStatus(1);
    EXPECT_EQ("-2", Send(FINISH, R"({"type":"VIRTUAL","deviceId":"dev","serviceId":"svc"})"));
    HOSTKIT_EXPECT_LOG_COUNT(2u, ANDROID_LOG_INFO, MANAGER_TAG, "HandleRequest: end cmd 1115019, type: 1, ret 0");
}

TEST_F(HidlClientManager, UnknownCommandsAnswerMinusOne) {
    // Only the four manager codes leave the wrapper; nothing reaches the manager or the HAL.
    EXPECT_EQ("-1", Send(1115020, R"({"type":"VIRTUAL"})"));
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_DEBUG, "VIRCAMERA_HIDL_WRAPPER", "hidl SendRequest cmd:1115020");
    EXPECT_EQ("-1", Send(42, R"({"type":"VIRTUAL"})"));
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_DEBUG, "VIRCAMERA_HIDL_WRAPPER", "hidl SendRequest cmd:42");
    EXPECT_TRUE(mRegisterChannel->VirCameraRegistrations().empty());
    EXPECT_TRUE(hostkit::logs::Lines().size() > 0);
    for (const hostkit::logs::LogLine& line : hostkit::logs::Lines()) {
        EXPECT_NE(std::optional<std::string>(MANAGER_TAG), line.tag) << line.text;
    }
}

TEST_F(HidlClientManager, HostileRequestsAnswerMinusOne) {
    const std::string deep = std::string(100000, '[') + std::string(100000, ']');
    const std::string huge = R"({"type":")" + std::string(4 << 20, 'x') + "\"}";
    const std::vector<std::string> inputs = {
            "not json", "", "[1,2]", "42", "{}", R"({"type":5})", R"({"type":"virtual"})",
            R"({"type":["VIRTUAL"]})", deep, huge};
    for (const std::string& input : inputs) {
        for (int cmd : {CHECK, START, FINISH}) {
            EXPECT_EQ("-1", Send(cmd, input)) << cmd << " " << input.substr(0, 40);
        }
    }
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_ERROR, MANAGER_TAG, "StartVirtualCamera inRoot failed not json");
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_ERROR, MANAGER_TAG, "IsHalSvcRunning: Unsupported type: 'virtual'");
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_ERROR, MANAGER_TAG,
                            "StartVirtualCamera: Finish virtual camera failed. Unsupported enableType:'virtual'");
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_ERROR, MANAGER_TAG,
                            "FinishVirtualCamera: Finish virtual camera failed. Unsupported enableType: 'virtual'");
    EXPECT_TRUE(mRegisterChannel->VirCameraRegistrations().empty());
    EXPECT_EQ(0u, mStreamChannel->SwitchOnCalls());

    // A mistyped capability list reads as empty: the client refuses it.
    EXPECT_EQ("0", Send(CHECK, R"({"type":"VIRTUAL"})"));
    EXPECT_EQ("-2", Send(START, R"({"type":"VIRTUAL","deviceId":"d","serviceId":"s","vectorObj":"17"})"));
    EXPECT_TRUE(mRegisterChannel->VirCameraRegistrations().empty());
}

// jsoncpp reads requests nested up to 1,000 levels: a deep member changes nothing. One
// level more fails like any bad text, without reaching the HAL.
TEST_F(HidlClientManager, DeeplyNestedRequestsAreAnsweredLikeFlatOnes) {
    const auto deep = [](size_t levels) {
        return ",\"deep\":" + std::string(levels, '[') + std::string(levels, ']') + "}";
    };
    const std::string device = R"("deviceId":"dev","serviceId":"svc")";
    EXPECT_EQ("0", Send(CHECK, R"({"type":"SWITCH")" + deep(500)));
    EXPECT_EQ("0", Send(CHECK, R"({"type":"VIRTUAL")" + deep(500)));
    EXPECT_EQ("0", Send(START, R"({"type":"VIRTUAL",)" + device +
                                   R"(,"vectorObj":["17","1080,1920","30000,30000","front"])" + deep(500)));
    ASSERT_EQ(1u, mRegisterChannel->VirCameraRegistrations().size());
    EXPECT_EQ("dev", mRegisterChannel->VirCameraRegistrations()[0].device);
    EXPECT_EQ("0", Send(START, R"({"type":"SWITCH",)" + device + R"(,"vectorObj":["3"])" + deep(999)));
    EXPECT_EQ(1u, mStreamChannel->SwitchOnCalls());
    EXPECT_EQ("0", Send(FINISH, R"({"type":"SWITCH",)" + device + deep(500)));
    EXPECT_EQ(1u, mStreamChannel->SwitchOffCalls());

    const std::string tooDeep = R"({"type":"SWITCH",)" + device + R"(,"vectorObj":["3"])" + deep(1000);
    EXPECT_EQ("-1", Send(START, tooDeep));
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_ERROR, MANAGER_TAG,
                            ("StartVirtualCamera inRoot failed " + tooDeep).substr(0, 1023));
    EXPECT_EQ(1u, mStreamChannel->SwitchOnCalls());
}

}  // namespace
