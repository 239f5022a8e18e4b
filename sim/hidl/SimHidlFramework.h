#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "hidl/SimHidlChannel.h"
#include "hidl/SimStreamRing.h"

// The camera framework side of the virtual camera HAL: drives sessions over the channel
// callback registered with a SimHidlChannel and reads every returned buffer back through
// the mapper. Steps return the library's answer, or nullopt when the call failed in
// transport or no callback is registered. Thread-safe; the streaming thread is its own.
namespace vircamsim {

// A buffer the library reported done, with the bytes the framework read back.
struct ReturnedFrame {
    int32_t sessionId = 0;
    uint32_t frameNumber = 0;
    int32_t streamId = 0;
    uint64_t bufferId = 0;
    bool status = false;
    bool readBackOk = false;
    std::vector<uint8_t> bytes;
};

class SimHidlFramework {
  public:
    using OptResult = vircam::VirOptResult;

    // Listens for onVirImageBufferDone on `channel`; `ringSize` buffers per stream.
    SimHidlFramework(::android::sp<SimHidlChannel> channel, size_t ringSize = 3);
    // Stops streaming and frees every allocation.
    ~SimHidlFramework();
    SimHidlFramework(const SimHidlFramework&) = delete;
    SimHidlFramework& operator=(const SimHidlFramework&) = delete;

    using SessionAnswer = std::pair<OptResult, uint32_t>;

    // Session id on success (status SUCCESS), nullopt otherwise.
    std::optional<uint32_t> OpenControlSession(const std::string& device, const std::string& service);
    std::optional<uint32_t> OpenDataSession(const std::string& device, const std::string& service);
    // The library's whole answer (status, session id).
    std::optional<SessionAnswer> OpenControlSessionAnswer(const std::string& device, const std::string& service);
    std::optional<SessionAnswer> OpenDataSessionAnswer(const std::string& device, const std::string& service);
    std::optional<OptResult> CloseControlSession(uint32_t sessionId);
    std::optional<OptResult> CloseDataSession(uint32_t sessionId);
    // Configures NV21 output streams and allocates their rings (the old rings are freed).
    // Returns nullopt also when an allocation failed.
    std::optional<OptResult> ConfigureStreams(uint32_t sessionId, const std::vector<StreamSpec>& streams);
    // One image request carrying the next buffer of every stream for `frameNumber`.
    // Returns (status, numProcessed).
    std::optional<std::pair<OptResult, uint32_t>> SendImageRequest(uint32_t sessionId, uint32_t frameNumber);
    std::optional<OptResult> SendMetaRequest(uint32_t sessionId, uint32_t metaId,
                                             const std::vector<vircam::MetaItem>& items);
    std::optional<OptResult> Flush(uint32_t sessionId);
    // Unregisters every ring buffer of every stream.
    std::optional<OptResult> UnregisterAllBuffers(uint32_t sessionId);

    // Sends `count` image requests (frames firstFrame...) every `period` from a thread of its
    // own, reusing a ring buffer only after it came back done; it stops early when a request
    // fails in transport, the channel died, or a buffer did not come back within 5 s.
    void StartStreaming(uint32_t sessionId, uint32_t firstFrame, uint32_t count, std::chrono::milliseconds period);
    // Joins the streaming thread; returns the number of requests it sent successfully.
    uint32_t StopStreaming();

    std::vector<ReturnedFrame> ReturnedFrames() const;
    bool WaitForReturnedFrames(size_t count, std::chrono::milliseconds timeout);
    // Configured streams, for expectation building.
    std::vector<StreamSpec> Streams() const;
    size_t BufferBytes(uint32_t streamId) const;
    // Frees all rings now (the destructor does it too).
    void FreeBuffers();

  private:
    ::android::sp<vircam::IVirCameraChannelCallback> Callback() const;
    void OnImageDone(int32_t sessionId, const vircam::VirImageResult& result);
    void ForgetHeldBuffers();
    bool WaitForSlotsFree(uint32_t frameNumber, std::chrono::milliseconds timeout);

    ::android::sp<SimHidlChannel> mChannel;
    const size_t mRingSize;
    mutable std::mutex mLock;
    std::condition_variable mFramesChanged;
    std::map<uint32_t, std::unique_ptr<SimStreamRing>> mRings;
    std::vector<ReturnedFrame> mReturned;
    std::thread mStreamer;
    std::atomic<bool> mStopStreaming{false};
    std::atomic<uint32_t> mStreamedOk{0};
};

}  // namespace vircamsim
