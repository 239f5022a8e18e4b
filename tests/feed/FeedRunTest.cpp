// vircam-feed's device run against the simulated HIDL HAL: it registers, delivers the frames
// the HAL asks for, registers again after the HAL died and came back, stops at --frames and
// unregisters, announcing each complete registration. The run is on its own thread; a failing
// test stops it with SIGTERM rather than hang.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <future>
#include <thread>

#include <hostkit/HidlServices.h>
#include <hostkit/Mapper.h>

#include "FeedRun.h"
#include "FeedSteps.h"
#include "hidl/SimCameraProvider.h"
#include "hidl/SimHidlFramework.h"

namespace vircamfeed {
namespace {

using namespace std::chrono_literals;

template <class Condition>
bool WaitUntil(Condition condition) {
    const auto deadline = std::chrono::steady_clock::now() + 10s;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) {
            return false;
        }
        std::this_thread::sleep_for(5ms);
    }
    return true;
}

// Opens the sessions and one 64x48 NV21 stream; the data session id, or 0.
uint32_t OpenStream(vircamsim::SimHidlFramework& framework) {
    auto control = framework.OpenControlSession(FEED_DEVICE, FEED_SERVICE);
    if (!control || !framework.ConfigureStreams(*control, {{0, 64, 48, 17}})) {
        return 0;
    }
    return framework.OpenDataSession(FEED_DEVICE, FEED_SERVICE).value_or(0);
}

TEST(FeedRunTest, FeedsUntilFramesAndRegistersAgainAfterTheHalDied) {
    ASSERT_TRUE(hostkit::mapper::Offer({4, 3, 2}));
    auto provider = vircamsim::SimCameraProvider::Start();
    auto channel = vircamsim::SimHidlChannel::Start(vircamsim::REGISTER_INSTANCE);
    auto streamChannel = vircamsim::SimHidlChannel::Start(vircamsim::STREAM_CHANGE_INSTANCE);
    ASSERT_TRUE(provider && channel && streamChannel);
    LibraryLoader library;
    std::string error;
    ASSERT_TRUE(library.Load("libvircamerawrapper.so", error)) << error;
    {
        vircamsim::SimHidlFramework framework(channel);
        FeedOptions options;
        options.frames = 4;
        options.fps = 240;
        auto pattern = MakePatternSource();
        FeedReport report;
        std::atomic<int> registrations{0};
        auto run = std::async(std::launch::async, [&] {
            return RunFeed(options, false, library, *pattern, report, {[&] { ++registrations; }, {}});
        });
        // Whatever ends this scope, a run still going gets SIGTERM, as Ctrl-C stops it on a phone.
        struct StopOnExit {
            std::future<std::optional<uint32_t>>& run;
            ~StopOnExit() {
                if (run.valid() && run.wait_for(0s) != std::future_status::ready) {
                    raise(SIGTERM);
                }
            }
        } stopOnExit{run};

        // The hook, not the HAL's record: frames sent before RegisterCallback returned would
        // be reported through the connection the library has not stored yet.
        ASSERT_TRUE(WaitUntil([&] { return registrations.load() == 1; }));
        uint32_t session = OpenStream(framework);
        ASSERT_NE(0u, session);
        for (uint32_t frame = 0; frame < 2; ++frame) {
            ASSERT_TRUE(framework.SendImageRequest(session, frame).has_value());
        }
        channel->Kill();
        hostkit::hidl::WaitForDeathNotifications();
        channel->Restore();
        EXPECT_TRUE(WaitUntil([&] { return registrations.load() == 2; }))
            << "the feed did not register again";
        session = OpenStream(framework);
        ASSERT_NE(0u, session);
        for (uint32_t frame = 2; frame < 4; ++frame) {
            ASSERT_TRUE(framework.SendImageRequest(session, frame).has_value());
        }

        ASSERT_EQ(std::future_status::ready, run.wait_for(10s)) << "the feed did not stop after its frames";
        EXPECT_EQ(std::optional<uint32_t>(4), run.get());
        EXPECT_EQ(2u, channel->ChannelRegistrations().size());
        EXPECT_EQ(1u, channel->ChannelUnregistrations().size());
        EXPECT_TRUE(framework.WaitForReturnedFrames(4, 5s));
        framework.FreeBuffers();
    }
    channel->Kill();
    streamChannel->Kill();
    hostkit::hidl::WaitForDeathNotifications();
    hostkit::hidl::Reset();
    hostkit::mapper::Reset();
}

}  // namespace
}  // namespace vircamfeed
