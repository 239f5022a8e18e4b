#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

// Public interface of libvircamerawrapper: the service that feeds video into the vendor
// virtual camera HAL asks GetVersion() for the transport, creates the matching wrapper
// and talks only to it. Virtual slot order below is binary contract; never reorder.
namespace android {

// Result of SendRequest/SendData: code first (0 = success), answer text, 64-bit value.
struct OptResult {
    int32_t result = 0;
    std::string data;
    int64_t value = 0;
};

// The caller's answer to an IVirCameraWrapperCallbackV2 command; `result` goes to the HAL.
struct CallbackResult {
    int32_t result = 0;
    std::string data;
};

// A filled image buffer, reported through IVirCameraWrapper::OnVirImageBufferDone.
struct VirCameraImageResult {
    uint32_t frameNumber = 0;
    uint64_t bufferId = 0;
    int32_t streamId = 0;
    int32_t index = 0;
    int64_t timestamp = 0;
    uint8_t status = 0;
};

// Side data item of the AIDL transport. `pointer` carries the address of the caller's
// output variable for the lock command.
struct CommonData {
    std::string data;
    int64_t number = 0;
    uint64_t pointer = 0;
    std::vector<int32_t> values;
};

enum VirCameraStreamDirection : int32_t {
    VIR_CAMERA_STREAM_OUTPUT = 0,
    VIR_CAMERA_STREAM_INPUT = 1,
};

enum VirCameraRotationDegree : int32_t {
    VIR_CAMERA_ROTATION_0 = 0,
    VIR_CAMERA_ROTATION_90 = 90,
    VIR_CAMERA_ROTATION_180 = 180,
    VIR_CAMERA_ROTATION_270 = 270,
};

// The HAL's colour-space number, passed through unchanged; any 32-bit value may occur.
enum VirCameraColorFormatType : int32_t {
    VIR_CAMERA_COLOR_FORMAT_DEFAULT = 0,
};

// One configured stream. `params` holds the HAL's key/value attributes.
struct VirCameraStream {
    uint32_t streamId = 0;
    VirCameraStreamDirection direction = VIR_CAMERA_STREAM_OUTPUT;
    uint32_t width = 0;
    uint32_t height = 0;
    VirCameraColorFormatType colorFormat = VIR_CAMERA_COLOR_FORMAT_DEFAULT;
    uint32_t padding = 0;
    VirCameraRotationDegree rotation = VIR_CAMERA_ROTATION_0;
    std::map<std::string, std::string> params;
};

// One image request: the buffer the caller is to fill.
struct VirCameraImageBuffer {
    uint32_t frameNumber = 0;
    int32_t streamId = 0;
    uint64_t bufferId = 0;
};

// A buffer the HAL no longer uses.
struct VirCameraBufferCache {
    int32_t streamId = 0;
    uint64_t bufferId = 0;
};

struct VirCameraMetaInfo {
    int32_t type = 0;
    std::string value;
};

// Implemented by the caller for the HIDL transport. Called on HAL binder threads; every
// method returns 0 for success. Vectors are the library's, valid for the call only.
// The library holds it weakly: drop your shared_ptr to stop the events.
class IVirCameraWrapperCallback {
  public:
    virtual int32_t OnOpenControlSession(const std::string& device, const std::string& service,
                                         uint32_t& sessionId) = 0;
    virtual int32_t OnCloseControlSession(uint32_t sessionId) = 0;
    virtual int32_t OnConfigStream(uint32_t sessionId, std::vector<VirCameraStream>& streams) = 0;
    virtual int32_t OnOpenDataSession(const std::string& device, const std::string& service,
                                      uint32_t& sessionId) = 0;
    virtual int32_t OnCloseDataSession(uint32_t sessionId) = 0;
    // Called with no library lock held: LockVideoBuffer may be called from inside.
    virtual int32_t OnProcessImageRequest(uint32_t sessionId,
                                          std::vector<VirCameraImageBuffer>& buffers,
                                          uint32_t& numberProcessed) = 0;
    virtual int32_t OnUnregisterBuffer(uint32_t sessionId,
                                       std::vector<VirCameraBufferCache>& buffers) = 0;
    virtual int32_t OnFlush(uint32_t sessionId) = 0;
    // The HAL channel service died; the result is ignored.
    virtual int32_t OnServiceDied() = 0;
    virtual int32_t OnProcessMetaRequest(uint32_t sessionId, uint32_t number,
                                         std::vector<VirCameraMetaInfo>& metas) = 0;

  protected:
    // Owned by the caller's shared_ptr, never deleted through this type.
    ~IVirCameraWrapperCallback() = default;
};

// Implemented by the caller for the AIDL transport; called on binder threads. The
// returned result is the HAL command's status.
class IVirCameraWrapperCallbackV2 {
  public:
    virtual ~IVirCameraWrapperCallbackV2() = default;
    virtual CallbackResult OnCommand(int32_t cmd, const std::string& data) = 0;
    virtual CallbackResult OnCommandWithData(int32_t cmd, const std::string& data,
                                             std::vector<CommonData>& items) = 0;
};

// HIDL wrapper. Any thread may call any method. Results: 0 success, -1 no registration
// for the arguments, other values come from the HAL connection.
class IVirCameraWrapper {
  public:
    // The HAL channel instance: 0 "virtualcamera.streamchange", any other "virtualcamera.register".
    enum VirCameraMode : int32_t {
        MODE_STREAM_CHANGE = 0,
        MODE_REGISTER = 1,
    };

    virtual int RegisterCallback(const std::string& device, const std::string& service,
                                 VirCameraMode mode,
                                 const std::weak_ptr<IVirCameraWrapperCallback>& callback) = 0;
    virtual int UnRegisterCallback(const std::string& device, const std::string& service) = 0;
    virtual int NotifyOpenControlSessionResult(int uniqueID, int result) = 0;
    virtual int NotifyConfigStreamResult(int uniqueID, int result) = 0;
    virtual int NotifyOpenDataSessionResult(int uniqueID, int result) = 0;
    virtual int Notify(int uniqueID, const std::string& message) = 0;
    virtual int OnVirImageBufferDone(int uniqueID, const VirCameraImageResult& result) = 0;
    // Maps the buffer for CPU writing; *handleData receives the native handle's int array.
    // Returns the mapped address, 0 when nothing was locked.
    virtual void* LockVideoBuffer(int uniqueID, int streamId, unsigned long bufferId,
                                  void** handleData) = 0;
    // releaseFence receives the unlock's fence fd (the caller closes it), -1 for none.
    virtual int UnLockVideoBuffer(int uniqueID, int streamId, unsigned long bufferId,
                                  int& releaseFence) = 0;
    virtual OptResult SendRequest(int cmd, const int& uniqueID, const std::string& data) = 0;
    virtual ~IVirCameraWrapper() = default;
};

// AIDL wrapper. Any thread may call any method; failures of the requests are reported
// inside the returned OptResult.
class IVirCameraWrapperV2 {
  public:
    virtual ~IVirCameraWrapperV2() = default;
    virtual int RegisterCallback(const std::string& device, const std::string& service,
                                 IVirCameraWrapper::VirCameraMode mode,
                                 const std::weak_ptr<IVirCameraWrapperCallbackV2>& callback) = 0;
    virtual int UnRegisterCallback(const std::string& device, const std::string& service) = 0;
    virtual OptResult SendRequest(int cmd, const int& uniqueID, const std::string& data) = 0;
    virtual OptResult SendData(int cmd, const int& uniqueID, const std::string& data,
                               const std::vector<CommonData>& items) = 0;
};

extern "C" {

// 2 when the device declares the AIDL channel (use the V2 factory), else 1 (HIDL).
// Keeps no state; any thread, any time.
__attribute__((visibility("default"))) int GetVersion();

// Stores a new HIDL wrapper in *wrapper (must not be null); the caller owns it and
// deletes it. Returns 0.
__attribute__((visibility("default"))) int CreateVirCameraWrapper(
        android::IVirCameraWrapper** wrapper);

// Stores a new AIDL wrapper in *wrapper (must not be null); the caller owns it and
// deletes it. Returns 0.
__attribute__((visibility("default"))) int CreateVirCameraWrapperV2(
        android::IVirCameraWrapperV2** wrapper);

}  // extern "C"

}  // namespace android
