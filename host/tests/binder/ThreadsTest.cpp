// Where NDK binder calls and death notices run: on the binder pool of the process that owns
// the object (or that linked), and nothing before that process starts its pool.
#include <android/binder_manager.h>
#include <android/binder_process.h>
#include <gtest/gtest.h>
#include <hostkit/BinderServices.h>
#include <hostkit/Process.h>

#include <chrono>
#include <future>
#include <string>
#include <thread>

#include "TestServices.h"

namespace kitbinder {
namespace {

namespace process = hostkit::process;

struct Hop {
    std::string process;
    std::thread::id thread;
    bool poolThread = false;
};

Hop Here() { return {process::Current(), std::this_thread::get_id(), process::OnPoolThread(process::Pool::BINDER)}; }

// A channel that records where doCmdRequest ran.
class WhereChannel : public TestChannel {
  public:
    ndk::ScopedAStatus doCmdRequest(int32_t cmd, const std::string& data, StatusResult* ret) override {
        std::lock_guard<std::mutex> lock(mMutex);
        mHop = Here();
        return TestChannel::doCmdRequest(cmd, data, ret);
    }
    Hop hop() {
        std::lock_guard<std::mutex> lock(mMutex);
        return mHop;
    }

  private:
    std::mutex mMutex;
    Hop mHop;
};

class KitBinderThreads : public ::testing::Test {
  protected:
    void SetUp() override { hostkit::binder::Reset(); }
    void TearDown() override { hostkit::binder::Reset(); }

    // A channel made and registered by process `owner` (its object belongs there).
    std::shared_ptr<IVirCameraChannel> Serve(const std::string& owner, std::shared_ptr<WhereChannel>* channel) {
        const std::string name = std::string(IVirCameraChannel::descriptor) + "/" + owner;
        {
            process::As as(owner);
            *channel = ndk::SharedRefBase::make<WhereChannel>();
            EXPECT_EQ(EX_NONE, AServiceManager_addService((*channel)->asBinder().get(), name.c_str()));
        }
        mName = name;
        return IVirCameraChannel::fromBinder(ndk::SpAIBinder(AServiceManager_checkService(name.c_str())));
    }
    std::string mName;
};

TEST_F(KitBinderThreads, IncomingCallRunsOnABinderPoolThreadOfTheOwner) {
    {
        process::As hal("ndk.started");
        ABinderProcess_startThreadPool();
    }
    std::shared_ptr<WhereChannel> channel;
    std::shared_ptr<IVirCameraChannel> proxy = Serve("ndk.started", &channel);
    ASSERT_NE(nullptr, proxy);
    StatusResult ret;
    ASSERT_TRUE(proxy->doCmdRequest(1, "", &ret).isOk());
    const Hop hop = channel->hop();
    EXPECT_EQ("ndk.started", hop.process);
    EXPECT_TRUE(hop.poolThread);
    EXPECT_NE(std::this_thread::get_id(), hop.thread);
}

TEST_F(KitBinderThreads, NothingArrivesBeforeTheOwnerStartsItsPool) {
    const std::string owner = "ndk.late.pool";
    std::shared_ptr<WhereChannel> channel;
    std::shared_ptr<IVirCameraChannel> proxy = Serve(owner, &channel);
    ASSERT_NE(nullptr, proxy);
    ASSERT_FALSE(process::PoolStarted(owner, process::Pool::BINDER));
    std::future<bool> answered = std::async(std::launch::async, [&] {
        StatusResult ret;
        return proxy->doCmdRequest(1, "", &ret).isOk();
    });
    // Long enough for a delivered call to have run many times over; not a timing assertion.
    EXPECT_EQ(std::future_status::timeout, answered.wait_for(std::chrono::milliseconds(300)));
    {
        process::As as(owner);
        ABinderProcess_startThreadPool();
    }
    ASSERT_EQ(std::future_status::ready, answered.wait_for(std::chrono::seconds(30)));
    EXPECT_TRUE(answered.get());
    EXPECT_TRUE(channel->hop().poolThread);
}

struct DeathSeen {
    std::promise<Hop> hop;
};

void RecordDeath(void* cookie) { static_cast<DeathSeen*>(cookie)->hop.set_value(Here()); }

TEST_F(KitBinderThreads, DeathNoticeRunsOnThePoolOfTheLinkingProcessOnceStarted) {
    {
        process::As hal("ndk.dying");
        ABinderProcess_startThreadPool();
    }
    std::shared_ptr<WhereChannel> channel;
    std::shared_ptr<IVirCameraChannel> proxy = Serve("ndk.dying", &channel);
    ASSERT_NE(nullptr, proxy);
    const std::string linker = "ndk.linker";
    DeathSeen seen;
    std::future<Hop> died = seen.hop.get_future();
    ndk::ScopedAIBinder_DeathRecipient recipient(AIBinder_DeathRecipient_new(RecordDeath));
    {
        process::As as(linker);
        ASSERT_EQ(STATUS_OK, AIBinder_linkToDeath(proxy->asBinder().get(), recipient.get(), &seen));
    }
    ASSERT_TRUE(hostkit::binder::Kill(mName));
    EXPECT_EQ(std::future_status::timeout, died.wait_for(std::chrono::milliseconds(300)))
            << "a death notice arrived before the linking process had a pool";
    {
        process::As as(linker);
        ABinderProcess_startThreadPool();
    }
    ASSERT_EQ(std::future_status::ready, died.wait_for(std::chrono::seconds(30)));
    const Hop hop = died.get();
    EXPECT_EQ(linker, hop.process);
    EXPECT_TRUE(hop.poolThread);
}

}  // namespace
}  // namespace kitbinder
