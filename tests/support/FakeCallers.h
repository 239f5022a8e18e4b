#pragma once

#include <gmock/gmock.h>

#include "IVirCameraWrapper.h"

// The video service's side of both transports, as gmock doubles.
class MockWrapperCallback : public android::IVirCameraWrapperCallback {
  public:
    virtual ~MockWrapperCallback() = default;
    MOCK_METHOD(int32_t, OnOpenControlSession, (const std::string&, const std::string&, uint32_t&), (override));
    MOCK_METHOD(int32_t, OnCloseControlSession, (uint32_t), (override));
    MOCK_METHOD(int32_t, OnConfigStream, (uint32_t, std::vector<android::VirCameraStream>&), (override));
    MOCK_METHOD(int32_t, OnOpenDataSession, (const std::string&, const std::string&, uint32_t&), (override));
    MOCK_METHOD(int32_t, OnCloseDataSession, (uint32_t), (override));
    MOCK_METHOD(int32_t, OnProcessImageRequest,
                (uint32_t, std::vector<android::VirCameraImageBuffer>&, uint32_t&), (override));
    MOCK_METHOD(int32_t, OnUnregisterBuffer, (uint32_t, std::vector<android::VirCameraBufferCache>&), (override));
    MOCK_METHOD(int32_t, OnFlush, (uint32_t), (override));
    MOCK_METHOD(int32_t, OnServiceDied, (), (override));
    MOCK_METHOD(int32_t, OnProcessMetaRequest, (uint32_t, uint32_t, std::vector<android::VirCameraMetaInfo>&),
                (override));
};

class MockWrapperCallbackV2 : public android::IVirCameraWrapperCallbackV2 {
  public:
    MOCK_METHOD(android::CallbackResult, OnCommand, (int32_t, const std::string&), (override));
    MOCK_METHOD(android::CallbackResult, OnCommandWithData,
                (int32_t, const std::string&, std::vector<android::CommonData>&), (override));
};
