// Where HIDL calls run: on the callee process's hwbinder threads, nested calls on the thread
// that waits for them, as on a device.
#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include <hidl/HidlTransportSupport.h>
#include <hostkit/HidlServices.h>
#include <hostkit/Process.h>
#include <vendor/zuvek/hardware/camera/vircamera/1.0/IVirCameraChannel.h>

#include "FakeChannel.h"

using ::android::sp;
using ::android::hardware::hidl_string;
using ::android::hardware::Return;
using ::android::hardware::Void;
using ::vendor::zuvek::hardware::camera::vircamera::V1_0::IVirCameraChannel;
using ::vendor::zuvek::hardware::camera::vircamera::V1_0::IVirCameraSwitchCallback;
using ::vendor::zuvek::hardware::camera::vircamera::V1_0::VirCamOptRet;
namespace process = hostkit::process;

namespace {

// Who ran a call: the process, the thread, and whether it was a hwbinder pool thread.
struct Hop {
    std::string process;
    std::thread::id thread;
    bool poolThread;
};

Hop Here() { return {process::Current(), std::this_thread::get_id(), process::OnPoolThread(process::Pool::HWBINDER)}; }

class HopLog {
  public:
    void Add() {
        std::lock_guard<std::mutex> lock(mLock);
        mHops.push_back(Here());
    }
    std::vector<Hop> Hops() {
        std::lock_guard<std::mutex> lock(mLock);
        return mHops;
    }

  private:
    std::mutex mLock;
    std::vector<Hop> mHops;
};

// The service side: notify(key) runs `onNotify(key)` after recording where it ran.
class HookedChannel : public FakeChannel {
  public:
    Return<void> notify(int32_t key, const hidl_string&) override {
        mLog.Add();
        if (mOnNotify) mOnNotify(key);
        return Void();
    }
    HopLog mLog;
    std::function<void(int32_t)> mOnNotify;
};

// The client side: a switch callback that records where it ran and may call back.
class Bouncer : public IVirCameraSwitchCallback {
  public:
    Return<void> notifySwitchOnVirtualCameraResult(uint32_t seqNum, VirCamOptRet) override {
        mLog.Add();
        if (mOnCall) mOnCall(seqNum);
        return Void();
    }
    Return<void> notifySwitchOffVirtualCameraResult(uint32_t, VirCamOptRet) override { return Void(); }
    HopLog mLog;
    std::function<void(uint32_t)> mOnCall;
};

class KitHidlThreads : public ::testing::Test {
  protected:
    // A service of its own process, named after the test: pools keep their settings.
    sp<IVirCameraChannel> Serve(const sp<HookedChannel>& channel, size_t threads = 1) {
        const std::string name = ::testing::UnitTest::GetInstance()->current_test_info()->name();
        mHal = "hal." + name;
        hostkit::hidl::Declare(IVirCameraChannel::descriptor, name);
        {
            process::As hal(mHal);
            if (threads > 1) ::android::hardware::configureRpcThreadpool(threads, true);
            EXPECT_EQ(channel->registerAsService(name), ::android::OK);
        }
        return IVirCameraChannel::getService(name);
    }
    void TearDown() override { hostkit::hidl::Reset(); }

    std::string mHal;
};

TEST_F(KitHidlThreads, IncomingCallRunsOnAPoolThreadOfTheCallee) {
    sp<HookedChannel> channel = new HookedChannel();
    sp<IVirCameraChannel> proxy = Serve(channel);
    ASSERT_NE(proxy, nullptr);
    ASSERT_TRUE(proxy->notify(1, "").isOk());
    const std::vector<Hop> hops = channel->mLog.Hops();
    ASSERT_EQ(hops.size(), 1u);
    EXPECT_EQ(hops[0].process, mHal);
    EXPECT_TRUE(hops[0].poolThread);
    EXPECT_NE(hops[0].thread, std::this_thread::get_id());
}

// test -> HAL -> test -> HAL -> test -> HAL: each side's hops run on the one thread of it
// that waits in the chain.
TEST_F(KitHidlThreads, NestedCallsRunOnTheWaitingThreads) {
    sp<HookedChannel> channel = new HookedChannel();
    sp<IVirCameraChannel> proxy = Serve(channel);
    ASSERT_NE(proxy, nullptr);
    sp<Bouncer> bouncer = new Bouncer();
    ASSERT_TRUE(proxy->registerSwitchCallback(bouncer).isOk());
    channel->mOnNotify = [&](int32_t key) {
        if (key > 0) (void)channel->SwitchCallback()->notifySwitchOnVirtualCameraResult(key - 1, {}).isOk();
    };
    bouncer->mOnCall = [&](uint32_t seq) { (void)proxy->notify(static_cast<int32_t>(seq) - 1, "").isOk(); };
    ASSERT_TRUE(proxy->notify(4, "").isOk());

    const std::vector<Hop> hal = channel->mLog.Hops();
    const std::vector<Hop> self = bouncer->mLog.Hops();
    ASSERT_EQ(hal.size(), 3u);
    ASSERT_EQ(self.size(), 2u);
    for (const Hop& hop : self) {
        EXPECT_EQ(hop.process, process::SELF);
        EXPECT_EQ(hop.thread, std::this_thread::get_id()) << "a nested call runs on the waiting thread";
    }
    for (const Hop& hop : hal) {
        EXPECT_EQ(hop.process, mHal);
        EXPECT_EQ(hop.thread, hal[0].thread);
    }
}

TEST_F(KitHidlThreads, CallFromThePeersOwnThreadRunsOnAPoolThreadNotTheWaitingOne) {
    sp<HookedChannel> channel = new HookedChannel();
    sp<IVirCameraChannel> proxy = Serve(channel);
    ASSERT_NE(proxy, nullptr);
    sp<Bouncer> bouncer = new Bouncer();
    ASSERT_TRUE(proxy->registerSwitchCallback(bouncer).isOk());
    channel->mOnNotify = [&](int32_t) {
        // While the test thread waits for this call, a thread of the HAL's own calls back.
        std::thread own = process::Thread(mHal, [&] {
            (void)channel->SwitchCallback()->notifySwitchOnVirtualCameraResult(0, {}).isOk();
        });
        own.join();
    };
    ASSERT_TRUE(proxy->notify(1, "").isOk());
    const std::vector<Hop> self = bouncer->mLog.Hops();
    ASSERT_EQ(self.size(), 1u);
    EXPECT_EQ(self[0].process, process::SELF);
    EXPECT_TRUE(self[0].poolThread);
    EXPECT_NE(self[0].thread, std::this_thread::get_id());
}

// How many calls run in the service at once when two clients call together.
size_t MostAtOnce(const sp<HookedChannel>& channel, const sp<IVirCameraChannel>& proxy) {
    std::mutex lock;
    std::condition_variable changed;
    size_t inside = 0;
    size_t most = 0;
    channel->mOnNotify = [&](int32_t) {
        std::unique_lock<std::mutex> guard(lock);
        most = std::max(most, ++inside);
        changed.notify_all();
        // Long enough for the other call to arrive if a thread is free for it.
        changed.wait_for(guard, std::chrono::milliseconds(500), [&] { return inside == 2; });
        --inside;
    };
    std::thread first([&] { EXPECT_TRUE(proxy->notify(1, "").isOk()); });
    std::thread second([&] { EXPECT_TRUE(proxy->notify(2, "").isOk()); });
    first.join();
    second.join();
    return most;
}

TEST_F(KitHidlThreads, OnePoolThreadServesOneCallAtATime) {
    sp<HookedChannel> channel = new HookedChannel();
    sp<IVirCameraChannel> proxy = Serve(channel);
    ASSERT_NE(proxy, nullptr);
    EXPECT_EQ(MostAtOnce(channel, proxy), 1u);
}

TEST_F(KitHidlThreads, ConfiguredPoolServesCallsTogether) {
    sp<HookedChannel> channel = new HookedChannel();
    sp<IVirCameraChannel> proxy = Serve(channel, 2);
    ASSERT_NE(proxy, nullptr);
    EXPECT_EQ(MostAtOnce(channel, proxy), 2u);
}

TEST_F(KitHidlThreads, PoolStartsWhenTheProcessSendsACallback) {
    sp<HookedChannel> channel = new HookedChannel();
    sp<IVirCameraChannel> proxy = Serve(channel);
    ASSERT_NE(proxy, nullptr);
    const std::string client = mHal + ".client";
    process::As as(client);
    ASSERT_TRUE(proxy->notify(1, "").isOk());
    EXPECT_FALSE(process::PoolStarted(client, process::Pool::HWBINDER));
    sp<Bouncer> bouncer = new Bouncer();
    ASSERT_TRUE(proxy->registerSwitchCallback(bouncer).isOk());
    EXPECT_TRUE(process::PoolStarted(client, process::Pool::HWBINDER));
}

TEST_F(KitHidlThreads, DeathNoticeRunsOnAPoolThreadOfTheLinkingProcess) {
    struct Recipient : ::android::hardware::hidl_death_recipient {
        void serviceDied(uint64_t, const ::android::wp<::android::hidl::base::V1_0::IBase>&) override { mLog.Add(); }
        HopLog mLog;
    };
    sp<HookedChannel> channel = new HookedChannel();
    sp<IVirCameraChannel> proxy = Serve(channel);
    ASSERT_NE(proxy, nullptr);
    sp<Recipient> recipient = new Recipient();
    ASSERT_TRUE(proxy->linkToDeath(recipient, 1).withDefault(false));
    const std::string name = ::testing::UnitTest::GetInstance()->current_test_info()->name();
    ASSERT_TRUE(hostkit::hidl::Kill(IVirCameraChannel::descriptor, name));
    hostkit::hidl::WaitForDeathNotifications();
    const std::vector<Hop> hops = recipient->mLog.Hops();
    ASSERT_EQ(hops.size(), 1u);
    EXPECT_EQ(hops[0].process, process::SELF);
    EXPECT_TRUE(hops[0].poolThread);
}

TEST_F(KitHidlThreads, GetServiceOfAnUndeclaredNameIsNullAtOnce) {
    // Would wait for ever (and trip the watchdog) if undeclared names were waited for.
    EXPECT_EQ(IVirCameraChannel::getService("never.declared"), nullptr);
}

TEST_F(KitHidlThreads, GetServiceOfADeclaredNameWaitsUntilItRegisters) {
    const std::string name = "declared.late";
    hostkit::hidl::Declare(IVirCameraChannel::descriptor, name);
    sp<HookedChannel> channel = new HookedChannel();
    std::thread registrar = process::Thread("hal.late", [&] {
        // Later than the one second the kit once gave up after.
        std::this_thread::sleep_for(std::chrono::milliseconds(1500));
        EXPECT_EQ(channel->registerAsService(name), ::android::OK);
    });
    sp<IVirCameraChannel> proxy = IVirCameraChannel::getService(name);
    registrar.join();
    ASSERT_NE(proxy, nullptr);
    EXPECT_TRUE(proxy->isRemote());
}

}  // namespace
