// Stream switching over AIDL: the HAL answers the call, then reports on another thread.
// The three-second timeout itself is covered once by the HIDL client suite.

#include <chrono>
#include <thread>

#include <hostkit/BinderServices.h>
#include <hostkit/LogCapture.h>

#include "AidlClientFixture.h"
#include "Bounded.h"
#include "aidl/SimJson.h"
#include "client/VirtualCameraManager.h"

namespace aidlclient {
namespace {

using vircamsim::ReportTiming;
using vircamsim::SimSwitchBehaviour;
constexpr auto REPORT_WAIT = std::chrono::seconds(2);

SimSwitchBehaviour Delayed(int delayMs) {
    SimSwitchBehaviour behaviour;
    behaviour.timing = ReportTiming::DELAYED;
    behaviour.delayMs = delayMs;
    return behaviour;
}

TEST_F(AidlClientTest, SwitchOnWaitsForTheDelayedReport) {
    mStreamChannel->SetSwitchOn(Delayed(100));
    EXPECT_EQ(0, Client().SwitchOnCamStream("dev", "svc", 2, {"a", "b"}));
    ASSERT_TRUE(mStreamChannel->WaitForReports(1, REPORT_WAIT));
    EXPECT_EQ(std::vector<int32_t>{0}, mStreamChannel->ReportAnswers());
    HOSTKIT_EXPECT_LOG_LINE(4, CLIENT_TAG, "SwitchOnCamStream: switch on aidl virtual camera return success!");
    const vircamsim::SimJson request(mStreamChannel->SwitchRequests(true).at(0));
    EXPECT_EQ("ab", request.Root()["cameraPhysicalId"].asString());
    EXPECT_EQ(2, request.Int("cameraCount"));
    EXPECT_EQ("dev", request.Root()["deviceId"].asString());
    EXPECT_EQ("svc", request.Root()["serviceId"].asString());
}

// The HAL may report nested inside doCmdRequest, ahead of its answer: the report counts
// once the answer's sequence number is known, as if it had come right after it.
TEST_F(AidlClientTest, ReportInsideTheCallCounts) {
    SimSwitchBehaviour inside;
    inside.timing = ReportTiming::INSIDE_CALL;
    mStreamChannel->SetSwitchOn(inside);
    EXPECT_EQ(0, Client().SwitchOnCamStream("dev", "svc", 1, {"a"}));
    HOSTKIT_EXPECT_LOG_LINE(4, CLIENT_TAG, "NotifySwitchOnVirtualCameraResult: get async task info lock");
    HOSTKIT_EXPECT_LOG_LINE(4, CLIENT_TAG, "WaitForHALReturn: the async task has return, no need wait");
    HOSTKIT_EXPECT_LOG_LINE(4, CLIENT_TAG, "SwitchOnCamStream: switch on aidl virtual camera return success!");
    mStreamChannel->SetSwitchOff(inside);
    EXPECT_EQ(0, Client().SwitchOffCamStream("dev", "svc"));
    HOSTKIT_EXPECT_LOG_LINE(4, CLIENT_TAG, "NotifySwitchOffVirtualCameraResult: seqnum: 2 mSequenNum:2");
    HOSTKIT_EXPECT_LOG_LINE(4, CLIENT_TAG, "SwitchOffCamStream: switch off aidl virtual camera end success!");

    // A failure reported inside the call fails the switch without a wait.
    SimSwitchBehaviour failed = inside;
    failed.reportOptRet = 3;
    mStreamChannel->SetSwitchOn(failed);
    EXPECT_EQ(-200016, Client().SwitchOnCamStream("dev", "svc", 1, {"a"}));
    EXPECT_EQ((std::vector<int32_t>{0, 0, 0}), mStreamChannel->ReportAnswers());
    HOSTKIT_EXPECT_LOG_COUNT(3u, 4, CLIENT_TAG, "WaitForHALReturn: the async task has return, no need wait");
}

// While a switch waits for the HAL, the id list is answered and the HAL's report, sent
// from another thread whenever it comes, reaches the client and ends the switch.
TEST_F(AidlClientTest, IdListAndReportArriveWhileASwitchRuns) {
    SimSwitchBehaviour silent;
    silent.timing = ReportTiming::NEVER;
    mStreamChannel->SetSwitchOn(silent);
    mRegisterChannel->SetIdList(0, R"(["7"])");
    auto switching = bounded::Start("SwitchOnCamStream", [this] { return Client().SwitchOnCamStream("d", "s", 1, {}); });
    // The request reached the HAL: the switch is in its call or waits for the report.
    const auto deadline = std::chrono::steady_clock::now() + bounded::DEADLINE;
    while (mStreamChannel->SwitchRequests(true).empty()) {
        ASSERT_LT(std::chrono::steady_clock::now(), deadline) << "the switch request never reached the HAL";
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    EXPECT_EQ(R"(["7"])", bounded::Run("GetVirtualCameraIdList", [this] { return Client().GetVirtualCameraIdList(); }));
    auto framework = vircamsim::SimAidlFramework::Make(mStreamChannel);
    EXPECT_EQ(0, bounded::Run("the HAL's report", [&] {
                     return framework->SendCommand(20004, R"({"seqNo":1,"OptRet":0})").status;
                 }));
    EXPECT_EQ(0, switching.Get());
}

TEST_F(AidlClientTest, SwitchOnRejectsWrongReports) {
    SimSwitchBehaviour wrongSeq = Delayed(50);
    wrongSeq.seqOffset = 1;
    mStreamChannel->SetSwitchOn(wrongSeq);
    EXPECT_EQ(-200016, Client().SwitchOnCamStream("dev", "svc", 1, {"a"}));
    HOSTKIT_EXPECT_LOG_LINE(6, CLIENT_TAG, "NotifySwitchOnVirtualCameraResult: aidl seqnum is invalid. mSequenNum: 1, seqnum: 2");

    SimSwitchBehaviour failed = Delayed(50);
    failed.reportOptRet = 3;
    mStreamChannel->SetSwitchOn(failed);
    EXPECT_EQ(-200016, Client().SwitchOnCamStream("dev", "svc", 1, {"a"}));
    ASSERT_TRUE(mStreamChannel->WaitForReports(2, REPORT_WAIT));
}

TEST_F(AidlClientTest, SwitchOnRefusedOrFailedAnswersDoNotWait) {
    SimSwitchBehaviour refused;
    refused.timing = ReportTiming::NEVER;
    refused.answerOptRet = 1;
    mStreamChannel->SetSwitchOn(refused);
    EXPECT_EQ(-200013, Client().SwitchOnCamStream("dev", "svc", 1, {}));
    HOSTKIT_EXPECT_LOG_LINE(6, CLIENT_TAG, "SwitchOnCamStream: Switch on aidl virtual camera device failed!");

    SimSwitchBehaviour noOptRet = refused;
    noOptRet.answer = R"({"seqNo":7})";
    mStreamChannel->SetSwitchOn(noOptRet);
    EXPECT_EQ(-200013, Client().SwitchOnCamStream("dev", "svc", 1, {}));

    SimSwitchBehaviour notJson = refused;
    notJson.answer = "garbage";
    mStreamChannel->SetSwitchOn(notJson);
    EXPECT_EQ(-200011, Client().SwitchOnCamStream("dev", "svc", 1, {}));

    SimSwitchBehaviour status = refused;
    status.status = 5;
    mStreamChannel->SetSwitchOn(status);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(5, Client().SwitchOnCamStream("dev", "svc", 1, {}));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));  // no 3 s wait
    HOSTKIT_EXPECT_LOG_LINE(6, CLIENT_TAG, "SwitchOnCamStream: failed ret: 5");

    hostkit::binder::FailNextTransactions(mStreamChannel->Name(), 1, STATUS_DEAD_OBJECT);
    EXPECT_EQ(-200015, Client().SwitchOnCamStream("dev", "svc", 1, {}));
    EXPECT_TRUE(mStreamChannel->ReportAnswers().empty());
}

TEST_F(AidlClientTest, NonJsonReportIsRefused) {
    auto framework = vircamsim::SimAidlFramework::Make(mStreamChannel);
    EXPECT_EQ(-200011, framework->SendCommand(20004, "not json").status);
    EXPECT_EQ(-200011, framework->SendCommand(20005, "").status);
    EXPECT_EQ(-200011, Client().NotifySwitchOnVirtualCameraResult("{"));
    HOSTKIT_EXPECT_LOG_LINE(6, CLIENT_TAG, "NotifySwitchOnVirtualCameraResult inRoot failed not json");
}

// The HAL's answer and report nest as deep as jsoncpp reads (1,000 levels); a report one
// level deeper is refused like any bad text.
TEST_F(AidlClientTest, DeeplyNestedAnswerAndReportAreRead) {
    const auto deep = [](size_t levels) { return std::string(levels, '[') + std::string(levels, ']'); };
    SimSwitchBehaviour refused;
    refused.timing = ReportTiming::NEVER;
    refused.answer = R"({"seqNo":41,"OptRet":1,"deep":)" + deep(999) + "}";
    mStreamChannel->SetSwitchOn(refused);
    EXPECT_EQ(-200013, Client().SwitchOnCamStream("dev", "svc", 1, {"a"}));  // read up to the refusal

    // A report of that sequence number, straight from the HAL's side.
    auto framework = vircamsim::SimAidlFramework::Make(mStreamChannel);
    hostkit::logs::Clear();
    EXPECT_EQ(0, framework->SendCommand(20004, R"({"seqNo":41,"OptRet":0,"deep":)" + deep(999) + "}").status);
    for (const hostkit::logs::LogLine& line : hostkit::logs::Lines()) {
        EXPECT_NE(6, line.priority) << line.text;  // neither unreadable nor out of sequence
    }

    const std::string tooDeep = R"({"seqNo":41,"OptRet":0,"deep":)" + deep(1000) + "}";
    EXPECT_EQ(-200011, framework->SendCommand(20004, tooDeep).status);
    HOSTKIT_EXPECT_LOG_LINE(6, CLIENT_TAG,
                            ("NotifySwitchOnVirtualCameraResult inRoot failed " + tooDeep).substr(0, 1023));
}

TEST_F(AidlClientTest, SwitchOffFollowsTheReport) {
    mStreamChannel->SetSwitchOff(Delayed(30));
    EXPECT_EQ(0, Client().SwitchOffCamStream("dev", "svc"));
    HOSTKIT_EXPECT_LOG_LINE(4, CLIENT_TAG, "SwitchOffCamStream: switch off aidl virtual camera end success!");
    const vircamsim::SimJson request(mStreamChannel->SwitchRequests(false).at(0));
    EXPECT_EQ("dev", request.Root()["deviceId"].asString());
    EXPECT_FALSE(request.Root().isMember("cameraPhysicalId"));

    SimSwitchBehaviour failed = Delayed(30);
    failed.reportOptRet = 2;
    mStreamChannel->SetSwitchOff(failed);
    EXPECT_EQ(-200017, Client().SwitchOffCamStream("dev", "svc"));
    ASSERT_TRUE(mStreamChannel->WaitForReports(2, REPORT_WAIT));
}

TEST_F(AidlClientTest, SwitchWithoutStreamChangeService) {
    // A device without the instance: a declared one that died would be waited for.
    ASSERT_TRUE(mStreamChannel->Kill());
    hostkit::binder::Undeclare(mStreamChannel->Name());
    EXPECT_EQ(0, Client().SwitchOffCamStream("dev", "svc"));
    HOSTKIT_EXPECT_LOG_LINE(5, CLIENT_TAG, "SwitchOffCamStream: Can not find service!");
    EXPECT_EQ(-200014, Client().SwitchOnCamStream("dev", "svc", 1, {}));
    HOSTKIT_EXPECT_LOG_LINE(6, CLIENT_TAG, "SwitchOnCamStream: Can not find service!");
}

TEST_F(AidlClientTest, ManagerSwitchReadsCameraCount) {
    mStreamChannel->SetSwitchOn(Delayed(20));
    const android::OptResult on = android::VirtualCameraManager::Get().HandleRequest(
        2, 1115017, 1, R"({"type":"SWITCH","deviceId":"d","serviceId":"s","vectorObj":["x","y","z"],"cameraCount":3})");
    EXPECT_EQ("0", on.data);
    const vircamsim::SimJson request(mStreamChannel->SwitchRequests(true).at(0));
    EXPECT_EQ(3, request.Int("cameraCount"));
    EXPECT_EQ("xyz", request.Root()["cameraPhysicalId"].asString());
    mStreamChannel->SetSwitchOff(Delayed(20));
    EXPECT_EQ("0", android::VirtualCameraManager::Get().HandleRequest(2, 1115018, 1, R"({"type":"SWITCH"})").data);
    ASSERT_TRUE(mStreamChannel->WaitForReports(2, REPORT_WAIT));
}

}  // namespace
}  // namespace aidlclient
