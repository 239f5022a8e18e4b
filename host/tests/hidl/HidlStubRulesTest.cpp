// Calls through the kit's proxies are served like hidl-gen's stubs serve them on a device:
// a result callback called exactly once, a failed Return ending the server, results and
// arguments arriving as copies, and local objects arriving as proxies.
#include <fcntl.h>

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <cutils/native_handle.h>
#include <hostkit/HidlServices.h>
#include <vendor/zuvek/hardware/camera/vircamera/1.0/IVirCameraChannel.h>

#include "FakeChannel.h"
#include "LocalObjects.h"
#include "OpenFds.h"

using ::android::sp;
using ::android::hardware::hidl_handle;
using ::android::hardware::hidl_string;
using ::android::hardware::hidl_vec;
using ::android::hardware::Return;
using ::android::hardware::camera::common::V1_0::Status;
using ::android::hardware::graphics::mapper::V2_0::IMapper;
using vircam::IVirCameraChannel;
using vircam::VirOptResult;

namespace {

const std::string kInstance = "virtualcamera.register";

// The death-test style comes from the command line (see CMakeLists.txt).
class KitHidlStubRules : public ::testing::Test {
  protected:
    void SetUp() override {
        hostkit::hidl::Declare(IVirCameraChannel::descriptor, kInstance);
        mChannel = new FakeChannel();
        ASSERT_EQ(mChannel->registerAsService(kInstance), ::android::OK);
        mProxy = IVirCameraChannel::tryGetService(kInstance);
        ASSERT_NE(mProxy, nullptr);
    }
    void TearDown() override {
        mProxy.clear();
        hostkit::hidl::Reset();
    }

    // A client that checks every answer, so only the server side can end the process.
    void SwitchOn() {
        int answers = 0;
        Return<void> ret = mProxy->switchOnVirCamera("dev", "svc", [&](Status, uint32_t) { ++answers; });
        EXPECT_TRUE(ret.isOk());
        EXPECT_EQ(answers, 1);
    }
    // The HAL's view of a local channel callback the client registered.
    sp<vircam::IVirCameraChannelCallback> RegisterLocal(const sp<LocalChannelCallback>& local) {
        Return<int32_t> ret = mProxy->registerVirtualChannelCallback("dev", "svc", local);
        EXPECT_TRUE(ret.isOk());
        return mChannel->ChannelCallback();
    }

    sp<FakeChannel> mChannel;
    sp<IVirCameraChannel> mProxy;
};

TEST_F(KitHidlStubRules, ResultCallbackMustBeCalledExactlyOnce) {
    SwitchOn();
    mChannel->mSwitchAnswers = 0;
    EXPECT_DEATH(SwitchOn(), "switchOnVirCamera: _hidl_cb not called, but must be called once\\.");
    mChannel->mSwitchAnswers = 2;
    EXPECT_DEATH(SwitchOn(), "switchOnVirCamera: _hidl_cb called a second time, but must be called once\\.");

    // The same holds where the HAL calls a local object the client passed to it.
    sp<LocalChannelCallback> local = new LocalChannelCallback();
    sp<vircam::IVirCameraChannelCallback> hal = RegisterLocal(local);
    ASSERT_NE(hal, nullptr);
    local->mAnswers = 0;
    EXPECT_DEATH(
            {
                Return<void> ret = hal->openControlSession("dev", "svc", [](VirOptResult, uint32_t) {});
                (void)ret.isOk();
            },
            "openControlSession: _hidl_cb not called, but must be called once\\.");
}

TEST_F(KitHidlStubRules, FailedReturnOfTheImplementationEndsTheProcess) {
    mChannel->mFailReturns = true;
    EXPECT_DEATH(
            {
                Return<void> ret = mProxy->notify(1, "x");
                (void)ret.isOk();
            },
            "Failed HIDL return status not checked.*Status\\(EX_ILLEGAL_STATE\\): 'refused'");
    EXPECT_DEATH((void)mProxy->registerVirCamera("dev", "svc", {}, {}).withDefault(0),
                 "Attempted to retrieve value from failed HIDL call: Status\\(EX_ILLEGAL_STATE\\): 'refused'");
    // Even after answering.
    EXPECT_DEATH(SwitchOn(), "Failed HIDL return status not checked.*Status\\(EX_ILLEGAL_STATE\\): 'refused'");
}

TEST_F(KitHidlStubRules, ResultsArriveAsCopiesLivingUntilTheClientCallbackReturns) {
    const void* seenIds = nullptr;
    std::vector<std::string> ids;
    ASSERT_TRUE(mProxy->getVirtualCameraIdList([&](Status, const hidl_vec<hidl_string>& list) {
                          seenIds = list.data();
                          for (const hidl_string& id : list) ids.push_back(id);
                      }).isOk());
    EXPECT_NE(seenIds, nullptr);
    EXPECT_NE(seenIds, mChannel->IdListData());
    EXPECT_EQ(ids, (std::vector<std::string>{"0", "1"}));

    sp<FenceMapper> mapper = new FenceMapper();
    hostkit::hidl::Declare(IMapper::descriptor, "kit.test");
    ASSERT_EQ(mapper->registerAsService("kit.test"), ::android::OK);
    sp<IMapper> mapperProxy = IMapper::getService("kit.test");
    ASSERT_NE(mapperProxy, nullptr);
    const auto before = OpenFds();
    const native_handle_t* seenFence = nullptr;
    int seenFd = -1;
    bool fdOpen = false;
    ASSERT_TRUE(mapperProxy->unlock(nullptr, [&](FenceMapper::Error, const hidl_handle& fence) {
                               seenFence = fence.getNativeHandle();
                               ASSERT_NE(seenFence, nullptr);
                               seenFd = fence->data[0];
                               fdOpen = fcntl(seenFd, F_GETFD) != -1;
                           }).isOk());
    EXPECT_NE(seenFence, mapper->mLastFence);
    EXPECT_NE(seenFd, mapper->mLastFenceFd);  // both were open at once
    EXPECT_TRUE(fdOpen);
    EXPECT_EQ(OpenFds(), before);  // the clone closed when the client callback returned
}

TEST_F(KitHidlStubRules, LocalObjectArrivesAsOneProxyPerObject) {
    sp<CountingSwitchCallback> local = new CountingSwitchCallback();
    ASSERT_TRUE(mProxy->registerSwitchCallback(local).isOk());
    sp<vircam::IVirCameraSwitchCallback> received = mChannel->SwitchCallback();
    ASSERT_NE(received, nullptr);
    EXPECT_NE(received.get(), local.get());
    EXPECT_TRUE(received->isRemote());
    EXPECT_TRUE(received->notifySwitchOnVirtualCameraResult(1, vircam::VirCamOptRet::SUCCESS).isOk());
    EXPECT_EQ(local->mReports, 1);

    // While the HAL keeps that proxy, the same object arrives as the same proxy.
    ASSERT_TRUE(mProxy->unregisterSwitchCallback(local).isOk());
    EXPECT_EQ(mChannel->UnregisteredSwitchCallback(), received);
    sp<CountingSwitchCallback> other = new CountingSwitchCallback();
    ASSERT_TRUE(mProxy->unregisterSwitchCallback(other).isOk());
    EXPECT_NE(mChannel->UnregisteredSwitchCallback(), received);
}

TEST_F(KitHidlStubRules, ArgumentHandlesArriveAsClonesClosedAfterTheCall) {
    sp<LocalChannelCallback> local = new LocalChannelCallback();
    sp<vircam::IVirCameraChannelCallback> hal = RegisterLocal(local);
    ASSERT_NE(hal, nullptr);
    int fds[2];
    ASSERT_EQ(pipe2(fds, O_CLOEXEC), 0);
    native_handle_t* raw = native_handle_create(2, 0);
    raw->data[0] = fds[0];
    raw->data[1] = fds[1];
    hidl_vec<vircam::VirImageBuffer> buffers(1);
    buffers[0].buffer = hidl_handle(raw);  // the HAL's own, borrowed
    const auto before = OpenFds();

    uint32_t processed = 0;
    ASSERT_TRUE(hal->processImageRequest(1, buffers, [&](VirOptResult, uint32_t n) { processed = n; }).isOk());
    EXPECT_EQ(processed, 1u);
    ASSERT_EQ(local->mSeen.size(), 1u);
    EXPECT_NE(local->mSeen[0].handle, raw);
    EXPECT_NE(local->mSeen[0].fd, raw->data[0]);
    EXPECT_TRUE(local->mSeen[0].fdOpen);
    EXPECT_EQ(OpenFds(), before);

    buffers[0].buffer = hidl_handle();
    native_handle_close(raw);
    native_handle_delete(raw);
}

}  // namespace
