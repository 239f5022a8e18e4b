#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <mutex>
#include <set>
#include <utility>

#include <cutils/native_handle.h>

#include "BufferLayout.h"
#include "GrallocError.h"

namespace hostkit::mapperkit {

struct AccessRegion {
    int32_t left = 0;
    int32_t top = 0;
    int32_t width = 0;
    int32_t height = 0;
};

struct LockResult {
    void* address = nullptr;
    int32_t bytesPerPixel = -1;
    int32_t bytesPerStride = -1;
};

// The buffers imported by any mapper version of the process, as gralloc keeps them: each import
// owns a dup of the raw handle and one read/write shared mapping of the whole buffer.
// Buffers are identified by the imported handle's address and never dereferenced unless known,
// so stale or foreign pointers get BAD_BUFFER. Thread-safe.
class ImportRegistry {
  public:
    static ImportRegistry& Get();

    // rawHandle stays the caller's. On NONE *buffer is the imported handle, owned by the registry
    // until Free(). BAD_BUFFER for anything but a live kit buffer; NO_RESOURCES when out of fds
    // or address space.
    GrallocError Import(const native_handle_t* rawHandle, const native_handle_t** buffer);

    // CPU lock; the address is that of the whole buffer whatever the region. BAD_VALUE for usage
    // that is zero, has non-CPU bits or asks for access the buffer was not allocated for, for a
    // region outside the buffer, or a fence with several fds. Waits for the fence first.
    GrallocError Lock(void* buffer, uint64_t cpuUsage, const AccessRegion& region,
                      const native_handle_t* acquireFence, LockResult* result);

    // BAD_BUFFER when unknown or not locked.
    GrallocError Unlock(void* buffer);

    // Unmaps and closes the import; BAD_BUFFER when unknown (also on a second free).
    GrallocError Free(void* buffer);

    size_t LiveImports() const;
    std::set<std::pair<uintptr_t, size_t>> MappedRegions() const;

    // Frees every import; returns how many there were.
    size_t ReleaseAll();

  private:
    struct Entry {
        native_handle_t* handle = nullptr;
        void* address = nullptr;
        BufferInfo info;
        int lockCount = 0;
    };

    static GrallocError CheckLock(const Entry& entry, uint64_t cpuUsage, const AccessRegion& region);
    static void Release(const Entry& entry);

    mutable std::mutex mLock;
    std::map<const void*, Entry> mImports;
};

}  // namespace hostkit::mapperkit
