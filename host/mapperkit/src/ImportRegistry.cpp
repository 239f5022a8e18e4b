#include "ImportRegistry.h"

#include <sys/mman.h>

#include "AcquireFence.h"
#include "BufferAllocator.h"

namespace hostkit::mapperkit {

namespace {

constexpr uint64_t CPU_READ_MASK = 0xf;
constexpr uint64_t CPU_WRITE_MASK = 0xf0;

bool RegionFits(const AccessRegion& r, const BufferInfo& info) {
    if (r.left == 0 && r.top == 0 && r.width == 0 && r.height == 0) {
        return true;  // the whole buffer
    }
    return r.left >= 0 && r.top >= 0 && r.width > 0 && r.height > 0 &&
           static_cast<int64_t>(r.left) + r.width <= info.width &&
           static_cast<int64_t>(r.top) + r.height <= info.height;
}

}  // namespace

ImportRegistry& ImportRegistry::Get() {
    static ImportRegistry registry;
    return registry;
}

GrallocError ImportRegistry::Import(const native_handle_t* rawHandle, const native_handle_t** buffer) {
    auto info = BufferLayout::Decode(rawHandle);
    if (!info || !BufferAllocator::IsBufferFd(rawHandle->data[0], info->inode, info->size)) {
        return GrallocError::BAD_BUFFER;
    }
    Entry entry;
    entry.info = *info;
    entry.handle = native_handle_clone(rawHandle);
    if (entry.handle == nullptr) {
        return GrallocError::NO_RESOURCES;
    }
    // Mapped once at import, read/write, as gralloc implementations do; lock only hands it out.
    entry.address = mmap(nullptr, info->size, PROT_READ | PROT_WRITE, MAP_SHARED, entry.handle->data[0], 0);
    if (entry.address == MAP_FAILED) {
        native_handle_close(entry.handle);
        native_handle_delete(entry.handle);
        return GrallocError::NO_RESOURCES;
    }
    std::lock_guard<std::mutex> guard(mLock);
    mImports.emplace(entry.handle, entry);
    *buffer = entry.handle;
    return GrallocError::NONE;
}

GrallocError ImportRegistry::CheckLock(const Entry& entry, uint64_t cpuUsage, const AccessRegion& region) {
    const uint64_t allocated = entry.info.usage;
    if (cpuUsage == 0 || (cpuUsage & ~(CPU_READ_MASK | CPU_WRITE_MASK)) != 0 ||
        ((cpuUsage & CPU_READ_MASK) != 0 && (allocated & CPU_READ_MASK) == 0) ||
        ((cpuUsage & CPU_WRITE_MASK) != 0 && (allocated & CPU_WRITE_MASK) == 0) ||
        !RegionFits(region, entry.info)) {
        return GrallocError::BAD_VALUE;
    }
    return GrallocError::NONE;
}

GrallocError ImportRegistry::Lock(void* buffer, uint64_t cpuUsage, const AccessRegion& region,
                                  const native_handle_t* acquireFence, LockResult* result) {
    {
        std::lock_guard<std::mutex> guard(mLock);
        auto it = mImports.find(buffer);
        if (it == mImports.end()) {
            return GrallocError::BAD_BUFFER;
        }
        const GrallocError error = CheckLock(it->second, cpuUsage, region);
        if (error != GrallocError::NONE) {
            return error;
        }
    }
    // Waiting without the registry lock: other buffers stay usable meanwhile.
    const GrallocError fenceError = AcquireFence::Wait(acquireFence);
    if (fenceError != GrallocError::NONE) {
        return fenceError;
    }
    std::lock_guard<std::mutex> guard(mLock);
    auto it = mImports.find(buffer);
    if (it == mImports.end()) {
        return GrallocError::BAD_BUFFER;  // freed while we waited
    }
    Entry& entry = it->second;
    ++entry.lockCount;
    result->address = entry.address;
    result->bytesPerPixel = BufferLayout::BytesPerPixel(entry.info.format);
    result->bytesPerStride =
        result->bytesPerPixel < 0 ? -1 : result->bytesPerPixel * static_cast<int32_t>(entry.info.stride);
    return GrallocError::NONE;
}

GrallocError ImportRegistry::Unlock(void* buffer) {
    std::lock_guard<std::mutex> guard(mLock);
    auto it = mImports.find(buffer);
    if (it == mImports.end() || it->second.lockCount == 0) {
        return GrallocError::BAD_BUFFER;
    }
    --it->second.lockCount;
    return GrallocError::NONE;
}

GrallocError ImportRegistry::Free(void* buffer) {
    Entry entry;
    {
        std::lock_guard<std::mutex> guard(mLock);
        auto it = mImports.find(buffer);
        if (it == mImports.end()) {
            return GrallocError::BAD_BUFFER;
        }
        entry = it->second;
        mImports.erase(it);
    }
    Release(entry);
    return GrallocError::NONE;
}

size_t ImportRegistry::LiveImports() const {
    std::lock_guard<std::mutex> guard(mLock);
    return mImports.size();
}

std::set<std::pair<uintptr_t, size_t>> ImportRegistry::MappedRegions() const {
    std::lock_guard<std::mutex> guard(mLock);
    std::set<std::pair<uintptr_t, size_t>> regions;
    for (const auto& entry : mImports) {
        regions.emplace(reinterpret_cast<uintptr_t>(entry.second.address), entry.second.info.size);
    }
    return regions;
}

size_t ImportRegistry::ReleaseAll() {
    std::map<const void*, Entry> imports;
    {
        std::lock_guard<std::mutex> guard(mLock);
        imports.swap(mImports);
    }
    for (const auto& entry : imports) Release(entry.second);
    return imports.size();
}

void ImportRegistry::Release(const Entry& entry) {
    munmap(entry.address, entry.info.size);
    native_handle_close(entry.handle);
    native_handle_delete(entry.handle);
}

}  // namespace hostkit::mapperkit
