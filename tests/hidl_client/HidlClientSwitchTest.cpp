// Stream switching: the HAL's report before, after and never, wrong sequence numbers,
// failure codes, and the id list.
#include <algorithm>

#include <android/log.h>
#include <gtest/gtest.h>
#include <hostkit/LogCapture.h>

#include "Bounded.h"
#include "ClientFixture.h"
#include "client/VirtualCameraClient.h"

namespace {

using namespace std::chrono_literals;
using VIRTUAL_CAMERA_CLIENT::VirtualCameraClient;
using vircamsim::CameraStatus;
using vircamsim::SwitchReportPlan;
using When = SwitchReportPlan::When;

class HidlClientSwitch : public HidlClientFixture {
  protected:
    int32_t SwitchOn() { return VirtualCameraClient::Get()->SwitchOnCamStream("dev", "svc", {"1", "2"}); }
    void Plan(When when, std::chrono::milliseconds delay = 0ms, bool wrongSeq = false,
              vircamsim::vircam::VirCamOptRet ret = vircamsim::vircam::VirCamOptRet::SUCCESS) {
        mStreamChannel->SetSwitchReport(SwitchReportPlan{when, delay, wrongSeq, ret});
    }
};

TEST_F(HidlClientSwitch, ReportBeforeTheWaitNeedsNoWait) {
    mStreamChannel->SetSwitchAnswer(CameraStatus::OK, 12345);
    EXPECT_EQ(0, SwitchOn());
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_INFO, TAG, "SwitchOnCamStream: switch on virtual camera return success!");
    // The physical ids went to the HAL first.
    ASSERT_EQ(1u, mStreamChannel->Notifies().size());
    EXPECT_EQ(-1, mStreamChannel->Notifies()[0].key);
    EXPECT_EQ("{\"notifyKey\":101,\"notifyMsgData\":\"{\\\"virCamInfo\\\":[\\\"1\\\",\\\"2\\\"]}\"}",
              mStreamChannel->Notifies()[0].message);
    EXPECT_EQ(1u, mStreamChannel->SwitchCallbackRegistrations());
    // A report from inside the call arrives before the answer; switch-off takes any sequence
    // number, so it finds the report already there.
    mStreamChannel->JoinReports();
    hostkit::logs::Clear();
    Plan(When::INSIDE_CALL);
    EXPECT_EQ(0, VirtualCameraClient::Get()->SwitchOffCamStream("dev", "svc"));
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_INFO, TAG, "WaitForHALReturn: the async task has return, no need wait");
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_ERROR, TAG, "SwitchOffCamStream: switch off virtual camera return success!");
}

// The texts of `tag`'s lines, oldest first.
std::vector<std::string> LinesOf(const char* tag) {
    std::vector<std::string> texts;
    for (const hostkit::logs::LogLine& line : hostkit::logs::Lines()) {
        if (line.tag == std::string(tag)) texts.push_back(line.text);
    }
    return texts;
}

// On a device the stub sends the answer when the HAL calls its result callback, and the
// HAL may report right after: the report reaches the library before the answer does. It
// counts once the answer's sequence number is known, as if it had come right after it.
TEST_F(HidlClientSwitch, ReportAheadOfTheAnswerCounts) {
    mStreamChannel->SetSwitchAnswer(CameraStatus::OK, 12345);
    Plan(When::INSIDE_CALL);
    EXPECT_EQ(0, SwitchOn());
    const std::vector<std::string> expected = {
            "NotifySwitchOnVirtualCameraResult: NotifySwitchOnVirtualCameraResult start!",
            "NotifySwitchOnVirtualCameraResult: get async task info lock",
            "WaitForHALReturn: the async task has return, no need wait",
            "SwitchOnCamStream: switch on virtual camera return success!"};
    std::vector<std::string> lines = LinesOf(TAG);
    lines.erase(lines.begin(), std::find(lines.begin(), lines.end(), expected[0]));
    EXPECT_EQ(expected, lines);

    // A failure reported ahead of the answer fails the switch at once, without a wait.
    hostkit::logs::Clear();
    Plan(When::INSIDE_CALL, 0ms, false, vircamsim::vircam::VirCamOptRet::FAILED);
    EXPECT_EQ(-1, SwitchOn());
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_INFO, TAG, "WaitForHALReturn: the async task has return, no need wait");
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_ERROR, TAG, "SwitchOnCamStream: switch on virtual camera return failed!");
}

// While a switch waits for the HAL, the id list is answered and the HAL's report, sent
// from another thread whenever it comes, reaches the client and ends the switch.
TEST_F(HidlClientSwitch, IdListAndReportArriveWhileASwitchRuns) {
    ASSERT_TRUE(VirtualCameraClient::Get()->Init());
    mRegisterChannel->SetIdList(CameraStatus::OK, {"7"});
    mStreamChannel->SetSwitchAnswer(CameraStatus::OK, 41);
    Plan(When::NEVER);
    auto switching = bounded::Start("SwitchOnCamStream", [this] { return SwitchOn(); });
    ASSERT_TRUE(hostkit::logs::WaitFor(ANDROID_LOG_INFO, TAG, "SwitchOnCamStream: notify save physicalCameraId success",
                                       bounded::DEADLINE));
    EXPECT_EQ(std::vector<std::string>{"7"},
              bounded::Run("GetVirtualCameraIdList", [] { return VirtualCameraClient::Get()->GetVirtualCameraIdList(); }));
    bounded::Run("the HAL's report", [] {
        VirtualCameraClient::Get()->NotifySwitchOnVirtualCameraResult(41, vircamsim::vircam::VirCamOptRet::SUCCESS);
        return 0;
    });
    EXPECT_EQ(0, switching.Get());
}

TEST_F(HidlClientSwitch, EmptyPhysicalIdsAreSentAsNull) {
    EXPECT_EQ(0, VirtualCameraClient::Get()->SwitchOnCamStream("dev", "svc", {}));
    ASSERT_EQ(1u, mStreamChannel->Notifies().size());
    EXPECT_EQ("{\"notifyKey\":101,\"notifyMsgData\":\"null\"}", mStreamChannel->Notifies()[0].message);
}

TEST_F(HidlClientSwitch, ReportFromAnotherThreadWakesTheWaiter) {
    Plan(When::AFTER_DELAY, 100ms);
    EXPECT_EQ(0, SwitchOn());
    mStreamChannel->JoinReports();
    EXPECT_EQ(0u, hostkit::logs::Count(ANDROID_LOG_ERROR, TAG, "WaitForHALReturn: wait for HAL return timeout!"));
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_INFO, TAG, "SwitchOnCamStream: switch on virtual camera return success!");
}

TEST_F(HidlClientSwitch, WrongSequenceNumberFailsWithMaskedNumbers) {
    mStreamChannel->SetSwitchAnswer(CameraStatus::OK, 12344);
    // From another thread while the caller waits: a wrong number inside the call would not
    // match the waiter's record and end in the three-second timeout instead.
    Plan(When::AFTER_DELAY, 100ms, true);
    EXPECT_EQ(-1, SwitchOn());
    mStreamChannel->JoinReports();
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_ERROR, TAG,
                            "NotifySwitchOnVirtualCameraResult: seqnum 1***5 is invalid. mSequenNum: 1***4, seqnum: 1***5");
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_ERROR, TAG, "SwitchOnCamStream: switch on virtual camera return failed!");
}

TEST_F(HidlClientSwitch, FailureReportFails) {
    Plan(When::AFTER_DELAY, 100ms, false, vircamsim::vircam::VirCamOptRet::FAILED);
    EXPECT_EQ(-1, SwitchOn());
    mStreamChannel->JoinReports();
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_ERROR, TAG,
                            "NotifySwitchOnVirtualCameraResult: switch on vitual camera stream failed!");
}

TEST_F(HidlClientSwitch, SwitchStatusMapsToCode) {
    const std::vector<std::pair<CameraStatus, int32_t>> table = {
            {CameraStatus::ILLEGAL_ARGUMENT, -2},        {CameraStatus::CAMERA_IN_USE, -3},
            {CameraStatus::MAX_CAMERAS_IN_USE, -1},      {CameraStatus::METHOD_NOT_SUPPORTED, -5},
            {CameraStatus::OPERATION_NOT_SUPPORTED, -1}, {CameraStatus::INTERNAL_ERROR, -1}};
    for (const auto& [status, code] : table) {
        mStreamChannel->SetSwitchAnswer(status, 9);
        EXPECT_EQ(code, SwitchOn()) << static_cast<uint32_t>(status);
        EXPECT_EQ(code, VirtualCameraClient::Get()->SwitchOffCamStream("dev", "svc")) << static_cast<uint32_t>(status);
    }
    HOSTKIT_EXPECT_LOG_COUNT(table.size(), ANDROID_LOG_ERROR, TAG,
                             "SwitchOnCamStream: Switch on virtual camera device failed!");
    HOSTKIT_EXPECT_LOG_COUNT(table.size(), ANDROID_LOG_ERROR, TAG,
                             "SwitchOffCamStream: Switch off virtual camera device failed!");
}

TEST_F(HidlClientSwitch, SwitchCallbackRegistrationStatus) {
    mStreamChannel->SetRegisterSwitchCallbackStatus(4);
    EXPECT_EQ(-5, SwitchOn());
    mStreamChannel->SetRegisterSwitchCallbackStatus(2);
    EXPECT_EQ(-1, SwitchOn());
    HOSTKIT_EXPECT_LOG_COUNT(2u, ANDROID_LOG_ERROR, TAG, "SwitchOnCamStream: Register switch callback failed!");
    EXPECT_EQ(0u, mStreamChannel->SwitchOnCalls());
}

TEST_F(HidlClientSwitch, SwitchOffReportsAndMissingServiceCountsAsOff) {
    EXPECT_EQ(0, SwitchOn());
    mStreamChannel->SetSwitchAnswer(CameraStatus::OK, 77);
    Plan(When::AFTER_DELAY, 100ms, true);  // switch-off takes any sequence number
    EXPECT_EQ(0, VirtualCameraClient::Get()->SwitchOffCamStream("dev", "svc"));
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_ERROR, TAG, "SwitchOffCamStream: switch off virtual camera return success!");
    mStreamChannel->Kill();
    EXPECT_EQ(0, VirtualCameraClient::Get()->SwitchOffCamStream("dev", "svc"));
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_WARN, TAG, "SwitchOffCamStream: Can not find IVirCameraChannel service!");
    EXPECT_EQ(-1, SwitchOn());
}

// The only test of the three-second bound.
TEST_F(HidlClientSwitch, NoReportTimesOutAfterThreeSeconds) {
    Plan(When::NEVER);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(-1, SwitchOn());
    EXPECT_GE(std::chrono::steady_clock::now() - start, 2900ms);
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_ERROR, TAG, "WaitForHALReturn: wait for HAL return timeout!");
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_ERROR, TAG, "SwitchOnCamStream: wait for switch on virtual camera return failed!");
}

TEST_F(HidlClientSwitch, IdList) {
    EXPECT_TRUE(VirtualCameraClient::Get()->Init());
    EXPECT_TRUE(VirtualCameraClient::Get()->GetVirtualCameraIdList().empty());
    mRegisterChannel->SetIdList(CameraStatus::OK, {"1", "2"});
    EXPECT_EQ((std::vector<std::string>{"1", "2"}), VirtualCameraClient::Get()->GetVirtualCameraIdList());
    mRegisterChannel->SetIdList(CameraStatus::INTERNAL_ERROR, {"1"});
    EXPECT_TRUE(VirtualCameraClient::Get()->GetVirtualCameraIdList().empty());
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_ERROR, TAG, "GetVirtualCameraIdList: get virtual camera id list failed!");
}

}  // namespace
