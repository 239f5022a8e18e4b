// AIDL image commands: items to the caller, the cache, locks, and descriptor accounting.
#include <cstring>

#include "AidlChannel.h"
#include "BufferRing.h"
#include "OpenFds.h"
#include "SpyMapperV2.h"

using android::CallbackResult;
using android::CommonData;
using ::testing::_;
using ::testing::Return;

class CallbackAidlImageTest : public AidlChannelTest {};

TEST_F(CallbackAidlImageTest, ItemsReachTheCallerAsCommonData) {
    ASSERT_TRUE(hostkit::mapper::Offer({4}));
    BufferRing ring(2);
    std::vector<CommonData> seen;
    EXPECT_CALL(*mCaller, OnCommandWithData(CMD_IMAGE, IMAGE_JSON, _))
        .WillOnce([&](int32_t, const std::string&, std::vector<CommonData>& items) {
            seen = items;
            return CallbackResult{6, "done"};
        });
    std::vector<InfoData> items;
    items.push_back(Item(1, 2, 3, ring[0]));
    items.push_back(Item(1, 2, 4, ring[1]));
    StatusResult reply = Image(items);
    EXPECT_EQ(6, reply.status);
    EXPECT_EQ("done", reply.data);
    ASSERT_EQ(2u, seen.size());
    EXPECT_EQ(ItemJson(1, 2, 3), seen[0].data);
    EXPECT_EQ(ItemJson(1, 2, 4), seen[1].data);
    EXPECT_EQ(2u, hostkit::mapper::LiveImports());
    const std::string shape = "ProcessOneImageRequest: buffer version:" + std::to_string(sizeof(native_handle_t)) +
                              " fd:" + std::to_string(ring[0]->numFds) + " ints:" + std::to_string(ring[0]->numInts);
    HOSTKIT_EXPECT_LOG_COUNT(2, ANDROID_LOG_INFO, AIDL_TAG, shape);
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_INFO, AIDL_TAG, "ProcessOneImageRequest mStreamBuffers.size():2");
}

TEST_F(CallbackAidlImageTest, HandlesAreImportedOnceAndHandlelessItemsReuseTheCache) {
    ASSERT_TRUE(hostkit::mapper::Offer({4}));
    BufferRing ring(1);
    EXPECT_EQ(0, Image(Items(Item(1, 2, 3))).status);
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_WARN, AIDL_TAG,
                            "ProcessOneImageRequest: can not find avaliable streamBuffer, streamId 2 bufferId 3");
    EXPECT_EQ(0, Image(Items(Item(2, 2, 3, ring[0]))).status);
    for (int frame = 3; frame < 10; ++frame) EXPECT_EQ(0, Image(Items(Item(frame, 2, 3))).status);
    EXPECT_EQ(1u, hostkit::mapper::LiveImports());
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_DEBUG, AIDL_TAG,
                            "stream buffer is empty, insert a new buffer, streamId 2 bufferId 3");
}

TEST_F(CallbackAidlImageTest, LockAndUnlockWriteTheBufferAndSyncFailsOnMemfd) {
    ASSERT_TRUE(hostkit::mapper::Offer({4}));
    BufferRing ring(1);
    ASSERT_EQ(0, Image(Items(Item(1, 2, 3, ring[0]))).status);
    void* handleData = nullptr;
    void* address = mChannel->LockVideoBuffer(0, 2, 3, &handleData);
    ASSERT_NE(nullptr, address);
    EXPECT_NE(nullptr, handleData);
    memset(address, 0x6c, 64);
    int32_t fence = 0;
    EXPECT_EQ(0, mChannel->UnLockVideoBuffer(0, 2, 3, fence));
    EXPECT_EQ(-1, fence);
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_ERROR, AIDL_TAG, "FlushCache: sync cache failed, ret: -1");
    EXPECT_EQ(0x6c, hostkit::mapper::ReadBack(ring[0])->at(0));
}

TEST_F(CallbackAidlImageTest, LockRefusalsNameTheirReason) {
    BufferRing ring(1);
    // No mapper at all.
    EXPECT_EQ(nullptr, mChannel->LockVideoBuffer(0, 2, 3, nullptr));
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_WARN, AIDL_TAG, "Can't RegServiceLinkDeath mapper ret:-200009");
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_WARN, AIDL_TAG,
                            "LockVideoBuffer: lock failed because null mapper, streamId=2 bufferId=3");
    int32_t fence = 0;
    EXPECT_EQ(-1, mChannel->UnLockVideoBuffer(0, 2, 3, fence));
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_WARN, AIDL_TAG,
                            "UnLockVideoBuffer: unlock failed because null mapper, streamId 2 bufferId 3");

    ASSERT_TRUE(hostkit::mapper::Offer({3}));
    EXPECT_EQ(nullptr, mChannel->LockVideoBuffer(0, 2, 3, nullptr));
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_WARN, AIDL_TAG,
                            "LockVideoBuffer: lock failed because no cache, streamId=2 bufferId=3");
    EXPECT_EQ(-1, mChannel->UnLockVideoBuffer(0, 2, 3, fence));
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_WARN, AIDL_TAG,
                            "UnLockVideoBuffer: unlock failed because no cache, streamId=2 bufferId=3");

    ASSERT_EQ(0, Image(Items(Item(1, 2, 3, ring[0]))).status);
    hostkit::mapper::FailNextCode(hostkit::mapper::Operation::LOCK, 4);
    EXPECT_EQ(nullptr, mChannel->LockVideoBuffer(0, 2, 3, nullptr));
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_WARN, AIDL_TAG,
                            "LockVideoBuffer: lock failed because lock err, streamId=2 bufferId=3 ret=-1");
    EXPECT_EQ(0, mChannel->UnLockVideoBuffer(0, 2, 3, fence));
}

// The command text and the item texts nest as deep as jsoncpp reads (1,000 levels); a
// command text one level deeper is refused before anything is imported.
TEST_F(CallbackAidlImageTest, DeeplyNestedTextsAreRead) {
    ASSERT_TRUE(hostkit::mapper::Offer({4}));
    BufferRing ring(1);
    const auto deep = [](size_t levels) { return std::string(levels, '[') + std::string(levels, ']'); };
    const std::string json = "{\"sessionId\":1,\"deep\":" + deep(999) + "}";
    EXPECT_CALL(*mCaller, OnCommandWithData(CMD_IMAGE, json, _)).WillOnce(Return(CallbackResult{6, "done"}));
    InfoData item = Item(1, 2, 3, ring[0]);
    item.data = "{\"deep\":" + deep(999) + ",\"frameNumber\":1,\"streamId\":2,\"bufferId\":3}";
    EXPECT_EQ(6, Image(Items(std::move(item)), json).status);
    EXPECT_EQ(1u, hostkit::mapper::LiveImports());
    EXPECT_NE(nullptr, mChannel->LockVideoBuffer(0, 2, 3, nullptr));  // cached under its ids
    int32_t fence = 0;
    EXPECT_EQ(0, mChannel->UnLockVideoBuffer(0, 2, 3, fence));

    const std::string tooDeep = "{\"sessionId\":1,\"deep\":" + deep(1000) + "}";
    EXPECT_CALL(*mCaller, OnCommandWithData(CMD_IMAGE, tooDeep, _)).Times(0);
    EXPECT_EQ(-200012, Image(Items(Item(1, 2, 4, ring[0])), tooDeep).status);
    EXPECT_EQ(1u, hostkit::mapper::LiveImports());
}

TEST_F(CallbackAidlImageTest, LockDuringReleaseIsRefusedWithItsReason) {
    android::sp<SpyMapperV2> spy = SpyMapperV2::Install();
    ASSERT_NE(nullptr, spy);
    BufferRing ring(1);
    ASSERT_EQ(0, Image(Items(Item(1, 2, 3, ring[0]))).status);
    void* inRelease = reinterpret_cast<void*>(1);
    spy->OnFree([&] { inRelease = mChannel->LockVideoBuffer(0, 2, 3, nullptr); });
    EXPECT_EQ(0, Command(15014, "{}").status);
    spy->OnFree(nullptr);
    EXPECT_EQ(nullptr, inRelease);
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_WARN, AIDL_TAG,
                            "LockVideoBuffer: lock failed because in release, streamId 2 bufferId 3");
    EXPECT_EQ(0u, hostkit::mapper::LiveImports());
}

// Every descriptor duplicated from a NativeHandle is closed once, on success and on
// every failure path.
TEST_F(CallbackAidlImageTest, DuplicatedDescriptorsAreClosedOnEveryPath) {
    ASSERT_TRUE(hostkit::mapper::Offer({4}));
    BufferRing ring(1);
    const std::vector<InfoData> withHandle = Items(Item(1, 2, 3, ring[0]));
    const std::vector<InfoData> handleless = Items(Item(1, 2, 3));
    const auto fdsBefore = OpenFds();
    const auto regionsBefore = hostkit::mapper::MappedRegions();

    for (int i = 0; i < 1000; ++i) ASSERT_EQ(0, Image(withHandle).status);
    EXPECT_EQ(1u, hostkit::mapper::LiveImports());
    EXPECT_EQ(0, Command(9105, "{}").status);
    EXPECT_EQ(fdsBefore, OpenFds());
    EXPECT_EQ(regionsBefore, hostkit::mapper::MappedRegions());

    hostkit::mapper::FailNextCode(hostkit::mapper::Operation::IMPORT, 5);
    EXPECT_EQ(0, Image(withHandle).status);
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_ERROR, AIDL_TAG, "ProcessOneImageRequest: mapper importBuffer failed: errMap -1");
    EXPECT_EQ(0u, hostkit::mapper::LiveImports());
    EXPECT_EQ(fdsBefore, OpenFds());

    EXPECT_EQ(0, Image(handleless).status);
    EXPECT_EQ(fdsBefore, OpenFds());

    ASSERT_TRUE(hostkit::mapper::Offer({}));
    mChannel->ClearMapper();
    EXPECT_EQ(0, Image(withHandle).status);
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_WARN, AIDL_TAG, "Can't get mapper service streamId=2,bufferId=3");
    EXPECT_EQ(0u, hostkit::mapper::LiveImports());
    EXPECT_EQ(fdsBefore, OpenFds());
}
