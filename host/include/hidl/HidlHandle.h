#pragma once

#include <cutils/native_handle.h>

namespace android {
namespace hardware {

// Wraps a native handle. From a raw pointer it does not own the handle;
// copies clone it (every fd dup'ed) and own the clone; an owned handle is
// closed and deleted when replaced or destroyed. Cloning failure aborts.
struct hidl_handle {
    hidl_handle();
    ~hidl_handle();
    hidl_handle(const native_handle_t* handle);  // not owned
    hidl_handle(const hidl_handle& other);       // clones and owns the clone
    hidl_handle(hidl_handle&& other) noexcept;   // owns iff other owned

    hidl_handle& operator=(const hidl_handle& other);
    hidl_handle& operator=(const native_handle_t* handle);
    hidl_handle& operator=(hidl_handle&& other) noexcept;

    void setTo(native_handle_t* handle, bool shouldOwn = false);

    const native_handle_t* operator->() const;
    operator const native_handle_t*() const;
    const native_handle_t* getNativeHandle() const;

  private:
    void freeHandle();

    const native_handle_t* mHandle;
    bool mOwnsHandle;
};

}  // namespace hardware
}  // namespace android
