// A registration holds no lock while it waits for the HAL's service or for the HAL's
// answer: the HAL can call back from a thread of its own meanwhile, other users keep
// working. Every call that could hang runs bounded. (A process without a binder thread
// pool has a test program of its own: tests/aidl_no_pool.)

#include <hostkit/BinderServices.h>
#include <hostkit/LogCapture.h>

#include "AidlE2eFixture.h"
#include "Bounded.h"

namespace aidle2e {
namespace {

constexpr const char* SERVICE_TAG = "VIRCAMERA_AIDL_SERVICE";
constexpr const char* CLIENT_TAG = "VIRCAMERA_AIDL_CLIENT";

class RegistrationWaitTest : public AidlE2eTest {
protected:
    // Registers (device, device + "-svc") on its own thread; ends the process if it hangs.
    int RegisterBounded(const std::string& what, const std::string& device, IVirCameraWrapper::VirCameraMode mode) {
        return bounded::Run(what, [&] {
            int result = -1;
            (void)Register(device, device + "-svc", mode, &result);
            return result;
        });
    }
};

// The HAL clears the stream-change mode (20006) from a thread of its own while its
// registerVirtualChannelCallback waits for that thread.
TEST_F(RegistrationWaitTest, HalThreadClearsTheModeDuringTheRegistration) {
    mStreamChannel->SetCommandOnRegisterFromThread(20006);
    EXPECT_EQ(0, RegisterBounded("RegisterCallback with a 20006 from a HAL thread", "devA",
                               IVirCameraWrapper::MODE_STREAM_CHANGE));
    EXPECT_EQ(std::vector<int32_t>{0}, mStreamChannel->OnRegisterAnswers());
    HOSTKIT_EXPECT_LOG_LINE(TAG_PRIO_DEBUG, CLIENT_TAG, "ClearSwitchService: clear start");
    // The mode was not stored yet when it was cleared: the registration stores it after.
    HOSTKIT_EXPECT_LOG_LINE(TAG_PRIO_INFO, WRAPPER_TAG, "RegisterCallback success with start service mode:0");
    EXPECT_EQ(0, RegisterBounded("second RegisterCallback", "devA", IVirCameraWrapper::MODE_STREAM_CHANGE));
    HOSTKIT_EXPECT_LOG_LINE(TAG_PRIO_INFO, WRAPPER_TAG, "RegisterCallback success with already register");
}

// The HAL opens a control session (10005) from a thread of its own while it registers the
// mode's next user; the caller answers with a request to the HAL for that user.
TEST_F(RegistrationWaitTest, CallerSendsARequestFromTheHalThreadDuringTheRegistration) {
    int result = -1;
    std::shared_ptr<FakeVideoService> first = Register("devA", "devA-svc", IVirCameraWrapper::MODE_REGISTER, &result);
    ASSERT_EQ(0, result);
    ASSERT_EQ(0, mWrapper->UnRegisterCallback("devA", "devA-svc"));  // the connection stays
    android::OptResult sent;
    sent.result = 99;
    // Events keep going to the callback of the user that started the connection.
    first->SetHandler([&](int32_t cmd, const std::string&, std::vector<android::CommonData>&) {
        if (cmd == 10005) {
            sent = mWrapper->SendRequest(20001, UniqueId("devB", "devB-svc"), R"({"from":"hal thread"})");
        }
        return android::CallbackResult{0, "session-1"};
    });
    mRegisterChannel->SetCommandOnRegisterFromThread(10005);
    EXPECT_EQ(0, RegisterBounded("RegisterCallback with a 10005 from a HAL thread", "devB",
                               IVirCameraWrapper::MODE_REGISTER));
    HOSTKIT_EXPECT_LOG_LINE(TAG_PRIO_WARN, WRAPPER_TAG, "already reg service but no user use");
    EXPECT_EQ(std::vector<int32_t>{0}, mRegisterChannel->OnRegisterAnswers());
    EXPECT_EQ(0, sent.result);
    ASSERT_EQ(1u, mRegisterChannel->CallerRequests().size());
    EXPECT_EQ(R"({"from":"hal thread"})", mRegisterChannel->CallerRequests()[0].json);
}

// While a registration waits for a declared HAL service that is down, the users of another
// mode lock, unlock and send; the registration goes on once the service is back.
TEST_F(RegistrationWaitTest, OtherUsersWorkWhileARegistrationWaitsForTheService) {
    int result = -1;
    Register("camA", "camA-svc", IVirCameraWrapper::MODE_REGISTER, &result);
    ASSERT_EQ(0, result);
    auto framework = vircamsim::SimAidlFramework::Make(mRegisterChannel);
    ASSERT_EQ(0, framework->OpenControlSession().status);
    ASSERT_EQ(0, framework->ConfigureStreams({vircamsim::SimAidlStream{1, 64, 48, 17}}).status);
    ASSERT_EQ(0, framework->RequestImages(1, {{1, 10}}).status);

    ASSERT_TRUE(mStreamChannel->Kill());
    // Only the service's return ends this wait, as on a device.
    hostkit::logs::Clear();
    auto registration = bounded::Start("RegisterCallback waiting for the service", [this] {
        int waited = -1;
        Register("devB", "devB-svc", IVirCameraWrapper::MODE_STREAM_CHANGE, &waited);
        return waited;
    });
    // The connection is made right before the wait for its service.
    ASSERT_TRUE(hostkit::logs::WaitFor(TAG_PRIO_DEBUG, SERVICE_TAG, "AidlService", bounded::DEADLINE));

    const int id = UniqueId("camA", "camA-svc");
    void* handleData = nullptr;
    std::vector<android::CommonData> items(1);
    items[0].pointer = reinterpret_cast<uintptr_t>(&handleData);
    const std::string buffer = R"({"sessionId":1,"streamId":1,"bufferId":10,"index":-1})";
    const android::OptResult lock =
        bounded::Run("SendData 9108", [&] { return mWrapper->SendData(9108, id, buffer, items); });
    EXPECT_NE(0u, lock.value);
    EXPECT_NE(nullptr, handleData);
    EXPECT_EQ(0, bounded::Run("SendData 9109", [&] { return mWrapper->SendData(9109, id, buffer, {}); }).result);
    EXPECT_EQ(0, bounded::Run("SendRequest 20001", [&] { return mWrapper->SendRequest(20001, id, "{}"); }).result);
    EXPECT_EQ(1u, mRegisterChannel->CallerRequests().size());

    ASSERT_TRUE(mStreamChannel->Restore());
    EXPECT_EQ(0, registration.Get());
    HOSTKIT_EXPECT_LOG_LINE(TAG_PRIO_INFO, WRAPPER_TAG, "RegisterCallback success with start service mode:0");
    EXPECT_EQ(0, framework->Flush().status);
}

}  // namespace
}  // namespace aidle2e
