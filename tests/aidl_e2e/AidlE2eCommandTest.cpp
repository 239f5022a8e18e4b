// The HAL's command table over AIDL, through a V2 callback registered with the real library.

#include <hostkit/LogCapture.h>

#include "AidlE2eFixture.h"

namespace aidle2e {
namespace {

class AidlE2eCommandTest : public AidlE2eTest {
protected:
    void SetUp() override {
        AidlE2eTest::SetUp();
        int result = -1;
        mCaller = Register("cameraC", "serviceC", IVirCameraWrapper::MODE_STREAM_CHANGE, &result);
        ASSERT_EQ(0, result);
        // The caller answers each command with its own number plus one and a text.
        mCaller->SetHandler([](int32_t cmd, const std::string&, std::vector<android::CommonData>&) {
            return android::CallbackResult{cmd + 1, "answer-" + std::to_string(cmd)};
        });
        mFramework = vircamsim::SimAidlFramework::Make(mStreamChannel);
    }
    void TearDown() override {
        mFramework.reset();
        AidlE2eTest::TearDown();
    }

    std::shared_ptr<FakeVideoService> mCaller;
    std::shared_ptr<vircamsim::SimAidlFramework> mFramework;
};

TEST_F(AidlE2eCommandTest, PlainCommandsReachOnCommandWithTheirJson) {
    // Only the session openings hand the caller's text back to the HAL.
    const struct {
        int32_t cmd;
        bool returnsData;
    } commands[] = {{10005, true}, {10006, false}, {10008, true}, {10009, false}, {9105, false}, {15014, false}};
    for (const auto& command : commands) {
        const std::string json = "{\"probe\":" + std::to_string(command.cmd) + "}";
        const auto reply = mFramework->SendCommand(command.cmd, json);
        EXPECT_EQ(command.cmd + 1, reply.status) << command.cmd;
        EXPECT_EQ(command.returnsData ? "answer-" + std::to_string(command.cmd) : "", reply.data) << command.cmd;
        const auto calls = mCaller->Calls();
        ASSERT_FALSE(calls.empty());
        EXPECT_EQ(command.cmd, calls.back().cmd);
        EXPECT_EQ(json, calls.back().data);
        EXPECT_FALSE(calls.back().withData);
    }
    EXPECT_EQ(6u, mCaller->Calls().size());
}

TEST_F(AidlE2eCommandTest, DataCommandsReachOnCommandWithData) {
    EXPECT_EQ(9105, mFramework->ProcessMeta(R"({"metdata":[1]})").status);
    EXPECT_EQ(9107, mFramework->UnregisterBuffers({{1, 2}}).status);
    const auto image = mFramework->RequestImages(4, {{1, 3}, {1, 4}});
    EXPECT_EQ(9108, image.status);
    EXPECT_EQ("answer-9107", image.data);

    const auto calls = mCaller->Calls();
    ASSERT_EQ(3u, calls.size());
    EXPECT_EQ(9104, calls[0].cmd);
    EXPECT_EQ(R"({"metdata":[1]})", calls[0].data);
    EXPECT_TRUE(calls[0].withData);
    EXPECT_TRUE(calls[0].items.empty());
    EXPECT_EQ(9106, calls[1].cmd);
    EXPECT_TRUE(calls[1].items.empty());
    EXPECT_EQ(9107, calls[2].cmd);
    EXPECT_EQ(R"({"frameNumber":4})", calls[2].data);
    ASSERT_EQ(2u, calls[2].items.size());
    EXPECT_EQ(R"({"bufferId":3,"frameNumber":4,"streamId":1})", calls[2].items[0].data);
    EXPECT_EQ(R"({"bufferId":4,"frameNumber":4,"streamId":1})", calls[2].items[1].data);
}

TEST_F(AidlE2eCommandTest, RefusedAndMalformedCommandsNeverReachTheCaller) {
    EXPECT_EQ(-200002, mFramework->SendCommand(10007, "{}").status);
    EXPECT_EQ(-200002, mFramework->SendCommand(1, "{}").status);
    EXPECT_EQ(-200002, mFramework->SendInfoData(1, "{}", {}).status);
    HOSTKIT_EXPECT_LOG_LINE(TAG_PRIO_DEBUG, "VIRCAMERA_AIDL_WRAPPERCB", "processCmdRequest: processCmdRequest this cmd error: 10007");
    EXPECT_EQ(-200003, mFramework->SendInfoData(9107, "{}", {}).status);
    std::vector<vircamsim::InfoData> items(1);
    items[0].data = R"({"frameNumber":1,"streamId":1,"bufferId":1})";
    EXPECT_EQ(-200012, mFramework->SendInfoData(9107, "{not json", items).status);
    EXPECT_TRUE(mCaller->Calls().empty());
}

TEST_F(AidlE2eCommandTest, ExpiredCallerAnswersCallbackExpired) {
    mCallers.clear();
    mCaller.reset();
    for (int32_t cmd : {10005, 10006, 10008, 10009, 9105, 15014}) {
        EXPECT_EQ(-200004, mFramework->SendCommand(cmd, "{}").status) << cmd;
    }
    EXPECT_EQ(-200004, mFramework->ProcessMeta().status);
    EXPECT_EQ(-200004, mFramework->RequestImages(1, {{1, 1}}).status);
    // Stream-change mode is dropped by the HAL's clear command, callers or not.
    EXPECT_EQ(0, mFramework->SendCommand(20006, "{}").status);
}

}  // namespace
}  // namespace aidle2e
