#include "AidlVideoSource.h"

#include <cstring>

#include <json/reader.h>
#include <json/value.h>

namespace faults {

namespace {

constexpr size_t FRAME_BYTES = 64 * 48 * 3 / 2;

std::string BufferJson(const Json::Value& info) {
    return "{\"sessionId\":1,\"streamId\":" + std::to_string(info["streamId"].asInt()) +
           ",\"bufferId\":" + std::to_string(info["bufferId"].asInt()) + ",\"index\":-1}";
}

}  // namespace

size_t AidlVideoSource::Deaths() const {
    std::lock_guard<std::mutex> lock(mLock);
    return mDeaths.size();
}

std::vector<std::string> AidlVideoSource::DeathTexts() const {
    std::lock_guard<std::mutex> lock(mLock);
    return mDeaths;
}

bool AidlVideoSource::WaitForDeaths(size_t count, std::chrono::milliseconds timeout) const {
    std::unique_lock<std::mutex> lock(mLock);
    return mChanged.wait_for(lock, timeout, [&] { return mDeaths.size() >= count; });
}

size_t AidlVideoSource::LockFailures() const {
    std::lock_guard<std::mutex> lock(mLock);
    return mLockFailures;
}

size_t AidlVideoSource::Filled() const {
    std::lock_guard<std::mutex> lock(mLock);
    return mFilled;
}

android::CallbackResult AidlVideoSource::OnCommand(int32_t cmd, const std::string& data) {
    if (cmd == CMD_SERVICE_DIED) {
        std::lock_guard<std::mutex> lock(mLock);
        mDeaths.push_back(data);
        mChanged.notify_all();
    }
    return android::CallbackResult{0, "ok"};
}

android::CallbackResult AidlVideoSource::OnCommandWithData(int32_t cmd, const std::string&,
                                                           std::vector<android::CommonData>& items) {
    if (cmd != CMD_IMAGE_REQUEST) return android::CallbackResult{0, "ok"};
    for (const android::CommonData& item : items) {
        Json::Value info;
        Json::Reader().parse(item.data, info);
        const std::string json = BufferJson(info);
        void* handleData = nullptr;
        std::vector<android::CommonData> lockItems(1);
        lockItems[0].pointer = reinterpret_cast<uintptr_t>(&handleData);
        const android::OptResult locked = mWrapper->SendData(9108, mUniqueId, json, lockItems);
        if (locked.value != 0) {
            memset(reinterpret_cast<void*>(static_cast<uintptr_t>(locked.value)), info["frameNumber"].asInt() & 0xff,
                   FRAME_BYTES);
        }
        (void)mWrapper->SendData(9109, mUniqueId, json, {});
        std::lock_guard<std::mutex> lock(mLock);
        ++(locked.value != 0 ? mFilled : mLockFailures);
    }
    return android::CallbackResult{0, "processed"};
}

}  // namespace faults
