// The kit's stable-C mapper (version 5): the module mapper.<suffix>.so a device keeps in
// /vendor/lib64/hw. It works on the same import registry, fault plan and fence mode as the kit's
// HIDL mappers, which live in libhostkit_mapper, so imports made here count in LiveImports().
#include <fcntl.h>
#include <unistd.h>

#include <android/hardware/graphics/mapper/IMapper.h>

#include "BufferLayout.h"
#include "FaultPlan.h"
#include "ImportRegistry.h"
#include "ReleaseFence.h"

namespace hostkit::mapperkit {
namespace {

AIMapper_Error ToError(GrallocError error) {
    return static_cast<AIMapper_Error>(error);
}

GrallocError Begin(mapper::Operation operation) {
    return FaultPlan::Get().Take(operation).value_or(GrallocError::NONE);
}

// Closes the acquire fence whatever happens: lock owns it from the moment it is called.
class OwnedFence {
  public:
    explicit OwnedFence(int fd) : mFd(fd) {
        if (mFd >= 0) {
            mHandle = native_handle_init(mStorage, 1, 0);
            mHandle->data[0] = mFd;
        }
    }
    ~OwnedFence() {
        if (mFd >= 0) close(mFd);
    }
    OwnedFence(const OwnedFence&) = delete;
    OwnedFence& operator=(const OwnedFence&) = delete;
    const native_handle_t* Handle() const { return mHandle; }

  private:
    const int mFd;
    NATIVE_HANDLE_DECLARE_STORAGE(mStorage, 1, 0);
    native_handle_t* mHandle = nullptr;
};

AIMapper_Error ImportBuffer(const native_handle_t* handle, buffer_handle_t* outBuffer) {
    if (outBuffer == nullptr) return AIMAPPER_ERROR_BAD_VALUE;
    GrallocError error = Begin(mapper::Operation::IMPORT);
    if (error == GrallocError::NONE) {
        const native_handle_t* imported = nullptr;
        error = ImportRegistry::Get().Import(handle, &imported);
        if (error == GrallocError::NONE) {
            *outBuffer = imported;
            FaultPlan::Get().NoteImport(AIMAPPER_VERSION_5);
        }
    }
    return ToError(error);
}

AIMapper_Error FreeBuffer(buffer_handle_t buffer) {
    GrallocError error = Begin(mapper::Operation::FREE);
    if (error == GrallocError::NONE) {
        error = ImportRegistry::Get().Free(const_cast<native_handle_t*>(buffer));
    }
    return ToError(error);
}

AIMapper_Error GetTransportSize(buffer_handle_t buffer, uint32_t* outNumFds, uint32_t* outNumInts) {
    if (buffer == nullptr || outNumFds == nullptr || outNumInts == nullptr) return AIMAPPER_ERROR_BAD_BUFFER;
    *outNumFds = 1;
    *outNumInts = BufferLayout::NUM_INTS;
    return AIMAPPER_ERROR_NONE;
}

AIMapper_Error Lock(buffer_handle_t buffer, uint64_t cpuUsage, ARect region, int acquireFence, void** outData) {
    OwnedFence fence(acquireFence);
    if (outData == nullptr) return AIMAPPER_ERROR_BAD_VALUE;
    GrallocError error = Begin(mapper::Operation::LOCK);
    if (error != GrallocError::NONE) return ToError(error);
    // ARect names edges; the registry takes a size, as the HIDL mappers' Rect does.
    const AccessRegion access{region.left, region.top, region.right - region.left, region.bottom - region.top};
    LockResult result;
    error = ImportRegistry::Get().Lock(const_cast<native_handle_t*>(buffer), cpuUsage, access, fence.Handle(),
                                       &result);
    if (error == GrallocError::NONE) *outData = result.address;
    return ToError(error);
}

// The release fence is a duplicate the caller owns. A mapper 5 fence is one fd, so the
// malformed two-fd mode of the HIDL mappers yields a plain one here.
AIMapper_Error Unlock(buffer_handle_t buffer, int* releaseFence) {
    if (releaseFence == nullptr) return AIMAPPER_ERROR_BAD_VALUE;
    GrallocError error = Begin(mapper::Operation::UNLOCK);
    if (error == GrallocError::NONE) {
        error = ImportRegistry::Get().Unlock(const_cast<native_handle_t*>(buffer));
    }
    if (error != GrallocError::NONE) return ToError(error);
    ReleaseFence fence(FaultPlan::Get().FenceMode());
    FaultPlan::Get().SetLastFence(fence.Identity());
    *releaseFence = fence.Handle() != nullptr ? fcntl(fence.Handle()->data[0], F_DUPFD_CLOEXEC, 0) : -1;
    return AIMAPPER_ERROR_NONE;
}

AIMapper_Error Unsupported() {
    return AIMAPPER_ERROR_UNSUPPORTED;
}

AIMapper MakeTable() {
    AIMapper table{};
    table.version = AIMAPPER_VERSION_5;
    table.v5.importBuffer = ImportBuffer;
    table.v5.freeBuffer = FreeBuffer;
    table.v5.getTransportSize = GetTransportSize;
    table.v5.lock = Lock;
    table.v5.unlock = Unlock;
    table.v5.flushLockedBuffer = [](buffer_handle_t) { return AIMAPPER_ERROR_NONE; };
    table.v5.rereadLockedBuffer = [](buffer_handle_t) { return AIMAPPER_ERROR_NONE; };
    table.v5.getMetadata = [](buffer_handle_t, AIMapper_MetadataType, void*, size_t) {
        return -static_cast<int32_t>(AIMAPPER_ERROR_UNSUPPORTED);
    };
    table.v5.getStandardMetadata = [](buffer_handle_t, int64_t, void*, size_t) {
        return -static_cast<int32_t>(AIMAPPER_ERROR_UNSUPPORTED);
    };
    table.v5.setMetadata = [](buffer_handle_t, AIMapper_MetadataType, const void*, size_t) { return Unsupported(); };
    table.v5.setStandardMetadata = [](buffer_handle_t, int64_t, const void*, size_t) { return Unsupported(); };
    table.v5.listSupportedMetadataTypes = [](const AIMapper_MetadataTypeDescription**, size_t*) {
        return Unsupported();
    };
    table.v5.dumpBuffer = [](buffer_handle_t, AIMapper_DumpBufferCallback, void*) { return Unsupported(); };
    table.v5.dumpAllBuffers = [](AIMapper_BeginDumpBufferCallback, AIMapper_DumpBufferCallback, void*) {
        return Unsupported();
    };
    table.v5.getReservedRegion = [](buffer_handle_t, void**, uint64_t*) { return Unsupported(); };
    return table;
}

}  // namespace
}  // namespace hostkit::mapperkit

extern "C" {
__attribute__((visibility("default"))) uint32_t ANDROID_HAL_STABLEC_VERSION = AIMAPPER_VERSION_5;
}

extern "C" __attribute__((visibility("default"))) AIMapper_Error AIMapper_loadIMapper(AIMapper** outImplementation) {
    static AIMapper table = hostkit::mapperkit::MakeTable();
    if (outImplementation == nullptr) return AIMAPPER_ERROR_BAD_VALUE;
    *outImplementation = &table;
    return AIMAPPER_ERROR_NONE;
}
