// The HIDL channel callback's stream buffer cache: keys, replacement, unknown ids,
// release and mapper death.
#include <cstring>

#include "BufferRing.h"
#include "HidlChannel.h"
#include "OpenFds.h"
#include "SpyMapperV2.h"

using ::testing::_;
using ::testing::Return;
using hostkit::logs::Count;

class CallbackHidlCacheTest : public HidlChannelTest {};

TEST_F(CallbackHidlCacheTest, HandlelessRequestNeedsAnyCachedBuffer) {
    ASSERT_TRUE(hostkit::mapper::Offer({4}));
    EXPECT_CALL(*mCaller, OnProcessImageRequest(1, _, _)).Times(3).WillRepeatedly(Return(0));
    // Empty cache: refused, yet the caller still gets the request.
    ImageReply reply = SendImages(*mChannel, 1, {Image(0, 0, 7)});
    EXPECT_TRUE(reply.answered);
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_WARN, HIDL_TAG, "can not find avaliable streamBuffer, streamId 0 bufferId 7");

    BufferRing ring(1);
    ASSERT_TRUE(Cache(0, 1, ring[0]));
    hostkit::logs::Clear();
    // Any cached buffer will do, whatever its key; the key itself is still unknown.
    reply = SendImages(*mChannel, 1, {Image(1, 5, 99)});
    EXPECT_TRUE(reply.answered);
    EXPECT_EQ(0u, Count(ANDROID_LOG_WARN, HIDL_TAG, "can not find avaliable streamBuffer, streamId 5 bufferId 99"));
    EXPECT_EQ(nullptr, mChannel->LockVideoBuffer(0, 5, 99, nullptr));
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_DEBUG, HIDL_TAG, "Can't get stream buffer streamId=5,bufferId=99");
    EXPECT_EQ(1u, hostkit::mapper::LiveImports());
}

TEST_F(CallbackHidlCacheTest, NewHandleForCachedKeyFreesTheOldOneFirst) {
    android::sp<SpyMapperV2> spy = SpyMapperV2::Install();
    ASSERT_NE(nullptr, spy);
    BufferRing ring(2);
    ASSERT_TRUE(Cache(0, 1, ring[0]));
    int importsAtFree = -1;
    spy->OnFree([&] { importsAtFree = spy->mImports.load(); });
    ASSERT_TRUE(Cache(0, 1, ring[1]));
    spy->OnFree(nullptr);
    EXPECT_EQ(1, importsAtFree);
    EXPECT_EQ(2, spy->mImports.load());
    EXPECT_EQ(1u, hostkit::mapper::LiveImports());
    HOSTKIT_EXPECT_LOG_COUNT(2, ANDROID_LOG_DEBUG, HIDL_TAG,
                             "stream buffer is empty, insert a new buffer, streamId 0 bufferId 1");

    // The entry now maps the second buffer.
    void* address = mChannel->LockVideoBuffer(0, 0, 1, nullptr);
    ASSERT_NE(nullptr, address);
    memset(address, 0x33, 64);
    int32_t fence = -1;
    ASSERT_EQ(0, mChannel->UnLockVideoBuffer(0, 0, 1, fence));
    EXPECT_EQ(0x33, hostkit::mapper::ReadBack(ring[1])->at(0));
    EXPECT_EQ(0x00, hostkit::mapper::ReadBack(ring[0])->at(0));
}

TEST_F(CallbackHidlCacheTest, BufferIdsKeepTheirLow32Bits) {
    ASSERT_TRUE(hostkit::mapper::Offer({4}));
    BufferRing ring(2);
    ASSERT_TRUE(Cache(2, 0x100000001ull, ring[0]));
    ASSERT_NE(nullptr, mChannel->LockVideoBuffer(0, 2, 1, nullptr));
    int32_t fence = 0;
    EXPECT_EQ(0, mChannel->UnLockVideoBuffer(0, 2, 0x100000001ul, fence));
    // Same entry: a new handle for id 1 replaces it instead of adding one.
    ASSERT_TRUE(Cache(2, 1, ring[1]));
    EXPECT_EQ(1u, hostkit::mapper::LiveImports());
}

TEST_F(CallbackHidlCacheTest, UnknownStreamOrBufferIds) {
    ASSERT_TRUE(hostkit::mapper::Offer({4}));
    BufferRing ring(1);
    ASSERT_TRUE(Cache(1, 1, ring[0]));
    EXPECT_EQ(nullptr, mChannel->LockVideoBuffer(0, 9, 1, nullptr));
    EXPECT_EQ(nullptr, mChannel->LockVideoBuffer(0, 1, 9, nullptr));
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_DEBUG, HIDL_TAG, "Can't get stream buffer streamId=9,bufferId=1");
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_DEBUG, HIDL_TAG, "Can't get stream buffer streamId=1,bufferId=9");
    int32_t fence = 11;
    EXPECT_EQ(-1, mChannel->UnLockVideoBuffer(0, 9, 1, fence));
    EXPECT_EQ(11, fence);
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_WARN, HIDL_TAG, "Can't get stream buffer streamId=9,bufferId=1");

    EXPECT_CALL(*mCaller, OnUnregisterBuffer(4, _)).WillOnce(Return(0));
    android::hardware::hidl_vec<vircam::VirBufferCache> caches(1);
    caches[0].streamId = 1;
    caches[0].bufferId = 9;
    EXPECT_EQ(VirOptResult::SUCCESS, static_cast<VirOptResult>(mChannel->unregisterBuffer(4, caches)));
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_WARN, HIDL_TAG, "Can't get stream buffer streamId=1,bufferId=9");
    EXPECT_EQ(1u, hostkit::mapper::LiveImports());
}

TEST_F(CallbackHidlCacheTest, UnregisterFreesEvenALockedBuffer) {
    ASSERT_TRUE(hostkit::mapper::Offer({4}));
    BufferRing ring(2);
    ASSERT_TRUE(Cache(1, 1, ring[0]));
    ASSERT_TRUE(Cache(1, 2, ring[1]));
    ASSERT_NE(nullptr, mChannel->LockVideoBuffer(0, 1, 1, nullptr));
    std::vector<android::VirCameraBufferCache> seen;
    EXPECT_CALL(*mCaller, OnUnregisterBuffer(4, _)).WillOnce([&](uint32_t, auto& list) {
        seen = list;
        return 0;
    });
    android::hardware::hidl_vec<vircam::VirBufferCache> caches(1);
    caches[0].streamId = 1;
    caches[0].bufferId = 1;
    EXPECT_EQ(VirOptResult::SUCCESS, static_cast<VirOptResult>(mChannel->unregisterBuffer(4, caches)));
    ASSERT_EQ(1u, seen.size());
    EXPECT_EQ(1, seen[0].streamId);
    EXPECT_EQ(1u, seen[0].bufferId);
    EXPECT_EQ(1u, hostkit::mapper::LiveImports());
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_DEBUG, HIDL_TAG, "unregisterBuffer sessionid=*");
    // An empty list is answered without the caller.
    EXPECT_EQ(VirOptResult::SUCCESS,
              static_cast<VirOptResult>(mChannel->unregisterBuffer(4, android::hardware::hidl_vec<vircam::VirBufferCache>())));
}

// While a release runs (here: inside the mapper's free) a lock is refused at once and
// silently; once the release is over locks work again.
TEST_F(CallbackHidlCacheTest, LockDuringReleaseIsRefusedSilently) {
    android::sp<SpyMapperV2> spy = SpyMapperV2::Install();
    ASSERT_NE(nullptr, spy);
    BufferRing ring(2);
    ASSERT_TRUE(Cache(0, 0, ring[0]));
    ASSERT_TRUE(Cache(0, 1, ring[1]));
    int hookCalls = 0;
    void* lockedInRelease = reinterpret_cast<void*>(1);
    size_t linesBefore = 0;
    size_t linesAfter = 1;
    spy->OnFree([&] {
        if (hookCalls++ != 0) return;
        linesBefore = hostkit::logs::Lines().size();
        lockedInRelease = mChannel->LockVideoBuffer(0, 0, 1, nullptr);
        linesAfter = hostkit::logs::Lines().size();
    });
    EXPECT_CALL(*mCaller, OnFlush(2)).WillOnce(Return(0));
    EXPECT_EQ(VirOptResult::SUCCESS, static_cast<VirOptResult>(mChannel->flush(2)));
    spy->OnFree(nullptr);
    EXPECT_EQ(2, hookCalls);
    EXPECT_EQ(nullptr, lockedInRelease);
    EXPECT_EQ(linesBefore, linesAfter);
    EXPECT_EQ(0u, hostkit::mapper::LiveImports());

    ASSERT_TRUE(Cache(0, 0, ring[0]));
    ASSERT_NE(nullptr, mChannel->LockVideoBuffer(0, 0, 0, nullptr));
    int32_t fence = 0;
    EXPECT_EQ(0, mChannel->UnLockVideoBuffer(0, 0, 0, fence));
}

TEST_F(CallbackHidlCacheTest, InjectedLockErrorIsReportedByTheChannel) {
    ASSERT_TRUE(hostkit::mapper::Offer({4}));
    BufferRing ring(1);
    ASSERT_TRUE(Cache(0, 0, ring[0]));
    hostkit::mapper::FailNextCode(hostkit::mapper::Operation::LOCK, 4);
    EXPECT_EQ(nullptr, mChannel->LockVideoBuffer(0, 0, 0, nullptr));
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_WARN, HIDL_TAG, "LockVideoBuffer: lock and get img buffer failed,  error -1");
    // The entry stays marked; unlocking clears it so the release can pass.
    int32_t fence = 0;
    EXPECT_EQ(0, mChannel->UnLockVideoBuffer(0, 0, 0, fence));
}

TEST_F(CallbackHidlCacheTest, ImportFailureLeavesNoEntry) {
    ASSERT_TRUE(hostkit::mapper::Offer({4}));
    BufferRing ring(2);
    ASSERT_TRUE(Cache(0, 0, ring[0]));
    hostkit::mapper::FailNextCode(hostkit::mapper::Operation::IMPORT, 5 /* NO_RESOURCES */);
    ASSERT_TRUE(Cache(0, 0, ring[1]));
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_WARN, HIDL_TAG, "ImportBuffer: mapper importBuffer failed: errMap 5");
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_WARN, HIDL_TAG, "ProcessOneImageRequest: mapper importBuffer failed: errMap -1");
    EXPECT_EQ(0u, hostkit::mapper::LiveImports());
    EXPECT_EQ(nullptr, mChannel->LockVideoBuffer(0, 0, 0, nullptr));
}

// The mapper dies between two requests and comes back: cached buffers keep working
// through a new watcher, and everything is still freed once.
TEST_F(CallbackHidlCacheTest, MapperDeathBetweenRequests) {
    ASSERT_TRUE(hostkit::mapper::Offer({4}, hostkit::mapper::Transport::BINDERIZED));
    BufferRing ring(2);
    const auto fdsBefore = OpenFds();
    ASSERT_TRUE(Cache(0, 0, ring[0]));
    ASSERT_TRUE(Cache(0, 1, ring[1]));

    ASSERT_TRUE(hostkit::mapper::Kill(4));
    hostkit::hidl::WaitForDeathNotifications();
    ASSERT_TRUE(hostkit::mapper::Restore(4));

    ImageReply reply = SendImages(*mChannel, 1, {Image(5, 0, 1)});
    EXPECT_TRUE(reply.answered);
    void* address = mChannel->LockVideoBuffer(0, 0, 1, nullptr);
    ASSERT_NE(nullptr, address);
    memset(address, 0x44, 32);
    int32_t fence = 0;
    ASSERT_EQ(0, mChannel->UnLockVideoBuffer(0, 0, 1, fence));
    EXPECT_EQ(0x44, hostkit::mapper::ReadBack(ring[1])->at(0));
    HOSTKIT_EXPECT_LOG_COUNT(2, ANDROID_LOG_INFO, HIDL_TAG, "init mapper use V4");
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_DEBUG, HIDL_TAG, "Mapper serviceDied type=0");

    mChannel.clear();
    EXPECT_EQ(0u, hostkit::mapper::LiveImports());
    EXPECT_EQ(fdsBefore, OpenFds());
}
