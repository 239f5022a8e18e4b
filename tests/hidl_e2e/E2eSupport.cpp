#include "E2eSupport.h"

#include <dirent.h>
#include <unistd.h>

#include <chrono>

#include <hostkit/BinderServices.h>
#include <hostkit/HidlServices.h>
#include <hostkit/LogCapture.h>
#include <hostkit/Mapper.h>

namespace e2e {

std::string Masked(const std::string& text) {
    if (text.size() <= 1) return text.empty() ? text : "*";
    if (text.size() == 2) return text.substr(0, 1) + "*";
    return text.front() + std::string(text.size() - 2, '*') + text.back();
}

void HidlE2eFixture::SetUp() {
    hostkit::hidl::Reset();
    hostkit::binder::Reset();
    hostkit::mapper::Reset();
    hostkit::logs::Clear();
    ASSERT_TRUE(hostkit::mapper::Offer({2, 3, 4}));
    mRegisterChannel = vircamsim::SimHidlChannel::Start(vircamsim::REGISTER_INSTANCE);
    mStreamChannel = vircamsim::SimHidlChannel::Start(vircamsim::STREAM_CHANGE_INSTANCE);
    ASSERT_NE(mRegisterChannel, nullptr);
    ASSERT_NE(mStreamChannel, nullptr);
}

void HidlE2eFixture::TearDown() {
    DeleteWrappers();
    for (auto& channel : {mRegisterChannel, mStreamChannel}) {
        if (channel != nullptr && channel->Alive()) channel->Kill();
    }
    hostkit::hidl::WaitForDeathNotifications();
    if (mRegisterChannel != nullptr) mRegisterChannel->JoinReports();
    if (mStreamChannel != nullptr) mStreamChannel->JoinReports();
    mRegisterChannel = nullptr;
    mStreamChannel = nullptr;
    hostkit::hidl::Reset();
    hostkit::mapper::Reset();
    hostkit::binder::Reset();
}

android::IVirCameraWrapper* HidlE2eFixture::NewWrapper() {
    android::IVirCameraWrapper* wrapper = nullptr;
    EXPECT_EQ(0, CreateVirCameraWrapper(&wrapper));
    mWrappers.emplace_back(wrapper);
    return wrapper;
}

void HidlE2eFixture::DeleteWrappers() { mWrappers.clear(); }

}  // namespace e2e
