#pragma once

#include <memory>

#include <gtest/gtest.h>

#include "aidl/SimAidlChannel.h"
#include "aidl/SimAidlFramework.h"
#include "callback/AidlVirCameraCallback.h"
#include "client/AidlVirtualCameraClient.h"

namespace aidlclient {

using AIDLVIRTUAL_CAMERA_CLIENT::AidlVirtualCameraClient;
constexpr const char* CLIENT_TAG = "VIRCAMERA_AIDL_CLIENT";

// Both simulated channels running; the stream-change channel knows a library channel
// callback, so switch reports reach the client. The client singleton is disconnected and
// connected again for every test.
class AidlClientTest : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;
    // Drops the client's register channel and its maps so each test starts clean.
    static void ForgetClientState();

    AidlVirtualCameraClient& Client() { return AidlVirtualCameraClient::Get(); }

    std::shared_ptr<vircamsim::SimAidlChannel> mRegisterChannel;
    std::shared_ptr<vircamsim::SimAidlChannel> mStreamChannel;
    std::shared_ptr<android::AidlVirCameraCallback> mChannelCallback;
};

}  // namespace aidlclient
