// The AParcel C API over the kit's AParcel. Null arguments give STATUS_UNEXPECTED_NULL.
#include <cstring>
#include <new>

#include <android/binder_ibinder.h>
#include <android/binder_parcel.h>

#include "Parcel.h"
#include "Status.h"

namespace {

template <typename T>
binder_status_t writeValue(AParcel* parcel, T value) {
    if (parcel == nullptr) return STATUS_UNEXPECTED_NULL;
    return parcel->write(value);
}

template <typename T>
binder_status_t readValue(const AParcel* parcel, T* value) {
    if (parcel == nullptr || value == nullptr) return STATUS_UNEXPECTED_NULL;
    return parcel->read(value);
}

// Small values travel as one int32, as on the platform.
template <typename T>
binder_status_t readAsInt32(const AParcel* parcel, T* value) {
    int32_t raw = 0;
    binder_status_t status = readValue(parcel, &raw);
    if (status == STATUS_OK) *value = static_cast<T>(raw);
    return status;
}

}  // namespace

void AParcel_delete(AParcel* parcel) { delete parcel; }
AParcel* AParcel_create() { return new (std::nothrow) AParcel(); }

binder_status_t AParcel_setDataPosition(const AParcel* parcel, int32_t position) {
    if (parcel == nullptr) return STATUS_UNEXPECTED_NULL;
    if (position < 0) return STATUS_BAD_VALUE;
    parcel->setPosition(static_cast<size_t>(position));
    return STATUS_OK;
}
int32_t AParcel_getDataPosition(const AParcel* parcel) {
    return parcel == nullptr ? 0 : static_cast<int32_t>(parcel->position());
}
int32_t AParcel_getDataSize(const AParcel* parcel) {
    return parcel == nullptr ? 0 : static_cast<int32_t>(parcel->size());
}
binder_status_t AParcel_reset(AParcel* parcel) {
    if (parcel == nullptr) return STATUS_UNEXPECTED_NULL;
    parcel->reset();
    return STATUS_OK;
}

binder_status_t AParcel_writeStrongBinder(AParcel* parcel, AIBinder* binder) {
    if (parcel == nullptr) return STATUS_UNEXPECTED_NULL;
    return parcel->writeBinder(binder);
}
binder_status_t AParcel_readStrongBinder(const AParcel* parcel, AIBinder** binder) {
    if (parcel == nullptr || binder == nullptr) return STATUS_UNEXPECTED_NULL;
    ndk::SpAIBinder read;
    binder_status_t status = parcel->readBinder(&read);
    if (status != STATUS_OK) return status;
    *binder = read.get();
    if (*binder != nullptr) AIBinder_incStrong(*binder);  // the caller's own reference
    return STATUS_OK;
}

binder_status_t AParcel_writeParcelFileDescriptor(AParcel* parcel, int fd) {
    if (parcel == nullptr) return STATUS_UNEXPECTED_NULL;
    if (fd < 0) return fd == -1 ? parcel->write<int32_t>(0) : STATUS_UNKNOWN_ERROR;
    binder_status_t status = parcel->write<int32_t>(1);
    return status == STATUS_OK ? parcel->writeFd(fd) : status;
}
binder_status_t AParcel_readParcelFileDescriptor(const AParcel* parcel, int* fd) {
    int32_t present = 0;
    binder_status_t status = readValue(parcel, &present);
    if (status != STATUS_OK || fd == nullptr) return fd == nullptr ? STATUS_UNEXPECTED_NULL : status;
    if (present == 0) {
        *fd = -1;
        return STATUS_OK;
    }
    return parcel->readFd(fd);
}

binder_status_t AParcel_writeStatusHeader(AParcel* parcel, const AStatus* status) {
    if (parcel == nullptr || status == nullptr) return STATUS_UNEXPECTED_NULL;
    // A transport failure is not sent: it becomes the result of the whole transaction.
    if (status->mException == EX_TRANSACTION_FAILED) return status->mStatus;
    binder_status_t ret = parcel->write<int32_t>(status->mException);
    if (ret != STATUS_OK || status->mException == EX_NONE) return ret;
    ret = parcel->writeString(status->mMessage.c_str(), static_cast<int32_t>(status->mMessage.size()));
    if (ret == STATUS_OK) ret = parcel->write<int32_t>(0);  // empty remote stack trace header
    if (ret == STATUS_OK && status->mException == EX_SERVICE_SPECIFIC) {
        ret = parcel->write<int32_t>(status->mServiceSpecific);
    } else if (ret == STATUS_OK && status->mException == EX_PARCELABLE) {
        ret = parcel->write<int32_t>(0);  // empty parcelable header
    }
    return ret;
}

binder_status_t AParcel_readStatusHeader(const AParcel* parcel, AStatus** status) {
    constexpr int32_t kExHasReplyHeader = -128;
    if (parcel == nullptr || status == nullptr) return STATUS_UNEXPECTED_NULL;
    int32_t exception = 0;
    binder_status_t ret = parcel->read(&exception);
    if (ret != STATUS_OK) return ret;
    if (exception == kExHasReplyHeader) {
        const size_t start = parcel->position();
        int32_t headerSize = 0;
        ret = parcel->read(&headerSize);
        if (ret != STATUS_OK) return ret;
        if (headerSize < 0) return STATUS_BAD_VALUE;
        parcel->setPosition(start + static_cast<size_t>(headerSize));
        exception = EX_NONE;
    }
    std::string message;
    int32_t code = 0;
    if (exception != EX_NONE) {
        if (!parcel->readString(&message)) message.clear();
        int32_t traceSize = 0;
        ret = parcel->read(&traceSize);
        if (ret != STATUS_OK) return ret;
        if (traceSize < 0) return STATUS_BAD_VALUE;
        parcel->setPosition(parcel->position() + static_cast<size_t>(traceSize));
        if (exception == EX_SERVICE_SPECIFIC || exception == EX_PARCELABLE) {
            ret = parcel->read(&code);
            if (ret != STATUS_OK) return ret;
        }
        if (exception == EX_PARCELABLE) code = 0;
    }
    *status = new (std::nothrow) AStatus(exception, code, std::move(message));
    return *status == nullptr ? STATUS_NO_MEMORY : STATUS_OK;
}

binder_status_t AParcel_writeString(AParcel* parcel, const char* string, int32_t length) {
    if (parcel == nullptr) return STATUS_UNEXPECTED_NULL;
    return parcel->writeString(string, length);
}

binder_status_t AParcel_readString(const AParcel* parcel, void* stringData,
                                   AParcel_stringAllocator allocator) {
    if (parcel == nullptr || allocator == nullptr) return STATUS_UNEXPECTED_NULL;
    std::string utf8;
    char* buffer = nullptr;
    // Like the platform, an unreadable string reads as a null one.
    if (!parcel->readString(&utf8)) {
        return allocator(stringData, -1, &buffer) ? STATUS_OK : STATUS_UNEXPECTED_NULL;
    }
    if (!allocator(stringData, static_cast<int32_t>(utf8.size() + 1), &buffer)) return STATUS_NO_MEMORY;
    if (buffer == nullptr) return STATUS_NO_MEMORY;
    memcpy(buffer, utf8.c_str(), utf8.size() + 1);
    return STATUS_OK;
}

binder_status_t AParcel_writeInt32(AParcel* p, int32_t v) { return writeValue(p, v); }
binder_status_t AParcel_writeUint32(AParcel* p, uint32_t v) { return writeValue(p, v); }
binder_status_t AParcel_writeInt64(AParcel* p, int64_t v) { return writeValue(p, v); }
binder_status_t AParcel_writeUint64(AParcel* p, uint64_t v) { return writeValue(p, v); }
binder_status_t AParcel_writeFloat(AParcel* p, float v) { return writeValue(p, v); }
binder_status_t AParcel_writeDouble(AParcel* p, double v) { return writeValue(p, v); }
binder_status_t AParcel_writeBool(AParcel* p, bool v) { return writeValue<int32_t>(p, v ? 1 : 0); }
binder_status_t AParcel_writeChar(AParcel* p, char16_t v) { return writeValue<int32_t>(p, v); }
binder_status_t AParcel_writeByte(AParcel* p, int8_t v) { return writeValue<int32_t>(p, v); }

binder_status_t AParcel_readInt32(const AParcel* p, int32_t* v) { return readValue(p, v); }
binder_status_t AParcel_readUint32(const AParcel* p, uint32_t* v) { return readValue(p, v); }
binder_status_t AParcel_readInt64(const AParcel* p, int64_t* v) { return readValue(p, v); }
binder_status_t AParcel_readUint64(const AParcel* p, uint64_t* v) { return readValue(p, v); }
binder_status_t AParcel_readFloat(const AParcel* p, float* v) { return readValue(p, v); }
binder_status_t AParcel_readDouble(const AParcel* p, double* v) { return readValue(p, v); }
binder_status_t AParcel_readBool(const AParcel* p, bool* v) {
    if (v == nullptr) return STATUS_UNEXPECTED_NULL;
    int32_t raw = 0;
    binder_status_t status = readValue(p, &raw);
    if (status == STATUS_OK) *v = raw != 0;
    return status;
}
binder_status_t AParcel_readChar(const AParcel* p, char16_t* v) {
    return v == nullptr ? STATUS_UNEXPECTED_NULL : readAsInt32(p, v);
}
binder_status_t AParcel_readByte(const AParcel* p, int8_t* v) {
    return v == nullptr ? STATUS_UNEXPECTED_NULL : readAsInt32(p, v);
}
