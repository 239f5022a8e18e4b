// A process that never called ABinderProcess_startThreadPool(): the library says so when it
// hands its callback to the AIDL HAL, and the HAL's calls and death notices stay queued until
// a pool starts, as on a device.
#include <android/binder_process.h>
#include <hostkit/BinderServices.h>
#include <hostkit/LogCapture.h>

#include <chrono>
#include <future>
#include <thread>

#include "AidlE2eFixture.h"
#include "Bounded.h"
#include "process/SimProcess.h"

namespace aidlnopool {
namespace {

using aidle2e::TAG_PRIO_ERROR;
using android::IVirCameraWrapper;

constexpr const char* SERVICE_TAG = "VIRCAMERA_AIDL_SERVICE";
// Long enough for a delivered call to have run many times over; not a timing assertion.
constexpr std::chrono::milliseconds A_WHILE{500};

bool WaitForDeathNotifications(uint64_t count) {
    const auto deadline = std::chrono::steady_clock::now() + bounded::DEADLINE;
    while (hostkit::binder::DeathNotificationCount() < count) {
        if (std::chrono::steady_clock::now() >= deadline) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

using NoThreadPoolTest = aidle2e::AidlE2eTest;

TEST_F(NoThreadPoolTest, NothingFromTheHalArrivesUntilThePoolStarts) {
    ASSERT_FALSE(ABinderProcess_isThreadPoolStarted()) << "this program's main must not start the pool";
    int result = -1;
    Register("devA", "devA-svc", IVirCameraWrapper::MODE_REGISTER, &result);
    ASSERT_EQ(0, result);  // registration goes on
    Register("devB", "devB-svc", IVirCameraWrapper::MODE_STREAM_CHANGE, &result);
    ASSERT_EQ(0, result);
    HOSTKIT_EXPECT_LOG_COUNT(2u, TAG_PRIO_ERROR, SERVICE_TAG,
                             "RegisterCallback: no binder thread pool runs in this process, so the HAL's calls and "
                             "death notices cannot arrive; the process's main must call "
                             "ABinderProcess_startThreadPool() before registering");
    ASSERT_EQ(1u, hostkit::binder::DeathLinkCount(mStreamChannel->Name()));

    // The HAL's two-way call from a thread of its own waits; the stream HAL's death is queued.
    auto framework = vircamsim::SimAidlFramework::Make(mRegisterChannel);
    std::promise<int32_t> answer;
    std::future<int32_t> answered = answer.get_future();
    std::thread hal = vircamsim::HalThread([&] { answer.set_value(framework->OpenControlSession().status); });
    ASSERT_TRUE(mStreamChannel->Kill());
    EXPECT_EQ(std::future_status::timeout, answered.wait_for(A_WHILE)) << "a call arrived without a pool";
    EXPECT_EQ(0u, hostkit::binder::DeathNotificationCount()) << "a death notice arrived without a pool";

    ABinderProcess_startThreadPool();
    ASSERT_EQ(std::future_status::ready, answered.wait_for(bounded::DEADLINE));
    hal.join();
    EXPECT_EQ(0, answered.get());
    EXPECT_TRUE(WaitForDeathNotifications(1));
}

}  // namespace
}  // namespace aidlnopool
