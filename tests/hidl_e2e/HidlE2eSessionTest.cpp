// A whole session through the shared library: every frame's bytes reach the HAL as written,
// every buffer is imported once and freed once, and no descriptor is left behind.
#include <android/log.h>
#include <gtest/gtest.h>
#include <hostkit/LogCapture.h>
#include <hostkit/Mapper.h>
#include <hostkit/TraceCapture.h>

#include "E2eSupport.h"
#include "OpenFds.h"
#include "TraceSections.h"
#include "hidl/SimHidlFramework.h"

namespace e2e {
namespace {

using namespace std::chrono_literals;
using vircamsim::SessionResult;
using vircamsim::SimHidlFramework;
using vircamsim::StreamSpec;
using OptResult = SimHidlFramework::OptResult;

constexpr const char* DEVICE = "camera-device-01";
constexpr const char* SERVICE = "video.service";
const std::vector<StreamSpec> STREAMS = {{0, 1920, 1080, 17}, {1, 1280, 720, 17}};

class HidlE2eSession : public HidlE2eFixture {};

void ExpectFramesMatchPattern(const std::vector<vircamsim::ReturnedFrame>& frames) {
    for (const vircamsim::ReturnedFrame& frame : frames) {
        ASSERT_TRUE(frame.readBackOk) << "frame " << frame.frameNumber;
        const size_t expectedSize = frame.streamId == 0 ? 3110400u : 1382400u;
        ASSERT_EQ(expectedSize, frame.bytes.size());
        EXPECT_TRUE(frame.bytes == FakeVideoService::Pattern(frame.frameNumber, frame.streamId, frame.bufferId, frame.bytes.size()))
                << "bytes differ in frame " << frame.frameNumber << " stream " << frame.streamId;
        EXPECT_TRUE(frame.status);
    }
}

TEST_F(HidlE2eSession, FramesArriveAsWrittenAndBuffersAreImportedOnceFreedOnce) {
    hostkit::mapper::SetReleaseFenceMode(hostkit::mapper::FenceMode::ONE_FD);
    const auto fdsBefore = OpenFds();
    const int id = UniqueId(DEVICE, SERVICE);
    {
        android::IVirCameraWrapper* wrapper = NewWrapper();
        auto caller = std::make_shared<FakeVideoService>(wrapper, id);
        SimHidlFramework framework(mRegisterChannel, 3);
        ASSERT_EQ(0, wrapper->RegisterCallback(DEVICE, SERVICE, android::IVirCameraWrapper::MODE_REGISTER, caller));

        ASSERT_EQ(std::optional<uint32_t>(FakeVideoService::CONTROL_SESSION_ID), framework.OpenControlSession(DEVICE, SERVICE));
        EXPECT_EQ(0, wrapper->NotifyOpenControlSessionResult(id, 0));
        ASSERT_EQ(std::optional<OptResult>(OptResult::SUCCESS), framework.ConfigureStreams(FakeVideoService::CONTROL_SESSION_ID, STREAMS));
        EXPECT_EQ(0, wrapper->NotifyConfigStreamResult(id, 0));
        EXPECT_EQ(0, wrapper->NotifyConfigStreamResult(id, -5));
        ASSERT_EQ(std::optional<uint32_t>(FakeVideoService::DATA_SESSION_ID), framework.OpenDataSession(DEVICE, SERVICE));
        EXPECT_EQ(0, wrapper->NotifyOpenDataSessionResult(id, 0));
        EXPECT_EQ(0, wrapper->NotifyOpenDataSessionResult(id, 3));

        for (uint32_t frame = 0; frame < 6; ++frame) {
            auto answer = framework.SendImageRequest(FakeVideoService::DATA_SESSION_ID, frame);
            ASSERT_TRUE(answer.has_value());
            EXPECT_EQ(OptResult::SUCCESS, answer->first);
            EXPECT_EQ(2u, answer->second);
        }
        ASSERT_TRUE(framework.WaitForReturnedFrames(12, 5s));
        EXPECT_EQ(0u, caller->Failures());
        ExpectFramesMatchPattern(framework.ReturnedFrames());
        // Three ring buffers per stream: frames 3-5 came without handles and reused the imports.
        EXPECT_EQ(6u, hostkit::mapper::LiveImports());

        // Library answers carried the registration id as session id and the HAL codes.
        std::vector<SessionResult> results = mRegisterChannel->SessionResults();
        ASSERT_EQ(5u, results.size());
        const std::vector<std::pair<SessionResult::Kind, int32_t>> expected = {
                {SessionResult::Kind::CONTROL, 0}, {SessionResult::Kind::CONFIG, 100},
                {SessionResult::Kind::CONFIG, 101}, {SessionResult::Kind::DATA, 200},
                {SessionResult::Kind::DATA, 201}};
        for (size_t i = 0; i < expected.size(); ++i) {
            EXPECT_EQ(expected[i].first, results[i].kind) << i;
            EXPECT_EQ(expected[i].second, results[i].code) << i;
            EXPECT_EQ(id, results[i].sessionId) << i;
        }
        const std::string masked = Masked(std::to_string(id));
        HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_DEBUG, SERVICE_TAG,
                                "NotifyConfigStreamResult sessionID=" + masked + ",result=0");
        HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_DEBUG, SERVICE_TAG,
                                "NotifyConfigStreamResult sessionID=" + masked + ",result=-5");
        HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_DEBUG, SERVICE_TAG,
                                "NotifyOpenDataSessionResult sessionID=" + masked + ",result=3");

        // Meta items: text kept, rotation always "180", unknown types dropped.
        ASSERT_EQ(std::optional<OptResult>(OptResult::SUCCESS),
                  framework.SendMetaRequest(FakeVideoService::DATA_SESSION_ID, 9, {{1, "hello"}, {2, "90"}, {7, "x"}}));
        std::vector<android::VirCameraMetaInfo> metas = caller->Metas();
        ASSERT_EQ(2u, metas.size());
        EXPECT_EQ(1, metas[0].type);
        EXPECT_EQ("hello", metas[0].value);
        EXPECT_EQ(2, metas[1].type);
        EXPECT_EQ("180", metas[1].value);

        // Unregistering frees every import; the buffers then come again with handles.
        ASSERT_EQ(std::optional<OptResult>(OptResult::SUCCESS),
                  framework.UnregisterAllBuffers(FakeVideoService::DATA_SESSION_ID));
        EXPECT_EQ(6u, caller->UnregisteredBuffers().size());
        EXPECT_EQ(0u, hostkit::mapper::LiveImports());
        for (uint32_t frame = 6; frame < 8; ++frame) {
            ASSERT_TRUE(framework.SendImageRequest(FakeVideoService::DATA_SESSION_ID, frame).has_value());
        }
        ASSERT_TRUE(framework.WaitForReturnedFrames(16, 5s));
        ExpectFramesMatchPattern(framework.ReturnedFrames());
        EXPECT_EQ(4u, hostkit::mapper::LiveImports());

        // Flush drops the cache (nothing is locked any more).
        ASSERT_EQ(std::optional<OptResult>(OptResult::SUCCESS), framework.Flush(FakeVideoService::DATA_SESSION_ID));
        EXPECT_EQ(1u, caller->Flushes());
        EXPECT_EQ(0u, hostkit::mapper::LiveImports());
        ASSERT_TRUE(framework.SendImageRequest(FakeVideoService::DATA_SESSION_ID, 8).has_value());
        EXPECT_EQ(2u, hostkit::mapper::LiveImports());
        ASSERT_TRUE(framework.WaitForReturnedFrames(18, 5s));

        EXPECT_EQ(std::optional<OptResult>(OptResult::SUCCESS), framework.CloseDataSession(FakeVideoService::DATA_SESSION_ID));
        EXPECT_EQ(std::optional<OptResult>(OptResult::SUCCESS),
                  framework.CloseControlSession(FakeVideoService::CONTROL_SESSION_ID));
        EXPECT_EQ(0, wrapper->UnRegisterCallback(DEVICE, SERVICE));
        EXPECT_EQ(1u, mRegisterChannel->ChannelUnregistrations().size());
        // The connection (and with it the channel callback) goes with the unregistration.
        EXPECT_EQ(0u, hostkit::mapper::LiveImports());
        DeleteWrappers();
        EXPECT_EQ(0u, hostkit::mapper::LiveImports());
    }
    EXPECT_TRUE(hostkit::mapper::MappedRegions().empty());
    EXPECT_EQ(fdsBefore, OpenFds());
}

TEST_F(HidlE2eSession, DeletingTheWrapperReleasesCachedBuffers) {
    const auto fdsBefore = OpenFds();
    const int id = UniqueId(DEVICE, SERVICE);
    {
        android::IVirCameraWrapper* wrapper = NewWrapper();
        auto caller = std::make_shared<FakeVideoService>(wrapper, id);
        SimHidlFramework framework(mStreamChannel, 2);
        ASSERT_EQ(0, wrapper->RegisterCallback(DEVICE, SERVICE, android::IVirCameraWrapper::MODE_STREAM_CHANGE,
                                               caller));
        ASSERT_TRUE(framework.OpenControlSession(DEVICE, SERVICE).has_value());
        ASSERT_TRUE(framework.ConfigureStreams(1, {{5, 320, 240, 17}}).has_value());
        for (uint32_t frame = 0; frame < 4; ++frame) {
            ASSERT_TRUE(framework.SendImageRequest(1, frame).has_value());
        }
        ASSERT_TRUE(framework.WaitForReturnedFrames(4, 5s));
        for (const vircamsim::ReturnedFrame& frame : framework.ReturnedFrames()) {
            EXPECT_TRUE(frame.bytes == FakeVideoService::Pattern(frame.frameNumber, 5, frame.bufferId, 320 * 240 * 3 / 2));
        }
        EXPECT_EQ(2u, hostkit::mapper::LiveImports());
        EXPECT_EQ(0, wrapper->UnRegisterCallback(DEVICE, SERVICE));
        DeleteWrappers();
        EXPECT_EQ(0u, hostkit::mapper::LiveImports());
    }
    EXPECT_EQ(fdsBefore, OpenFds());
}

// A capture shows a frame's path: the HAL's image request, and in it the caller's lock,
// unlock and buffer done, each a closed section.
TEST_F(HidlE2eSession, AFrameLeavesItsTraceSections) {
    const int id = UniqueId(DEVICE, SERVICE);
    android::IVirCameraWrapper* wrapper = NewWrapper();
    auto caller = std::make_shared<FakeVideoService>(wrapper, id);
    SimHidlFramework framework(mRegisterChannel, 2);
    ASSERT_EQ(0, wrapper->RegisterCallback(DEVICE, SERVICE, android::IVirCameraWrapper::MODE_REGISTER, caller));
    ASSERT_TRUE(framework.OpenControlSession(DEVICE, SERVICE).has_value());
    ASSERT_TRUE(framework.ConfigureStreams(FakeVideoService::CONTROL_SESSION_ID, {{5, 64, 48, 17}}).has_value());
    ASSERT_TRUE(framework.OpenDataSession(DEVICE, SERVICE).has_value());

    hostkit::trace::Start(ATRACE_TAG_CAMERA);
    ASSERT_TRUE(framework.SendImageRequest(FakeVideoService::DATA_SESSION_ID, 0).has_value());
    ASSERT_TRUE(framework.WaitForReturnedFrames(1, 5s));
    hostkit::trace::Stop();
    EXPECT_EQ((std::vector<std::string>{"HIDL processImageRequest", "HIDL lockVideoBuffer", "HIDL unlockVideoBuffer",
                                        "HIDL imageBufferDone"}),
              BeganSections(hostkit::trace::Events()));

    // With no capture running, the frame path writes nothing.
    ASSERT_TRUE(framework.SendImageRequest(FakeVideoService::DATA_SESSION_ID, 1).has_value());
    ASSERT_TRUE(framework.WaitForReturnedFrames(2, 5s));
    EXPECT_EQ(4u, BeganSections(hostkit::trace::Events()).size());

    EXPECT_TRUE(framework.CloseDataSession(FakeVideoService::DATA_SESSION_ID).has_value());
    EXPECT_EQ(0, wrapper->UnRegisterCallback(DEVICE, SERVICE));
    DeleteWrappers();
}

}  // namespace
}  // namespace e2e
