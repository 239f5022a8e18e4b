// What the caller receives from the HIDL channel callback, and an expired caller.
#include "BufferRing.h"
#include "HidlChannel.h"

using ::testing::_;
using ::testing::Return;
using hostkit::logs::Count;

class CallbackHidlConvertTest : public HidlChannelTest {};

namespace {

vircam::VirStream Stream(uint32_t id, uint32_t type, uint32_t rotation) {
    vircam::VirStream stream;
    stream.id = id;
    stream.streamType = static_cast<vircam::VirStreamType>(type);
    stream.width = 1920;
    stream.height = 1080;
    stream.colorSpace = -3;
    stream.padding = 16;
    stream.rotation = static_cast<vircam::VirStreamRotation>(rotation);
    return stream;
}

}  // namespace

TEST_F(CallbackHidlConvertTest, StreamsAreConvertedInOrder) {
    vircam::VirStreamConfiguration config;
    config.streams.resize(5);
    for (uint32_t code = 0; code < 5; ++code) config.streams[code] = Stream(10 + code, code % 3, code);
    vircam::VirKeyValue first;
    first.key = "fps";
    first.value = "30";
    vircam::VirKeyValue other;
    other.key = "codec";
    other.value = "h264";
    vircam::VirKeyValue later;
    later.key = "fps";
    later.value = "60";
    config.streams[0].kvattribute = std::vector<vircam::VirKeyValue>{first, other, later};

    std::vector<android::VirCameraStream> seen;
    EXPECT_CALL(*mCaller, OnConfigStream(12345, _)).WillOnce([&](uint32_t, auto& streams) {
        seen = streams;
        return 0;
    });
    EXPECT_EQ(VirOptResult::SUCCESS, static_cast<VirOptResult>(mChannel->configStream(12345, config)));
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_DEBUG, HIDL_TAG, "configStream sessionid=1***5");

    ASSERT_EQ(5u, seen.size());
    const int degrees[] = {0, 90, 180, 270, 0};
    const int directions[] = {0, 1, 1, 0, 1};
    for (size_t i = 0; i < 5; ++i) {
        SCOPED_TRACE(i);
        EXPECT_EQ(10 + i, seen[i].streamId);
        EXPECT_EQ(degrees[i], seen[i].rotation);
        EXPECT_EQ(directions[i], seen[i].direction);
        EXPECT_EQ(1920u, seen[i].width);
        EXPECT_EQ(1080u, seen[i].height);
        EXPECT_EQ(-3, seen[i].colorFormat);
        EXPECT_EQ(16u, seen[i].padding);
    }
    const std::map<std::string, std::string> params{{"codec", "h264"}, {"fps", "60"}};
    EXPECT_EQ(params, seen[0].params);
    EXPECT_TRUE(seen[1].params.empty());
}

TEST_F(CallbackHidlConvertTest, EmptyConfigurationStillReachesTheCaller) {
    EXPECT_CALL(*mCaller, OnConfigStream(7, ::testing::IsEmpty())).WillOnce(Return(2));
    EXPECT_EQ(VirOptResult::FAILED,
              static_cast<VirOptResult>(mChannel->configStream(7, vircam::VirStreamConfiguration())));
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_DEBUG, HIDL_TAG, "configStream sessionid=*");
}

TEST_F(CallbackHidlConvertTest, MetaItemsKeepTextRotationIsAlways180OthersDropped) {
    vircam::VirMetaRequest request;
    request.metaId = 31;
    request.items.resize(5);
    const uint32_t types[] = {1, 2, 3, 0, 1};
    const char* values[] = {"hello", "90", "x", "y", "again"};
    for (size_t i = 0; i < 5; ++i) {
        request.items[i].key = types[i];
        request.items[i].value = values[i];
    }
    std::vector<android::VirCameraMetaInfo> seen;
    EXPECT_CALL(*mCaller, OnProcessMetaRequest(100, 31, _)).WillOnce([&](uint32_t, uint32_t, auto& metas) {
        seen = metas;
        return 1;
    });
    EXPECT_EQ(VirOptResult::FAILED, static_cast<VirOptResult>(mChannel->processMetaRequest(100, request)));
    ASSERT_EQ(3u, seen.size());
    EXPECT_EQ(1, seen[0].type);
    EXPECT_EQ("hello", seen[0].value);
    EXPECT_EQ(2, seen[1].type);
    EXPECT_EQ("180", seen[1].value);
    EXPECT_EQ(1, seen[2].type);
    EXPECT_EQ("again", seen[2].value);
}

TEST_F(CallbackHidlConvertTest, ImageRecordsCarryTheHalIds) {
    ASSERT_TRUE(hostkit::mapper::Offer({4}));
    BufferRing ring(1);
    std::vector<android::VirCameraImageBuffer> seen;
    EXPECT_CALL(*mCaller, OnProcessImageRequest(3, _, _))
        .WillOnce([&](uint32_t, std::vector<android::VirCameraImageBuffer>& list, uint32_t& n) {
            seen = list;
            n = 7;
            return 0;
        });
    ImageReply reply = SendImages(*mChannel, 3, {Image(41, 2, 0x100000009ull, ring[0]), Image(42, 2, 9)});
    EXPECT_TRUE(reply.answered);
    EXPECT_EQ(7u, reply.processed);
    ASSERT_EQ(2u, seen.size());
    EXPECT_EQ(41u, seen[0].frameNumber);
    EXPECT_EQ(2, seen[0].streamId);
    EXPECT_EQ(0x100000009ull, seen[0].bufferId);
    EXPECT_EQ(42u, seen[1].frameNumber);
    EXPECT_EQ(9u, seen[1].bufferId);
}

// An expired caller is never called; the HAL gets 1 everywhere (session id and count 0);
// buffers are not touched.
TEST_F(CallbackHidlConvertTest, ExpiredCallerIsRefusedEverywhere) {
    ASSERT_TRUE(hostkit::mapper::Offer({4}));
    BufferRing ring(1);
    ASSERT_TRUE(Cache(0, 0, ring[0]));
    ::testing::Mock::VerifyAndClearExpectations(mCaller.get());
    mCaller.reset();
    hostkit::logs::Clear();

    std::vector<std::pair<VirOptResult, uint32_t>> answers;
    auto record = [&](VirOptResult status, uint32_t id) { answers.emplace_back(status, id); };
    EXPECT_TRUE(mChannel->openControlSession("dev", "svc", record).isOk());
    EXPECT_TRUE(mChannel->openDataSession("dev", "svc", record).isOk());
    EXPECT_EQ(answers, (std::vector<std::pair<VirOptResult, uint32_t>>(2, {VirOptResult::FAILED, 0u})));
    EXPECT_EQ(VirOptResult::FAILED, static_cast<VirOptResult>(mChannel->closeControlSession(1)));
    EXPECT_EQ(VirOptResult::FAILED, static_cast<VirOptResult>(mChannel->closeDataSession(1)));
    EXPECT_EQ(VirOptResult::FAILED,
              static_cast<VirOptResult>(mChannel->configStream(1, vircam::VirStreamConfiguration())));
    EXPECT_EQ(VirOptResult::FAILED, static_cast<VirOptResult>(mChannel->flush(1)));
    EXPECT_EQ(VirOptResult::FAILED, static_cast<VirOptResult>(mChannel->processMetaRequest(1, vircam::VirMetaRequest())));
    android::hardware::hidl_vec<vircam::VirBufferCache> caches(1);
    EXPECT_EQ(VirOptResult::FAILED, static_cast<VirOptResult>(mChannel->unregisterBuffer(1, caches)));
    ImageReply image = SendImages(*mChannel, 1, {Image(0, 0, 1)});
    EXPECT_TRUE(image.answered);
    EXPECT_EQ(VirOptResult::FAILED, image.status);
    EXPECT_EQ(0u, image.processed);
    HOSTKIT_EXPECT_LOG_COUNT(9, ANDROID_LOG_WARN, HIDL_TAG, "wrapper callback has expired.");
    // Neither the flush nor the config released the cached buffer, nor did the
    // unregister remove it.
    EXPECT_EQ(1u, hostkit::mapper::LiveImports());
    ASSERT_NE(nullptr, mChannel->LockVideoBuffer(0, 0, 0, nullptr));
    int32_t fence = 0;
    EXPECT_EQ(0, mChannel->UnLockVideoBuffer(0, 0, 0, fence));
}
