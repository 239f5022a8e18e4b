#pragma once

#include <cstdint>

// Command numbers and result codes of the AIDL channel protocol and of the AIDL facade.
namespace android {

// Requests to the HAL (doCmdRequest).
constexpr int32_t CMD_REGISTER = 9005;
constexpr int32_t CMD_UNREGISTER = 9006;
constexpr int32_t CMD_SWITCH_ON = 10001;
constexpr int32_t CMD_SWITCH_OFF = 10002;
constexpr int32_t CMD_HAL_REQUEST_FIRST = 20001;  // the caller's requests the HAL takes
constexpr int32_t CMD_HAL_REQUEST_LAST = 20003;
constexpr int32_t CMD_IMAGE_DONE = 20003;  // a filled buffer goes back to the HAL
constexpr int32_t CMD_ID_LIST = 30001;

// The caller's data commands.
constexpr int32_t CMD_HAL_DATA = 9101;
constexpr int32_t CMD_LOCK_BUFFER = 9108;
constexpr int32_t CMD_UNLOCK_BUFFER = 9109;

// Commands from the HAL (the channel callback), passed on to the caller or handled here.
constexpr int32_t CMD_META_REQUEST = 9104;
constexpr int32_t CMD_CONFIG_STREAM = 9105;
constexpr int32_t CMD_UNREGISTER_BUFFER = 9106;
constexpr int32_t CMD_IMAGE_REQUEST = 9107;
constexpr int32_t CMD_OPEN_CONTROL_SESSION = 10005;
constexpr int32_t CMD_CLOSE_CONTROL_SESSION = 10006;
constexpr int32_t CMD_OPEN_DATA_SESSION = 10008;
constexpr int32_t CMD_CLOSE_DATA_SESSION = 10009;
constexpr int32_t CMD_FLUSH = 15014;
constexpr int32_t CMD_SWITCH_ON_RESULT = 20004;
constexpr int32_t CMD_SWITCH_OFF_RESULT = 20005;
constexpr int32_t CMD_CLEAR_SWITCH_SERVICE = 20006;

// To the caller: the channel service died.
constexpr int32_t CMD_SERVICE_DIED = 15016;

// Result codes.
constexpr int32_t ERR_FAILED = -1;
constexpr int32_t ERR_NULL_REPLY = -200001;
constexpr int32_t ERR_UNKNOWN_CMD = -200002;
constexpr int32_t ERR_NO_ITEMS = -200003;
constexpr int32_t ERR_CALLBACK_EXPIRED = -200004;
constexpr int32_t ERR_NO_MAPPER = -200006;
constexpr int32_t ERR_IMPORT_FAILED = -200007;
constexpr int32_t ERR_NO_HANDLE = -200008;
constexpr int32_t ERR_MAPPER_WATCH_FAILED = -200009;
constexpr int32_t ERR_WAIT_TIMEOUT = -200010;
constexpr int32_t ERR_BAD_SWITCH_JSON = -200011;
constexpr int32_t ERR_BAD_REQUEST_JSON = -200012;
constexpr int32_t ERR_SWITCH_REFUSED = -200013;
constexpr int32_t ERR_NO_SERVICE = -200014;
constexpr int32_t ERR_BINDER = -200015;
constexpr int32_t ERR_SWITCH_ON_FAILED = -200016;
constexpr int32_t ERR_SWITCH_OFF_FAILED = -200017;
constexpr int32_t ERR_NO_BINDER = -200018;
constexpr int32_t ERR_LINK_FAILED = -200019;
constexpr int32_t ERR_DUP_FAILED = -200021;

}  // namespace android
