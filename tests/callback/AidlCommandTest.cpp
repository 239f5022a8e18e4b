// The AIDL channel callback's command table.
#include "AidlChannel.h"
#include "BufferRing.h"

using android::CallbackResult;
using ::testing::_;
using ::testing::Return;

class CallbackAidlCommandTest : public AidlChannelTest {
  protected:
    void CacheOne(const BufferRing& ring) {
        ASSERT_TRUE(hostkit::mapper::Offer({4}));
        ASSERT_EQ(0, Image(Items(Item(1, 2, 3, ring[0]))).status);
        ASSERT_EQ(1u, hostkit::mapper::LiveImports());
    }
};

TEST_F(CallbackAidlCommandTest, SessionCommandsPassJsonAndResults) {
    const std::string json = "{\"device\":\"d\"}";
    for (int32_t cmd : {10005, 10008}) {
        SCOPED_TRACE(cmd);
        EXPECT_CALL(*mCaller, OnCommand(cmd, json)).WillOnce(Return(CallbackResult{5, "session-9"}));
        StatusResult reply = Command(cmd, json);
        EXPECT_EQ(5, reply.status);
        EXPECT_EQ("session-9", reply.data);
    }
    for (int32_t cmd : {10006, 10009}) {
        SCOPED_TRACE(cmd);
        EXPECT_CALL(*mCaller, OnCommand(cmd, json)).WillOnce(Return(CallbackResult{-3, "ignored"}));
        StatusResult reply = Command(cmd, json);
        EXPECT_EQ(-3, reply.status);
        EXPECT_EQ("untouched", reply.data);
    }
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_DEBUG, AIDL_TAG, "processCmdRequest cmd:10005");
}

TEST_F(CallbackAidlCommandTest, ConfigAndFlushReleaseTheCache) {
    BufferRing ring(1);
    for (int32_t cmd : {9105, 15014}) {
        SCOPED_TRACE(cmd);
        CacheOne(ring);
        EXPECT_CALL(*mCaller, OnCommand(cmd, "{}")).WillOnce(Return(CallbackResult{7, "x"}));
        StatusResult reply = Command(cmd, "{}");
        EXPECT_EQ(7, reply.status);
        EXPECT_EQ("untouched", reply.data);
        EXPECT_EQ(0u, hostkit::mapper::LiveImports());
    }
    HOSTKIT_EXPECT_LOG_COUNT(2, ANDROID_LOG_DEBUG, AIDL_TAG, "~StreamBuffer streamid=2, bufferId=3");
}

TEST_F(CallbackAidlCommandTest, RefusedCommandsNeverReachTheCaller) {
    EXPECT_CALL(*mCaller, OnCommand(_, _)).Times(0);
    EXPECT_CALL(*mCaller, OnCommandWithData(_, _, _)).Times(0);
    for (int32_t cmd : {10007, 1}) {
        StatusResult reply = Command(cmd, "{}");
        EXPECT_EQ(-200002, reply.status);
        HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_DEBUG, AIDL_TAG,
                                "processCmdRequest: processCmdRequest this cmd error: " + std::to_string(cmd));
    }
    StatusResult reply;
    EXPECT_TRUE(mChannel->processInfoData(9105, "{}", {}, &reply).isOk());
    EXPECT_EQ(-200002, reply.status);
    // No items: refused before the caller.
    EXPECT_EQ(-200003, Image({}).status);
}

TEST_F(CallbackAidlCommandTest, NullReplyIsAServiceSpecificError) {
    EXPECT_CALL(*mCaller, OnCommand(_, _)).Times(0);
    EXPECT_CALL(*mCaller, OnCommandWithData(_, _, _)).Times(0);
    ndk::ScopedAStatus cmd = mChannel->processCmdRequest(10005, "{}", nullptr);
    EXPECT_FALSE(cmd.isOk());
    EXPECT_EQ(EX_SERVICE_SPECIFIC, cmd.getExceptionCode());
    EXPECT_EQ(-200001, cmd.getServiceSpecificError());
    ndk::ScopedAStatus info = mChannel->processInfoData(CMD_IMAGE, IMAGE_JSON, {}, nullptr);
    EXPECT_FALSE(info.isOk());
    EXPECT_EQ(-200001, info.getServiceSpecificError());
}

TEST_F(CallbackAidlCommandTest, DataCommandsGetAnEmptyListAndKeepTheCache) {
    BufferRing ring(1);
    CacheOne(ring);
    for (int32_t cmd : {9104, 9106}) {
        SCOPED_TRACE(cmd);
        EXPECT_CALL(*mCaller, OnCommandWithData(cmd, "{\"m\":1}", ::testing::IsEmpty()))
            .WillOnce(Return(CallbackResult{4, "d"}));
        StatusResult reply;
        reply.data = "untouched";
        EXPECT_TRUE(mChannel->processInfoData(cmd, "{\"m\":1}", Items(Item(1, 2, 3, ring[0])), &reply).isOk());
        EXPECT_EQ(4, reply.status);
        EXPECT_EQ("untouched", reply.data);
    }
    EXPECT_EQ(1u, hostkit::mapper::LiveImports());
}

TEST_F(CallbackAidlCommandTest, BadImageJsonProcessesNothing) {
    ASSERT_TRUE(hostkit::mapper::Offer({4}));
    BufferRing ring(1);
    EXPECT_CALL(*mCaller, OnCommandWithData(_, _, _)).Times(0);
    EXPECT_EQ(-200012, Image(Items(Item(1, 2, 3, ring[0])), "{not json").status);
    EXPECT_EQ(0u, hostkit::mapper::LiveImports());
}

// An expired caller: -200004 everywhere and config/flush release nothing.
TEST_F(CallbackAidlCommandTest, ExpiredCallerReleasesNothing) {
    BufferRing ring(1);
    CacheOne(ring);
    mCaller.reset();
    hostkit::logs::Clear();
    for (int32_t cmd : {9105, 15014, 10005, 10006, 10008, 10009}) {
        EXPECT_EQ(-200004, Command(cmd, "{}").status) << cmd;
    }
    StatusResult reply;
    EXPECT_TRUE(mChannel->processInfoData(9104, "{}", {}, &reply).isOk());
    EXPECT_EQ(-200004, reply.status);
    EXPECT_EQ(-200004, Image(Items(Item(2, 2, 3))).status);
    HOSTKIT_EXPECT_LOG_COUNT(8, ANDROID_LOG_WARN, AIDL_TAG, "wrapper callback has expired.");
    EXPECT_EQ(1u, hostkit::mapper::LiveImports());
}
