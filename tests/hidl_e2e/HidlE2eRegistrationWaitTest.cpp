// A registration that waits (for a missing HAL channel, or for the HAL's answer) holds no
// lock of the wrapper: the caller's answers and buffer calls for other registrations of
// the same wrapper go through meanwhile. Every call that could hang runs bounded.
#include <future>

#include <android/log.h>
#include <gtest/gtest.h>
#include <hostkit/LogCapture.h>

#include "Bounded.h"
#include "E2eSupport.h"

namespace e2e {
namespace {

using namespace std::chrono_literals;
using Mode = android::IVirCameraWrapper::VirCameraMode;

class HidlE2eRegistrationWait : public HidlE2eFixture {
  protected:
    void SetUp() override {
        HidlE2eFixture::SetUp();
        mWrapper = NewWrapper();
        mFirst = std::make_shared<FakeVideoService>(mWrapper, UniqueId("devA", "svcA"));
        mSecond = std::make_shared<FakeVideoService>(mWrapper, UniqueId("devB", "svcB"));
        ASSERT_EQ(0, mWrapper->RegisterCallback("devA", "svcA", Mode::MODE_REGISTER, mFirst));
        hostkit::logs::Clear();
    }

    // The forwards a caller makes for the first registration; each must return.
    void ForwardsOfTheFirstRegistrationAreAnswered() {
        const int id = UniqueId("devA", "svcA");
        EXPECT_EQ(0, bounded::Run("Notify", [&] { return mWrapper->Notify(id, "hello"); }));
        void* handleData = nullptr;
        EXPECT_EQ(nullptr, bounded::Run("LockVideoBuffer", [&] {
                      return mWrapper->LockVideoBuffer(id, 0, 1, &handleData);  // nothing cached yet
                  }));
        int fence = 5;
        EXPECT_EQ(0, bounded::Run("UnLockVideoBuffer", [&] { return mWrapper->UnLockVideoBuffer(id, 0, 1, fence); }));
        ASSERT_EQ(1u, mRegisterChannel->Notifies().size());
        EXPECT_EQ("hello", mRegisterChannel->Notifies()[0].message);
    }

    android::IVirCameraWrapper* mWrapper = nullptr;
    std::shared_ptr<FakeVideoService> mFirst;
    std::shared_ptr<FakeVideoService> mSecond;
};

// The HAL takes its time to answer registerVirtualChannelCallback.
TEST_F(HidlE2eRegistrationWait, ForwardsGoThroughWhileTheHalHoldsARegistration) {
    std::promise<void> answer;
    std::shared_future<void> answered = answer.get_future().share();
    mStreamChannel->SetWhileRegistering([answered] { answered.wait_for(bounded::DEADLINE); });
    auto registration = bounded::Start("RegisterCallback held by the HAL", [this] {
        return mWrapper->RegisterCallback("devB", "svcB", Mode::MODE_STREAM_CHANGE, mSecond);
    });
    ASSERT_TRUE(hostkit::logs::WaitFor(ANDROID_LOG_DEBUG, SERVICE_TAG, "RegisterVirtualChannelCallback start",
                                       bounded::DEADLINE));
    ForwardsOfTheFirstRegistrationAreAnswered();
    answer.set_value();
    EXPECT_EQ(0, registration.Get());
    EXPECT_EQ(1u, mStreamChannel->ChannelRegistrations().size());
}

// The HAL channel is down while a registration looks for it (25 tries, 20 ms apart); it
// comes back once the forwards were answered, and the registration finds it.
TEST_F(HidlE2eRegistrationWait, ForwardsGoThroughWhileARegistrationLooksForTheHal) {
    ASSERT_TRUE(mStreamChannel->Kill());
    auto registration = bounded::Start("RegisterCallback looking for the HAL", [this] {
        return mWrapper->RegisterCallback("devB", "svcB", Mode::MODE_STREAM_CHANGE, mSecond);
    });
    // The new connection is made just before the lookups start.
    ASSERT_TRUE(hostkit::logs::WaitFor(ANDROID_LOG_DEBUG, SERVICE_TAG, "HidlService", bounded::DEADLINE));
    ForwardsOfTheFirstRegistrationAreAnswered();
    ASSERT_TRUE(mStreamChannel->Restore());
    EXPECT_EQ(0, registration.Get());
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_INFO, SERVICE_TAG, "find IVirCameraChannel success");
}

}  // namespace
}  // namespace e2e
