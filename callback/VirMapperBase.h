#pragma once

#include <cutils/native_handle.h>
#include <hidl/HidlSupport.h>
#include <utils/StrongPointer.h>

namespace android {

// One graphics mapper service, whatever its version. Adapters are shared through
// std::shared_ptr; a copy keeps the adapter alive for the length of a call even if
// its owner drops it meanwhile. Every operation may be called from any thread.
class VirMapperBase {
public:
    virtual ~VirMapperBase() = default;

    // Links the recipient to the mapper service's death (cookie 0). 0, or -1 on failure.
    // A mapper loaded into the process never dies: linking succeeds and means nothing.
    virtual int LinkToDeath(const sp<hardware::hidl_death_recipient>& /*recipient*/) { return 0; }
    // Unlinks the recipient; the result is not reported.
    virtual void Release(const sp<hardware::hidl_death_recipient>& /*recipient*/) {}
    // Imports rawHandle (which stays the caller's); on 0 `buffer` holds the imported
    // handle, which must be given back with FreeBuffer. -1 on failure.
    virtual int ImportBuffer(const hardware::hidl_handle& rawHandle, const native_handle*& buffer) = 0;
    // Locks the whole buffer for CPU reading and writing; on 0 `address` is the mapping.
    virtual int Lock(const native_handle*& buffer, void*& address) = 0;
    // Unlocks; a release fence, when the mapper gives one, goes to releaseFence (owned
    // by the caller: a duplicate where the mapper keeps its own). On failure, and when
    // there is no fence, releaseFence keeps its value.
    virtual void UnLock(const native_handle*& buffer, int& releaseFence) = 0;
    // Gives an imported handle back; the caller's pointer is left as it is.
    virtual void FreeBuffer(const native_handle*& buffer) = 0;
};

}  // namespace android
