#pragma once

#include <android/hardware/graphics/mapper/IMapper.h>

#include "callback/VirMapperBase.h"

namespace android {

// Adapter over the stable-C mapper (version 5). The mapper runs in this process and never
// dies, so linking to its death succeeds and unlinking does nothing. The table given at
// construction belongs to the process-wide loader and outlives the adapter.
class VirMapperV5 final : public VirMapperBase {
public:
    explicit VirMapperV5(const AIMapper* mapper) : mMapper(mapper) {}

    int ImportBuffer(const hardware::hidl_handle& rawHandle, const native_handle*& buffer) override;
    int Lock(const native_handle*& buffer, void*& address) override;
    void UnLock(const native_handle*& buffer, int& releaseFence) override;
    void FreeBuffer(const native_handle*& buffer) override;

private:
    const AIMapper* const mMapper;
};

}  // namespace android
