// The image flow over AIDL: the simulated framework sends buffers, the caller locks,
// writes and unlocks them through SendData and reports them with SendRequest(20003);
// the framework must read back exactly what was written, with no descriptor or import left.

#include <hostkit/HidlServices.h>
#include <hostkit/LogCapture.h>
#include <hostkit/Mapper.h>
#include <hostkit/TraceCapture.h>

#include "AidlE2eFixture.h"
#include "TraceSections.h"

namespace aidle2e {
namespace {

constexpr int32_t STREAM = 1;
constexpr size_t FRAME_BYTES = FakeVideoService::DEFAULT_FRAME_BYTES;

class AidlE2eImageFlowTest : public AidlE2eTest {
protected:
    void SetUp() override {
        AidlE2eTest::SetUp();
        int result = -1;
        mCaller = Register("cameraA", "serviceA", IVirCameraWrapper::MODE_REGISTER, &result);
        ASSERT_EQ(0, result);
        mFramework = vircamsim::SimAidlFramework::Make(mRegisterChannel);
        ASSERT_EQ(0, mFramework->OpenControlSession().status);
        ASSERT_EQ(0, mFramework->ConfigureStreams({vircamsim::SimAidlStream{STREAM, 64, 48, 17}}).status);
        ASSERT_EQ(0, mFramework->OpenDataSession().status);
    }
    void TearDown() override {
        if (mFramework != nullptr) mFramework->Flush();  // nothing is locked here
        mFramework.reset();
        AidlE2eTest::TearDown();
    }

    // One frame on the given buffers, each reported done; checks what the HAL read back.
    void RunFrame(int32_t frame, const std::vector<int32_t>& bufferIds) {
        std::vector<vircamsim::SimBufferRef> refs;
        for (int32_t id : bufferIds) refs.push_back({STREAM, id});
        // Only RunFrame reports buffers done: counting them spares copying the whole log.
        const size_t before = mReported;
        const auto reply = mFramework->RequestImages(frame, refs);
        ASSERT_EQ(0, reply.status);
        ASSERT_EQ("processed", reply.data);
        for (int32_t id : bufferIds) {
            ASSERT_EQ(0, mCaller->ReportDone(frame, STREAM, id).result);
        }
        const auto requests = mRegisterChannel->CallerRequestsSince(before);
        ASSERT_EQ(bufferIds.size(), requests.size());
        mReported = before + requests.size();
        for (size_t i = 0; i < bufferIds.size(); ++i) {
            const vircamsim::SimCallerRequest& done = requests[i];
            EXPECT_EQ(20003, done.cmd);
            EXPECT_EQ(frame, done.frameNumber);
            EXPECT_EQ(bufferIds[i], done.bufferId);
            ASSERT_TRUE(done.bytes.has_value());
            ASSERT_EQ(FakeVideoService::Pattern(frame, STREAM, bufferIds[i], FRAME_BYTES), *done.bytes) << "buffer " << bufferIds[i];
        }
    }

    // The open descriptors once the framework holds all the buffers a test will use.
    std::map<int, std::string> Baseline(const std::vector<int32_t>& bufferIds) {
        for (int32_t id : bufferIds) EXPECT_NE(nullptr, mFramework->Buffer({STREAM, id}));
        return OpenFds();
    }

    std::shared_ptr<FakeVideoService> mCaller;
    std::shared_ptr<vircamsim::SimAidlFramework> mFramework;
    size_t mReported = 0;
};

// A capture shows a frame's path: the HAL's image request with the caller's lock and
// unlock in it, then the buffer done, each a closed section.
TEST_F(AidlE2eImageFlowTest, AFrameLeavesItsTraceSections) {
    hostkit::trace::Start(ATRACE_TAG_CAMERA);
    RunFrame(1, {10});
    hostkit::trace::Stop();
    EXPECT_EQ((std::vector<std::string>{"AIDL imageRequest", "AIDL lockVideoBuffer", "AIDL unlockVideoBuffer",
                                        "AIDL imageBufferDone"}),
              BeganSections(hostkit::trace::Events()));
    // With no capture running, the frame path writes nothing.
    RunFrame(2, {10});
    EXPECT_EQ(4u, BeganSections(hostkit::trace::Events()).size());
}

TEST_F(AidlE2eImageFlowTest, WrittenFramesReadBackExactly) {
    RunFrame(1, {10, 11});
    EXPECT_EQ(2u, hostkit::mapper::LiveImports());
    EXPECT_TRUE(mCaller->SawHandleData());
    // The second frame sends empty handles: the library works from its cache.
    RunFrame(2, {11, 10});
    EXPECT_EQ(2u, hostkit::mapper::LiveImports());
    EXPECT_EQ(0u, mCaller->LockFailures());
    HOSTKIT_EXPECT_LOG_LINE(TAG_PRIO_INFO, "VIRCAMERA_AIDL_WRAPPERCB", "ProcessOneImageRequest mStreamBuffers.size():2");

    ASSERT_EQ(0, mFramework->Flush().status);
    EXPECT_EQ(0u, hostkit::mapper::LiveImports());
    EXPECT_TRUE(hostkit::mapper::MappedRegions().empty());
    // After the flush the framework sends the handles again and the flow still works.
    RunFrame(3, {10});
}

TEST_F(AidlE2eImageFlowTest, OnlyMapper5StreamsEveryFrame) {
    ASSERT_TRUE(hostkit::mapper::Offer({5}));
    hostkit::mapper::SetReleaseFenceMode(hostkit::mapper::FenceMode::ONE_FD);
    const auto before = Baseline({10, 11});
    for (int32_t frame = 1; frame <= 6; ++frame) {
        RunFrame(frame, {10, 11});
        if (HasFatalFailure()) return;
    }
    HOSTKIT_EXPECT_LOG_LINE(TAG_PRIO_INFO, "VIRCAMERA_HIDL_WRAPPERCB", "init mapper use V5");
    EXPECT_EQ(0u, mCaller->LockFailures());
    EXPECT_EQ(2u, hostkit::mapper::LiveImports());
    ASSERT_EQ(0, mFramework->Flush().status);
    EXPECT_EQ(0u, hostkit::mapper::LiveImports());
    EXPECT_TRUE(hostkit::mapper::MappedRegions().empty());
    EXPECT_EQ(before, OpenFds());
}

TEST_F(AidlE2eImageFlowTest, ThousandRequestsLeaveNoDescriptorBehind) {
    RunFrame(0, {0});  // warm-up: the mapper connection and its death link
    ASSERT_EQ(0, mFramework->Flush().status);
    const auto before = Baseline({1, 2, 3});
    for (int32_t frame = 1; frame <= 1000; ++frame) {
        // Every 100 frames the handles come again: the library must replace its imports.
        if (frame % 100 == 0) mFramework->ForgetSentHandles();
        RunFrame(frame, {frame % 4});
        if (HasFatalFailure()) return;
    }
    EXPECT_EQ(4u, hostkit::mapper::LiveImports());
    ASSERT_EQ(0, mFramework->Flush().status);
    EXPECT_EQ(0u, hostkit::mapper::LiveImports());
    EXPECT_EQ(before, OpenFds());
}

TEST_F(AidlE2eImageFlowTest, FailedImportLeavesNothingBehind) {
    RunFrame(0, {0});
    ASSERT_EQ(0, mFramework->Flush().status);
    const auto before = Baseline({5});
    hostkit::mapper::FailNextCode(hostkit::mapper::Operation::IMPORT, 5 /* NO_RESOURCES */);
    const auto reply = mFramework->RequestImages(1, {{STREAM, 5}});
    EXPECT_EQ(0, reply.status);  // the caller was still asked and answered
    EXPECT_EQ(1u, mCaller->LockFailures());
    // The mapper's error is logged where it happens; the cache sees the adapter's -1.
    HOSTKIT_EXPECT_LOG_LINE(TAG_PRIO_WARN, "VIRCAMERA_HIDL_WRAPPERCB", "ImportBuffer: mapper importBuffer failed: errMap 5");
    HOSTKIT_EXPECT_LOG_LINE(TAG_PRIO_ERROR, "VIRCAMERA_AIDL_WRAPPERCB",
                            "ProcessOneImageRequest: mapper importBuffer failed: errMap -1");
    EXPECT_EQ(0u, hostkit::mapper::LiveImports());
    EXPECT_EQ(before, OpenFds());
}

TEST_F(AidlE2eImageFlowTest, UnknownBufferKeyLeavesNothingBehind) {
    RunFrame(0, {0});
    ASSERT_EQ(0, mFramework->Flush().status);
    const auto before = Baseline({});
    // An item with no handle for a buffer the library never saw.
    std::vector<vircamsim::InfoData> items(1);
    items[0].data = R"({"frameNumber":1,"streamId":1,"bufferId":99})";
    EXPECT_EQ(0, mFramework->SendInfoData(9107, R"({"frameNumber":1})", items).status);
    EXPECT_EQ(1u, mCaller->LockFailures());
    HOSTKIT_EXPECT_LOG_LINE(TAG_PRIO_WARN, "VIRCAMERA_AIDL_WRAPPERCB",
                            "ProcessOneImageRequest: can not find avaliable streamBuffer, streamId 1 bufferId 99");
    HOSTKIT_EXPECT_LOG_LINE(TAG_PRIO_WARN, "VIRCAMERA_AIDL_WRAPPERCB",
                            "LockVideoBuffer: lock failed because no cache, streamId=1 bufferId=99");
    EXPECT_EQ(0u, hostkit::mapper::LiveImports());
    EXPECT_EQ(before, OpenFds());
}

// The AIDL callback does not watch the mapper: after the mapper died it keeps its old
// connection, so new imports fail cleanly, and the caller is still asked.
TEST_F(AidlE2eImageFlowTest, MapperDeathFailsImportsWithoutLeaking) {
    RunFrame(1, {1});
    ASSERT_TRUE(hostkit::mapper::Kill(4));
    hostkit::hidl::WaitForDeathNotifications();
    ASSERT_TRUE(hostkit::mapper::Restore(4));
    const auto before = Baseline({2});
    EXPECT_EQ(0, mFramework->RequestImages(2, {{STREAM, 2}}).status);
    EXPECT_EQ(1u, mCaller->LockFailures());
    HOSTKIT_EXPECT_LOG_LINE(TAG_PRIO_WARN, "VIRCAMERA_HIDL_WRAPPERCB",
                            "ImportBuffer: mapper importBuffer failed: Status(EX_TRANSACTION_FAILED): 'DEAD_OBJECT: '");
    HOSTKIT_EXPECT_LOG_LINE(TAG_PRIO_ERROR, "VIRCAMERA_AIDL_WRAPPERCB",
                            "ProcessOneImageRequest: mapper importBuffer failed: errMap -1");
    EXPECT_EQ(before, OpenFds());
    EXPECT_EQ(1u, hostkit::mapper::LiveImports());  // only the import made before the death
}

}  // namespace
}  // namespace aidle2e
