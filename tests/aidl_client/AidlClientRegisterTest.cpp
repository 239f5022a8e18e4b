// Init, registration, unregistration and the id list over AIDL, directly and through the
// manager's type-2 commands.

#include <hostkit/BinderServices.h>
#include <hostkit/LogCapture.h>

#include "AidlClientFixture.h"
#include "aidl/SimJson.h"
#include "client/VirtualCameraManager.h"

namespace aidlclient {
namespace {

constexpr int INFO = 4;
constexpr int ERROR = 6;

android::OptResult Manager(int cmd, const std::string& data) {
    return android::VirtualCameraManager::Get().HandleRequest(2, cmd, 77, data);
}

TEST_F(AidlClientTest, InitPassesEvenWithoutAnyChannel) {
    mRegisterChannel->Kill();
    hostkit::binder::Undeclare(mRegisterChannel->Name());
    ForgetClientState();
    EXPECT_TRUE(Client().Init());
    HOSTKIT_EXPECT_LOG_LINE(5, CLIENT_TAG, "Init: unable to find mConnect");
    const android::OptResult check = Manager(1115016, R"({"type":"VIRTUAL"})");
    EXPECT_EQ(0, check.result);
    EXPECT_EQ("0", check.data);
    EXPECT_EQ(-200014, Client().RegisterVirCamera("d", "s", {}));
    EXPECT_EQ(-200014, Client().UnRegisterVirCamera("d", "s"));
    EXPECT_EQ("-1", Client().GetVirtualCameraIdList());
    HOSTKIT_EXPECT_LOG_LINE(ERROR, CLIENT_TAG, "GetVirtualCameraIdList: Can not find IVirCameraChannel service!");
}

TEST_F(AidlClientTest, InitLogsTheCameraProvidersLibbinderLists) {
    const std::string provider = "android.hardware.camera.provider.ICameraProvider";
    const std::string listed = "Init: AidlVirtualCameraClient : " + provider + "/virtual/0   ,virtual/0";
    hostkit::binder::Declare(provider + "/virtual/0");
    // A vendor process's libbinder reaches vndservicemanager, which lists nothing.
    ForgetClientState();
    EXPECT_TRUE(Client().Init());
    HOSTKIT_EXPECT_LOG_COUNT(0u, INFO, CLIENT_TAG, listed);
    HOSTKIT_EXPECT_LOG_LINE(INFO, CLIENT_TAG, "Init: check for aidl client start");

    hostkit::binder::UseFrameworkServiceManager(true);
    ForgetClientState();
    hostkit::logs::Clear();
    EXPECT_TRUE(Client().Init());
    HOSTKIT_EXPECT_LOG_LINE(INFO, CLIENT_TAG, listed);
}

TEST_F(AidlClientTest, RegisterSendsItsJsonAndPassesTheHalStatus) {
    EXPECT_EQ(0, Client().RegisterVirCamera("dev", "svc", {"cap1", "cap2"}));
    mRegisterChannel->SetRegisterStatus(3);
    EXPECT_EQ(3, Client().RegisterVirCamera("dev", "svc", {}));
    HOSTKIT_EXPECT_LOG_LINE(INFO, CLIENT_TAG, "RegisterVirCamera: Register virtual camera device with ret 3");
    const auto requests = mRegisterChannel->RegisterRequests();
    ASSERT_EQ(2u, requests.size());
    const vircamsim::SimJson first(requests[0]);
    ASSERT_TRUE(first.Parsed());
    EXPECT_EQ("dev", first.Root()["deviceId"].asString());
    EXPECT_EQ("svc", first.Root()["serviceId"].asString());
    ASSERT_EQ(2u, first.Root()["virCamInfo"].size());
    EXPECT_EQ("cap1", first.Root()["virCamInfo"][0].asString());
    EXPECT_EQ("cap2", first.Root()["virCamInfo"][1].asString());
    EXPECT_TRUE(vircamsim::SimJson(requests[1]).Root()["virCamInfo"].isArray());

    mRegisterChannel->SetUnregisterStatus(4);
    EXPECT_EQ(4, Client().UnRegisterVirCamera("dev", "svc"));
    const vircamsim::SimJson unregister(mRegisterChannel->UnregisterRequests().at(0));
    EXPECT_EQ("dev", unregister.Root()["deviceId"].asString());
    EXPECT_EQ("svc", unregister.Root()["serviceId"].asString());
}

TEST_F(AidlClientTest, BinderFailureGivesMinus200015) {
    hostkit::binder::FailNextTransactions(mRegisterChannel->Name(), 2, STATUS_DEAD_OBJECT);
    EXPECT_EQ(-200015, Client().RegisterVirCamera("dev", "svc", {}));
    EXPECT_EQ(-200015, Client().UnRegisterVirCamera("dev", "svc"));
    EXPECT_TRUE(mRegisterChannel->RegisterRequests().empty());
    // A transport failure is reported as EX_TRANSACTION_FAILED.
    HOSTKIT_EXPECT_LOG_LINE(ERROR, CLIENT_TAG, "RegisterVirCamera: failed: -129 msg: ");
    HOSTKIT_EXPECT_LOG_LINE(ERROR, CLIENT_TAG, "UnRegisterVirCamera: failed: -129 msg: ");
}

TEST_F(AidlClientTest, IdListIsPassedThroughOrMinusOne) {
    mRegisterChannel->SetIdList(0, R"(["10","11"])");
    EXPECT_EQ(R"(["10","11"])", Client().GetVirtualCameraIdList());
    EXPECT_EQ(R"(["10","11"])", Manager(1115019, "ignored").data);
    mRegisterChannel->SetIdList(3, "[]");
    EXPECT_EQ("-1", Client().GetVirtualCameraIdList());
    HOSTKIT_EXPECT_LOG_LINE(ERROR, CLIENT_TAG, "GetVirtualCameraIdList: processCmdRequest failed: 0 msg: ");
}

TEST_F(AidlClientTest, ManagerSurvivesHostileJson) {
    const struct {
        int cmd;
        std::string data;
        std::string answer;
    } cases[] = {
        {1115016, "not json", "-1"},
        {1115016, R"({"type":"virtual"})", "-1"},
        {1115016, R"({"type":"SWITCH"})", "0"},
        {1115016, "[1,2]", "-1"},
        {1115017, "{oops", "-1"},
        {1115017, R"({"type":7})", "-1"},
        {1115017, std::string(5000, '[') + std::string(5000, ']'), "-1"},
        // A member nested to jsoncpp's limit of 1,000 levels changes nothing; one more fails.
        {1115016, R"({"type":"SWITCH","deep":)" + std::string(999, '[') + std::string(999, ']') + "}", "0"},
        {1115016, R"({"type":"SWITCH","deep":)" + std::string(1000, '[') + std::string(1000, ']') + "}", "-1"},
        {1115017, R"({"type":"VIRTUAL","deviceId":1,"serviceId":null,"vectorObj":"x"})", "0"},
        {1115018, R"({"type":"OTHER"})", "-1"},
        {1115018, R"({"type":"VIRTUAL","deviceId":{},"serviceId":[]})", "0"},
        {1115020, "{}", "-1"},
    };
    for (const auto& c : cases) {
        const android::OptResult result = Manager(c.cmd, c.data);
        EXPECT_EQ(0, result.result) << c.data.substr(0, 40);
        EXPECT_EQ(c.answer, result.data) << c.cmd << " " << c.data.substr(0, 40);
    }
    // The bad-typed members were read as empty strings and an empty list.
    const vircamsim::SimJson reg(mRegisterChannel->RegisterRequests().at(0));
    EXPECT_EQ("", reg.Root()["deviceId"].asString());
    EXPECT_EQ(0u, reg.Root()["virCamInfo"].size());
    HOSTKIT_EXPECT_LOG_LINE(ERROR, "VIRCAMERA_MANAGER", "HandleRequest: cmd error: 1115020, uniqueID: 77");
}

}  // namespace
}  // namespace aidlclient
