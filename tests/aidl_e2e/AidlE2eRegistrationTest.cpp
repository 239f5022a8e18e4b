// Transport probe, factory, registration per mode and the users sharing one connection.

#include <hostkit/BinderServices.h>
#include <hostkit/LogCapture.h>

#include "AidlE2eFixture.h"

namespace aidle2e {
namespace {

using RegistrationTest = AidlE2eTest;
using hostkit::logs::Count;

TEST_F(RegistrationTest, GetVersionIsTwoOnlyWithBothInstancesDeclared) {
    EXPECT_EQ(2, android::GetVersion());
    hostkit::binder::Undeclare(mStreamChannel->Name());
    EXPECT_EQ(1, android::GetVersion());
    hostkit::binder::Declare(mStreamChannel->Name());
    hostkit::binder::Undeclare(mRegisterChannel->Name());
    EXPECT_EQ(1, android::GetVersion());
    hostkit::binder::Declare(mRegisterChannel->Name());
}

TEST_F(RegistrationTest, FactoryLogsAndEachModeStartsItsOwnConnection) {
    HOSTKIT_EXPECT_LOG_LINE(TAG_PRIO_DEBUG, WRAPPER_TAG, "CreateVirCameraWrapperV2");
    int result = -1;
    Register("dev0", "svc0", IVirCameraWrapper::MODE_STREAM_CHANGE, &result);
    EXPECT_EQ(0, result);
    Register("dev1", "svc1", IVirCameraWrapper::MODE_REGISTER, &result);
    EXPECT_EQ(0, result);
    HOSTKIT_EXPECT_LOG_LINE(TAG_PRIO_INFO, WRAPPER_TAG, "RegisterCallback success with start service mode:0");
    HOSTKIT_EXPECT_LOG_LINE(TAG_PRIO_INFO, WRAPPER_TAG, "RegisterCallback success with start service mode:1");
    // The HAL knows the library under its default identity, not the caller's strings.
    for (const auto& channel : {mStreamChannel, mRegisterChannel}) {
        EXPECT_EQ(1, channel->RegisterCallbackCount());
        EXPECT_EQ(std::make_pair(std::string("W_DEFAULT_DEVICE"), std::string("C_DEFAULT_SERVICE_")),
                  channel->RegisteredAs());
        EXPECT_NE(nullptr, channel->Callback());
    }
}

TEST_F(RegistrationTest, MissingServiceFailsAndStoresNothing) {
    // Not on this device: a declared service that died would be waited for.
    ASSERT_TRUE(mRegisterChannel->Kill());
    hostkit::binder::Undeclare(mRegisterChannel->Name());
    int result = 0;
    Register("dev", "svc", IVirCameraWrapper::MODE_REGISTER, &result);
    EXPECT_EQ(-200014, result);
    HOSTKIT_EXPECT_LOG_LINE(TAG_PRIO_ERROR, WRAPPER_TAG, "RegisterCallback failed with ret=-200014");
    hostkit::binder::Declare(mRegisterChannel->Name());
    ASSERT_TRUE(mRegisterChannel->Restore());
    Register("dev", "svc", IVirCameraWrapper::MODE_REGISTER, &result);
    EXPECT_EQ(0, result);
    HOSTKIT_EXPECT_LOG_LINE(TAG_PRIO_INFO, WRAPPER_TAG, "RegisterCallback success with start service mode:1");
}

TEST_F(RegistrationTest, UsersOfOneModeShareOneConnection) {
    int result = -1;
    Register("devA", "svcA", IVirCameraWrapper::MODE_REGISTER, &result);
    ASSERT_EQ(0, result);
    Register("devA", "svcA", IVirCameraWrapper::MODE_REGISTER, &result);
    EXPECT_EQ(0, result);
    HOSTKIT_EXPECT_LOG_LINE(TAG_PRIO_INFO, WRAPPER_TAG, "RegisterCallback success with already register");
    Register("devB", "svcB", IVirCameraWrapper::MODE_REGISTER, &result);
    EXPECT_EQ(0, result);
    HOSTKIT_EXPECT_LOG_LINE(TAG_PRIO_INFO, WRAPPER_TAG, "RegisterCallback success with add user");
    EXPECT_EQ(1, mRegisterChannel->RegisterCallbackCount());

    // The first user leaves: the second still reaches the HAL, the first no longer.
    EXPECT_EQ(0, mWrapper->UnRegisterCallback("devA", "svcA"));
    HOSTKIT_EXPECT_LOG_LINE(TAG_PRIO_INFO, WRAPPER_TAG, "UnRegisterCallback success with count: 0");
    EXPECT_EQ(0, mWrapper->SendRequest(20001, UniqueId("devB", "svcB"), "{\"x\":1}").result);
    const android::OptResult gone = mWrapper->SendRequest(20001, UniqueId("devA", "svcA"), "{}");
    EXPECT_EQ(-1, gone.result);
    EXPECT_EQ("", gone.data);
    ASSERT_EQ(1u, mRegisterChannel->CallerRequests().size());
    EXPECT_EQ("{\"x\":1}", mRegisterChannel->CallerRequests()[0].json);

    // The last user leaves; the connection stays and the next user re-registers on it.
    EXPECT_EQ(0, mWrapper->UnRegisterCallback("devB", "svcB"));
    HOSTKIT_EXPECT_LOG_LINE(TAG_PRIO_INFO, WRAPPER_TAG, "UnRegisterCallback success with count: 1");
    Register("devC", "svcC", IVirCameraWrapper::MODE_REGISTER, &result);
    EXPECT_EQ(0, result);
    HOSTKIT_EXPECT_LOG_LINE(TAG_PRIO_WARN, WRAPPER_TAG, "already reg service but no user use");
    HOSTKIT_EXPECT_LOG_LINE(TAG_PRIO_INFO, WRAPPER_TAG, "RegisterCallback success with start service mode:1");
    EXPECT_EQ(2, mRegisterChannel->RegisterCallbackCount());
}

// A HAL may clear the stream-change mode from inside the registration call (a nested
// binder call on the registering thread). The connection being re-registered loses its
// map entry mid-call and must stay alive until its call returns (ASan catches the rest).
TEST_F(RegistrationTest, ModeClearedInsideItsReRegistration) {
    int result = -1;
    Register("devA", "svcA", IVirCameraWrapper::MODE_STREAM_CHANGE, &result);
    ASSERT_EQ(0, result);
    ASSERT_EQ(0, mWrapper->UnRegisterCallback("devA", "svcA"));
    mStreamChannel->SetCommandOnRegister(20006);
    Register("devA", "svcA", IVirCameraWrapper::MODE_STREAM_CHANGE, &result);
    EXPECT_EQ(0, result);
    HOSTKIT_EXPECT_LOG_LINE(TAG_PRIO_WARN, WRAPPER_TAG, "already reg service but no user use");
    HOSTKIT_EXPECT_LOG_LINE(TAG_PRIO_INFO, "VIRCAMERA_AIDL_CLIENT", "service map has invalid cache");
    // The mode is gone: the next registration starts a new connection.
    mStreamChannel->SetCommandOnRegister(0);
    hostkit::logs::Clear();
    Register("devA", "svcA", IVirCameraWrapper::MODE_STREAM_CHANGE, &result);
    EXPECT_EQ(0, result);
    HOSTKIT_EXPECT_LOG_LINE(TAG_PRIO_INFO, WRAPPER_TAG, "RegisterCallback success with start service mode:0");
    EXPECT_EQ(3, mStreamChannel->RegisterCallbackCount());
}

TEST_F(RegistrationTest, FailedReRegistrationKeepsTheUser) {
    int result = -1;
    Register("devA", "svcA", IVirCameraWrapper::MODE_REGISTER, &result);
    ASSERT_EQ(0, result);
    ASSERT_EQ(0, mWrapper->UnRegisterCallback("devA", "svcA"));
    mRegisterChannel->SetRegisterCallbackStatus(9);
    Register("devB", "svcB", IVirCameraWrapper::MODE_REGISTER, &result);
    EXPECT_EQ(9, result);
    HOSTKIT_EXPECT_LOG_LINE(TAG_PRIO_ERROR, WRAPPER_TAG, "RegisterCallback failed with ret=9");
    // devB stays listed: its requests reach the connection.
    EXPECT_EQ(0, mWrapper->SendRequest(20002, UniqueId("devB", "svcB"), "{}").result);
    EXPECT_EQ(1u, mRegisterChannel->CallerRequests().size());
    // Hand the connection back to devA so the teardown's channel death clears the mode.
    mRegisterChannel->SetRegisterCallbackStatus(0);
    ASSERT_EQ(0, mWrapper->UnRegisterCallback("devB", "svcB"));
    Register("devA", "svcA", IVirCameraWrapper::MODE_REGISTER, &result);
    EXPECT_EQ(0, result);
}

TEST_F(RegistrationTest, PairOnBothModesUsesTheHighestMode) {
    int result = -1;
    Register("devM", "svcM", IVirCameraWrapper::MODE_STREAM_CHANGE, &result);
    ASSERT_EQ(0, result);
    Register("devM", "svcM", IVirCameraWrapper::MODE_REGISTER, &result);
    ASSERT_EQ(0, result);
    const int id = UniqueId("devM", "svcM");
    EXPECT_EQ(0, mWrapper->SendRequest(20001, id, "{}").result);
    HOSTKIT_EXPECT_LOG_LINE(TAG_PRIO_INFO, WRAPPER_TAG,
                            "SendRequest: cmd=20001 uniqueID=" + std::to_string(id) + " serviceMode=1");
    EXPECT_EQ(1u, mRegisterChannel->CallerRequests().size());
    EXPECT_EQ(0u, mStreamChannel->CallerRequests().size());
    // HAL status passes through; other commands never reach the HAL.
    mRegisterChannel->SetCallerRequestStatus(42);
    EXPECT_EQ(42, mWrapper->SendRequest(20003, id, "{}").result);
    EXPECT_EQ(0, mWrapper->SendRequest(20004, id, "{}").result);
    EXPECT_EQ(2u, mRegisterChannel->CallerRequests().size());

    EXPECT_EQ(0, mWrapper->UnRegisterCallback("devM", "svcM"));
    HOSTKIT_EXPECT_LOG_LINE(TAG_PRIO_INFO, WRAPPER_TAG, "UnRegisterCallback success with count: 2");
    // Put the pair back so the teardown's channel death clears both modes.
    Register("devM", "svcM", IVirCameraWrapper::MODE_STREAM_CHANGE, &result);
    Register("devM", "svcM", IVirCameraWrapper::MODE_REGISTER, &result);
}

TEST_F(RegistrationTest, UnknownUniqueIdAnswersMinusOneWithEmptyText) {
    int result = -1;
    Register("devU", "svcU", IVirCameraWrapper::MODE_REGISTER, &result);
    ASSERT_EQ(0, result);
    const android::OptResult request = mWrapper->SendRequest(20001, 12345, "{}");
    EXPECT_EQ(-1, request.result);
    EXPECT_EQ("", request.data);
    EXPECT_EQ(0, request.value);
    const android::OptResult data = mWrapper->SendData(9109, 12345, "{}", {});
    EXPECT_EQ(-1, data.result);
    EXPECT_EQ("", data.data);
    HOSTKIT_EXPECT_LOG_LINE(TAG_PRIO_ERROR, WRAPPER_TAG, "SendData : mService is null");
    // Manager commands still reach the manager, with serviceMode -1.
    const android::OptResult ids = mWrapper->SendRequest(1115019, 12345, "");
    EXPECT_EQ(0, ids.result);
    EXPECT_FALSE(ids.data.empty());
    HOSTKIT_EXPECT_LOG_LINE(TAG_PRIO_INFO, WRAPPER_TAG, "SendRequest: cmd=1115019 uniqueID=12345 serviceMode=-1");
}

TEST_F(RegistrationTest, LockWithBadArgumentsFailsWithoutCrashing) {
    int result = -1;
    Register("devL", "svcL", IVirCameraWrapper::MODE_REGISTER, &result);
    ASSERT_EQ(0, result);
    const int id = UniqueId("devL", "svcL");
    void* handleData = nullptr;
    std::vector<android::CommonData> items(1);
    items[0].pointer = reinterpret_cast<uintptr_t>(&handleData);
    const std::string good = R"({"sessionId":1,"streamId":1,"bufferId":1})";
    EXPECT_EQ(0, mWrapper->SendData(9108, id, good, {}).value);  // no item for the output
    EXPECT_EQ(0, mWrapper->SendData(9108, id, "[1,2]", items).value);
    EXPECT_EQ(0, mWrapper->SendData(9108, id, "\"text\"", items).value);
    EXPECT_EQ(0, mWrapper->SendData(9108, id, "{oops", items).value);
    EXPECT_EQ(0, mWrapper->SendData(9108, id, "{}", items).value);
    EXPECT_EQ(0, mWrapper->SendData(9108, id, good, items).value);  // nothing cached
    EXPECT_EQ(nullptr, handleData);
    EXPECT_EQ(-1, mWrapper->SendData(9109, id, "{oops", {}).result);
    EXPECT_NE(0, mWrapper->SendData(9109, id, "[1]", {}).result);
    EXPECT_NE(0, mWrapper->SendData(9109, id, good, {}).result);
    // 9101 goes to the HAL; its items are dropped and their descriptors closed.
    const auto before = OpenFds();
    mRegisterChannel->SetProcessAnswer(7, 3);
    EXPECT_EQ(7, mWrapper->SendData(9101, id, "{}", {}).result);
    EXPECT_EQ(before, OpenFds());
    EXPECT_EQ(1u, Count(TAG_PRIO_ERROR, "VIRCAMERA_AIDL_SERVICE", "SendData: processCmdRequest failed: 0 msg: "));
}

}  // namespace
}  // namespace aidle2e
