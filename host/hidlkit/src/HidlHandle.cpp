#include <hidl/HidlHandle.h>

#include <string>

#include <hidl/HidlInternal.h>
#include <hidl/HidlToString.h>

namespace android {
namespace hardware {

hidl_handle::hidl_handle() : mHandle(nullptr), mOwnsHandle(false) {}
hidl_handle::~hidl_handle() { freeHandle(); }
hidl_handle::hidl_handle(const native_handle_t* handle) : mHandle(handle), mOwnsHandle(false) {}
hidl_handle::hidl_handle(const hidl_handle& other) : hidl_handle() { *this = other; }
hidl_handle::hidl_handle(hidl_handle&& other) noexcept : hidl_handle() { *this = std::move(other); }

hidl_handle& hidl_handle::operator=(const hidl_handle& other) {
    if (this == &other) return *this;
    freeHandle();
    if (other.mHandle != nullptr) {
        native_handle_t* clone = native_handle_clone(other.mHandle);
        if (clone == nullptr) details::logAlwaysFatal("Failed to clone native_handle in hidl_handle.");
        mHandle = clone;
        mOwnsHandle = true;
    }
    return *this;
}

hidl_handle& hidl_handle::operator=(const native_handle_t* handle) {
    freeHandle();
    mHandle = handle;
    return *this;
}

hidl_handle& hidl_handle::operator=(hidl_handle&& other) noexcept {
    if (this == &other) return *this;
    freeHandle();
    mHandle = other.mHandle;
    mOwnsHandle = other.mOwnsHandle;
    other.mHandle = nullptr;
    other.mOwnsHandle = false;
    return *this;
}

void hidl_handle::setTo(native_handle_t* handle, bool shouldOwn) {
    freeHandle();
    mHandle = handle;
    mOwnsHandle = shouldOwn;
}

const native_handle_t* hidl_handle::operator->() const { return mHandle; }
hidl_handle::operator const native_handle_t*() const { return mHandle; }
const native_handle_t* hidl_handle::getNativeHandle() const { return mHandle; }

void hidl_handle::freeHandle() {
    if (mOwnsHandle && mHandle != nullptr) {
        // Our own clone: no other owner can see it.
        native_handle_t* handle = const_cast<native_handle_t*>(mHandle);
        native_handle_close(handle);
        native_handle_delete(handle);
    }
    mHandle = nullptr;
    mOwnsHandle = false;
}

std::string toString(const hidl_handle& h) {
    return toString(static_cast<const void*>(h.getNativeHandle()));
}

}  // namespace hardware
}  // namespace android
