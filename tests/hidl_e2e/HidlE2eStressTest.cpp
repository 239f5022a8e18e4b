// Two caller threads lock, write and report while the HAL thread streams two streams.
#include <gtest/gtest.h>
#include <hostkit/Mapper.h>

#include <atomic>
#include <thread>

#include "E2eSupport.h"
#include "hidl/SimHidlFramework.h"

namespace e2e {
namespace {

using namespace std::chrono_literals;
using vircamsim::SimHidlFramework;

constexpr const char* DEVICE = "camera-device-05";
constexpr const char* SERVICE = "video.service";
constexpr uint32_t FRAMES = 40;

class HidlE2eStress : public HidlE2eFixture {};

TEST_F(HidlE2eStress, TwoCallerThreadsAgainstStreamingHal) {
    android::IVirCameraWrapper* wrapper = NewWrapper();
    const int id = UniqueId(DEVICE, SERVICE);
    auto caller = std::make_shared<FakeVideoService>(wrapper, id, 2);
    ASSERT_EQ(0, wrapper->RegisterCallback(DEVICE, SERVICE, android::IVirCameraWrapper::MODE_REGISTER, caller));
    {
        SimHidlFramework framework(mRegisterChannel, 4);
        ASSERT_TRUE(framework.OpenControlSession(DEVICE, SERVICE).has_value());
        ASSERT_TRUE(framework.ConfigureStreams(1, {{0, 320, 240, 17}, {1, 160, 120, 17}}).has_value());
        framework.StartStreaming(FakeVideoService::DATA_SESSION_ID, 0, FRAMES, 1ms);
        EXPECT_EQ(FRAMES, framework.StopStreaming());
        ASSERT_TRUE(caller->WaitForHandled(2 * FRAMES, 10s));
        ASSERT_TRUE(framework.WaitForReturnedFrames(2 * FRAMES, 10s));
        EXPECT_EQ(0u, caller->Failures());
        std::vector<bool> seen(2 * FRAMES, false);
        for (const vircamsim::ReturnedFrame& frame : framework.ReturnedFrames()) {
            const size_t size = frame.streamId == 0 ? 320 * 240 * 3 / 2 : 160 * 120 * 3 / 2;
            EXPECT_TRUE(frame.bytes == FakeVideoService::Pattern(frame.frameNumber, frame.streamId, frame.bufferId, size))
                    << "frame " << frame.frameNumber << " stream " << frame.streamId;
            seen[frame.frameNumber * 2 + frame.streamId] = true;
        }
        EXPECT_EQ(std::vector<bool>(2 * FRAMES, true), seen);
        EXPECT_EQ(8u, hostkit::mapper::LiveImports());
        caller->StopWorkers();
        EXPECT_EQ(0, wrapper->UnRegisterCallback(DEVICE, SERVICE));
        DeleteWrappers();
    }
    EXPECT_EQ(0u, hostkit::mapper::LiveImports());
}

// Calls for a registered id while the same pair registers again and again: each registration
// stores a new connection in the wrapper's map and names its channel while the caller's
// thread looks both up. Meant for ThreadSanitizer (scripts/test.sh tsan), which reports any
// of those accesses made without the lock; the plain build checks only the results.
TEST_F(HidlE2eStress, CallsOverlapRepeatedRegistrations) {
    android::IVirCameraWrapper* wrapper = NewWrapper();
    const int id = UniqueId(DEVICE, SERVICE);
    auto caller = std::make_shared<FakeVideoService>(wrapper, id);
    ASSERT_EQ(0, wrapper->RegisterCallback(DEVICE, SERVICE, android::IVirCameraWrapper::MODE_REGISTER, caller));
    std::atomic<bool> registering{true};
    std::atomic<int> calls{0};
    std::thread notifier([&] {
        // Answers depend on how far the newest registration got; only the overlap matters.
        while (registering.load()) {
            (void)wrapper->Notify(id, "x");
            ++calls;
        }
    });
    while (calls.load() == 0) std::this_thread::yield();  // the calls are under way
    int failedRegistrations = 0;
    for (int round = 0; round < 30; ++round) {
        if (wrapper->RegisterCallback(DEVICE, SERVICE, android::IVirCameraWrapper::MODE_REGISTER, caller) != 0) {
            ++failedRegistrations;
        }
    }
    registering.store(false);
    notifier.join();
    EXPECT_EQ(0, failedRegistrations);
    EXPECT_EQ(0, wrapper->Notify(id, "x"));
    EXPECT_EQ(0, wrapper->UnRegisterCallback(DEVICE, SERVICE));
    DeleteWrappers();
}

}  // namespace
}  // namespace e2e
