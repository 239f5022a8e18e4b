#include "ClientFixture.h"

#include <chrono>

#include <hostkit/BinderServices.h>
#include <hostkit/HidlServices.h>
#include <hostkit/LogCapture.h>
#include <hostkit/Mapper.h>

void HidlClientFixture::StartHal(bool withProvider) {
    hostkit::hidl::Reset();
    hostkit::binder::Reset();
    hostkit::mapper::Reset();
    mRegisterChannel = vircamsim::SimHidlChannel::Start(vircamsim::REGISTER_INSTANCE);
    mStreamChannel = vircamsim::SimHidlChannel::Start(vircamsim::STREAM_CHANGE_INSTANCE);
    ASSERT_NE(nullptr, mRegisterChannel);
    ASSERT_NE(nullptr, mStreamChannel);
    if (withProvider) {
        mProvider = vircamsim::SimCameraProvider::Start();
        ASSERT_NE(nullptr, mProvider);
    }
    hostkit::logs::Clear();
}

void HidlClientFixture::TearDown() {
    for (auto& channel : {mRegisterChannel, mStreamChannel}) {
        if (channel != nullptr && channel->Alive()) channel->Kill();
    }
    hostkit::hidl::WaitForDeathNotifications();
    for (auto& channel : {mRegisterChannel, mStreamChannel}) {
        if (channel != nullptr) channel->JoinReports();
    }
    if (mProvider != nullptr) mProvider->JoinLateStart();
    mRegisterChannel = nullptr;
    mStreamChannel = nullptr;
    mProvider = nullptr;
    hostkit::hidl::Reset();
    hostkit::binder::Reset();
}
