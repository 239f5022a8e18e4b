// Two caller threads lock, write and report while the HAL thread streams two streams.
#include <gtest/gtest.h>
#include <hostkit/Mapper.h>

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

}  // namespace
}  // namespace e2e
