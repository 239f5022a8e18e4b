#pragma once

#include <memory>
#include <vector>

#include <gmock/gmock.h>

#include "FakeCallers.h"
#include "KitTest.h"
#include "callback/VirCameraCallback.h"

namespace vircam = vendor::zuvek::hardware::camera::vircamera::V1_0;
using VirOptResult = vircam::VirOptResult;

struct ImageReply {
    bool answered = false;
    VirOptResult status = VirOptResult::FAILED;
    uint32_t processed = 0;
};

inline vircam::VirImageBuffer Image(uint32_t frame, int32_t stream, uint64_t bufferId,
                                    const native_handle_t* handle = nullptr) {
    vircam::VirImageBuffer buffer;
    buffer.frameNumber = frame;
    buffer.streamId = stream;
    buffer.bufferId = bufferId;
    buffer.buffer = android::hardware::hidl_handle(handle);
    return buffer;
}

// A HAL thread's image request; the reply is what its result callback received.
inline ImageReply SendImages(android::VirCameraCallback& channel, uint32_t sessionId,
                             const std::vector<vircam::VirImageBuffer>& buffers) {
    ImageReply reply;
    android::hardware::hidl_vec<vircam::VirImageBuffer> request(buffers);
    auto ret = channel.processImageRequest(sessionId, request, [&](VirOptResult status, uint32_t processed) {
        reply.answered = true;
        reply.status = status;
        reply.processed = processed;
    });
    EXPECT_TRUE(ret.isOk());
    return reply;
}

// A HIDL channel callback fed by a gmock video service that accepts everything.
class HidlChannelTest : public KitTest {
  protected:
    void SetUp() override {
        KitTest::SetUp();
        mCaller = std::make_shared<::testing::NiceMock<MockWrapperCallback>>();
        mChannel = new android::VirCameraCallback(mCaller);
    }
    void TearDown() override {
        mChannel.clear();
        mCaller.reset();
        KitTest::TearDown();
    }
    // Imports one buffer (the HAL's first request for it); true when the caller saw it.
    bool Cache(int32_t stream, uint64_t bufferId, const native_handle_t* handle) {
        return SendImages(*mChannel, 1, {Image(0, stream, bufferId, handle)}).answered;
    }

    std::shared_ptr<::testing::NiceMock<MockWrapperCallback>> mCaller;
    android::sp<android::VirCameraCallback> mChannel;
};
