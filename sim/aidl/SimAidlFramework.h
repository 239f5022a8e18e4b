#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <cutils/native_handle.h>

#include "aidl/SimAidlChannel.h"

namespace vircamsim {

// One stream of a simulated stream configuration; its buffers are allocated with these.
struct SimAidlStream {
    int32_t streamId = 0;
    uint32_t width = 64;
    uint32_t height = 48;
    int32_t format = 17;  // NV21
};

struct SimBufferRef {
    int32_t streamId = 0;
    int32_t bufferId = 0;
};

// The camera framework side of the simulated HAL: drives sessions through the channel
// callback registered with `channel`, as numbered AIDL commands with JSON texts. It owns
// the graphics buffers it sends (allocated with CPU read/write usage 0x33) and frees them
// in its destructor. Sends no command while holding its lock. Create with Make().
class SimAidlFramework : public std::enable_shared_from_this<SimAidlFramework> {
public:
    // Also installs the channel's read-back for "image buffer done" (20003) reports.
    static std::shared_ptr<SimAidlFramework> Make(std::shared_ptr<SimAidlChannel> channel);
    ~SimAidlFramework();

    // Commands through processCmdRequest. The answer's status, or -1 with no callback or
    // when the binder call failed (its status in LastBinderStatus()).
    StatusResult OpenControlSession(const std::string& json = R"({"device":"d","service":"s"})");  // 10005
    // 9105 with {"streams":[{"streamId","width","height","format"}]}; the library drops
    // its buffers, so the next requests send full handles again.
    StatusResult ConfigureStreams(const std::vector<SimAidlStream>& streams);
    StatusResult OpenDataSession(const std::string& json = R"({"device":"d","service":"s"})");  // 10008
    StatusResult Flush(const std::string& json = "{}");            // 15014; resends handles after
    StatusResult CloseControlSession(const std::string& json = "{}");  // 10006
    StatusResult CloseDataSession(const std::string& json = "{}");     // 10009
    StatusResult SendCommand(int32_t cmd, const std::string& json);    // any processCmdRequest

    // Commands through processInfoData.
    // 9107 with one InfoData per buffer: {"frameNumber","streamId","bufferId"} and the
    // buffer's handle (fds dup'd) the first time, an empty handle once the library has it.
    StatusResult RequestImages(int32_t frameNumber, const std::vector<SimBufferRef>& buffers);
    StatusResult ProcessMeta(const std::string& json = R"({"metdata":[]})");  // 9104
    StatusResult UnregisterBuffers(const std::vector<SimBufferRef>& buffers);  // 9106
    StatusResult SendInfoData(int32_t cmd, const std::string& json, const std::vector<InfoData>& items);

    // The next RequestImages sends full handles again (e.g. after the library lost them).
    void ForgetSentHandles();
    // The buffer behind a reference (allocating it on first use); null if allocation failed.
    const native_handle_t* Buffer(const SimBufferRef& ref);
    // What the framework would see in the buffer now (hostkit::mapper::ReadBack).
    std::optional<std::vector<uint8_t>> ReadBack(int32_t streamId, int32_t bufferId);
    // The binder status of the last command: exception code and service-specific error.
    std::pair<int32_t, int32_t> LastBinderStatus() const;

private:
    explicit SimAidlFramework(std::shared_ptr<SimAidlChannel> channel);
    StatusResult Finish(const ndk::ScopedAStatus& status, StatusResult reply);
    std::shared_ptr<IVirCameraChannelCallback> Target();
    InfoData MakeItem(int32_t frameNumber, const SimBufferRef& ref);

    using Key = std::pair<int32_t, int32_t>;  // (streamId, bufferId)
    const std::shared_ptr<SimAidlChannel> mChannel;
    mutable std::mutex mMutex;  // guards everything below
    std::map<int32_t, SimAidlStream> mStreams;
    std::map<Key, native_handle_t*> mBuffers;
    std::map<Key, bool> mSent;
    std::pair<int32_t, int32_t> mLastBinderStatus{0, 0};
};

}  // namespace vircamsim
