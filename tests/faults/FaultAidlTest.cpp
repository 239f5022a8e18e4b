// Every AIDL call the library makes fails in transport or meets a dead channel: the codes
// and log lines are the documented ones, 15016 reaches the caller once per death and never
// for a failed call, and nothing is left behind.
#include <gtest/gtest.h>
#include <hostkit/BinderServices.h>
#include <hostkit/LogCapture.h>
#include <hostkit/Mapper.h>

#include <chrono>

#include "FaultAidlFixture.h"
#include "LogLines.h"
#include "ProcessState.h"

namespace faults {
namespace {

using namespace std::chrono_literals;
constexpr int PRIO_INFO = 4;
constexpr int PRIO_ERROR = 6;
constexpr int CHECK = 1115016;
constexpr int START = 1115017;
constexpr int FINISH = 1115018;
constexpr int IDS = 1115019;

struct ManagerCase {
    const char* name;
    bool streamChannel;  // the call goes to the stream-change channel
    int cmd;
    const char* json;
    const char* failedAnswer;  // the call failed in transport
    const char* deadAnswer;    // the channel died before the call
    const char* logPrefix;
};

class FaultAidlManager : public FaultAidlTest, public ::testing::WithParamInterface<ManagerCase> {
  protected:
    std::string Send(int cmd, const std::string& json) {
        android::OptResult result = mWrapper->SendRequest(cmd, 4242, json);
        EXPECT_EQ(0, result.result);
        return result.data;
    }
};

TEST_P(FaultAidlManager, TransportFailureAnswersTheBinderCode) {
    const ManagerCase& c = GetParam();
    ASSERT_EQ("0", Send(CHECK, R"({"type":"VIRTUAL"})"));
    const auto& channel = c.streamChannel ? mStream : mRegister;
    hostkit::binder::FailNextTransactions(channel->Name(), 1, STATUS_FAILED_TRANSACTION);
    EXPECT_EQ(c.failedAnswer, Send(c.cmd, c.json));
    EXPECT_EQ(1u, CountStartingWith(PRIO_ERROR, AIDL_CLIENT_TAG, c.logPrefix));
    EXPECT_EQ(0u, mSource->Count(FakeVideoService::CMD_SERVICE_DIED));
    ExpectNothingLeft();
}

TEST_P(FaultAidlManager, DeadChannelAnswersWithoutHanging) {
    const ManagerCase& c = GetParam();
    ASSERT_EQ("0", Send(CHECK, R"({"type":"VIRTUAL"})"));
    KillAndWait(c.streamChannel ? mStream : mRegister);
    // Gone for good: a declared service that died is waited for (waitForService), as on a device.
    hostkit::binder::Undeclare((c.streamChannel ? mStream : mRegister)->Name());
    EXPECT_EQ(c.deadAnswer, Send(c.cmd, c.json));
    EXPECT_EQ(0u, mSource->Count(FakeVideoService::CMD_SERVICE_DIED));
    ExpectNothingLeft();
}

const ManagerCase MANAGER_CASES[] = {
    {"Register9005", false, START, R"({"type":"VIRTUAL","deviceId":"d","serviceId":"s","vectorObj":["17"]})",
     "-200015", "-200015", "RegisterVirCamera: failed: "},
    {"Unregister9006", false, FINISH, R"({"type":"VIRTUAL","deviceId":"d","serviceId":"s"})", "-200015", "-200015",
     "UnRegisterVirCamera: failed: "},
    {"IdList30001", false, IDS, "", "-1", "-1", "GetVirtualCameraIdList: processCmdRequest failed: "},
    {"SwitchOn10001", true, START, R"({"type":"SWITCH","deviceId":"d","serviceId":"s","vectorObj":["3"]})",
     "-200015", "-200014", "SwitchOnCamStream: failed: "},
    {"SwitchOff10002", true, FINISH, R"({"type":"SWITCH","deviceId":"d","serviceId":"s"})", "-200015", "0",
     "SwitchOffCamStream: failed: "},
};

INSTANTIATE_TEST_SUITE_P(Commands, FaultAidlManager, ::testing::ValuesIn(MANAGER_CASES),
                         [](const ::testing::TestParamInfo<ManagerCase>& info) { return info.param.name; });

class FaultAidlCallerRequest : public FaultAidlTest, public ::testing::WithParamInterface<int> {};

TEST_P(FaultAidlCallerRequest, TransportFailureKeepsCodeZeroAndIsNoDeath) {
    ASSERT_EQ(0, Register());
    hostkit::binder::FailNextTransactions(mRegister->Name(), 1, STATUS_FAILED_TRANSACTION);
    // Only the HAL's code is reported: a transport failure leaves it at 0, logged.
    EXPECT_EQ(0, mWrapper->SendRequest(GetParam(), UniqueId(), "{}").result);
    EXPECT_EQ(1u, CountStartingWith(PRIO_ERROR, AIDL_SERVICE_TAG, "SendRequest: doCmdRequest failed: "));
    EXPECT_TRUE(mRegister->CallerRequests().empty());
    EXPECT_EQ(0, mWrapper->SendRequest(GetParam(), UniqueId(), "{}").result);
    EXPECT_EQ(1u, mRegister->CallerRequests().size());
    EXPECT_EQ(0u, mSource->Count(FakeVideoService::CMD_SERVICE_DIED));
    ExpectNothingLeft();
}

TEST_P(FaultAidlCallerRequest, DeadChannelTellsTheCallerOnceThenAnswersMinusOne) {
    ASSERT_EQ(0, Register());
    KillAndWait(mRegister);
    ASSERT_TRUE(mSource->WaitFor(FakeVideoService::CMD_SERVICE_DIED, 1, 5s));
    ASSERT_TRUE(hostkit::logs::WaitFor(PRIO_INFO, AIDL_CLIENT_TAG, "BinderDied: success", 5s));
    ASSERT_EQ(1u, mSource->Calls().size());
    EXPECT_EQ(std::to_string(UniqueId()), mSource->Calls()[0].data);
    EXPECT_EQ(-1, mWrapper->SendRequest(GetParam(), UniqueId(), "{}").result);
    ExpectNothingLeft();
    EXPECT_EQ(1u, mSource->Count(FakeVideoService::CMD_SERVICE_DIED));
}

INSTANTIATE_TEST_SUITE_P(Commands, FaultAidlCallerRequest, ::testing::Values(20001, 20002, 20003));

using FaultAidlConnection = FaultAidlTest;

TEST_F(FaultAidlConnection, HalCommand9101FailingInTransportKeepsCodeZero) {
    ASSERT_EQ(0, Register());
    hostkit::binder::FailNextTransactions(mRegister->Name(), 1, STATUS_FAILED_TRANSACTION);
    EXPECT_EQ(0, mWrapper->SendData(9101, UniqueId(), "{}", {}).result);
    EXPECT_EQ(1u, CountStartingWith(PRIO_ERROR, AIDL_SERVICE_TAG, "SendData: processCmdRequest failed: "));
    mRegister->SetProcessAnswer(7, 2);
    EXPECT_EQ(7, mWrapper->SendData(9101, UniqueId(), "{}", {}).result);
    EXPECT_EQ(0u, mSource->Count(FakeVideoService::CMD_SERVICE_DIED));
    ExpectNothingLeft();
}

TEST_F(FaultAidlConnection, RegisterCallFailingInTransportLeavesTheHalWithoutCallback) {
    hostkit::binder::FailNextTransactions(mRegister->Name(), 1, STATUS_FAILED_TRANSACTION);
    // Only the HAL's answer counts, and a failed call leaves it at 0.
    EXPECT_EQ(0, Register());
    EXPECT_EQ(0, mRegister->RegisterCallbackCount());
    EXPECT_EQ(0u, mSource->Count(FakeVideoService::CMD_SERVICE_DIED));
    ExpectNothingLeft();
}

TEST_F(FaultAidlConnection, DeadChannelBeforeRegistrationAnswersNoService) {
    KillAndWait(mRegister);
    // Gone for good: a declared service that died is waited for (waitForService), as on a device.
    hostkit::binder::Undeclare(mRegister->Name());
    EXPECT_EQ(-200014, Register());
    EXPECT_EQ(0u, mSource->Count(FakeVideoService::CMD_SERVICE_DIED));
    ExpectNothingLeft();
}

TEST_F(FaultAidlConnection, DeathLinkReportsOnceAndTheModeRegistersAgain) {
    ASSERT_EQ(0, Register(android::IVirCameraWrapper::MODE_STREAM_CHANGE));
    ASSERT_EQ(1u, hostkit::binder::DeathLinkCount(mStream->Name()));
    KillAndWait(mStream);
    ASSERT_TRUE(mSource->WaitFor(FakeVideoService::CMD_SERVICE_DIED, 1, 5s));
    ASSERT_TRUE(hostkit::logs::WaitFor(PRIO_INFO, AIDL_CLIENT_TAG, "BinderDied: success", 5s));
    ASSERT_TRUE(mStream->Restore());
    EXPECT_EQ(0, Register(android::IVirCameraWrapper::MODE_STREAM_CHANGE));
    EXPECT_EQ(1u, hostkit::binder::DeathLinkCount(mStream->Name()));
    ExpectNothingLeft();
    EXPECT_EQ(1u, mSource->Count(FakeVideoService::CMD_SERVICE_DIED));
}

TEST_F(FaultAidlConnection, MapperFaultsOnTheImagePath) {
    ASSERT_EQ(0, Register());
    StartSession();
    hostkit::mapper::FailNextCode(hostkit::mapper::Operation::IMPORT, 5);
    EXPECT_EQ(0, Frame(0, 1));
    EXPECT_EQ(1u, mSource->LockFailures());
    hostkit::mapper::FailNextCode(hostkit::mapper::Operation::LOCK, 3);
    EXPECT_EQ(0, Frame(1, 2));
    EXPECT_EQ(2u, mSource->LockFailures());
    hostkit::mapper::FailNextCode(hostkit::mapper::Operation::UNLOCK, 2);
    EXPECT_EQ(0, Frame(2, 2));
    EXPECT_EQ(1u, mSource->Filled());
    EXPECT_EQ(0u, mSource->Count(FakeVideoService::CMD_SERVICE_DIED));
    ExpectNothingLeft();
}

}  // namespace
}  // namespace faults
