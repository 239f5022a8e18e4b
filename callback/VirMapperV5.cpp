#define LOG_TAG "VIRCAMERA_HIDL_WRAPPERCB"

#include "callback/VirMapperV5.h"

#include <log/log.h>

namespace android {

namespace {

// CPU read often | write often, as the HIDL versions ask.
constexpr uint64_t CPU_USAGE = 0x33;
constexpr int NO_FENCE = -1;

int32_t ToInt(AIMapper_Error error) {
    return static_cast<int32_t>(error);
}

}  // namespace

int VirMapperV5::ImportBuffer(const hardware::hidl_handle& rawHandle, const native_handle*& buffer) {
    if (mMapper == nullptr) {
        ALOGE("%s: mapper is null", "ImportBuffer");
        return -1;
    }
    const native_handle* raw = rawHandle.getNativeHandle();
    if (raw == nullptr) {
        // Version 5 takes no null handle: refused here, reported as the mapper would.
        ALOGW("%s: mapper importBuffer failed: errMap %d", "ImportBuffer", ToInt(AIMAPPER_ERROR_BAD_BUFFER));
        return -1;
    }
    buffer_handle_t imported = nullptr;
    const AIMapper_Error error = mMapper->v5.importBuffer(raw, &imported);
    if (error != AIMAPPER_ERROR_NONE) {
        ALOGW("%s: mapper importBuffer failed: errMap %d", "ImportBuffer", ToInt(error));
        return -1;
    }
    buffer = imported;
    return 0;
}

int VirMapperV5::Lock(const native_handle*& buffer, void*& address) {
    if (mMapper == nullptr) {
        ALOGE("%s: mapper is null", "Lock");
        return -1;
    }
    if (buffer == nullptr) {
        ALOGE("%s: buffer is null", "Lock");
        return -1;
    }
    // ARect is {left, top, right, bottom}; all zero is the whole buffer. No acquire fence.
    const ARect wholeBuffer{0, 0, 0, 0};
    void* data = nullptr;
    const AIMapper_Error error = mMapper->v5.lock(buffer, CPU_USAGE, wholeBuffer, NO_FENCE, &data);
    if (error != AIMAPPER_ERROR_NONE) {
        ALOGW("%s: lock and get img buffer failed,  error %d", "Lock", ToInt(error));
        return -1;
    }
    address = data;
    return 0;
}

void VirMapperV5::UnLock(const native_handle*& buffer, int& releaseFence) {
    if (mMapper == nullptr) {
        ALOGE("%s: mapper is null", "UnLock");
        return;
    }
    if (buffer == nullptr) {
        ALOGE("%s: buffer is null", "UnLock");
        return;
    }
    int fence = NO_FENCE;
    const AIMapper_Error error = mMapper->v5.unlock(buffer, &fence);
    if (error != AIMAPPER_ERROR_NONE) {
        ALOGD("%s: failed to unlock error %d!", "UnLock", ToInt(error));
        return;
    }
    // Unlike the HIDL versions' callback fence, this one is already ours: no dup.
    if (fence >= 0) {
        releaseFence = fence;
    }
}

void VirMapperV5::FreeBuffer(const native_handle*& buffer) {
    if (buffer == nullptr) {
        ALOGE("%s: buffer is null", "FreeBuffer");
        return;
    }
    if (mMapper == nullptr) {
        ALOGE("%s: mapper is null", "FreeBuffer");
        return;
    }
    const AIMapper_Error error = mMapper->v5.freeBuffer(buffer);
    if (error != AIMAPPER_ERROR_NONE) {
        ALOGW("%s: mapper freeBuffer failed: error %d", "FreeBuffer", ToInt(error));
    }
}

}  // namespace android
