// The HAL channel's binder dying: the caller hears 15016 once, the library forgets the
// mode, and registration works again once the HAL is back; deaths racing teardown.

#include <thread>

#include <hostkit/BinderServices.h>
#include <hostkit/LogCapture.h>

#include "AidlE2eFixture.h"

namespace aidle2e {
namespace {

using DeathTest = AidlE2eTest;
constexpr auto TIMEOUT = std::chrono::seconds(5);

TEST_F(DeathTest, BinderDeathTellsTheCallerOnceAndClearsTheMode) {
    int result = -1;
    auto caller = Register("devD", "svcD", IVirCameraWrapper::MODE_REGISTER, &result);
    ASSERT_EQ(0, result);
    auto other = Register("devE", "svcE", IVirCameraWrapper::MODE_STREAM_CHANGE, &result);
    ASSERT_EQ(0, result);
    const int id = UniqueId("devD", "svcD");

    ASSERT_TRUE(mRegisterChannel->Kill());
    ASSERT_TRUE(caller->WaitFor(15016, 1, TIMEOUT));
    ASSERT_TRUE(hostkit::logs::WaitFor(TAG_PRIO_INFO, "VIRCAMERA_AIDL_CLIENT", "BinderDied: success", TIMEOUT));
    const auto calls = caller->Calls();
    ASSERT_EQ(1u, calls.size());
    EXPECT_EQ(std::to_string(id), calls[0].data);
    EXPECT_EQ(0u, other->Count(15016));
    HOSTKIT_EXPECT_LOG_LINE(TAG_PRIO_WARN, "VIRCAMERA_AIDL_SERVICE", "BinderDied: callback aidl service died");
    HOSTKIT_EXPECT_LOG_LINE(TAG_PRIO_INFO, "VIRCAMERA_AIDL_CLIENT", "BinderDied: delete service mode 1");

    // Mode 1 is forgotten; mode 0 is untouched.
    EXPECT_EQ(-1, mWrapper->SendRequest(20001, id, "{}").result);
    EXPECT_EQ(0, mWrapper->SendRequest(20001, UniqueId("devE", "svcE"), "{}").result);

    // The HAL comes back: the same user registers on a new connection.
    ASSERT_TRUE(mRegisterChannel->Restore());
    Register("devD", "svcD", IVirCameraWrapper::MODE_REGISTER, &result);
    EXPECT_EQ(0, result);
    EXPECT_EQ(2u, hostkit::logs::Count(TAG_PRIO_INFO, WRAPPER_TAG, "RegisterCallback success with start service mode:1"));
    EXPECT_EQ(0, mWrapper->SendRequest(20002, id, "{}").result);
    EXPECT_EQ(1u, mRegisterChannel->CallerRequests().size());
    EXPECT_EQ(1u, caller->Count(15016));
}

TEST_F(DeathTest, DeathRacingWrapperDestruction) {
    for (int round = 0; round < 20; ++round) {
        int result = -1;
        auto caller = std::make_shared<FakeVideoService>();
        ASSERT_EQ(0, mWrapper->RegisterCallback("devR", "svcR", IVirCameraWrapper::MODE_STREAM_CHANGE, caller));
        std::thread killer([this] { mStreamChannel->Kill(); });
        // The caller leaves and drops everything while the death is delivered.
        (void)mWrapper->UnRegisterCallback("devR", "svcR");
        delete mWrapper;
        mWrapper = nullptr;
        caller.reset();
        killer.join();
        hostkit::binder::Reset();  // joins the death threads
        // Whatever the death found, the HAL's clear command drops the mode.
        ASSERT_EQ(0, android::CreateVirCameraWrapperV2(&mWrapper));
        mStreamChannel = vircamsim::SimAidlChannel::Start(vircamsim::SimAidlChannel::STREAM_CHANGE);
        mRegisterChannel = vircamsim::SimAidlChannel::Start(vircamsim::SimAidlChannel::REGISTER);
        Register("devR", "svcR", IVirCameraWrapper::MODE_STREAM_CHANGE, &result);
        ASSERT_EQ(0, result);
        auto callback = mStreamChannel->Callback();
        ASSERT_NE(nullptr, callback);
        vircamsim::StatusResult reply;
        ASSERT_TRUE(callback->processCmdRequest(20006, "{}", &reply).isOk());
        mCallers.clear();
    }
}

TEST_F(DeathTest, DeathRacingConnectionDestruction) {
    for (int round = 0; round < 20; ++round) {
        int result = -1;
        auto caller = Register("devS", "svcS", IVirCameraWrapper::MODE_STREAM_CHANGE, &result);
        ASSERT_EQ(0, result);
        auto callback = mStreamChannel->Callback();
        ASSERT_NE(nullptr, callback);
        // The HAL's clear command destroys the connection while its binder dies.
        std::thread killer([this] { mStreamChannel->Kill(); });
        vircamsim::StatusResult reply;
        ASSERT_TRUE(callback->processCmdRequest(20006, "{}", &reply).isOk());
        killer.join();
        hostkit::binder::Reset();
        EXPECT_LE(caller->Count(15016), 1u);
        mStreamChannel = vircamsim::SimAidlChannel::Start(vircamsim::SimAidlChannel::STREAM_CHANGE);
        mRegisterChannel = vircamsim::SimAidlChannel::Start(vircamsim::SimAidlChannel::REGISTER);
        ASSERT_EQ(0, mWrapper->UnRegisterCallback("devS", "svcS"));
        mCallers.clear();
    }
}

}  // namespace
}  // namespace aidle2e
