#pragma once

#include <atomic>
#include <functional>
#include <mutex>
#include <set>

#include <android/hardware/graphics/mapper/2.0/IMapper.h>

// A mapper 2.0 that forwards to the kit's own mapper and lets a test count the calls and
// run code inside freeBuffer (i.e. in the middle of a buffer release). Like a gralloc
// implementation it reads a handle given to lock or unlock before using it (a freed one
// is a use after free under ASan) and counts handles it did not import or already freed.
class SpyMapperV2 : public android::hardware::graphics::mapper::V2_0::IMapper {
  public:
    using IMapper = android::hardware::graphics::mapper::V2_0::IMapper;
    using Error = android::hardware::graphics::mapper::V2_0::Error;

    // Offers the kit's mapper 2.0 in-process and registers a spy in its place.
    static android::sp<SpyMapperV2> Install();

    android::hardware::Return<void> importBuffer(const android::hardware::hidl_handle& rawHandle,
                                                 importBuffer_cb cb) override;
    android::hardware::Return<Error> freeBuffer(void* buffer) override;
    android::hardware::Return<void> lock(
        void* buffer, android::hardware::hidl_bitfield<android::hardware::graphics::common::V1_0::BufferUsage> usage,
        const Rect& region, const android::hardware::hidl_handle& fence, lock_cb cb) override;
    android::hardware::Return<void> unlock(void* buffer, unlock_cb cb) override;
    android::hardware::Return<bool> linkToDeath(const android::sp<android::hardware::hidl_death_recipient>& recipient,
                                                uint64_t cookie) override;
    android::hardware::Return<bool> unlinkToDeath(
        const android::sp<android::hardware::hidl_death_recipient>& recipient) override;

    // Runs inside every later freeBuffer, before the kit frees.
    void OnFree(std::function<void()> hook);

    std::atomic<int> mImports{0};
    std::atomic<int> mFrees{0};
    std::atomic<int> mLocks{0};
    std::atomic<int> mUnlocks{0};
    std::atomic<int> mLinks{0};
    std::atomic<int> mUnlinks{0};
    // The first fd of the last release fence the kit handed out (closed since).
    std::atomic<int> mLastFenceFd{-1};
    // Locks and unlocks of a handle that was not imported here or was freed since.
    std::atomic<int> mStaleHandles{0};

  private:
    explicit SpyMapperV2(const android::sp<IMapper>& real) : mReal(real) {}
    void Validate(void* buffer);

    const android::sp<IMapper> mReal;
    std::mutex mMutex;
    std::function<void()> mOnFree;
    std::set<void*> mLive;  // imported, not yet freed
};
