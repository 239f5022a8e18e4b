#pragma once

#include <android/hardware/graphics/mapper/2.0/IMapper.h>
#include <android/hardware/graphics/mapper/3.0/IMapper.h>
#include <android/hardware/graphics/mapper/4.0/IMapper.h>

#include "callback/VirMapperBase.h"

namespace android {

// Adapter over one version's IMapper; the version-independent work is done by
// VirMapperMgr. The mapper given at construction is never replaced.
template <class IMapper, class Error>
class VirMapperAdapter final : public VirMapperBase {
public:
    explicit VirMapperAdapter(const sp<IMapper>& mapper) : mMapper(mapper) {}

    int LinkToDeath(const sp<hardware::hidl_death_recipient>& recipient) override;
    void Release(const sp<hardware::hidl_death_recipient>& recipient) override;
    int ImportBuffer(const hardware::hidl_handle& rawHandle, const native_handle*& buffer) override;
    int Lock(const native_handle*& buffer, void*& address) override;
    void UnLock(const native_handle*& buffer, int& releaseFence) override;
    void FreeBuffer(const native_handle*& buffer) override;

private:
    const sp<IMapper> mMapper;
};

using VirMapperV2 = VirMapperAdapter<hardware::graphics::mapper::V2_0::IMapper,
                                     hardware::graphics::mapper::V2_0::Error>;
using VirMapperV3 = VirMapperAdapter<hardware::graphics::mapper::V3_0::IMapper,
                                     hardware::graphics::mapper::V3_0::Error>;
using VirMapperV4 = VirMapperAdapter<hardware::graphics::mapper::V4_0::IMapper,
                                     hardware::graphics::mapper::V4_0::Error>;

extern template class VirMapperAdapter<hardware::graphics::mapper::V2_0::IMapper,
                                       hardware::graphics::mapper::V2_0::Error>;
extern template class VirMapperAdapter<hardware::graphics::mapper::V3_0::IMapper,
                                       hardware::graphics::mapper::V3_0::Error>;
extern template class VirMapperAdapter<hardware::graphics::mapper::V4_0::IMapper,
                                       hardware::graphics::mapper::V4_0::Error>;

}  // namespace android
