#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "IVirCameraWrapper.h"

namespace vircamtest {

// The registration id the library derives from device and service, computed independently.
int UniqueId(const std::string& device, const std::string& service);

// The video service that links the library, for every test area, over either transport.
//
// HIDL: opens sessions with fixed ids, learns stream sizes from the configuration and fills
// each requested buffer with Pattern(): lock, write, unlock (also after a failed lock, so no
// buffer stays marked), close the release fence, report done. Inline on the HAL's thread,
// or on `workers` threads of its own.
// AIDL: records every command and answers through a settable handler (default result 0,
// data "ok:<cmd>"). Without a handler, an image request (9107) with a wrapper given fills
// its buffers through SendData lock (9108) and unlock (9109, also after a failed lock).
class FakeVideoService : public android::IVirCameraWrapperCallback, public android::IVirCameraWrapperCallbackV2 {
  public:
    static constexpr uint32_t CONTROL_SESSION_ID = 12345;
    static constexpr uint32_t DATA_SESSION_ID = 67890;
    static constexpr int32_t CMD_IMAGE_REQUEST = 9107;
    static constexpr int32_t CMD_SERVICE_DIED = 15016;
    static constexpr size_t DEFAULT_FRAME_BYTES = 64 * 48 * 3 / 2;  // NV21 64x48

    struct Call {
        int32_t cmd = 0;
        std::string data;
        std::vector<android::CommonData> items;
        bool withData = false;
    };
    using Handler = std::function<android::CallbackResult(int32_t cmd, const std::string& data,
                                                          std::vector<android::CommonData>& items)>;

    // workers == 0: buffers are filled inside OnProcessImageRequest.
    FakeVideoService(android::IVirCameraWrapper* wrapper, int uniqueId, int workers = 0);
    // AIDL buffers are `frameBytes` long.
    FakeVideoService(android::IVirCameraWrapperV2* wrapper, int uniqueId, size_t frameBytes = DEFAULT_FRAME_BYTES);
    // Records and answers commands only.
    FakeVideoService() = default;
    ~FakeVideoService() override;

    // The bytes frame `frameNumber` of (streamId, bufferId) carries, `size` long.
    static std::vector<uint8_t> Pattern(uint32_t frameNumber, int32_t streamId, uint64_t bufferId, size_t size);

    // Of the buffers the service tried to fill: those with a failed step, a failed lock, or
    // a lock that gave an address.
    size_t Failures() const;
    size_t LockFailures() const;
    size_t Filled() const;
    std::vector<int> DoneResults() const;
    bool WaitForHandled(size_t count, std::chrono::milliseconds timeout) const;
    // Whether an AIDL lock handed back the handle's data through items[0].pointer.
    bool SawHandleData() const;
    // Reports one written buffer over AIDL with SendRequest(20003, ...).
    android::OptResult ReportDone(int32_t frameNumber, int32_t streamId, int32_t bufferId);

    size_t ServiceDied() const;
    std::thread::id ServiceDiedThread() const;
    bool WaitForServiceDied(std::chrono::milliseconds timeout, size_t count = 1) const;
    std::vector<android::VirCameraStream> Streams() const;
    std::vector<android::VirCameraBufferCache> UnregisteredBuffers() const;
    std::vector<android::VirCameraMetaInfo> Metas() const;
    size_t Flushes() const;
    void StopWorkers();

    void SetHandler(Handler handler);
    std::vector<Call> Calls() const;
    size_t Count(int32_t cmd) const;
    bool WaitFor(int32_t cmd, size_t n, std::chrono::milliseconds timeout) const;

    int32_t OnOpenControlSession(const std::string& device, const std::string& service, uint32_t& sessionId) override;
    int32_t OnCloseControlSession(uint32_t sessionId) override;
    int32_t OnConfigStream(uint32_t sessionId, std::vector<android::VirCameraStream>& streams) override;
    int32_t OnOpenDataSession(const std::string& device, const std::string& service, uint32_t& sessionId) override;
    int32_t OnCloseDataSession(uint32_t sessionId) override;
    int32_t OnProcessImageRequest(uint32_t sessionId, std::vector<android::VirCameraImageBuffer>& buffers,
                                  uint32_t& numberProcessed) override;
    int32_t OnUnregisterBuffer(uint32_t sessionId, std::vector<android::VirCameraBufferCache>& buffers) override;
    int32_t OnFlush(uint32_t sessionId) override;
    int32_t OnServiceDied() override;
    int32_t OnProcessMetaRequest(uint32_t sessionId, uint32_t number,
                                 std::vector<android::VirCameraMetaInfo>& metas) override;

    android::CallbackResult OnCommand(int32_t cmd, const std::string& data) override;
    android::CallbackResult OnCommandWithData(int32_t cmd, const std::string& data,
                                              std::vector<android::CommonData>& items) override;

  private:
    void Fill(const android::VirCameraImageBuffer& buffer);
    void FillOverAidl(const android::CommonData& item);
    void Tally(bool locked, bool ok);
    void WorkerLoop();
    android::CallbackResult Answer(Call call, std::vector<android::CommonData>& items);

    android::IVirCameraWrapper* const mWrapper = nullptr;
    android::IVirCameraWrapperV2* const mWrapperV2 = nullptr;
    const int mUniqueId = 0;
    const size_t mFrameBytes = DEFAULT_FRAME_BYTES;
    mutable std::mutex mLock;
    mutable std::condition_variable mChanged;
    Handler mHandler;
    std::vector<Call> mCalls;
    std::map<int32_t, size_t> mStreamBytes;
    std::vector<android::VirCameraStream> mStreams;
    std::vector<android::VirCameraBufferCache> mUnregistered;
    std::vector<android::VirCameraMetaInfo> mMetas;
    std::vector<int> mDoneResults;
    std::deque<android::VirCameraImageBuffer> mQueue;
    bool mStop = false;
    bool mSawHandleData = false;
    size_t mHandled = 0;
    size_t mFailures = 0;
    size_t mLockFailures = 0;
    size_t mFlushes = 0;
    size_t mServiceDied = 0;
    std::thread::id mServiceDiedThread;
    std::vector<std::thread> mWorkers;
};

}  // namespace vircamtest
