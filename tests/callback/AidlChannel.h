#pragma once

#include <memory>
#include <string>
#include <vector>

#include <aidlcommonsupport/NativeHandle.h>
#include <gmock/gmock.h>

#include "FakeCallers.h"
#include "KitTest.h"
#include "callback/AidlVirCameraCallback.h"

using InfoData = android::AidlVirCameraCallback::InfoData;
using StatusResult = android::AidlVirCameraCallback::StatusResult;

// The JSON of one image item.
inline std::string ItemJson(int frame, int stream, int buffer) {
    return "{\"frameNumber\":" + std::to_string(frame) + ",\"streamId\":" + std::to_string(stream) +
           ",\"bufferId\":" + std::to_string(buffer) + "}";
}

// An item as the HAL sends it; the NativeHandle owns duplicates of the raw handle's fds.
inline InfoData Item(int frame, int stream, int buffer, const native_handle_t* handle = nullptr) {
    InfoData item;
    item.data = ItemJson(frame, stream, buffer);
    if (handle != nullptr) item.buffer = android::dupToAidl(handle);
    return item;
}

inline std::vector<InfoData> Items(InfoData item) {
    std::vector<InfoData> items;
    items.push_back(std::move(item));
    return items;
}

constexpr int32_t CMD_IMAGE = 9107;
constexpr const char* IMAGE_JSON = "{\"sessionId\":1}";

// An AIDL channel callback fed by a gmock video service that answers 0 by default.
class AidlChannelTest : public KitTest {
  protected:
    void SetUp() override {
        KitTest::SetUp();
        mCaller = std::make_shared<::testing::NiceMock<MockWrapperCallbackV2>>();
        mChannel = ndk::SharedRefBase::make<android::AidlVirCameraCallback>(mCaller);
    }
    void TearDown() override {
        mChannel.reset();
        mCaller.reset();
        KitTest::TearDown();
    }
    StatusResult Image(const std::vector<InfoData>& items, const std::string& json = IMAGE_JSON) {
        StatusResult reply;
        EXPECT_TRUE(mChannel->processInfoData(CMD_IMAGE, json, items, &reply).isOk());
        return reply;
    }
    StatusResult Command(int32_t cmd, const std::string& json) {
        StatusResult reply;
        reply.data = "untouched";
        EXPECT_TRUE(mChannel->processCmdRequest(cmd, json, &reply).isOk());
        return reply;
    }

    std::shared_ptr<::testing::NiceMock<MockWrapperCallbackV2>> mCaller;
    std::shared_ptr<android::AidlVirCameraCallback> mChannel;
};
