#include "common/VirCameraConstants.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace {

using namespace android;

// The peer matches these byte for byte, so each value is spelled out here once more.
TEST(VirCameraConstantsTest, ValuesAreExact) {
    const std::vector<std::pair<const std::string*, const char*>> expected = {
        {&CHARSET_GB2312, "GB2312"},
        {&STR_EMPTY, ""},
        {&STR_MINUS_ONE, "-1"},
        {&STR_ZERO, "0"},
        {&DEFAULT_SERVICE_PREFIX, "C_DEFAULT_SERVICE_"},
        {&DEFAULT_DEVICE, "W_DEFAULT_DEVICE"},
        {&DEFAULT_CAMERA, "W_DEFAULT_CAMERA"},
        {&CAMERA_HAL_PREFIX, "C_CameraHal_"},
        {&TRANSLATOR_NAME, "W_Translator"},
        {&KEY_CMD, "cmd"},
        {&KEY_DEVICE_ID, "deviceId"},
        {&KEY_SERVICE_ID, "serviceId"},
        {&KEY_SESSION_ID, "sessionId"},
        {&KEY_OPT_RET, "OptRet"},
        {&KEY_SEQ_NO, "seqNo"},
        {&KEY_FRAME_NUMBER, "frameNumber"},
        {&KEY_BUFFER_ID, "bufferId"},
        {&KEY_STREAM_ID, "streamId"},
        {&KEY_INDEX, "index"},
        {&KEY_TIMESTAMP, "timestamp"},
        {&KEY_STATUS, "status"},
        {&KEY_ID, "id"},
        {&KEY_STREAM_TYPE, "streamType"},
        {&KEY_WIDTH, "width"},
        {&KEY_HEIGHT, "height"},
        {&KEY_COLOR_SPACE, "colorSpace"},
        {&KEY_PADDING, "padding"},
        {&KEY_ROTATION, "rotation"},
        {&KEY_KVATTRIBUTE, "kvattribute"},
        {&KEY_NUMBER_PROCESSED, "numberProcessed"},
        {&KEY_METDATA, "metdata"},
        {&KEY_TYPE, "type"},
        {&KEY_CAMERA_ID, "cameraId"},
        {&KEY_REG_VIR_DEVICES, "regVirDevices"},
        {&KEY_VIR_CAM_INFO, "virCamInfo"},
        {&KEY_NATIVE_BUFFER, "nativeBuffer"},
        {&KEY_VECTOR_OBJ, "vectorObj"},
        {&KEY_VIRMETAREQUEST, "virmetarequest"},
        {&KEY_VIR_CAM_OPT_RET, "virCamOptRet"},
        {&KEY_KEY, "key"},
        {&KEY_VALUE, "value"},
        {&KEY_ATTRIBUTE, "attribute"},
        {&KEY_CAMERA_COUNT, "cameraCount"},
        {&KEY_CAMERA_PHYSICAL_ID, "cameraPhysicalId"},
        {&KEY_NOTIFY_KEY, "notifyKey"},
        {&KEY_NOTIFY_MSG_DATA, "notifyMsgData"},
        {&CAMERA_PREFIX, "Camera_"},
        {&W_PREFIX, "W_"},
        {&STR_TRUE, "true"},
        {&STR_FALSE, "false"},
    };
    EXPECT_EQ(50u, expected.size());
    for (const auto& [constant, value] : expected) EXPECT_EQ(value, *constant);
}

}  // namespace
