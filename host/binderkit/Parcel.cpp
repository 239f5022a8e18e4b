#include "Parcel.h"

#include <fcntl.h>

#include <cstring>
#include <limits>

#include <utils/Unicode.h>

namespace {

constexpr int32_t kBinderTag = 0x73622a85;  // an arbitrary marker for binder objects
constexpr int32_t kFdTag = 0x66642a85;      // and for file descriptors
constexpr size_t kMaxParcelSize = 64u << 20;

size_t padded(size_t size) { return (size + 3) & ~size_t(3); }

}  // namespace

binder_status_t AParcel::writeRaw(const void* data, size_t size) {
    const size_t total = padded(size);
    if (total > kMaxParcelSize || mPosition > kMaxParcelSize - total) return STATUS_NO_MEMORY;
    if (mData.size() < mPosition + total) mData.resize(mPosition + total);
    if (size > 0) memcpy(&mData[mPosition], data, size);
    memset(&mData[mPosition + size], 0, total - size);
    mPosition += total;
    return STATUS_OK;
}

binder_status_t AParcel::readRaw(void* data, size_t size) const {
    const size_t total = padded(size);
    if (mPosition > mData.size() || mData.size() - mPosition < total) return STATUS_NOT_ENOUGH_DATA;
    if (size > 0) memcpy(data, &mData[mPosition], size);
    mPosition += total;
    return STATUS_OK;
}

binder_status_t AParcel::writeString(const char* utf8, int32_t length) {
    if (utf8 == nullptr) {
        return length == -1 ? write<int32_t>(-1) : STATUS_UNEXPECTED_NULL;
    }
    if (length < 0) return STATUS_BAD_VALUE;
    const auto* bytes = reinterpret_cast<const uint8_t*>(utf8);
    ssize_t length16 = length == 0 ? 0 : utf8_to_utf16_length(bytes, length);
    if (length16 < 0 || length16 >= std::numeric_limits<int32_t>::max()) return STATUS_BAD_VALUE;
    std::u16string utf16(static_cast<size_t>(length16) + 1, u'\0');
    if (length16 > 0) utf8_to_utf16(bytes, length, &utf16[0], utf16.size());
    binder_status_t status = write<int32_t>(static_cast<int32_t>(length16));
    if (status != STATUS_OK) return status;
    return writeRaw(utf16.data(), utf16.size() * sizeof(char16_t));
}

bool AParcel::readString(std::string* utf8) const {
    int32_t length16 = 0;
    if (read(&length16) != STATUS_OK || length16 < 0 || length16 > (1 << 28)) return false;
    std::u16string utf16(static_cast<size_t>(length16) + 1, u'\0');
    if (readRaw(&utf16[0], utf16.size() * sizeof(char16_t)) != STATUS_OK) return false;
    if (utf16[length16] != u'\0') return false;
    ssize_t length8 = length16 == 0 ? 0 : utf16_to_utf8_length(utf16.data(), length16);
    if (length8 < 0) return false;
    utf8->assign(static_cast<size_t>(length8) + 1, '\0');
    if (length8 > 0) utf16_to_utf8(utf16.data(), length16, &(*utf8)[0], utf8->size());
    utf8->resize(static_cast<size_t>(length8));
    return true;
}

binder_status_t AParcel::writeObject(int32_t tag, int32_t index) {
    binder_status_t status = write(tag);
    return status == STATUS_OK ? write(index) : status;
}

binder_status_t AParcel::readObject(int32_t tag, int32_t* index) const {
    const size_t start = mPosition;
    int32_t readTag = 0;
    binder_status_t status = read(&readTag);
    if (status == STATUS_OK) status = read(index);
    if (status == STATUS_OK && readTag != tag) status = STATUS_BAD_TYPE;
    if (status != STATUS_OK) mPosition = start;
    return status;
}

binder_status_t AParcel::writeBinder(AIBinder* binder) {
    if (binder == nullptr) return writeObject(kBinderTag, -1);
    AIBinder_incStrong(binder);
    mBinders.emplace_back(binder);
    return writeObject(kBinderTag, static_cast<int32_t>(mBinders.size() - 1));
}

binder_status_t AParcel::readBinder(ndk::SpAIBinder* binder) const {
    int32_t index = 0;
    binder_status_t status = readObject(kBinderTag, &index);
    if (status != STATUS_OK) return status;
    if (index == -1) {
        binder->set(nullptr);
        return STATUS_OK;
    }
    if (index < 0 || static_cast<size_t>(index) >= mBinders.size()) return STATUS_BAD_TYPE;
    *binder = mBinders[index];
    return STATUS_OK;
}

binder_status_t AParcel::writeFd(int fd) {
    ndk::ScopedFileDescriptor copy(fcntl(fd, F_DUPFD_CLOEXEC, 0));
    if (copy.get() < 0) return STATUS_UNKNOWN_ERROR;  // what the platform makes of -EBADF
    mFds.push_back(std::move(copy));
    return writeObject(kFdTag, static_cast<int32_t>(mFds.size() - 1));
}

binder_status_t AParcel::readFd(int* fd) const {
    int32_t index = 0;
    binder_status_t status = readObject(kFdTag, &index);
    if (status != STATUS_OK) return status;
    if (index < 0 || static_cast<size_t>(index) >= mFds.size()) return STATUS_BAD_TYPE;
    int copy = fcntl(mFds[index].get(), F_DUPFD_CLOEXEC, 0);
    if (copy < 0) return STATUS_UNKNOWN_ERROR;
    *fd = copy;
    return STATUS_OK;
}

void AParcel::reset() {
    mData.clear();
    mPosition = 0;
    mBinders.clear();
    mFds.clear();
}
