// Every vircamera AIDL type through the generated proxy and stub.
#include <unistd.h>

#include <android/binder_manager.h>
#include <gtest/gtest.h>
#include <hostkit/BinderServices.h>

#include "FdSet.h"
#include "TestServices.h"

namespace kitbinder {
namespace {

const std::string kName = std::string(IVirCameraChannel::descriptor) + "/virtualcamera.register";

class KitBinderAidlRoundTrip : public ::testing::Test {
  protected:
    void SetUp() override {
        hostkit::binder::Reset();
        mBaselineFds = OpenFds();
        mService = ndk::SharedRefBase::make<TestChannel>();
        ASSERT_EQ(EX_NONE, AServiceManager_addService(mService->asBinder().get(), kName.c_str()));
        mChannel = IVirCameraChannel::fromBinder(ndk::SpAIBinder(AServiceManager_checkService(kName.c_str())));
        ASSERT_NE(nullptr, mChannel);
    }
    void TearDown() override {
        mChannel.reset();
        hostkit::binder::Reset();
        mService.reset();
        EXPECT_EQ(mBaselineFds, OpenFds());
    }

    std::map<int, std::string> mBaselineFds;
    std::shared_ptr<TestChannel> mService;
    std::shared_ptr<IVirCameraChannel> mChannel;
};

TEST_F(KitBinderAidlRoundTrip, ProxyMarshalsThroughTheService) {
    EXPECT_TRUE(mChannel->isRemote());
    StatusResult result;
    auto st = mChannel->doCmdRequest(21, "hello", &result);
    ASSERT_TRUE(st.isOk()) << st.getDescription();
    EXPECT_EQ(43, result.status);
    EXPECT_EQ("echo:hello", result.data);
    EXPECT_EQ(1u, hostkit::binder::TransactionCount(kName));
}

TEST_F(KitBinderAidlRoundTrip, EmptyAndUnicodeStringsSurvive) {
    StatusResult result;
    ASSERT_TRUE(mChannel->doCmdRequest(0, "", &result).isOk());
    EXPECT_EQ(1, result.status);
    EXPECT_EQ("echo:", result.data);
    const std::string text = "caf\xc3\xa9 \xe2\x82\xac \xf0\x9f\x93\xb7 {\"id\":1}";
    ASSERT_TRUE(mChannel->doCmdRequest(1, text, &result).isOk());
    EXPECT_EQ("echo:" + text, result.data);
}

TEST_F(KitBinderAidlRoundTrip, OutVectorOfParcelablesWithFdsAndInts) {
    std::vector<InfoData> infos(3);  // the size the caller expects reaches the service
    StatusResult result;
    ASSERT_TRUE(mChannel->processCmdRequest("q", &infos, &result).isOk());
    EXPECT_EQ(3u, mService->lastOutVectorSize());
    EXPECT_EQ(5, result.status);
    EXPECT_EQ("processed", result.data);
    ASSERT_EQ(2u, infos.size());
    SeenItem first = describe(infos[0]);
    EXPECT_EQ("q#0", first.data);
    EXPECT_EQ((std::vector<std::string>{"payload0", "extra"}), first.contents);
    EXPECT_EQ((std::vector<int32_t>{0, 42, -7}), first.ints);
    SeenItem second = describe(infos[1]);
    EXPECT_EQ("q#1", second.data);
    EXPECT_EQ((std::vector<std::string>{"payload1"}), second.contents);
    EXPECT_EQ((std::vector<int32_t>{1, 42, -7}), second.ints);
    EXPECT_NE(first.inodes[0], first.inodes[1]);
}

TEST_F(KitBinderAidlRoundTrip, EmptyOutVectorStaysEmpty) {
    std::vector<InfoData> infos(2);
    StatusResult result;
    ASSERT_TRUE(mChannel->processCmdRequest("none", &infos, &result).isOk());
    EXPECT_TRUE(infos.empty());
}

TEST_F(KitBinderAidlRoundTrip, CallbackBinderArrivesAsProxyAndCarriesInfoData) {
    auto callback = ndk::SharedRefBase::make<TestCallback>();
    int32_t ret = 0;
    ASSERT_TRUE(mChannel->registerVirtualChannelCallback("cam0", "svc", callback, &ret).isOk());
    EXPECT_EQ(701, ret);  // 7 * 100 + one item, computed by the callback
    EXPECT_EQ("cam0|svc", callback->lastData());
    ASSERT_EQ(1u, callback->seenItems().size());
    SeenItem seen = callback->seenItems()[0];
    EXPECT_EQ("reg", seen.data);
    EXPECT_EQ((std::vector<std::string>{"cam0"}), seen.contents);
    EXPECT_EQ((std::vector<int32_t>{9}), seen.ints);

    std::shared_ptr<IVirCameraChannelCallback> held = mService->callback();
    ASSERT_NE(nullptr, held);
    EXPECT_TRUE(held->isRemote());
    StatusResult result;
    ASSERT_TRUE(held->processCmdRequest(4, "direct", &result).isOk());
    EXPECT_EQ(5, result.status);
    EXPECT_EQ("cmd:direct", result.data);
}

TEST_F(KitBinderAidlRoundTrip, ServiceSpecificErrorKeepsCodeMessageAndOutputs) {
    StatusResult result;
    result.status = 77;
    result.data = "preset";
    ndk::ScopedAStatus status = mChannel->doCmdRequest(-5, "x", &result);
    EXPECT_FALSE(status.isOk());
    EXPECT_EQ(EX_SERVICE_SPECIFIC, status.getExceptionCode());
    EXPECT_EQ(-5, status.getServiceSpecificError());
    EXPECT_STREQ("bad cmd", status.getMessage());
    EXPECT_EQ(77, result.status);
    EXPECT_EQ("preset", result.data);

    status = mChannel->doCmdRequest(1000, "x", &result);
    EXPECT_EQ(EX_ILLEGAL_STATE, status.getExceptionCode());
    EXPECT_STREQ("not now", status.getMessage());

    int32_t ret = 55;
    status = mChannel->unregisterVirtualChannelCallback("d", "s", &ret);
    EXPECT_EQ(EX_SERVICE_SPECIFIC, status.getExceptionCode());
    EXPECT_EQ(3, status.getServiceSpecificError());
    EXPECT_EQ(55, ret);
}

TEST_F(KitBinderAidlRoundTrip, LocalObjectFromBinderIsTheObjectItself) {
    auto local = IVirCameraChannel::fromBinder(mService->asBinder());
    EXPECT_EQ(mService.get(), local.get());
    EXPECT_FALSE(local->isRemote());
    EXPECT_EQ(nullptr, IVirCameraChannelCallback::fromBinder(mService->asBinder()));
    EXPECT_EQ(nullptr, IVirCameraChannelCallback::fromBinder(mChannel->asBinder()));
}

}  // namespace
}  // namespace kitbinder
