#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include <android/binder_auto_utils.h>
#include <android/binder_parcel.h>

// The data behind an AParcel handle: 4-byte aligned bytes plus the binders and file
// descriptors written into it. An object in the bytes is a tag and an index into its table.
// Not thread-safe, like the platform's parcels.
struct AParcel {
    binder_status_t writeRaw(const void* data, size_t size);
    binder_status_t readRaw(void* data, size_t size) const;
    template <typename T>
    binder_status_t write(T value) {
        return writeRaw(&value, sizeof(value));
    }
    template <typename T>
    binder_status_t read(T* value) const {
        return readRaw(value, sizeof(T));
    }

    // UTF-8 in, UTF-16 on the wire; length -1 with null data is a null string.
    binder_status_t writeString(const char* utf8, int32_t length);
    // False when there is no valid string here (null, truncated or unterminated).
    bool readString(std::string* utf8) const;

    // Takes a strong reference; null is allowed.
    binder_status_t writeBinder(AIBinder* binder);
    binder_status_t readBinder(ndk::SpAIBinder* binder) const;
    // Stores a duplicate of fd; reads give the caller a duplicate of its own.
    binder_status_t writeFd(int fd);
    binder_status_t readFd(int* fd) const;

    // Every binder the parcel holds, for the transport to swap local objects for proxies.
    std::vector<ndk::SpAIBinder>& binders() { return mBinders; }

    size_t position() const { return mPosition; }
    void setPosition(size_t position) const { mPosition = position; }
    size_t size() const { return mData.size(); }
    void reset();

  private:
    binder_status_t writeObject(int32_t tag, int32_t index);
    binder_status_t readObject(int32_t tag, int32_t* index) const;

    std::vector<uint8_t> mData;
    mutable size_t mPosition = 0;  // reads move it on const parcels, as on the platform
    std::vector<ndk::SpAIBinder> mBinders;
    std::vector<ndk::ScopedFileDescriptor> mFds;
};
