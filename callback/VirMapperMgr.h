#pragma once

#include <memory>
#include <string>

#include "callback/VirMapperBase.h"

namespace android {

// Finds the device's graphics mapper, newest version first, and holds the logic the
// version adapters share. Stateless: every Create() looks the services up again.
class VirMapperMgr {
public:
    static VirMapperMgr& GetInstance();

    // A new adapter for mapper 4.0, 3.0 or 2.0 (in that order), else for the stable-C
    // mapper 5, or empty when the device offers none; then `missing` (when given) says
    // what was looked for and why none could be used.
    std::shared_ptr<VirMapperBase> Create(std::string* missing = nullptr);

    template <class IMapper, class Error>
    int LinkToDeath(const sp<IMapper>& mapper, const sp<hardware::hidl_death_recipient>& recipient);
    template <class IMapper, class Error>
    void Release(const sp<IMapper>& mapper, const sp<hardware::hidl_death_recipient>& recipient);
    template <class IMapper, class Error>
    int ImportBuffer(const sp<IMapper>& mapper, const hardware::hidl_handle& rawHandle,
                     const native_handle*& buffer);
    // Mapper 2.0 and 4.0.
    template <class IMapper, class Error>
    int Lock(const sp<IMapper>& mapper, const native_handle*& buffer, void*& address);
    // Mapper 3.0, whose lock also reports bytes per pixel and per stride.
    template <class IMapper, class Error>
    int Lock_V3(const sp<IMapper>& mapper, const native_handle*& buffer, void*& address);
    template <class IMapper, class Error>
    void UnLock(const sp<IMapper>& mapper, const native_handle*& buffer, int& releaseFence);
    template <class IMapper, class Error>
    void FreeBuffer(const sp<IMapper>& mapper, const native_handle*& buffer);

private:
    VirMapperMgr() = default;
};

}  // namespace android
