// The mapper death watchers of both channel callbacks.
#include <aidlcommonsupport/NativeHandle.h>
#include <android/hardware/graphics/mapper/4.0/IMapper.h>

#include "BufferRing.h"
#include "FakeCallers.h"
#include "HidlChannel.h"
#include "SpyMapperV2.h"
#include "callback/AidlMapperDeathWatcher.h"
#include "callback/AidlVirCameraCallback.h"
#include "callback/MapperDeathWatcher.h"

using android::sp;
using hostkit::logs::Count;

class CallbackMapperWatcherTest : public HidlChannelTest {};

TEST_F(CallbackMapperWatcherTest, NoMapperService) {
    sp<android::MapperDeathWatcher> hidl = new android::MapperDeathWatcher(nullptr);
    EXPECT_EQ(-1, hidl->RegServiceLinkDeath());
    EXPECT_EQ(nullptr, hidl->GetMapperService());
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_DEBUG, HIDL_TAG, "Mapper RegServiceLinkDeath");
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_ERROR, HIDL_TAG, "Can't find Mapper service");
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_WARN, HIDL_TAG, "Can't find Mapper service");

    hostkit::logs::Clear();
    sp<android::AidlMapperDeathWatcher> aidl = new android::AidlMapperDeathWatcher({});
    EXPECT_EQ(-200009, aidl->RegServiceLinkDeath());
    EXPECT_EQ(nullptr, aidl->GetMapperService());
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_ERROR, HIDL_TAG, "Can't find Mapper service");
    EXPECT_EQ(1u, hostkit::logs::Lines().size());
}

TEST_F(CallbackMapperWatcherTest, UnregisterTwiceUnlinksOnce) {
    sp<SpyMapperV2> spy = SpyMapperV2::Install();
    ASSERT_NE(nullptr, spy);
    sp<android::MapperDeathWatcher> watcher = new android::MapperDeathWatcher(nullptr);
    ASSERT_EQ(0, watcher->RegServiceLinkDeath());
    EXPECT_EQ(1, spy->mLinks.load());
    EXPECT_NE(nullptr, watcher->GetMapperService());
    watcher->UnregServiceLinkDeath();
    watcher->UnregServiceLinkDeath();
    EXPECT_EQ(1, spy->mUnlinks.load());
    EXPECT_EQ(nullptr, watcher->GetMapperService());
    HOSTKIT_EXPECT_LOG_COUNT(2, ANDROID_LOG_DEBUG, HIDL_TAG, "Mapper UnregServiceLinkDeath");
}

TEST_F(CallbackMapperWatcherTest, LinkFollowsRegistration) {
    using android::hardware::graphics::mapper::V4_0::IMapper;
    ASSERT_TRUE(hostkit::mapper::Offer({4}, hostkit::mapper::Transport::BINDERIZED));
    sp<android::MapperDeathWatcher> watcher = new android::MapperDeathWatcher(nullptr);
    ASSERT_EQ(0, watcher->RegServiceLinkDeath());
    EXPECT_EQ(1u, hostkit::hidl::LinkCount(IMapper::descriptor, "default"));
    watcher->UnregServiceLinkDeath();
    EXPECT_EQ(0u, hostkit::hidl::LinkCount(IMapper::descriptor, "default"));
}

// After the mapper died the callback forgets its watcher; the next buffer operation
// builds a new one on whatever mapper is offered then.
TEST_F(CallbackMapperWatcherTest, DeathDropsTheWatcherAndTheNextUsePicksANewMapper) {
    ASSERT_TRUE(hostkit::mapper::Offer({4}, hostkit::mapper::Transport::BINDERIZED));
    BufferRing ring(1);
    ASSERT_TRUE(Cache(0, 0, ring[0]));
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_DEBUG, HIDL_TAG, "RegServiceLinkDeath mapper OK");

    ASSERT_TRUE(hostkit::mapper::Kill(4));
    hostkit::hidl::WaitForDeathNotifications();
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_DEBUG, HIDL_TAG, "Mapper serviceDied type=0");
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_DEBUG, HIDL_TAG, "~~MapperDeathWatcher");

    ASSERT_TRUE(hostkit::mapper::Offer({3}));
    void* address = mChannel->LockVideoBuffer(0, 0, 0, nullptr);
    ASSERT_NE(nullptr, address);
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_INFO, HIDL_TAG, "init mapper use V3");
    HOSTKIT_EXPECT_LOG_COUNT(2, ANDROID_LOG_DEBUG, HIDL_TAG, "RegServiceLinkDeath mapper OK");
    int32_t fence = 0;
    EXPECT_EQ(0, mChannel->UnLockVideoBuffer(0, 0, 0, fence));
    EXPECT_EQ(-1, fence);
    mChannel.clear();
    EXPECT_EQ(0u, hostkit::mapper::LiveImports());
}

// No mapper at all: the watcher is not kept and every operation asks again.
TEST_F(CallbackMapperWatcherTest, NoMapperRefusesImportsAndRetriesLater) {
    BufferRing ring(1);
    ASSERT_TRUE(Cache(0, 0, ring[0]));
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_WARN, HIDL_TAG, "Can't RegServiceLinkDeath mapper");
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_WARN, HIDL_TAG, "Can't get mapper service streamId=0,bufferId=0");
    ASSERT_TRUE(hostkit::mapper::Offer({2}));
    ASSERT_TRUE(Cache(0, 0, ring[0]));
    EXPECT_EQ(1u, hostkit::mapper::LiveImports());
}

// No mapper of any kind: each channel callback says once what it looked for and missed, not
// on every frame; the lookup's own lines stay per call.
TEST_F(CallbackMapperWatcherTest, MissingMapperIsExplainedOncePerChannelCallback) {
    const std::string diagnosis =
            "No usable graphics mapper: no android.hardware.graphics.mapper@4.0, @3.0 or @2.0 IMapper/default, "
            "and no mapper 5: android.hardware.graphics.allocator.IAllocator/default is not declared";
    BufferRing ring(1);
    for (int frame = 0; frame < 3; ++frame) ASSERT_TRUE(Cache(0, 0, ring[0]));
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_ERROR, HIDL_TAG, diagnosis);
    HOSTKIT_EXPECT_LOG_COUNT(3, ANDROID_LOG_ERROR, HIDL_TAG, "Can't find Mapper service");

    // Another channel callback reports for itself.
    android::sp<android::VirCameraCallback> other = new android::VirCameraCallback(mCaller);
    ASSERT_TRUE(SendImages(*other, 1, {Image(0, 0, 0, ring[0])}).answered);
    HOSTKIT_EXPECT_LOG_COUNT(2, ANDROID_LOG_ERROR, HIDL_TAG, diagnosis);
    other.clear();

    // Over AIDL, with the AIDL callback's tag.
    auto aidl = ndk::SharedRefBase::make<android::AidlVirCameraCallback>(
            std::make_shared<::testing::NiceMock<MockWrapperCallbackV2>>());
    for (int frame = 0; frame < 3; ++frame) {
        std::vector<android::AidlVirCameraCallback::InfoData> items(1);
        items[0].data = "{\"frameNumber\":" + std::to_string(frame) + ",\"streamId\":1,\"bufferId\":1}";
        items[0].buffer = android::dupToAidl(ring[0]);
        android::AidlVirCameraCallback::StatusResult reply;
        ASSERT_TRUE(aidl->processInfoData(9107, "{\"sessionId\":1}", items, &reply).isOk());
    }
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_ERROR, AIDL_TAG, diagnosis);
    EXPECT_EQ(0u, hostkit::mapper::LiveImports());
}
