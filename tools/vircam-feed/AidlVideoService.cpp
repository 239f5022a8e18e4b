#include "AidlVideoService.h"

#include <json/json.h>

#include <cstdio>
#include <memory>


namespace vircamfeed {

namespace {

constexpr int32_t CMD_CONFIG_STREAM = 9105;
constexpr int32_t CMD_IMAGE_REQUEST = 9107;
constexpr int32_t CMD_OPEN_CONTROL_SESSION = 10005;
constexpr int32_t CMD_OPEN_DATA_SESSION = 10008;
constexpr int32_t CMD_SERVICE_DIED = 15016;
constexpr int CMD_LOCK = 9108;
constexpr int CMD_UNLOCK = 9109;

bool Parse(const std::string& text, Json::Value& root) {
    Json::CharReaderBuilder builder;
    std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
    std::string errors;
    return reader->parse(text.data(), text.data() + text.size(), &root, &errors) && root.isObject();
}

int32_t IntOf(const Json::Value& root, const char* key) {
    const Json::Value& value = root[key];
    return value.isInt() ? value.asInt() : -1;
}

std::string Write(const Json::Value& value) {
    Json::StreamWriterBuilder builder;
    builder["indentation"] = "";
    return Json::writeString(builder, value);
}

}  // namespace

android::CallbackResult AidlVideoService::OnCommand(int32_t cmd, const std::string& data) {
    android::CallbackResult result;
    switch (cmd) {
        case CMD_OPEN_CONTROL_SESSION:
        case CMD_OPEN_DATA_SESSION:
            result.data = std::to_string(mNextSession++);
            break;
        case CMD_CONFIG_STREAM: {
            Json::Value root;
            if (!Parse(data, root) || !root["streams"].isArray()) {
                result.result = -1;
                break;
            }
            std::lock_guard<std::mutex> lock(mMutex);
            mStreams.clear();
            for (const Json::Value& stream : root["streams"]) {
                mStreams[IntOf(stream, "streamId")] = {static_cast<uint32_t>(IntOf(stream, "width")),
                                                       static_cast<uint32_t>(IntOf(stream, "height"))};
            }
            break;
        }
        case CMD_SERVICE_DIED: {
            fprintf(stderr, "vircam-feed: the HAL channel service died (registration %s)\n", data.c_str());
            std::lock_guard<std::mutex> lock(mMutex);
            mServiceDied = true;
            break;
        }
        default:
            break;
    }
    return result;
}

android::CallbackResult AidlVideoService::OnCommandWithData(int32_t cmd, const std::string&,
                                                            std::vector<android::CommonData>& items) {
    if (cmd == CMD_IMAGE_REQUEST) {
        for (const android::CommonData& item : items) {
            FillBuffer(item.data);
        }
    }
    return {};
}

bool AidlVideoService::FillBuffer(const std::string& itemJson) {
    const auto requested = FeedReport::Clock::now();
    Json::Value item;
    if (!Parse(itemJson, item)) {
        return false;
    }
    const int32_t streamId = IntOf(item, "streamId");
    Size size;
    {
        std::lock_guard<std::mutex> lock(mMutex);
        auto found = mStreams.find(streamId);
        if (found == mStreams.end()) {
            return false;
        }
        size = found->second;
    }
    Json::Value ids;
    ids["sessionId"] = 0;
    ids["streamId"] = streamId;
    ids["bufferId"] = IntOf(item, "bufferId");
    void* handleData = nullptr;
    android::CommonData out;
    out.pointer = reinterpret_cast<uint64_t>(&handleData);
    const uint64_t address = static_cast<uint64_t>(mWrapper.SendData(CMD_LOCK, mUniqueId, Write(ids), {out}).value);
    if (address == 0) {
        return false;
    }
    // The public API gives no row stride: rows are taken as packed, as gralloc packs NV21.
    const bool filled = mSource.Fill(reinterpret_cast<uint8_t*>(address), size.width, size.height, size.width,
                                     static_cast<uint32_t>(IntOf(item, "frameNumber")));
    ids["index"] = 0;
    mWrapper.SendData(CMD_UNLOCK, mUniqueId, Write(ids), {});
    if (!filled) {
        return false;
    }
    mPacer.Wait();
    if (mWrapper.SendRequest(CMD_IMAGE_DONE, mUniqueId, itemJson).result != 0) {
        return false;
    }
    mReport.FrameDelivered(FeedReport::Clock::now() - requested, size_t{size.width} * size.height * 3 / 2);
    ++mFilled;
    return true;
}

bool AidlVideoService::TakeServiceDied() {
    std::lock_guard<std::mutex> lock(mMutex);
    const bool died = mServiceDied;
    mServiceDied = false;
    return died;
}

}  // namespace vircamfeed
