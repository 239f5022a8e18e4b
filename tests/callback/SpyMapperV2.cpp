#include "SpyMapperV2.h"

#include <hostkit/HidlServices.h>
#include <hostkit/Mapper.h>

using android::sp;
using android::hardware::hidl_handle;
using android::hardware::Return;

sp<SpyMapperV2> SpyMapperV2::Install() {
    if (!hostkit::mapper::Offer({2}, hostkit::mapper::Transport::PASSTHROUGH)) return nullptr;
    sp<IMapper> real = IMapper::tryGetService("default", false);
    if (real == nullptr) return nullptr;
    sp<SpyMapperV2> spy = new SpyMapperV2(real);
    if (hostkit::hidl::RegisterPassthrough(IMapper::descriptor, "default", spy) != android::OK) return nullptr;
    return spy;
}

Return<void> SpyMapperV2::importBuffer(const hidl_handle& rawHandle, importBuffer_cb cb) {
    ++mImports;
    return mReal->importBuffer(rawHandle, [&](Error error, void* buffer) {
        if (error == Error::NONE) {
            std::lock_guard<std::mutex> lock(mMutex);
            mLive.insert(buffer);
        }
        cb(error, buffer);
    });
}

Return<SpyMapperV2::Error> SpyMapperV2::freeBuffer(void* buffer) {
    ++mFrees;
    std::function<void()> hook;
    {
        std::lock_guard<std::mutex> lock(mMutex);
        hook = mOnFree;
    }
    if (hook) hook();
    {
        std::lock_guard<std::mutex> lock(mMutex);
        mLive.erase(buffer);
    }
    return mReal->freeBuffer(buffer);
}

Return<void> SpyMapperV2::lock(void* buffer,
                               android::hardware::hidl_bitfield<android::hardware::graphics::common::V1_0::BufferUsage> usage,
                               const Rect& region, const hidl_handle& fence, lock_cb cb) {
    ++mLocks;
    Validate(buffer);
    return mReal->lock(buffer, usage, region, fence, cb);
}

Return<void> SpyMapperV2::unlock(void* buffer, unlock_cb cb) {
    ++mUnlocks;
    Validate(buffer);
    return mReal->unlock(buffer, [&](Error error, const hidl_handle& fence) {
        const native_handle_t* handle = fence.getNativeHandle();
        mLastFenceFd = (handle != nullptr && handle->numFds > 0) ? handle->data[0] : -1;
        cb(error, fence);
    });
}

Return<bool> SpyMapperV2::linkToDeath(const sp<android::hardware::hidl_death_recipient>& recipient,
                                      uint64_t cookie) {
    ++mLinks;
    return IMapper::linkToDeath(recipient, cookie);
}

Return<bool> SpyMapperV2::unlinkToDeath(const sp<android::hardware::hidl_death_recipient>& recipient) {
    ++mUnlinks;
    return IMapper::unlinkToDeath(recipient);
}

void SpyMapperV2::Validate(void* buffer) {
    bool live = false;
    {
        std::lock_guard<std::mutex> lock(mMutex);
        live = mLive.count(buffer) != 0;
    }
    const auto* handle = static_cast<const native_handle_t*>(buffer);
    const bool wellFormed = handle != nullptr && handle->version == static_cast<int>(sizeof(native_handle_t));
    if (!wellFormed || !live) {
        ++mStaleHandles;
    }
}

void SpyMapperV2::OnFree(std::function<void()> hook) {
    std::lock_guard<std::mutex> lock(mMutex);
    mOnFree = std::move(hook);
}
