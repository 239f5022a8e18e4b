#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include <hidl/ServiceManagement.h>
#include <hostkit/HidlServices.h>
#include <vendor/zuvek/hardware/camera/vircamera/1.0/IVirCameraChannel.h>

#include "FakeChannel.h"

using ::android::sp;
using ::android::wp;
using ::android::hardware::hidl_death_recipient;
using ::android::hardware::hidl_string;
using ::android::hardware::hidl_vec;
using ::android::hardware::Return;
using ::android::hardware::camera::common::V1_0::Status;
using ::android::hidl::base::V1_0::IBase;
using ::vendor::zuvek::hardware::camera::vircamera::V1_0::IVirCameraChannel;

namespace {

constexpr auto kTimeout = std::chrono::seconds(5);
const std::string kInstance = "virtualcamera.register";

// Records every serviceDied() with the cookie, the thread and who died.
class RecordingRecipient : public hidl_death_recipient {
  public:
    struct Call {
        uint64_t cookie;
        std::thread::id thread;
        sp<IBase> who;
    };
    void serviceDied(uint64_t cookie, const wp<IBase>& who) override {
        {
            std::lock_guard<std::mutex> lock(mLock);
            mCalls.push_back({cookie, std::this_thread::get_id(), who.promote()});
        }
        mChanged.notify_all();
    }
    bool WaitForCalls(size_t count) {
        std::unique_lock<std::mutex> lock(mLock);
        return mChanged.wait_for(lock, kTimeout, [&] { return mCalls.size() >= count; });
    }
    std::vector<Call> Calls() {
        std::lock_guard<std::mutex> lock(mLock);
        return mCalls;
    }

  private:
    std::mutex mLock;
    std::condition_variable mChanged;
    std::vector<Call> mCalls;
};

class KitHidlService : public ::testing::Test {
  protected:
    void SetUp() override {
        hostkit::hidl::Declare(IVirCameraChannel::descriptor, kInstance);
        mChannel = new FakeChannel();
    }
    void TearDown() override { hostkit::hidl::Reset(); }

    sp<FakeChannel> mChannel;
};

TEST_F(KitHidlService, LookupGivesProxyOnlyWhileRegistered) {
    // Declared but not registered yet: only tryGetService() answers without waiting.
    EXPECT_EQ(IVirCameraChannel::tryGetService(kInstance), nullptr);

    ASSERT_EQ(mChannel->registerAsService(kInstance), ::android::OK);
    EXPECT_TRUE(hostkit::hidl::IsRegistered(IVirCameraChannel::descriptor, kInstance));
    EXPECT_EQ(IVirCameraChannel::tryGetService("other"), nullptr);
    sp<IVirCameraChannel> proxy = IVirCameraChannel::tryGetService(kInstance);
    ASSERT_NE(proxy, nullptr);
    EXPECT_TRUE(proxy->isRemote());
    EXPECT_FALSE(mChannel->isRemote());
    EXPECT_NE(proxy.get(), mChannel.get());
    EXPECT_EQ(std::string(IVirCameraChannel::descriptor),
              "vendor.zuvek.hardware.camera.vircamera@1.0::IVirCameraChannel");

    Return<void> notified = proxy->notify(3, "hello");
    EXPECT_TRUE(notified.isOk());
    EXPECT_EQ(mChannel->mLastKey, 3);
    uint32_t seq = 0;
    Return<void> switched = proxy->switchOnVirCamera("dev", "svc", [&](Status status, uint32_t s) {
        EXPECT_EQ(status, Status::OK);
        seq = s;
    });
    EXPECT_TRUE(switched.isOk());
    EXPECT_EQ(seq, 7u);
    Return<uint32_t> count = proxy->registerVirCamera("dev", "svc", {}, hidl_vec<FakeChannel::MetaItem>(2));
    ASSERT_TRUE(count.isOk());
    EXPECT_EQ(static_cast<uint32_t>(count), 2u);
    Return<sp<IVirCameraChannel>> cast = IVirCameraChannel::castFrom(sp<IBase>(proxy));
    ASSERT_TRUE(cast.isOk());
    EXPECT_EQ(static_cast<sp<IVirCameraChannel>>(cast), proxy);
}

TEST_F(KitHidlService, ServiceManagerAnswersTheManifestsTransport) {
    using Transport = ::android::hidl::manager::V1_0::IServiceManager::Transport;
    auto manager = ::android::hardware::defaultServiceManager();
    ASSERT_NE(manager, nullptr);
    auto transportOf = [&](const std::string& instance) {
        Return<Transport> transport = manager->getTransport(IVirCameraChannel::descriptor, instance);
        EXPECT_TRUE(transport.isOk());
        return static_cast<Transport>(transport);
    };
    EXPECT_EQ(transportOf(kInstance), Transport::HWBINDER);  // declared, not running
    EXPECT_EQ(transportOf("other"), Transport::EMPTY);
    hostkit::hidl::Declare(IVirCameraChannel::descriptor, "inproc", hostkit::hidl::Transport::PASSTHROUGH);
    EXPECT_EQ(transportOf("inproc"), Transport::PASSTHROUGH);
    hostkit::hidl::Undeclare(IVirCameraChannel::descriptor, kInstance);
    EXPECT_EQ(transportOf(kInstance), Transport::EMPTY);

    hostkit::hidl::FailNextManagerCalls(1, ::android::DEAD_OBJECT);
    EXPECT_FALSE(manager->getTransport(IVirCameraChannel::descriptor, "inproc").isOk());
    EXPECT_EQ(transportOf("inproc"), Transport::PASSTHROUGH);
}

TEST_F(KitHidlService, KillTellsEachLinkOnceOnAnotherThread) {
    ASSERT_EQ(mChannel->registerAsService(kInstance), ::android::OK);
    sp<IVirCameraChannel> proxy = IVirCameraChannel::getService(kInstance);
    ASSERT_NE(proxy, nullptr);
    sp<RecordingRecipient> twice = new RecordingRecipient();
    sp<RecordingRecipient> unlinked = new RecordingRecipient();
    EXPECT_TRUE(proxy->linkToDeath(twice, 11).withDefault(false));
    EXPECT_TRUE(proxy->linkToDeath(twice, 12).withDefault(false));
    EXPECT_TRUE(proxy->linkToDeath(unlinked, 13).withDefault(false));
    EXPECT_TRUE(proxy->unlinkToDeath(unlinked).withDefault(false));
    EXPECT_FALSE(proxy->unlinkToDeath(unlinked).withDefault(true));
    EXPECT_FALSE(proxy->linkToDeath(nullptr, 1).withDefault(true));
    EXPECT_EQ(hostkit::hidl::LinkCount(IVirCameraChannel::descriptor, kInstance), 2u);

    ASSERT_TRUE(hostkit::hidl::Kill(IVirCameraChannel::descriptor, kInstance));
    ASSERT_TRUE(twice->WaitForCalls(2));
    hostkit::hidl::WaitForDeathNotifications();

    std::vector<RecordingRecipient::Call> calls = twice->Calls();
    ASSERT_EQ(calls.size(), 2u);  // once per link, never more
    EXPECT_EQ(calls[0].cookie + calls[1].cookie, 23u);
    EXPECT_NE(calls[0].cookie, calls[1].cookie);
    for (const auto& call : calls) {
        EXPECT_NE(call.thread, std::this_thread::get_id());
        EXPECT_EQ(call.who.get(), static_cast<IBase*>(proxy.get()));
    }
    EXPECT_TRUE(unlinked->Calls().empty());
    EXPECT_EQ(hostkit::hidl::DeathNotificationsDelivered(), 2u);
    EXPECT_FALSE(proxy->linkToDeath(twice, 14).withDefault(true));
    EXPECT_FALSE(proxy->unlinkToDeath(twice).withDefault(true));
    EXPECT_FALSE(hostkit::hidl::Kill(IVirCameraChannel::descriptor, kInstance));
    hostkit::hidl::WaitForDeathNotifications();
    EXPECT_EQ(twice->Calls().size(), 2u);
}

TEST_F(KitHidlService, DeadServiceIsNeverReached) {
    ASSERT_EQ(mChannel->registerAsService(kInstance), ::android::OK);
    sp<IVirCameraChannel> old = IVirCameraChannel::tryGetService(kInstance);
    ASSERT_NE(old, nullptr);
    ASSERT_TRUE(hostkit::hidl::Kill(IVirCameraChannel::descriptor, kInstance));
    EXPECT_EQ(IVirCameraChannel::tryGetService(kInstance), nullptr);

    Return<void> notified = old->notify(1, "x");
    EXPECT_TRUE(notified.isDeadObject());
    bool called = false;
    Return<void> listed = old->getVirtualCameraIdList([&](Status, const hidl_vec<hidl_string>&) { called = true; });
    EXPECT_TRUE(listed.isDeadObject());
    EXPECT_TRUE(old->ping().isDeadObject());
    Return<int32_t> registered = old->registerVirtualChannelCallback("d", "s", nullptr);
    EXPECT_TRUE(registered.isDeadObject());
    EXPECT_FALSE(called);
    EXPECT_EQ(mChannel->mCalls, 0);

    // A restart serves new lookups; the old proxy stays dead.
    ASSERT_TRUE(hostkit::hidl::Restore(IVirCameraChannel::descriptor, kInstance));
    EXPECT_TRUE(old->notify(2, "y").isDeadObject());
    sp<IVirCameraChannel> fresh = IVirCameraChannel::tryGetService(kInstance);
    ASSERT_NE(fresh, nullptr);
    EXPECT_TRUE(fresh->ping().isOk());
    EXPECT_TRUE(fresh->notify(4, "z").isOk());
    EXPECT_EQ(mChannel->mCalls, 1);
    EXPECT_EQ(mChannel->mLastKey, 4);
}

TEST_F(KitHidlService, InjectedFailuresAndNullCallbacksAreTransportErrors) {
    ASSERT_EQ(mChannel->registerAsService(kInstance), ::android::OK);
    sp<IVirCameraChannel> proxy = IVirCameraChannel::tryGetService(kInstance);
    ASSERT_NE(proxy, nullptr);
    ASSERT_TRUE(hostkit::hidl::FailNextCalls(IVirCameraChannel::descriptor, kInstance, 1,
                                             ::android::FAILED_TRANSACTION));
    Return<void> failed = proxy->notify(1, "x");
    EXPECT_FALSE(failed.isDeadObject());
    EXPECT_EQ(failed.description(), "Status(EX_TRANSACTION_FAILED): 'FAILED_TRANSACTION: '");
    EXPECT_FALSE(failed.isOk());
    EXPECT_EQ(mChannel->mCalls, 0);
    EXPECT_TRUE(proxy->notify(2, "y").isOk());
    EXPECT_EQ(mChannel->mCalls, 1);
    Return<void> nullCallback = proxy->getVirtualCameraIdList(nullptr);
    EXPECT_FALSE(nullCallback.isOk());
    EXPECT_EQ(mChannel->mCalls, 1);

    // A failure aimed at one method leaves the others alone and fires once.
    ASSERT_TRUE(hostkit::hidl::FailNextCallOf(IVirCameraChannel::descriptor, kInstance, "switchOnVirCamera",
                                              ::android::DEAD_OBJECT));
    EXPECT_TRUE(proxy->notify(3, "z").isOk());
    bool answered = false;
    auto onSwitch = [&](Status, uint32_t) { answered = true; };
    EXPECT_TRUE(proxy->switchOnVirCamera("dev", "svc", onSwitch).isDeadObject());
    EXPECT_FALSE(answered);
    EXPECT_EQ(mChannel->mCalls, 2);
    EXPECT_TRUE(proxy->switchOnVirCamera("dev", "svc", onSwitch).isOk());
    EXPECT_TRUE(answered);
    EXPECT_FALSE(hostkit::hidl::FailNextCallOf(IVirCameraChannel::descriptor, "other", "notify", ::android::DEAD_OBJECT));
}

TEST_F(KitHidlService, LocalObjectsLinkButNeverDie) {
    sp<RecordingRecipient> recipient = new RecordingRecipient();
    EXPECT_TRUE(mChannel->linkToDeath(recipient, 1).withDefault(false));
    EXPECT_FALSE(mChannel->linkToDeath(nullptr, 1).withDefault(true));
    EXPECT_TRUE(mChannel->unlinkToDeath(recipient).withDefault(false));
    EXPECT_TRUE(mChannel->ping().isOk());

    ASSERT_EQ(hostkit::hidl::RegisterPassthrough(IVirCameraChannel::descriptor, kInstance, mChannel),
              ::android::OK);
    sp<IVirCameraChannel> local = IVirCameraChannel::getService(kInstance);
    EXPECT_EQ(local, mChannel);
    EXPECT_TRUE(local->linkToDeath(recipient, 2).withDefault(false));
    EXPECT_TRUE(hostkit::hidl::Kill(IVirCameraChannel::descriptor, kInstance));
    hostkit::hidl::WaitForDeathNotifications();
    EXPECT_TRUE(recipient->Calls().empty());
    EXPECT_EQ(hostkit::hidl::DeathNotificationsDelivered(), 0u);
}

}  // namespace
