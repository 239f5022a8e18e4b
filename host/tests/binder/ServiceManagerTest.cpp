// Declared versus running services and lookups.
#include <android/binder_manager.h>
#include <android/log.h>
#include <binder/IServiceManager.h>
#include <gtest/gtest.h>
#include <hostkit/BinderServices.h>
#include <hostkit/LogCapture.h>
#include <utils/String8.h>

#include <algorithm>
#include <thread>

#include "TestServices.h"

namespace kitbinder {
namespace {

const std::string kInterface = IVirCameraChannel::descriptor;
const std::string kRegister = kInterface + "/virtualcamera.register";
const std::string kStream = kInterface + "/virtualcamera.streamchange";

class KitBinderServiceManager : public ::testing::Test {
  protected:
    void SetUp() override { hostkit::binder::Reset(); }
    void TearDown() override { hostkit::binder::Reset(); }
};

void collect(const char* instance, void* context) {
    static_cast<std::vector<std::string>*>(context)->push_back(instance);
}

TEST_F(KitBinderServiceManager, DeclaredIsNotRunningAndRunningIsNotDeclared) {
    hostkit::binder::Declare(kRegister);
    EXPECT_TRUE(AServiceManager_isDeclared(kRegister.c_str()));
    EXPECT_EQ(nullptr, AServiceManager_checkService(kRegister.c_str()));

    auto service = ndk::SharedRefBase::make<TestChannel>();
    ASSERT_EQ(EX_NONE, AServiceManager_addService(service->asBinder().get(), kStream.c_str()));
    EXPECT_FALSE(AServiceManager_isDeclared(kStream.c_str()));
    ndk::SpAIBinder running(AServiceManager_checkService(kStream.c_str()));
    EXPECT_NE(nullptr, running.get());
    EXPECT_TRUE(AIBinder_isRemote(running.get()));
    ndk::SpAIBinder again(AServiceManager_checkService(kStream.c_str()));
    EXPECT_EQ(running.get(), again.get());  // one proxy per object, as on a device

    hostkit::binder::Undeclare(kRegister);
    EXPECT_FALSE(AServiceManager_isDeclared(kRegister.c_str()));
    EXPECT_FALSE(AServiceManager_isDeclared(nullptr));
    EXPECT_EQ(EX_ILLEGAL_ARGUMENT, AServiceManager_addService(nullptr, kStream.c_str()));
    EXPECT_EQ(EX_ILLEGAL_ARGUMENT, AServiceManager_addService(service->asBinder().get(), nullptr));
}

std::vector<std::string> libbinderDeclaredInstances() {
    android::Vector<android::String16> names =
            android::defaultServiceManager()->getDeclaredInstances(android::String16(kInterface.c_str()));
    std::vector<std::string> cpp;
    for (size_t i = 0; i < names.size(); i++) cpp.push_back(android::String8(names[i]).string());
    std::sort(cpp.begin(), cpp.end());
    return cpp;
}

TEST_F(KitBinderServiceManager, DeclaredInstancesListedWithoutPrefix) {
    hostkit::binder::Declare(kRegister);
    hostkit::binder::Declare(kStream);
    hostkit::binder::Declare("other.IFoo/default");
    std::vector<std::string> ndk;
    AServiceManager_forEachDeclaredInstance(kInterface.c_str(), &ndk, collect);
    std::sort(ndk.begin(), ndk.end());
    EXPECT_EQ((std::vector<std::string>{"virtualcamera.register", "virtualcamera.streamchange"}), ndk);

    // This is a vendor process: libbinder reaches vndservicemanager, which lists nothing.
    EXPECT_TRUE(libbinderDeclaredInstances().empty());
    // A framework process's service manager lists what the NDK lists.
    hostkit::binder::UseFrameworkServiceManager(true);
    EXPECT_EQ(ndk, libbinderDeclaredInstances());
    hostkit::binder::Reset();
    hostkit::binder::Declare(kRegister);
    EXPECT_TRUE(libbinderDeclaredInstances().empty());  // Reset() makes it a vendor process again
    hostkit::binder::Declare(kStream);
    EXPECT_TRUE(android::defaultServiceManager()->isDeclared(android::String16(kStream.c_str())));
}

// Not a timing test: a registration later than any cap the kit ever had still ends the wait,
// which logs each second it waited like servicemanager's client does.
TEST_F(KitBinderServiceManager, WaitForServiceWaitsWithoutLimitUntilAdded) {
    hostkit::logs::Clear();
    auto service = ndk::SharedRefBase::make<TestChannel>();
    std::thread adder([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(3500));
        EXPECT_EQ(EX_NONE, AServiceManager_addService(service->asBinder().get(), kRegister.c_str()));
    });
    ndk::SpAIBinder found(AServiceManager_waitForService(kRegister.c_str()));
    adder.join();
    EXPECT_NE(nullptr, found.get());
    EXPECT_GE(hostkit::logs::Count(ANDROID_LOG_INFO, "binderkit", "Waited one second for " + kRegister), 3u)
            << hostkit::logs::Describe(ANDROID_LOG_INFO, "binderkit", "Waited one second for " + kRegister);
    android::sp<android::IBinder> viaLibbinder =
            android::defaultServiceManager()->checkService(android::String16(kRegister.c_str()));
    ASSERT_NE(nullptr, viaLibbinder.get());
    EXPECT_TRUE(viaLibbinder->isBinderAlive());
}

TEST_F(KitBinderServiceManager, FailNextTransactionsCountsDown) {
    auto service = ndk::SharedRefBase::make<TestChannel>();
    ASSERT_EQ(EX_NONE, AServiceManager_addService(service->asBinder().get(), kRegister.c_str()));
    auto channel = IVirCameraChannel::fromBinder(ndk::SpAIBinder(AServiceManager_checkService(kRegister.c_str())));
    ASSERT_NE(nullptr, channel);
    hostkit::binder::FailNextTransactions(kRegister, 2, STATUS_TIMED_OUT);
    StatusResult result;
    // A failed transaction is a transport error carrying the status, not a service answer.
    const ndk::ScopedAStatus failed = channel->doCmdRequest(1, "a", &result);
    EXPECT_EQ(EX_TRANSACTION_FAILED, failed.getExceptionCode());
    EXPECT_EQ(STATUS_TIMED_OUT, failed.getStatus());
    EXPECT_EQ(STATUS_TIMED_OUT, channel->doCmdRequest(1, "a", &result).getStatus());
    EXPECT_TRUE(channel->doCmdRequest(1, "a", &result).isOk());
    EXPECT_EQ(3u, hostkit::binder::TransactionCount(kRegister));
}

}  // namespace
}  // namespace kitbinder
