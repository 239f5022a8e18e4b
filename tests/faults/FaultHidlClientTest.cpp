// Every call the virtual camera client makes to the HIDL channel fails in transport, or the
// channel dies right after it: the command answers its documented failure text, the client
// logs why, the caller hears of no death for a mere failed call, and nothing is left behind.
#include <android/log.h>
#include <gtest/gtest.h>
#include <hostkit/HidlServices.h>
#include <hostkit/LogCapture.h>

#include <chrono>
#include <ostream>

#include "FaultHidlFixture.h"
#include "LogLines.h"

namespace faults {
namespace {

using namespace std::chrono_literals;

constexpr int CMD_CHECK = 1115016;
constexpr int CMD_START = 1115017;
constexpr int CMD_FINISH = 1115018;
constexpr int CMD_ID_LIST = 1115019;
constexpr const char* CLIENT_TAG = "VIRCAMERA_HIDL_CLIENT";
constexpr const char* CHECK_VIRTUAL = R"({"type":"VIRTUAL"})";
constexpr const char* START_VIRTUAL =
    R"({"type":"VIRTUAL","deviceId":"d","serviceId":"s","vectorObj":["17","1080,1920","30000,30000","front"]})";
constexpr const char* FINISH_VIRTUAL = R"({"type":"VIRTUAL","deviceId":"d","serviceId":"s"})";
constexpr const char* START_SWITCH = R"({"type":"SWITCH","deviceId":"d","serviceId":"s","vectorObj":["0"]})";
constexpr const char* FINISH_SWITCH = R"({"type":"SWITCH","deviceId":"d","serviceId":"s"})";

struct ClientCase {
    const char* name;
    HidlPoint point;
    bool streamChange;  // the call goes to the stream-change instance
    int cmd;
    const char* request;
    const char* answer;
    const char* errorLine;  // start of the client's ERROR line
};

void PrintTo(const ClientCase& c, std::ostream* os) {
    *os << c.name;
}

class FaultHidlClient : public FaultHidlTest, public ::testing::WithParamInterface<ClientCase> {};

TEST_P(FaultHidlClient, FailedCallAnswersFailureWithoutDeath) {
    const ClientCase& c = GetParam();
    ASSERT_EQ(0, Register());
    ASSERT_EQ("0", mWrapper->SendRequest(CMD_CHECK, UniqueId(), CHECK_VIRTUAL).data);
    (c.streamChange ? mStream : mRegister)->Arm(c.point, HidlFault::FAIL);

    EXPECT_EQ(c.answer, mWrapper->SendRequest(c.cmd, UniqueId(), c.request).data);
    EXPECT_EQ(1u, CountStartingWith(ANDROID_LOG_ERROR, CLIENT_TAG, c.errorLine));
    EXPECT_EQ(0u, mSource->ServiceDied());
    ExpectNothingLeft();
}

std::string CaseName(const ::testing::TestParamInfo<ClientCase>& info) {
    return info.param.name;
}

INSTANTIATE_TEST_SUITE_P(
    Points, FaultHidlClient,
    ::testing::Values(
        ClientCase{"RegisterVirCamera", HidlPoint::REGISTER_VIR_CAMERA, false, CMD_START, START_VIRTUAL, "-1",
                   "RegisterVirCamera: registerVirCamera transport failed: "},
        ClientCase{"UnRegisterVirCamera", HidlPoint::UNREGISTER_VIR_CAMERA, false, CMD_FINISH, FINISH_VIRTUAL, "-1",
                   "UnRegisterVirCamera: unRegisterVirCamera transport failed: "},
        ClientCase{"RegisterSwitchCallback", HidlPoint::REGISTER_SWITCH_CALLBACK, true, CMD_START, START_SWITCH, "-1",
                   "SwitchOnCamStream: Register switch callback failed!"},
        ClientCase{"SwitchOn", HidlPoint::SWITCH_ON, true, CMD_START, START_SWITCH, "-1",
                   "SwitchOnCamStream: switchOnVirCamera transport failed: "},
        ClientCase{"SwitchOff", HidlPoint::SWITCH_OFF, true, CMD_FINISH, FINISH_SWITCH, "-1",
                   "SwitchOffCamStream: switchOffVirCamera transport failed: "},
        // The physical-id notice is best effort: the switch still goes ahead.
        ClientCase{"PhysicalIdNotify", HidlPoint::NOTIFY, true, CMD_START, START_SWITCH, "0",
                   "SwitchOnCamStream: notify transport failed"},
        ClientCase{"IdList", HidlPoint::ID_LIST, false, CMD_ID_LIST, "{}", "null",
                   "GetVirtualCameraIdList: get virtual camera id list failed!"}),
    CaseName);

// The register channel dies right after a registration: the client notices, answers a
// failure until a new service check reconnects it, then works again.
TEST_F(FaultHidlTest, ClientReconnectsAfterTheChannelDied) {
    ASSERT_EQ(0, Register(android::IVirCameraWrapper::MODE_STREAM_CHANGE));
    ASSERT_EQ("0", mWrapper->SendRequest(CMD_CHECK, UniqueId(), CHECK_VIRTUAL).data);
    mRegister->Arm(HidlPoint::REGISTER_VIR_CAMERA, HidlFault::DIE_AFTER);
    ASSERT_EQ("0", mWrapper->SendRequest(CMD_START, UniqueId(), START_VIRTUAL).data);
    hostkit::hidl::WaitForDeathNotifications();
    EXPECT_EQ(1u, hostkit::logs::Count(ANDROID_LOG_ERROR, CLIENT_TAG,
                                       "serviceDied: VirtualCameraClient::ListenerDeathRecipient::serviceDied - "
                                       "hal virtual camera service died"));
    EXPECT_EQ("-1", mWrapper->SendRequest(CMD_FINISH, UniqueId(), FINISH_VIRTUAL).data);

    ASSERT_TRUE(mRegister->Restore());
    ASSERT_EQ("0", mWrapper->SendRequest(CMD_CHECK, UniqueId(), CHECK_VIRTUAL).data);
    EXPECT_EQ("0", mWrapper->SendRequest(CMD_FINISH, UniqueId(), FINISH_VIRTUAL).data);
    // The caller registered on the stream-change instance, which never died.
    EXPECT_EQ(0u, mSource->ServiceDied());
    ExpectNothingLeft();
}

}  // namespace
}  // namespace faults
