#pragma once

#include <string>

// Shared vocabulary: JSON keys, default names and fixed texts. The other side of the
// JSON exchange matches the keys byte for byte ("metdata" and "virmetarequest" are
// spelled as the peer expects). File-local on purpose: each source keeps its own copy.
namespace android {

static const std::string CHARSET_GB2312 = "GB2312";
static const std::string STR_EMPTY = "";
static const std::string STR_MINUS_ONE = "-1";
static const std::string STR_ZERO = "0";
static const std::string DEFAULT_SERVICE_PREFIX = "C_DEFAULT_SERVICE_";
static const std::string DEFAULT_DEVICE = "W_DEFAULT_DEVICE";
static const std::string DEFAULT_CAMERA = "W_DEFAULT_CAMERA";
static const std::string CAMERA_HAL_PREFIX = "C_CameraHal_";
static const std::string TRANSLATOR_NAME = "W_Translator";
static const std::string KEY_CMD = "cmd";
static const std::string KEY_DEVICE_ID = "deviceId";
static const std::string KEY_SERVICE_ID = "serviceId";
static const std::string KEY_SESSION_ID = "sessionId";
static const std::string KEY_OPT_RET = "OptRet";
static const std::string KEY_SEQ_NO = "seqNo";
static const std::string KEY_FRAME_NUMBER = "frameNumber";
static const std::string KEY_BUFFER_ID = "bufferId";
static const std::string KEY_STREAM_ID = "streamId";
static const std::string KEY_INDEX = "index";
static const std::string KEY_TIMESTAMP = "timestamp";
static const std::string KEY_STATUS = "status";
static const std::string KEY_ID = "id";
static const std::string KEY_STREAM_TYPE = "streamType";
static const std::string KEY_WIDTH = "width";
static const std::string KEY_HEIGHT = "height";
static const std::string KEY_COLOR_SPACE = "colorSpace";
static const std::string KEY_PADDING = "padding";
static const std::string KEY_ROTATION = "rotation";
static const std::string KEY_KVATTRIBUTE = "kvattribute";
static const std::string KEY_NUMBER_PROCESSED = "numberProcessed";
static const std::string KEY_METDATA = "metdata";
static const std::string KEY_TYPE = "type";
static const std::string KEY_CAMERA_ID = "cameraId";
static const std::string KEY_REG_VIR_DEVICES = "regVirDevices";
static const std::string KEY_VIR_CAM_INFO = "virCamInfo";
static const std::string KEY_NATIVE_BUFFER = "nativeBuffer";
static const std::string KEY_VECTOR_OBJ = "vectorObj";
static const std::string KEY_VIRMETAREQUEST = "virmetarequest";
static const std::string KEY_VIR_CAM_OPT_RET = "virCamOptRet";
static const std::string KEY_KEY = "key";
static const std::string KEY_VALUE = "value";
static const std::string KEY_ATTRIBUTE = "attribute";
static const std::string KEY_CAMERA_COUNT = "cameraCount";
static const std::string KEY_CAMERA_PHYSICAL_ID = "cameraPhysicalId";
static const std::string KEY_NOTIFY_KEY = "notifyKey";
static const std::string KEY_NOTIFY_MSG_DATA = "notifyMsgData";
static const std::string CAMERA_PREFIX = "Camera_";
static const std::string W_PREFIX = "W_";
static const std::string STR_TRUE = "true";
static const std::string STR_FALSE = "false";

}  // namespace android
