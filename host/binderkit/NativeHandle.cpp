#include <aidl/android/hardware/common/NativeHandle.h>

namespace aidl::android::hardware::common {

const char* NativeHandle::descriptor = "android.hardware.common.NativeHandle";

// Same layout as the generated parcelables: marker, size covering the fields, then fields.
binder_status_t NativeHandle::readFromParcel(const AParcel* parcel) {
    int32_t present = 0;
    binder_status_t status = AParcel_readInt32(parcel, &present);
    if (status != STATUS_OK) return status;
    const int32_t start = AParcel_getDataPosition(parcel);
    int32_t size = 0;
    status = AParcel_readInt32(parcel, &size);
    if (status != STATUS_OK) return status;
    if (size < 4) return STATUS_BAD_VALUE;
    if (present == 0) return STATUS_UNEXPECTED_NULL;
    if (start > INT32_MAX - size) return STATUS_BAD_VALUE;
    if (AParcel_getDataPosition(parcel) - start < size) {
        status = ::ndk::AParcel_readVector(parcel, &fds);
        if (status != STATUS_OK) return status;
    }
    if (AParcel_getDataPosition(parcel) - start < size) {
        status = ::ndk::AParcel_readVector(parcel, &ints);
        if (status != STATUS_OK) return status;
    }
    return AParcel_setDataPosition(parcel, start + size);
}

binder_status_t NativeHandle::writeToParcel(AParcel* parcel) const {
    binder_status_t status = AParcel_writeInt32(parcel, 1);
    if (status != STATUS_OK) return status;
    const int32_t start = AParcel_getDataPosition(parcel);
    status = AParcel_writeInt32(parcel, 0);
    if (status == STATUS_OK) status = ::ndk::AParcel_writeVector(parcel, fds);
    if (status == STATUS_OK) status = ::ndk::AParcel_writeVector(parcel, ints);
    if (status != STATUS_OK) return status;
    const int32_t end = AParcel_getDataPosition(parcel);
    AParcel_setDataPosition(parcel, start);
    AParcel_writeInt32(parcel, end - start);
    return AParcel_setDataPosition(parcel, end);
}

std::string NativeHandle::toString() const {
    std::string out = "NativeHandle{fds: [";
    for (size_t i = 0; i < fds.size(); i++) out += (i ? ", " : "") + std::to_string(fds[i].get());
    out += "], ints: [";
    for (size_t i = 0; i < ints.size(); i++) out += (i ? ", " : "") + std::to_string(ints[i]);
    return out + "]}";
}

}  // namespace aidl::android::hardware::common
