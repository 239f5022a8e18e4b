// Death notification semantics of proxies from the service manager.
#include <android/binder_manager.h>
#include <gtest/gtest.h>
#include <hostkit/BinderServices.h>

#include <chrono>
#include <condition_variable>
#include <thread>

#include "TestServices.h"

namespace kitbinder {
namespace {

const std::string kName = std::string(IVirCameraChannel::descriptor) + "/virtualcamera.streamchange";

// What a cookie sees: how often each callback ran and on which thread.
struct Cookie {
    std::mutex mutex;
    std::condition_variable changed;
    int died = 0;
    int unlinked = 0;
    bool diedBeforeUnlinked = false;
    std::thread::id diedOn;

    bool waitUnlinked() {
        std::unique_lock<std::mutex> lock(mutex);
        return changed.wait_for(lock, std::chrono::seconds(10), [&] { return unlinked > 0; });
    }
};

void onDied(void* cookie) {
    auto* c = static_cast<Cookie*>(cookie);
    std::lock_guard<std::mutex> lock(c->mutex);
    c->died++;
    c->diedOn = std::this_thread::get_id();
}

void onUnlinked(void* cookie) {
    auto* c = static_cast<Cookie*>(cookie);
    std::lock_guard<std::mutex> lock(c->mutex);
    c->unlinked++;
    c->diedBeforeUnlinked = c->died > 0;
    c->changed.notify_all();
}

class KitBinderDeath : public ::testing::Test {
  protected:
    void SetUp() override {
        hostkit::binder::Reset();
        mService = ndk::SharedRefBase::make<TestChannel>();
        ASSERT_EQ(EX_NONE, AServiceManager_addService(mService->asBinder().get(), kName.c_str()));
        mBinder.set(AServiceManager_checkService(kName.c_str()));
        ASSERT_NE(nullptr, mBinder.get());
        mRecipient.set(AIBinder_DeathRecipient_new(onDied));
        AIBinder_DeathRecipient_setOnUnlinked(mRecipient.get(), onUnlinked);
    }
    void TearDown() override {
        mRecipient.set(nullptr);
        mBinder.set(nullptr);
        hostkit::binder::Reset();  // joins death threads before the cookies go
    }

    std::shared_ptr<TestChannel> mService;
    ndk::SpAIBinder mBinder;
    ndk::ScopedAIBinder_DeathRecipient mRecipient;
};

TEST_F(KitBinderDeath, KillNotifiesOnceOnAnotherThreadThenUnlinks) {
    Cookie a, b;
    ASSERT_EQ(STATUS_OK, AIBinder_linkToDeath(mBinder.get(), mRecipient.get(), &a));
    ASSERT_EQ(STATUS_OK, AIBinder_linkToDeath(mBinder.get(), mRecipient.get(), &b));
    EXPECT_EQ(2u, hostkit::binder::DeathLinkCount(kName));
    EXPECT_TRUE(AIBinder_isAlive(mBinder.get()));

    ASSERT_TRUE(hostkit::binder::Kill(kName));
    ASSERT_TRUE(a.waitUnlinked());
    ASSERT_TRUE(b.waitUnlinked());
    hostkit::binder::Reset();  // joins: nothing more can arrive
    for (Cookie* c : {&a, &b}) {
        EXPECT_EQ(1, c->died);
        EXPECT_EQ(1, c->unlinked);
        EXPECT_TRUE(c->diedBeforeUnlinked);
        EXPECT_NE(std::this_thread::get_id(), c->diedOn);
    }
}

TEST_F(KitBinderDeath, DeadProxyFailsCallsAndKeepsOutputs) {
    auto channel = IVirCameraChannel::fromBinder(mBinder);
    ASSERT_TRUE(hostkit::binder::Kill(kName));
    EXPECT_FALSE(AIBinder_isAlive(mBinder.get()));
    EXPECT_EQ(STATUS_DEAD_OBJECT, AIBinder_ping(mBinder.get()));
    StatusResult result;
    result.status = 12;
    ndk::ScopedAStatus status = channel->doCmdRequest(1, "x", &result);
    EXPECT_EQ(EX_TRANSACTION_FAILED, status.getExceptionCode());
    EXPECT_EQ(STATUS_DEAD_OBJECT, status.getStatus());
    EXPECT_EQ(12, result.status);
    EXPECT_EQ(nullptr, AServiceManager_checkService(kName.c_str()));
    Cookie late;
    EXPECT_EQ(STATUS_DEAD_OBJECT, AIBinder_linkToDeath(mBinder.get(), mRecipient.get(), &late));
    EXPECT_EQ(1, late.unlinked);
}

TEST_F(KitBinderDeath, RestoreGivesAWorkingNewProxy) {
    ASSERT_TRUE(hostkit::binder::Kill(kName));
    ASSERT_TRUE(hostkit::binder::Restore(kName));
    auto channel = IVirCameraChannel::fromBinder(ndk::SpAIBinder(AServiceManager_checkService(kName.c_str())));
    ASSERT_NE(nullptr, channel);
    StatusResult result;
    EXPECT_TRUE(channel->doCmdRequest(2, "y", &result).isOk());
    EXPECT_EQ(5, result.status);
    EXPECT_FALSE(AIBinder_isAlive(mBinder.get()));  // the old proxy stays dead
}

TEST_F(KitBinderDeath, NoDeathAfterUnlinkOrDelete) {
    Cookie unlinkedFirst, deletedFirst;
    ASSERT_EQ(STATUS_OK, AIBinder_linkToDeath(mBinder.get(), mRecipient.get(), &unlinkedFirst));
    ASSERT_EQ(STATUS_OK, AIBinder_unlinkToDeath(mBinder.get(), mRecipient.get(), &unlinkedFirst));
    EXPECT_EQ(1, unlinkedFirst.unlinked);  // synchronously
    EXPECT_EQ(STATUS_NAME_NOT_FOUND,
              AIBinder_unlinkToDeath(mBinder.get(), mRecipient.get(), &unlinkedFirst));

    ndk::ScopedAIBinder_DeathRecipient other(AIBinder_DeathRecipient_new(onDied));
    AIBinder_DeathRecipient_setOnUnlinked(other.get(), onUnlinked);
    ASSERT_EQ(STATUS_OK, AIBinder_linkToDeath(mBinder.get(), other.get(), &deletedFirst));
    other.set(nullptr);
    EXPECT_EQ(1, deletedFirst.unlinked);
    EXPECT_EQ(0u, hostkit::binder::DeathLinkCount(kName));

    ASSERT_TRUE(hostkit::binder::Kill(kName));
    hostkit::binder::Reset();
    EXPECT_EQ(0, unlinkedFirst.died);
    EXPECT_EQ(0, deletedFirst.died);
    EXPECT_EQ(1, unlinkedFirst.unlinked);
    EXPECT_EQ(1, deletedFirst.unlinked);
    EXPECT_EQ(0u, hostkit::binder::DeathNotificationCount());
}

TEST_F(KitBinderDeath, LinkOnLocalBinderOrNullIsRefused) {
    Cookie cookie;
    ndk::SpAIBinder local = mService->asBinder();
    EXPECT_FALSE(AIBinder_isRemote(local.get()));
    EXPECT_EQ(STATUS_INVALID_OPERATION, AIBinder_linkToDeath(local.get(), mRecipient.get(), &cookie));
    EXPECT_EQ(1, cookie.unlinked);  // already ran when the call returned
    // Nothing is linked to a local binder, so there is nothing to unlink.
    EXPECT_EQ(STATUS_NAME_NOT_FOUND, AIBinder_unlinkToDeath(local.get(), mRecipient.get(), &cookie));
    EXPECT_EQ(1, cookie.unlinked);
    EXPECT_EQ(STATUS_UNEXPECTED_NULL, AIBinder_linkToDeath(nullptr, mRecipient.get(), &cookie));
    EXPECT_EQ(STATUS_UNEXPECTED_NULL, AIBinder_linkToDeath(mBinder.get(), nullptr, &cookie));
    EXPECT_EQ(nullptr, AIBinder_DeathRecipient_new(nullptr));
    EXPECT_FALSE(AIBinder_isAlive(nullptr));
    EXPECT_EQ(STATUS_UNEXPECTED_NULL, AIBinder_ping(nullptr));
    EXPECT_EQ(STATUS_OK, AIBinder_ping(mBinder.get()));
}

}  // namespace
}  // namespace kitbinder
