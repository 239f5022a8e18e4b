#pragma once

// C++ helpers over AParcel (namespace ndk): strings, binders, file descriptors, parcelables
// and vectors of them. A vector is its int32 length (-1 for null) followed by its elements.
// Parcelables produced by this host's aidl write their own non-null marker and size header.

#include <optional>
#include <string>
#include <type_traits>
#include <vector>

#include <android/binder_auto_utils.h>
#include <android/binder_parcel.h>

namespace ndk {

inline binder_status_t AParcel_writeString(AParcel* parcel, const std::string& str) {
    return ::AParcel_writeString(parcel, str.c_str(), static_cast<int32_t>(str.size()));
}
inline binder_status_t AParcel_writeString(AParcel* parcel, const std::optional<std::string>& str) {
    if (!str) return ::AParcel_writeString(parcel, nullptr, -1);
    return AParcel_writeString(parcel, *str);
}
inline binder_status_t AParcel_readString(const AParcel* parcel, std::string* str) {
    return ::AParcel_readString(parcel, str, [](void* data, int32_t length, char** buffer) {
        if (length <= 0) return false;
        auto* s = static_cast<std::string*>(data);
        s->resize(static_cast<size_t>(length) - 1);
        *buffer = &(*s)[0];
        return true;
    });
}
inline binder_status_t AParcel_readString(const AParcel* parcel, std::optional<std::string>* str) {
    return ::AParcel_readString(parcel, str, [](void* data, int32_t length, char** buffer) {
        auto* s = static_cast<std::optional<std::string>*>(data);
        if (length < 0) {
            *s = std::nullopt;
            return true;
        }
        s->emplace(static_cast<size_t>(length) - 1, '\0');
        *buffer = &(**s)[0];
        return true;
    });
}

// Required binders refuse null with STATUS_UNEXPECTED_NULL.
inline binder_status_t AParcel_writeRequiredStrongBinder(AParcel* parcel, const SpAIBinder& binder) {
    if (binder.get() == nullptr) return STATUS_UNEXPECTED_NULL;
    return AParcel_writeStrongBinder(parcel, binder.get());
}
inline binder_status_t AParcel_readRequiredStrongBinder(const AParcel* parcel, SpAIBinder* binder) {
    SpAIBinder read;
    binder_status_t status = AParcel_readStrongBinder(parcel, read.getR());
    if (status != STATUS_OK) return status;
    if (read.get() == nullptr) return STATUS_UNEXPECTED_NULL;
    *binder = std::move(read);
    return STATUS_OK;
}
inline binder_status_t AParcel_writeNullableStrongBinder(AParcel* parcel, const SpAIBinder& binder) {
    return AParcel_writeStrongBinder(parcel, binder.get());
}
inline binder_status_t AParcel_readNullableStrongBinder(const AParcel* parcel, SpAIBinder* binder) {
    SpAIBinder read;
    binder_status_t status = AParcel_readStrongBinder(parcel, read.getR());
    if (status == STATUS_OK) *binder = std::move(read);
    return status;
}

// The parcel stores its own duplicate; fd keeps its descriptor. Reads give a new owned one.
inline binder_status_t AParcel_writeRequiredParcelFileDescriptor(AParcel* parcel,
                                                                 const ScopedFileDescriptor& fd) {
    if (fd.get() < 0) return STATUS_UNEXPECTED_NULL;
    return AParcel_writeParcelFileDescriptor(parcel, fd.get());
}
inline binder_status_t AParcel_readRequiredParcelFileDescriptor(const AParcel* parcel,
                                                                ScopedFileDescriptor* fd) {
    int readFd = -1;
    binder_status_t status = AParcel_readParcelFileDescriptor(parcel, &readFd);
    if (status != STATUS_OK) return status;
    if (readFd < 0) return STATUS_UNEXPECTED_NULL;
    fd->set(readFd);
    return STATUS_OK;
}
inline binder_status_t AParcel_writeNullableParcelFileDescriptor(AParcel* parcel,
                                                                 const ScopedFileDescriptor& fd) {
    return AParcel_writeParcelFileDescriptor(parcel, fd.get() < 0 ? -1 : fd.get());
}
inline binder_status_t AParcel_readNullableParcelFileDescriptor(const AParcel* parcel,
                                                                ScopedFileDescriptor* fd) {
    int readFd = -1;
    binder_status_t status = AParcel_readParcelFileDescriptor(parcel, &readFd);
    if (status == STATUS_OK) fd->set(readFd);
    return status;
}

template <typename P>
binder_status_t AParcel_writeParcelable(AParcel* parcel, const P& p) {
    return p.writeToParcel(parcel);
}
template <typename P>
binder_status_t AParcel_readParcelable(const AParcel* parcel, P* p) {
    return p->readFromParcel(parcel);
}

namespace internal {
inline binder_status_t writeElement(AParcel* p, const int32_t& v) { return AParcel_writeInt32(p, v); }
inline binder_status_t writeElement(AParcel* p, const int64_t& v) { return AParcel_writeInt64(p, v); }
inline binder_status_t writeElement(AParcel* p, const float& v) { return AParcel_writeFloat(p, v); }
inline binder_status_t writeElement(AParcel* p, const double& v) { return AParcel_writeDouble(p, v); }
inline binder_status_t writeElement(AParcel* p, const std::string& v) {
    return ndk::AParcel_writeString(p, v);
}
inline binder_status_t writeElement(AParcel* p, const ScopedFileDescriptor& v) {
    return AParcel_writeRequiredParcelFileDescriptor(p, v);
}
inline binder_status_t writeElement(AParcel* p, const SpAIBinder& v) {
    return AParcel_writeRequiredStrongBinder(p, v);
}
template <typename P>
binder_status_t writeElement(AParcel* p, const P& v) {
    return AParcel_writeParcelable(p, v);
}

inline binder_status_t readElement(const AParcel* p, int32_t* v) { return AParcel_readInt32(p, v); }
inline binder_status_t readElement(const AParcel* p, int64_t* v) { return AParcel_readInt64(p, v); }
inline binder_status_t readElement(const AParcel* p, float* v) { return AParcel_readFloat(p, v); }
inline binder_status_t readElement(const AParcel* p, double* v) { return AParcel_readDouble(p, v); }
inline binder_status_t readElement(const AParcel* p, std::string* v) {
    return ndk::AParcel_readString(p, v);
}
inline binder_status_t readElement(const AParcel* p, ScopedFileDescriptor* v) {
    return AParcel_readRequiredParcelFileDescriptor(p, v);
}
inline binder_status_t readElement(const AParcel* p, SpAIBinder* v) {
    return AParcel_readRequiredStrongBinder(p, v);
}
template <typename P>
binder_status_t readElement(const AParcel* p, P* v) {
    return AParcel_readParcelable(p, v);
}

// Reads a vector length: -1 means null; anything else negative or beyond the data is bad.
inline binder_status_t readLength(const AParcel* parcel, int32_t* length) {
    binder_status_t status = AParcel_readInt32(parcel, length);
    if (status != STATUS_OK) return status;
    if (*length < -1) return STATUS_BAD_VALUE;
    if (*length > AParcel_getDataSize(parcel) - AParcel_getDataPosition(parcel)) {
        return STATUS_BAD_VALUE;  // each element takes at least one byte: refuse absurd sizes
    }
    return STATUS_OK;
}
}  // namespace internal

template <typename T>
binder_status_t AParcel_writeVector(AParcel* parcel, const std::vector<T>& vec) {
    binder_status_t status = AParcel_writeInt32(parcel, static_cast<int32_t>(vec.size()));
    for (size_t i = 0; status == STATUS_OK && i < vec.size(); i++) {
        status = internal::writeElement(parcel, vec[i]);
    }
    return status;
}
template <typename T>
binder_status_t AParcel_writeVector(AParcel* parcel, const std::optional<std::vector<T>>& vec) {
    if (!vec) return AParcel_writeInt32(parcel, -1);
    return AParcel_writeVector(parcel, *vec);
}
template <typename T>
binder_status_t AParcel_readVector(const AParcel* parcel, std::vector<T>* vec) {
    int32_t length = 0;
    binder_status_t status = internal::readLength(parcel, &length);
    if (status != STATUS_OK) return status;
    if (length < 0) return STATUS_UNEXPECTED_NULL;
    std::vector<T> read(static_cast<size_t>(length));
    for (size_t i = 0; status == STATUS_OK && i < read.size(); i++) {
        status = internal::readElement(parcel, &read[i]);
    }
    if (status == STATUS_OK) *vec = std::move(read);
    return status;
}
template <typename T>
binder_status_t AParcel_readVector(const AParcel* parcel, std::optional<std::vector<T>>* vec) {
    int32_t length = 0;
    binder_status_t status = internal::readLength(parcel, &length);
    if (status != STATUS_OK) return status;
    if (length < 0) {
        *vec = std::nullopt;
        return STATUS_OK;
    }
    std::vector<T> read(static_cast<size_t>(length));
    for (size_t i = 0; status == STATUS_OK && i < read.size(); i++) {
        status = internal::readElement(parcel, &read[i]);
    }
    if (status == STATUS_OK) *vec = std::move(read);
    return status;
}

// Out-parameter vectors: the caller sends the size it expects; the service resizes to it.
template <typename T>
binder_status_t AParcel_writeVectorSize(AParcel* parcel, const std::vector<T>& vec) {
    return AParcel_writeInt32(parcel, static_cast<int32_t>(vec.size()));
}
template <typename T>
binder_status_t AParcel_resizeVector(const AParcel* parcel, std::vector<T>* vec) {
    int32_t size = 0;
    binder_status_t status = AParcel_readInt32(parcel, &size);
    if (status != STATUS_OK) return status;
    if (size < 0) return STATUS_UNEXPECTED_NULL;
    if (size > (1 << 20)) return STATUS_NO_MEMORY;  // refuse absurd sizes instead of crashing
    vec->resize(static_cast<size_t>(size));
    return STATUS_OK;
}

}  // namespace ndk
