// A whole HIDL session: every buffer imported once and freed exactly once.
#include <unistd.h>

#include <cstring>

#include "BufferRing.h"
#include "HidlChannel.h"
#include "OpenFds.h"
#include "SpyMapperV2.h"

using ::testing::_;
using ::testing::DoAll;
using ::testing::Invoke;
using ::testing::Return;

namespace {

constexpr size_t RING = 4;
constexpr uint32_t FRAMES = 40;
constexpr size_t BYTES = 64 * 48 * 3 / 2;

vircam::VirStreamConfiguration OneStream() {
    vircam::VirStreamConfiguration config;
    config.streams.resize(1);
    config.streams[0].id = 3;
    config.streams[0].width = 64;
    config.streams[0].height = 48;
    return config;
}

}  // namespace

class CallbackHidlSessionTest : public HidlChannelTest {
  protected:
    // One round of the ring: handles on the first request of each buffer only. The
    // caller fills every frame and the kit's read-back sees it.
    void RunFrames(const BufferRing& ring, uint32_t firstFrame) {
        for (uint32_t frame = firstFrame; frame < firstFrame + FRAMES; ++frame) {
            const uint64_t id = frame % RING;
            const native_handle_t* handle = frame - firstFrame < RING ? ring[id] : nullptr;
            ImageReply reply = SendImages(*mChannel, 9, {Image(frame, 3, id, handle)});
            ASSERT_TRUE(reply.answered);
            EXPECT_EQ(VirOptResult::SUCCESS, reply.status);
            EXPECT_EQ(1u, reply.processed);

            void* handleData = nullptr;
            void* address = mChannel->LockVideoBuffer(0, 3, id, &handleData);
            ASSERT_NE(nullptr, address);
            ASSERT_NE(nullptr, handleData);
            memset(address, static_cast<int>(frame & 0xff), BYTES);
            int32_t fence = -5;
            ASSERT_EQ(0, mChannel->UnLockVideoBuffer(0, 3, id, fence));
            ASSERT_GE(fence, 0);
            close(fence);
            auto bytes = hostkit::mapper::ReadBack(ring[id]);
            ++mReadBacks;
            ASSERT_TRUE(bytes.has_value());
            EXPECT_EQ(frame & 0xff, bytes->back());
        }
        EXPECT_EQ(RING, hostkit::mapper::LiveImports());
    }

    int mReadBacks = 0;  // each imports and frees once through the same mapper
};

TEST_F(CallbackHidlSessionTest, ConfigFramesFlushConfigDestroyFreesEveryImportOnce) {
    android::sp<SpyMapperV2> spy = SpyMapperV2::Install();
    ASSERT_NE(nullptr, spy);
    hostkit::mapper::SetReleaseFenceMode(hostkit::mapper::FenceMode::ONE_FD);
    BufferRing ring(RING);
    ASSERT_TRUE(ring.allValid());
    const auto fdsBefore = OpenFds();
    const auto regionsBefore = hostkit::mapper::MappedRegions();

    EXPECT_CALL(*mCaller, OnProcessImageRequest(9, _, _))
        .WillRepeatedly(Invoke([](uint32_t, std::vector<android::VirCameraImageBuffer>& buffers, uint32_t& n) {
            n = static_cast<uint32_t>(buffers.size());
            return 0;
        }));
    EXPECT_CALL(*mCaller, OnConfigStream(9, _)).Times(2).WillRepeatedly(Return(0));
    EXPECT_CALL(*mCaller, OnFlush(9)).WillOnce(Return(0));

    auto config = OneStream();
    EXPECT_EQ(VirOptResult::SUCCESS, static_cast<VirOptResult>(mChannel->configStream(9, config)));
    RunFrames(ring, 0);
    EXPECT_EQ(VirOptResult::SUCCESS, static_cast<VirOptResult>(mChannel->flush(9)));
    EXPECT_EQ(0u, hostkit::mapper::LiveImports());
    for (int id = 0; id < static_cast<int>(RING); ++id) {
        HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_DEBUG, HIDL_TAG,
                                "VirCameraCallback ~~StreamBuffer streamid=3,bufferId=" + std::to_string(id));
    }
    RunFrames(ring, 100);
    EXPECT_EQ(VirOptResult::SUCCESS, static_cast<VirOptResult>(mChannel->configStream(9, config)));
    EXPECT_EQ(0u, hostkit::mapper::LiveImports());
    RunFrames(ring, 200);
    mChannel.clear();
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_DEBUG, HIDL_TAG, "~VirCameraCallback");

    EXPECT_EQ(0u, hostkit::mapper::LiveImports());
    EXPECT_EQ(3 * static_cast<int>(RING) + mReadBacks, spy->mImports.load());
    EXPECT_EQ(spy->mImports.load(), spy->mFrees.load());
    EXPECT_EQ(spy->mLocks.load(), spy->mUnlocks.load());
    EXPECT_EQ(regionsBefore, hostkit::mapper::MappedRegions());
    EXPECT_EQ(fdsBefore, OpenFds());
}

// Without a fence from the mapper the caller gets -1.
TEST_F(CallbackHidlSessionTest, UnlockWithoutFenceReportsMinusOne) {
    ASSERT_TRUE(hostkit::mapper::Offer({4}));
    BufferRing ring(1);
    ASSERT_TRUE(Cache(0, 1, ring[0]));
    ASSERT_NE(nullptr, mChannel->LockVideoBuffer(0, 0, 1, nullptr));
    int32_t fence = 42;
    EXPECT_EQ(0, mChannel->UnLockVideoBuffer(0, 0, 1, fence));
    EXPECT_EQ(-1, fence);
}

// The caller's failure becomes status 1, its answers reach the HAL.
TEST_F(CallbackHidlSessionTest, CallerResultsBecomeHalStatus) {
    EXPECT_CALL(*mCaller, OnOpenControlSession("dev", "svc", _))
        .WillOnce(DoAll(::testing::SetArgReferee<2>(77u), Return(0)));
    EXPECT_CALL(*mCaller, OnOpenDataSession("dev", "svc", _))
        .WillOnce(DoAll(::testing::SetArgReferee<2>(78u), Return(3)));
    EXPECT_CALL(*mCaller, OnCloseControlSession(77)).WillOnce(Return(0));
    EXPECT_CALL(*mCaller, OnCloseDataSession(78)).WillOnce(Return(-1));
    int answers = 0;
    mChannel->openControlSession("dev", "svc", [&](VirOptResult status, uint32_t id) {
        ++answers;
        EXPECT_EQ(VirOptResult::SUCCESS, status);
        EXPECT_EQ(77u, id);
    });
    mChannel->openDataSession("dev", "svc", [&](VirOptResult status, uint32_t id) {
        ++answers;
        EXPECT_EQ(VirOptResult::FAILED, status);
        EXPECT_EQ(78u, id);
    });
    EXPECT_EQ(2, answers);
    EXPECT_EQ(VirOptResult::SUCCESS, static_cast<VirOptResult>(mChannel->closeControlSession(77)));
    EXPECT_EQ(VirOptResult::FAILED, static_cast<VirOptResult>(mChannel->closeDataSession(78)));
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_DEBUG, HIDL_TAG, "openControlSession service=s*c");
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_DEBUG, HIDL_TAG, "closeControlSession sessionid=7*");
}

// An empty request is answered at once without the caller.
TEST_F(CallbackHidlSessionTest, EmptyImageRequestSkipsTheCaller) {
    EXPECT_CALL(*mCaller, OnProcessImageRequest(_, _, _)).Times(0);
    ImageReply reply = SendImages(*mChannel, 1, {});
    EXPECT_TRUE(reply.answered);
    EXPECT_EQ(VirOptResult::SUCCESS, reply.status);
    EXPECT_EQ(0u, reply.processed);
}

// A HAL call the caller's callback triggers on the same thread (a nested transaction)
// must leave the request list the outer call handed out as it was.
TEST_F(CallbackHidlSessionTest, NestedImageRequestLeavesTheOuterListAlone) {
    ASSERT_TRUE(hostkit::mapper::Offer({4}));
    BufferRing ring(1);
    ASSERT_TRUE(Cache(0, 0, ring[0]));
    std::vector<android::VirCameraImageBuffer> outerAfterNested;
    int calls = 0;
    EXPECT_CALL(*mCaller, OnProcessImageRequest(1, _, _))
        .Times(2)
        .WillRepeatedly([&](uint32_t, std::vector<android::VirCameraImageBuffer>& list, uint32_t& processed) {
            if (calls++ == 0) {
                EXPECT_TRUE(SendImages(*mChannel, 1, {Image(8, 0, 0), Image(9, 0, 0), Image(10, 0, 0)}).answered);
                outerAfterNested = list;
            }
            processed = static_cast<uint32_t>(list.size());
            return 0;
        });
    ImageReply reply = SendImages(*mChannel, 1, {Image(5, 0, 0)});
    EXPECT_EQ(1u, reply.processed);
    ASSERT_EQ(1u, outerAfterNested.size());
    EXPECT_EQ(5u, outerAfterNested[0].frameNumber);
}
