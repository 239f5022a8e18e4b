#pragma once

#include <cstdint>
#include <cstring>
#include <type_traits>

#include <hidl/HidlSupport.h>
#include <hidl/Status.h>

#include <hostkit/Mapper.h>

#include "FaultPlan.h"
#include "GrallocError.h"
#include "ImportRegistry.h"
#include "ReleaseFence.h"

namespace hostkit::mapperkit {

// The kit's only translation from its error values to a mapper version's Error. Values the
// versions share map one to one; anything else (only reachable through fault injection) is
// passed through unchanged.
template <typename Error>
Error ToMapperError(GrallocError error) {
    switch (error) {
        case GrallocError::NONE: return Error::NONE;
        case GrallocError::BAD_DESCRIPTOR: return Error::BAD_DESCRIPTOR;
        case GrallocError::BAD_BUFFER: return Error::BAD_BUFFER;
        case GrallocError::BAD_VALUE: return Error::BAD_VALUE;
        case GrallocError::NO_RESOURCES: return Error::NO_RESOURCES;
        case GrallocError::UNSUPPORTED: return Error::UNSUPPORTED;
        default: return static_cast<Error>(error);
    }
}

// One graphics mapper version over the process-wide import registry. Every version behaves the
// same; they differ only in their types and in the results of lock() (3.0 adds bytes per pixel
// and per stride). Callbacks run on the calling thread, once, before the call returns; a null
// callback is simply not called.
template <typename IMapperT, typename ErrorT>
class MapperService final : public IMapperT {
  public:
    using Rect = typename IMapperT::Rect;

    ::android::hardware::Return<void> importBuffer(const ::android::hardware::hidl_handle& rawHandle,
                                                   typename IMapperT::importBuffer_cb cb) override {
        const native_handle_t* buffer = nullptr;
        GrallocError error = Begin(mapper::Operation::IMPORT);
        if (error == GrallocError::NONE) {
            error = ImportRegistry::Get().Import(rawHandle.getNativeHandle(), &buffer);
        }
        if (error == GrallocError::NONE) FaultPlan::Get().NoteImport(MajorVersion());
        if (cb) cb(ToMapperError<ErrorT>(error), const_cast<native_handle_t*>(buffer));
        return ::android::hardware::Void();
    }

    ::android::hardware::Return<ErrorT> freeBuffer(void* buffer) override {
        GrallocError error = Begin(mapper::Operation::FREE);
        if (error == GrallocError::NONE) {
            error = ImportRegistry::Get().Free(buffer);
        }
        return ToMapperError<ErrorT>(error);
    }

    ::android::hardware::Return<void> lock(void* buffer, uint64_t cpuUsage, const Rect& accessRegion,
                                           const ::android::hardware::hidl_handle& acquireFence,
                                           typename IMapperT::lock_cb cb) override {
        LockResult result;
        GrallocError error = Begin(mapper::Operation::LOCK);
        if (error == GrallocError::NONE) {
            const AccessRegion region{accessRegion.left, accessRegion.top, accessRegion.width,
                                      accessRegion.height};
            error = ImportRegistry::Get().Lock(buffer, cpuUsage, region, acquireFence.getNativeHandle(), &result);
        }
        if (!cb) return ::android::hardware::Void();
        if constexpr (std::is_invocable_v<typename IMapperT::lock_cb&, ErrorT, void*, int32_t, int32_t>) {
            cb(ToMapperError<ErrorT>(error), result.address, result.bytesPerPixel, result.bytesPerStride);
        } else {
            cb(ToMapperError<ErrorT>(error), result.address);
        }
        return ::android::hardware::Void();
    }

    ::android::hardware::Return<void> unlock(void* buffer, typename IMapperT::unlock_cb cb) override {
        GrallocError error = Begin(mapper::Operation::UNLOCK);
        if (error == GrallocError::NONE) {
            error = ImportRegistry::Get().Unlock(buffer);
        }
        if (error != GrallocError::NONE) {
            if (cb) cb(ToMapperError<ErrorT>(error), ::android::hardware::hidl_handle());
            return ::android::hardware::Void();
        }
        // The fence lives until this scope ends: a client must dup it inside the callback.
        ReleaseFence fence(FaultPlan::Get().FenceMode());
        FaultPlan::Get().SetLastFence(fence.Identity());
        if (cb) cb(ErrorT::NONE, ::android::hardware::hidl_handle(fence.Handle()));
        return ::android::hardware::Void();
    }

  private:
    // The digit after '@' in "android.hardware.graphics.mapper@4.0::IMapper".
    static int MajorVersion() {
        const char* at = std::strchr(IMapperT::descriptor, '@');
        return at != nullptr ? at[1] - '0' : 0;
    }
    static GrallocError Begin(mapper::Operation operation) {
        return FaultPlan::Get().Take(operation).value_or(GrallocError::NONE);
    }
};

}  // namespace hostkit::mapperkit
