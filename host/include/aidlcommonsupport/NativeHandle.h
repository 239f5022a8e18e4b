#pragma once

// Conversions between AIDL NativeHandle and native_handle_t (libaidlcommonsupport).

#include <aidl/android/hardware/common/NativeHandle.h>
#include <cutils/native_handle.h>

namespace android {

// True iff the handle has neither fds nor ints.
bool isAidlNativeHandleEmpty(const aidl::android::hardware::common::NativeHandle& handle);

// A new native handle with the same fd numbers (still owned by handle): free it with
// native_handle_delete only. Null only if native_handle_create fails.
native_handle_t* makeFromAidl(const aidl::android::hardware::common::NativeHandle& handle);

// A new native handle owning duplicates (F_DUPFD_CLOEXEC) of handle's fds: the caller runs
// native_handle_close, then native_handle_delete. A failed duplicate leaves -1 in its slot.
native_handle_t* dupFromAidl(const aidl::android::hardware::common::NativeHandle& handle);

// Moves ownership of handle's fds into the result; the caller must no longer close them
// (but still native_handle_delete the handle). A null handle ends the process.
aidl::android::hardware::common::NativeHandle makeToAidl(const native_handle_t* handle);

// A result owning duplicates of handle's fds; handle is unchanged. A null handle ends the process.
aidl::android::hardware::common::NativeHandle dupToAidl(const native_handle_t* handle);

}  // namespace android
