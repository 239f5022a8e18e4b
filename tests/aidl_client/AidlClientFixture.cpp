#include "AidlClientFixture.h"

#include <hostkit/BinderServices.h>
#include <hostkit/LogCapture.h>
#include <hostkit/Mapper.h>

namespace aidlclient {

void AidlClientTest::ForgetClientState() {
    AidlVirtualCameraClient& client = AidlVirtualCameraClient::Get();
    client.BinderDied("", "");  // drops the register channel
    android::Mutex::Autolock lock(client.MapsMutex());
    client.GetUserMap().clear();
    client.GetServiceMap().clear();
}

void AidlClientTest::SetUp() {
    hostkit::binder::Reset();
    hostkit::mapper::Reset();
    mRegisterChannel = vircamsim::SimAidlChannel::Start(vircamsim::SimAidlChannel::REGISTER);
    mStreamChannel = vircamsim::SimAidlChannel::Start(vircamsim::SimAidlChannel::STREAM_CHANGE);
    ASSERT_NE(nullptr, mRegisterChannel);
    ASSERT_NE(nullptr, mStreamChannel);
    mChannelCallback = ndk::SharedRefBase::make<android::AidlVirCameraCallback>(
        std::weak_ptr<android::IVirCameraWrapperCallbackV2>());
    int32_t registered = -1;
    ASSERT_TRUE(mStreamChannel->registerVirtualChannelCallback("d", "s", mChannelCallback, &registered).isOk());
    ASSERT_EQ(0, registered);
    ForgetClientState();
    ASSERT_TRUE(Client().Init());
    hostkit::logs::Clear();
}

void AidlClientTest::TearDown() {
    hostkit::binder::Reset();
    mRegisterChannel.reset();  // joins a delayed report still on its way
    mStreamChannel.reset();
    mChannelCallback.reset();
    ForgetClientState();
    hostkit::mapper::Reset();
    hostkit::logs::Clear();
}

}  // namespace aidlclient
