#define LOG_TAG "VIRCAMERA_HIDL_WRAPPERCB"

#include "callback/VirMapperMgr.h"

#include <unistd.h>

#include <android/hardware/graphics/common/1.0/types.h>
#include <log/log.h>

#include "callback/StableCMapperLoader.h"
#include "callback/VirMapperAdapter.h"
#include "callback/VirMapperV5.h"
#include "common/HidlDeathLink.h"
#include "common/InstanceNames.h"

namespace android {

using hardware::hidl_death_recipient;
using hardware::hidl_handle;
using hardware::graphics::common::V1_0::BufferUsage;

namespace {

constexpr uint64_t CPU_USAGE = BufferUsage::CPU_READ_OFTEN | BufferUsage::CPU_WRITE_OFTEN;

template <class Error>
int32_t ToInt(Error error) {
    return static_cast<int32_t>(error);
}

// Buffer handles travel as untyped pointers through the mapper interface.
void* AsPointer(const native_handle* buffer) {
    return const_cast<native_handle*>(buffer);
}

}  // namespace

VirMapperMgr& VirMapperMgr::GetInstance() {
    static VirMapperMgr mInstance;
    return mInstance;
}

std::shared_ptr<VirMapperBase> VirMapperMgr::Create(std::string* missing) {
    if (auto mapper = hardware::graphics::mapper::V4_0::IMapper::tryGetService(DEFAULT_INSTANCE, false)) {
        ALOGI("init mapper use V4");
        return std::make_shared<VirMapperV4>(mapper);
    }
    if (auto mapper = hardware::graphics::mapper::V3_0::IMapper::tryGetService(DEFAULT_INSTANCE, false)) {
        ALOGI("init mapper use V3");
        return std::make_shared<VirMapperV3>(mapper);
    }
    if (auto mapper = hardware::graphics::mapper::V2_0::IMapper::tryGetService(DEFAULT_INSTANCE, false)) {
        ALOGI("init mapper use V2");
        return std::make_shared<VirMapperV2>(mapper);
    }
    // Android 14 devices may ship only the stable-C mapper instead of a HIDL one.
    std::string whyNotV5;
    if (const AIMapper* mapper = StableCMapperLoader::Load(whyNotV5)) {
        ALOGI("init mapper use V5");
        return std::make_shared<VirMapperV5>(mapper);
    }
    if (missing != nullptr) {
        *missing = "No usable graphics mapper: no android.hardware.graphics.mapper@4.0, @3.0 or @2.0 "
                   "IMapper/default, and no mapper 5: " + whyNotV5;
    }
    ALOGE("Can't find Mapper service");
    return nullptr;
}

template <class IMapper, class Error>
int VirMapperMgr::LinkToDeath(const sp<IMapper>& mapper, const sp<hidl_death_recipient>& recipient) {
    return LinkServiceToDeath(mapper, recipient, 0, LOG_TAG);
}

template <class IMapper, class Error>
void VirMapperMgr::Release(const sp<IMapper>& mapper, const sp<hidl_death_recipient>& recipient) {
    // The outcome does not matter (a dead mapper has no links left), but a failed
    // transport status must still be checked before it is dropped.
    (void)mapper->unlinkToDeath(recipient).isOk();
}

template <class IMapper, class Error>
int VirMapperMgr::ImportBuffer(const sp<IMapper>& mapper, const hidl_handle& rawHandle,
                               const native_handle*& buffer) {
    Error error = Error::NONE;
    auto ret = mapper->importBuffer(rawHandle, [&](Error err, void* imported) {
        error = err;
        buffer = static_cast<const native_handle*>(imported);
    });
    if (!ret.isOk()) {
        ALOGW("%s: mapper importBuffer failed: %s", "ImportBuffer", ret.description().c_str());
        return -1;
    }
    if (error != Error::NONE) {
        ALOGW("%s: mapper importBuffer failed: errMap %d", "ImportBuffer", ToInt(error));
        return -1;
    }
    return 0;
}

namespace {

// Shared tail of both lock flavours; the name differs in the log lines only.
template <class Error, class LockReturn>
int FinishLock(const char* name, const LockReturn& ret, Error error) {
    if (!ret.isOk()) {
        ALOGE("%s: mapper lock transport failed: %s", name, ret.description().c_str());
        return -1;
    }
    if (error != Error::NONE) {
        ALOGW("%s: lock and get img buffer failed,  error %d", name, ToInt(error));
        return -1;
    }
    return 0;
}

template <class IMapper>
typename IMapper::Rect WholeBuffer() {
    return typename IMapper::Rect{0, 0, 0, 0};
}

}  // namespace

template <class IMapper, class Error>
int VirMapperMgr::Lock(const sp<IMapper>& mapper, const native_handle*& buffer, void*& address) {
    Error error = Error::NONE;
    auto ret = mapper->lock(AsPointer(buffer), CPU_USAGE, WholeBuffer<IMapper>(), hidl_handle(),
                            [&](Error err, void* data) {
                                error = err;
                                address = data;
                            });
    return FinishLock("Lock", ret, error);
}

template <class IMapper, class Error>
int VirMapperMgr::Lock_V3(const sp<IMapper>& mapper, const native_handle*& buffer, void*& address) {
    Error error = Error::NONE;
    auto ret = mapper->lock(AsPointer(buffer), CPU_USAGE, WholeBuffer<IMapper>(), hidl_handle(),
                            [&](Error err, void* data, int32_t /*bytesPerPixel*/,
                                int32_t /*bytesPerStride*/) {
                                error = err;
                                address = data;
                            });
    return FinishLock("Lock_V3", ret, error);
}

template <class IMapper, class Error>
void VirMapperMgr::UnLock(const sp<IMapper>& mapper, const native_handle*& buffer, int& releaseFence) {
    auto ret = mapper->unlock(AsPointer(buffer), [&](Error error, const hidl_handle& fence) {
        if (error != Error::NONE) {
            ALOGD("%s: failed to unlock error %d!", "operator()", ToInt(error));
            return;
        }
        const native_handle* fenceHandle = fence.getNativeHandle();
        if (fenceHandle == nullptr) {
            return;
        }
        if (fenceHandle->numFds == 1 && fenceHandle->numInts == 0) {
            // The mapper closes its fence when this callback returns: keep a duplicate.
            releaseFence = dup(fenceHandle->data[0]);
            if (releaseFence < 1) {
                ALOGD("%s: bad release fence FD %d", "operator()", releaseFence);
            }
        } else {
            ALOGD("%s: bad release fence numInts %d numFds %d", "operator()", fenceHandle->numInts,
                  fenceHandle->numFds);
        }
    });
    if (!ret.isOk()) {
        ALOGE("%s: mapper unlock transport failed: %s", "UnLock", ret.description().c_str());
    }
}

template <class IMapper, class Error>
void VirMapperMgr::FreeBuffer(const sp<IMapper>& mapper, const native_handle*& buffer) {
    auto ret = mapper->freeBuffer(AsPointer(buffer));
    if (!ret.isOk()) {
        ALOGE("%s: mapper freeBuffer transport failed: %s", "FreeBuffer", ret.description().c_str());
    }
}

// Adapter operations: a null mapper is refused with one error line, otherwise the
// shared logic runs on a strong copy of the mapper.

template <class IMapper, class Error>
int VirMapperAdapter<IMapper, Error>::LinkToDeath(const sp<hidl_death_recipient>& recipient) {
    sp<IMapper> mapper = mMapper;
    if (mapper == nullptr) {
        ALOGE("%s: mapper is null", "LinkToDeath");
        return -1;
    }
    return VirMapperMgr::GetInstance().LinkToDeath<IMapper, Error>(mapper, recipient);
}

template <class IMapper, class Error>
void VirMapperAdapter<IMapper, Error>::Release(const sp<hidl_death_recipient>& recipient) {
    sp<IMapper> mapper = mMapper;
    if (mapper != nullptr) {
        VirMapperMgr::GetInstance().Release<IMapper, Error>(mapper, recipient);
    }
}

template <class IMapper, class Error>
int VirMapperAdapter<IMapper, Error>::ImportBuffer(const hidl_handle& rawHandle, const native_handle*& buffer) {
    sp<IMapper> mapper = mMapper;
    if (mapper == nullptr) {
        ALOGE("%s: mapper is null", "ImportBuffer");
        return -1;
    }
    return VirMapperMgr::GetInstance().ImportBuffer<IMapper, Error>(mapper, rawHandle, buffer);
}

template <class IMapper, class Error>
int VirMapperAdapter<IMapper, Error>::Lock(const native_handle*& buffer, void*& address) {
    constexpr bool isV3 = std::is_same_v<IMapper, hardware::graphics::mapper::V3_0::IMapper>;
    sp<IMapper> mapper = mMapper;
    if (mapper == nullptr) {
        ALOGE("%s: mapper is null", isV3 ? "Lock_V3" : "Lock");
        return -1;
    }
    if constexpr (isV3) {
        return VirMapperMgr::GetInstance().Lock_V3<IMapper, Error>(mapper, buffer, address);
    } else {
        return VirMapperMgr::GetInstance().Lock<IMapper, Error>(mapper, buffer, address);
    }
}

template <class IMapper, class Error>
void VirMapperAdapter<IMapper, Error>::UnLock(const native_handle*& buffer, int& releaseFence) {
    sp<IMapper> mapper = mMapper;
    if (mapper == nullptr) {
        ALOGE("%s: mapper is null", "UnLock");
        return;
    }
    VirMapperMgr::GetInstance().UnLock<IMapper, Error>(mapper, buffer, releaseFence);
}

template <class IMapper, class Error>
void VirMapperAdapter<IMapper, Error>::FreeBuffer(const native_handle*& buffer) {
    if (buffer == nullptr) {
        ALOGE("%s: buffer is null", "FreeBuffer");
        return;
    }
    sp<IMapper> mapper = mMapper;
    if (mapper == nullptr) {
        ALOGE("%s: mapper is null", "FreeBuffer");
        return;
    }
    VirMapperMgr::GetInstance().FreeBuffer<IMapper, Error>(mapper, buffer);
}

template class VirMapperAdapter<hardware::graphics::mapper::V2_0::IMapper, hardware::graphics::mapper::V2_0::Error>;
template class VirMapperAdapter<hardware::graphics::mapper::V3_0::IMapper, hardware::graphics::mapper::V3_0::Error>;
template class VirMapperAdapter<hardware::graphics::mapper::V4_0::IMapper, hardware::graphics::mapper::V4_0::Error>;

}  // namespace android
