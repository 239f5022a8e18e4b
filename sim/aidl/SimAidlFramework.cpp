#include "aidl/SimAidlFramework.h"

#include <aidlcommonsupport/NativeHandle.h>
#include <hostkit/Mapper.h>
#include <json/value.h>

#include "aidl/SimJson.h"
#include "process/SimProcess.h"

namespace vircamsim {

namespace {

constexpr int32_t CMD_META_REQUEST = 9104;
constexpr int32_t CMD_CONFIG_STREAM = 9105;
constexpr int32_t CMD_UNREGISTER_BUFFER = 9106;
constexpr int32_t CMD_IMAGE_REQUEST = 9107;
constexpr int32_t CMD_OPEN_CONTROL_SESSION = 10005;
constexpr int32_t CMD_CLOSE_CONTROL_SESSION = 10006;
constexpr int32_t CMD_OPEN_DATA_SESSION = 10008;
constexpr int32_t CMD_CLOSE_DATA_SESSION = 10009;
constexpr int32_t CMD_FLUSH = 15014;
constexpr uint64_t CPU_READ_WRITE_OFTEN = 0x33;

std::string BufferText(int32_t frameNumber, const SimBufferRef& ref) {
    Json::Value item;
    item["frameNumber"] = frameNumber;
    item["streamId"] = ref.streamId;
    item["bufferId"] = ref.bufferId;
    return SimJson::Write(item);
}

}  // namespace

std::shared_ptr<SimAidlFramework> SimAidlFramework::Make(std::shared_ptr<SimAidlChannel> channel) {
    std::shared_ptr<SimAidlFramework> framework(new SimAidlFramework(channel));
    std::weak_ptr<SimAidlFramework> weak = framework;
    channel->SetReadBack([weak](int32_t streamId, int32_t bufferId) -> std::optional<std::vector<uint8_t>> {
        std::shared_ptr<SimAidlFramework> self = weak.lock();
        return self != nullptr ? self->ReadBack(streamId, bufferId) : std::nullopt;
    });
    return framework;
}

SimAidlFramework::SimAidlFramework(std::shared_ptr<SimAidlChannel> channel) : mChannel(std::move(channel)) {}

SimAidlFramework::~SimAidlFramework() {
    mChannel->SetReadBack(nullptr);
    for (auto& [key, handle] : mBuffers) {
        hostkit::mapper::FreeAllocated(handle);
    }
}

std::shared_ptr<IVirCameraChannelCallback> SimAidlFramework::Target() {
    return mChannel->Callback();
}

StatusResult SimAidlFramework::Finish(const ndk::ScopedAStatus& status, StatusResult reply) {
    std::lock_guard<std::mutex> lock(mMutex);
    mLastBinderStatus = {status.getExceptionCode(), status.getServiceSpecificError()};
    if (!status.isOk()) {
        reply.status = -1;
    }
    return reply;
}

StatusResult SimAidlFramework::SendCommand(int32_t cmd, const std::string& json) {
    const AsHal hal;
    std::shared_ptr<IVirCameraChannelCallback> target = Target();
    StatusResult reply;
    if (target == nullptr) {
        reply.status = -1;
        return reply;
    }
    ndk::ScopedAStatus status = target->processCmdRequest(cmd, json, &reply);
    return Finish(status, std::move(reply));
}

StatusResult SimAidlFramework::SendInfoData(int32_t cmd, const std::string& json,
                                            const std::vector<InfoData>& items) {
    const AsHal hal;
    std::shared_ptr<IVirCameraChannelCallback> target = Target();
    StatusResult reply;
    if (target == nullptr) {
        reply.status = -1;
        return reply;
    }
    ndk::ScopedAStatus status = target->processInfoData(cmd, json, items, &reply);
    return Finish(status, std::move(reply));
}

StatusResult SimAidlFramework::OpenControlSession(const std::string& json) {
    return SendCommand(CMD_OPEN_CONTROL_SESSION, json);
}

StatusResult SimAidlFramework::ConfigureStreams(const std::vector<SimAidlStream>& streams) {
    Json::Value request;
    request["streams"] = Json::Value(Json::arrayValue);
    {
        std::lock_guard<std::mutex> lock(mMutex);
        for (const SimAidlStream& stream : streams) {
            mStreams[stream.streamId] = stream;
            Json::Value item;
            item["streamId"] = stream.streamId;
            item["width"] = stream.width;
            item["height"] = stream.height;
            item["format"] = stream.format;
            request["streams"].append(item);
        }
    }
    StatusResult reply = SendCommand(CMD_CONFIG_STREAM, SimJson::Write(request));
    ForgetSentHandles();  // the library released its buffers
    return reply;
}

StatusResult SimAidlFramework::OpenDataSession(const std::string& json) {
    return SendCommand(CMD_OPEN_DATA_SESSION, json);
}

StatusResult SimAidlFramework::Flush(const std::string& json) {
    StatusResult reply = SendCommand(CMD_FLUSH, json);
    ForgetSentHandles();
    return reply;
}

StatusResult SimAidlFramework::CloseControlSession(const std::string& json) {
    return SendCommand(CMD_CLOSE_CONTROL_SESSION, json);
}

StatusResult SimAidlFramework::CloseDataSession(const std::string& json) {
    return SendCommand(CMD_CLOSE_DATA_SESSION, json);
}

StatusResult SimAidlFramework::ProcessMeta(const std::string& json) {
    return SendInfoData(CMD_META_REQUEST, json, {});
}

StatusResult SimAidlFramework::UnregisterBuffers(const std::vector<SimBufferRef>& buffers) {
    Json::Value request;
    request["buffers"] = Json::Value(Json::arrayValue);
    for (const SimBufferRef& ref : buffers) {
        Json::Value item;
        item["streamId"] = ref.streamId;
        item["bufferId"] = ref.bufferId;
        request["buffers"].append(item);
    }
    return SendInfoData(CMD_UNREGISTER_BUFFER, SimJson::Write(request), {});
}

InfoData SimAidlFramework::MakeItem(int32_t frameNumber, const SimBufferRef& ref) {
    InfoData item;
    item.data = BufferText(frameNumber, ref);
    const native_handle_t* handle = Buffer(ref);
    std::lock_guard<std::mutex> lock(mMutex);
    bool& sent = mSent[{ref.streamId, ref.bufferId}];
    if (handle != nullptr && !sent) {
        item.buffer = android::dupToAidl(handle);  // the parcel owns the duplicates
        sent = true;
    }
    return item;
}

StatusResult SimAidlFramework::RequestImages(int32_t frameNumber, const std::vector<SimBufferRef>& buffers) {
    std::vector<InfoData> items;
    items.reserve(buffers.size());
    for (const SimBufferRef& ref : buffers) {
        items.push_back(MakeItem(frameNumber, ref));
    }
    Json::Value request;
    request["frameNumber"] = frameNumber;
    return SendInfoData(CMD_IMAGE_REQUEST, SimJson::Write(request), items);
}

void SimAidlFramework::ForgetSentHandles() {
    std::lock_guard<std::mutex> lock(mMutex);
    mSent.clear();
}

const native_handle_t* SimAidlFramework::Buffer(const SimBufferRef& ref) {
    std::lock_guard<std::mutex> lock(mMutex);
    const Key key{ref.streamId, ref.bufferId};
    auto found = mBuffers.find(key);
    if (found != mBuffers.end()) {
        return found->second;
    }
    SimAidlStream stream;
    if (auto configured = mStreams.find(ref.streamId); configured != mStreams.end()) {
        stream = configured->second;
    }
    native_handle_t* handle =
        hostkit::mapper::Allocate(stream.width, stream.height, stream.format, CPU_READ_WRITE_OFTEN);
    if (handle != nullptr) {
        mBuffers[key] = handle;
    }
    return handle;
}

std::optional<std::vector<uint8_t>> SimAidlFramework::ReadBack(int32_t streamId, int32_t bufferId) {
    std::lock_guard<std::mutex> lock(mMutex);
    auto found = mBuffers.find({streamId, bufferId});
    if (found == mBuffers.end()) {
        return std::nullopt;
    }
    return hostkit::mapper::ReadBack(found->second);
}

std::pair<int32_t, int32_t> SimAidlFramework::LastBinderStatus() const {
    std::lock_guard<std::mutex> lock(mMutex);
    return mLastBinderStatus;
}

}  // namespace vircamsim
