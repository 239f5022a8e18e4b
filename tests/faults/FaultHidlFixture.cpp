#include "FaultHidlFixture.h"

#include <chrono>

#include <hostkit/BinderServices.h>
#include <hostkit/HidlServices.h>
#include <hostkit/LogCapture.h>
#include <hostkit/Mapper.h>

#include "ProcessState.h"

namespace faults {

void FaultHidlTest::SetUp() {
    hostkit::hidl::Reset();
    hostkit::binder::Reset();
    hostkit::mapper::Reset();
    // Binderized: the mapper death faults need a mapper process that can die.
    ASSERT_TRUE(hostkit::mapper::Offer({2, 3, 4}, hostkit::mapper::Transport::BINDERIZED));
    mRegister = FaultHidlChannel::Start(vircamsim::REGISTER_INSTANCE);
    mStream = FaultHidlChannel::Start(vircamsim::STREAM_CHANGE_INSTANCE);
    mProvider = vircamsim::SimCameraProvider::Start();
    ASSERT_NE(nullptr, mRegister);
    ASSERT_NE(nullptr, mStream);
    ASSERT_NE(nullptr, mProvider);
    mFdsBefore = OpenFds();
    hostkit::logs::Clear();
}

void FaultHidlTest::TearDown() {
    mFramework.reset();
    mWrapper.reset();
    // The singletons' death recipients fire, so the next case connects afresh.
    for (const auto& channel : {mRegister, mStream}) {
        if (channel != nullptr && channel->Alive()) channel->Kill();
    }
    hostkit::hidl::WaitForDeathNotifications();
    for (const auto& channel : {mRegister, mStream}) {
        if (channel != nullptr) channel->Sim()->JoinReports();
    }
    mRegister = nullptr;
    mStream = nullptr;
    mProvider = nullptr;
    mSource.reset();
    hostkit::hidl::Reset();
    hostkit::mapper::Reset();
    hostkit::binder::Reset();
    hostkit::logs::Clear();
}

int FaultHidlTest::UniqueId() const {
    return vircamtest::UniqueId(DEVICE, SERVICE);
}

int FaultHidlTest::Register(android::IVirCameraWrapper::VirCameraMode mode) {
    android::IVirCameraWrapper* raw = nullptr;
    EXPECT_EQ(0, CreateVirCameraWrapper(&raw));
    mWrapper.reset(raw);
    mSource = std::make_shared<FakeVideoService>(raw, UniqueId());
    return mWrapper->RegisterCallback(DEVICE, SERVICE, mode, mSource);
}

void FaultHidlTest::StartSession(uint32_t ringSize) {
    const auto& sim = mRegister->Sim();
    mFramework = std::make_unique<vircamsim::SimHidlFramework>(sim, ringSize);
    ASSERT_TRUE(mFramework->OpenControlSession(DEVICE, SERVICE).has_value());
    ASSERT_TRUE(mFramework->ConfigureStreams(FakeVideoService::CONTROL_SESSION_ID, {{2, 64, 48, 17}}).has_value());
    ASSERT_TRUE(mFramework->OpenDataSession(DEVICE, SERVICE).has_value());
}

void FaultHidlTest::ExpectNothingLeft() {
    if (mWrapper != nullptr) (void)mWrapper->UnRegisterCallback(DEVICE, SERVICE);
    mWrapper.reset();
    mFramework.reset();
    hostkit::hidl::WaitForDeathNotifications();
    EXPECT_EQ(0u, hostkit::mapper::LiveImports());
    EXPECT_EQ(mFdsBefore, OpenFds());
}

}  // namespace faults
