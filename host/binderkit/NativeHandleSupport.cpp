#define LOG_TAG "libaidlcommonsupport"

#include <aidlcommonsupport/NativeHandle.h>

#include <fcntl.h>

#include <cstdio>
#include <cstdlib>

#include <android/log.h>

namespace android {

using aidl::android::hardware::common::NativeHandle;

namespace {

native_handle_t* fromAidl(const NativeHandle& handle, bool duplicate) {
    native_handle_t* out = native_handle_create(static_cast<int>(handle.fds.size()),
                                                static_cast<int>(handle.ints.size()));
    if (out == nullptr) return nullptr;
    for (size_t i = 0; i < handle.fds.size(); i++) {
        const int fd = handle.fds[i].get();
        // A failed duplicate is not reported: its slot holds -1, as on the platform.
        out->data[i] = duplicate ? fcntl(fd, F_DUPFD_CLOEXEC, 0) : fd;
    }
    for (size_t i = 0; i < handle.ints.size(); i++) out->data[out->numFds + i] = handle.ints[i];
    return out;
}

// The platform reads the handle without a check, so a null one crashes there: end the process
// here too, with the reason on stderr for death tests and crash reports.
void abortOnNull(const native_handle_t* handle, const char* function) {
    if (handle != nullptr) return;
    __android_log_print(ANDROID_LOG_FATAL, LOG_TAG, "%s: null native_handle_t", function);
    fprintf(stderr, "%s: null native_handle_t\n", function);
    fflush(stderr);
    abort();
}

NativeHandle toAidl(const native_handle_t* handle, bool duplicate) {
    NativeHandle out;
    for (int i = 0; i < handle->numFds; i++) {
        const int fd = handle->data[i];
        out.fds.emplace_back(duplicate ? fcntl(fd, F_DUPFD_CLOEXEC, 0) : fd);
    }
    out.ints.assign(handle->data + handle->numFds, handle->data + handle->numFds + handle->numInts);
    return out;
}

}  // namespace

bool isAidlNativeHandleEmpty(const NativeHandle& handle) {
    return handle.fds.empty() && handle.ints.empty();
}

native_handle_t* makeFromAidl(const NativeHandle& handle) { return fromAidl(handle, false); }
native_handle_t* dupFromAidl(const NativeHandle& handle) { return fromAidl(handle, true); }
NativeHandle makeToAidl(const native_handle_t* handle) {
    abortOnNull(handle, "makeToAidl");
    return toAidl(handle, false);
}
NativeHandle dupToAidl(const native_handle_t* handle) {
    abortOnNull(handle, "dupToAidl");
    return toAidl(handle, true);
}

}  // namespace android
