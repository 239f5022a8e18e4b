#include "ImageWriter.h"

#include <cstring>

#include <json/reader.h>
#include <json/value.h>

namespace aidle2e {

namespace {

Json::Value Parse(const std::string& text) {
    Json::Value root;
    Json::CharReaderBuilder builder;
    std::string errors;
    std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
    if (!reader->parse(text.data(), text.data() + text.size(), &root, &errors)) return Json::Value();
    return root;
}

std::string BufferJson(int32_t streamId, int32_t bufferId) {
    return "{\"sessionId\":1,\"streamId\":" + std::to_string(streamId) +
           ",\"bufferId\":" + std::to_string(bufferId) + ",\"index\":-1}";
}

}  // namespace

ImageWriter::ImageWriter(android::IVirCameraWrapperV2* wrapper, int uniqueID, size_t frameBytes)
    : mWrapper(wrapper), mUniqueId(uniqueID), mFrameBytes(frameBytes) {}

std::vector<uint8_t> ImageWriter::Pattern(int32_t frameNumber, int32_t bufferId, size_t size) {
    std::vector<uint8_t> bytes(size);
    for (size_t i = 0; i < size; ++i) {
        bytes[i] = static_cast<uint8_t>(i * 7 + static_cast<size_t>(frameNumber) * 13 + static_cast<size_t>(bufferId));
    }
    return bytes;
}

android::CallbackResult ImageWriter::OnImageRequest(const std::string& /*json*/,
                                                    std::vector<android::CommonData>& items) {
    for (const android::CommonData& item : items) {
        const Json::Value info = Parse(item.data);
        const int32_t frame = info["frameNumber"].asInt();
        const int32_t stream = info["streamId"].asInt();
        const int32_t buffer = info["bufferId"].asInt();
        void* handleData = nullptr;
        std::vector<android::CommonData> lockItems(1);
        lockItems[0].pointer = reinterpret_cast<uintptr_t>(&handleData);
        const android::OptResult lock = mWrapper->SendData(9108, mUniqueId, BufferJson(stream, buffer), lockItems);
        std::lock_guard<std::mutex> guard(mMutex);
        if (lock.value == 0) {
            ++mLockFailures;
            mWritten[{stream, buffer}].clear();
            continue;
        }
        mSawHandleData = mSawHandleData || handleData != nullptr;
        std::vector<uint8_t> pattern = Pattern(frame, buffer, mFrameBytes);
        memcpy(reinterpret_cast<void*>(static_cast<uintptr_t>(lock.value)), pattern.data(), pattern.size());
        mWritten[{stream, buffer}] = std::move(pattern);
        // Unlocking with our own mutex held is fine: the library never calls back here.
        (void)mWrapper->SendData(9109, mUniqueId, BufferJson(stream, buffer), {});
    }
    return android::CallbackResult{0, "processed"};
}

android::OptResult ImageWriter::ReportDone(int32_t frameNumber, int32_t streamId, int32_t bufferId) {
    const std::string json = "{\"frameNumber\":" + std::to_string(frameNumber) + ",\"streamId\":" +
                             std::to_string(streamId) + ",\"bufferId\":" + std::to_string(bufferId) + "}";
    return mWrapper->SendRequest(20003, mUniqueId, json);
}

std::vector<uint8_t> ImageWriter::Written(int32_t streamId, int32_t bufferId) const {
    std::lock_guard<std::mutex> guard(mMutex);
    auto found = mWritten.find({streamId, bufferId});
    return found == mWritten.end() ? std::vector<uint8_t>() : found->second;
}

int ImageWriter::LockFailures() const {
    std::lock_guard<std::mutex> guard(mMutex);
    return mLockFailures;
}

bool ImageWriter::SawHandleData() const {
    std::lock_guard<std::mutex> guard(mMutex);
    return mSawHandleData;
}

}  // namespace aidle2e
