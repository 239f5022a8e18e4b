#include "FaultAidlFixture.h"

#include <chrono>
#include <thread>

#include <hostkit/BinderServices.h>
#include <hostkit/LogCapture.h>
#include <hostkit/Mapper.h>

#include "ProcessState.h"
#include "client/AidlVirtualCameraClient.h"

namespace faults {

using AIDLVIRTUAL_CAMERA_CLIENT::AidlVirtualCameraClient;

void FaultAidlTest::ForgetClientState() {
    AidlVirtualCameraClient& client = AidlVirtualCameraClient::Get();
    client.BinderDied("", "");  // drops the register channel
    android::Mutex::Autolock lock(client.MapsMutex());
    client.GetUserMap().clear();
    client.GetServiceMap().clear();
}

void FaultAidlTest::SetUp() {
    hostkit::binder::Reset();
    hostkit::mapper::Reset();
    // Binderized: the mapper death faults need a mapper process that can die.
    ASSERT_TRUE(hostkit::mapper::Offer({4}, hostkit::mapper::Transport::BINDERIZED));
    mRegister = vircamsim::SimAidlChannel::Start(vircamsim::SimAidlChannel::REGISTER);
    mStream = vircamsim::SimAidlChannel::Start(vircamsim::SimAidlChannel::STREAM_CHANGE);
    ASSERT_NE(nullptr, mRegister);
    ASSERT_NE(nullptr, mStream);
    ForgetClientState();
    android::IVirCameraWrapperV2* raw = nullptr;
    ASSERT_EQ(0, CreateVirCameraWrapperV2(&raw));
    mWrapper.reset(raw);
    mSource = std::make_shared<FakeVideoService>(raw, UniqueId());
    mFdsBefore = OpenFds();
    hostkit::logs::Clear();
}

void FaultAidlTest::TearDown() {
    mFramework.reset();
    // The connections go (and unlink) while their binders still exist; then the kit joins
    // the death notices.
    ForgetClientState();
    hostkit::binder::Reset();
    mWrapper.reset();
    mSource.reset();
    mRegister.reset();
    mStream.reset();
    hostkit::mapper::Reset();
    hostkit::logs::Clear();
}

int FaultAidlTest::UniqueId() const {
    return vircamtest::UniqueId("fault-device", "fault.service");
}

int FaultAidlTest::Register(android::IVirCameraWrapper::VirCameraMode mode) {
    return mWrapper->RegisterCallback("fault-device", "fault.service", mode, mSource);
}

void FaultAidlTest::StartSession() {
    mFramework = vircamsim::SimAidlFramework::Make(mRegister);
    ASSERT_EQ(0, mFramework->OpenControlSession().status);
    ASSERT_EQ(0, mFramework->ConfigureStreams({vircamsim::SimAidlStream{1, 64, 48, 17}}).status);
    ASSERT_EQ(0, mFramework->OpenDataSession().status);
}

int32_t FaultAidlTest::Frame(int32_t number, int32_t bufferId) {
    return mFramework->RequestImages(number, {{1, bufferId}}).status;
}

void FaultAidlTest::KillAndWait(const std::shared_ptr<vircamsim::SimAidlChannel>& channel) {
    const uint64_t before = hostkit::binder::DeathNotificationCount();
    const size_t links = hostkit::binder::DeathLinkCount(channel->Name());
    ASSERT_TRUE(channel->Kill());
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    // The kit offers no wait for this counter; poll it briefly with a deadline.
    while (hostkit::binder::DeathNotificationCount() < before + links &&
           std::chrono::steady_clock::now() < deadline) {
        std::this_thread::yield();
    }
    ASSERT_GE(hostkit::binder::DeathNotificationCount(), before + links);
}

void FaultAidlTest::ExpectNothingLeft() {
    if (mFramework != nullptr) (void)mFramework->Flush();
    (void)mWrapper->UnRegisterCallback("fault-device", "fault.service");
    mFramework.reset();
    EXPECT_EQ(0u, hostkit::mapper::LiveImports());
    EXPECT_EQ(mFdsBefore, OpenFds());
}

}  // namespace faults
