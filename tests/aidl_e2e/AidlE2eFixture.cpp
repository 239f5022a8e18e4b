#include "AidlE2eFixture.h"

#include <cstdlib>

#include <hostkit/BinderServices.h>
#include <hostkit/LogCapture.h>
#include <hostkit/Mapper.h>

namespace aidle2e {

void AidlE2eTest::SetUp() {
    hostkit::binder::Reset();
    hostkit::mapper::Reset();
    hostkit::logs::Clear();
    // Binderized: the mapper death test needs a mapper process that can die.
    ASSERT_TRUE(hostkit::mapper::Offer({4}, hostkit::mapper::Transport::BINDERIZED));
    mRegisterChannel = vircamsim::SimAidlChannel::Start(vircamsim::SimAidlChannel::REGISTER);
    mStreamChannel = vircamsim::SimAidlChannel::Start(vircamsim::SimAidlChannel::STREAM_CHANGE);
    ASSERT_NE(mRegisterChannel, nullptr);
    ASSERT_NE(mStreamChannel, nullptr);
    ASSERT_EQ(0, android::CreateVirCameraWrapperV2(&mWrapper));
    ASSERT_NE(mWrapper, nullptr);
}

void AidlE2eTest::TearDown() {
    // The HAL's clear command drops stream-change mode even when its caller is gone.
    if (mStreamChannel != nullptr) {
        if (auto callback = mStreamChannel->Callback()) {
            vircamsim::StatusResult reply;
            (void)callback->processCmdRequest(20006, "{}", &reply);
        }
    }
    // A dying channel makes the library forget the modes of its registered user.
    for (const auto& channel : {mRegisterChannel, mStreamChannel}) {
        if (channel != nullptr) channel->Kill();
    }
    hostkit::binder::Reset();  // joins the death notifications
    delete mWrapper;
    mWrapper = nullptr;
    mCallers.clear();
    mRegisterChannel.reset();
    mStreamChannel.reset();
    hostkit::mapper::Reset();
    hostkit::logs::Clear();
}

std::shared_ptr<FakeVideoService> AidlE2eTest::Register(const std::string& device, const std::string& service,
                                                 IVirCameraWrapper::VirCameraMode mode, int* result) {
    auto caller = std::make_shared<FakeVideoService>(mWrapper, UniqueId(device, service));
    mCallers.push_back(caller);
    const int ret = mWrapper->RegisterCallback(device, service, mode, caller);
    if (result != nullptr) *result = ret;
    return caller;
}

std::shared_ptr<vircamsim::SimAidlChannel> AidlE2eTest::Channel(IVirCameraWrapper::VirCameraMode mode) const {
    return mode == IVirCameraWrapper::MODE_STREAM_CHANGE ? mStreamChannel : mRegisterChannel;
}

}  // namespace aidle2e
