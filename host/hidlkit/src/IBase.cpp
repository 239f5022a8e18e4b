#define LOG_TAG "HidlBase"

#include <android/hidl/base/1.0/IBase.h>

#include <cstdio>
#include <cstdlib>

#include <android/hidl/manager/1.0/IServiceNotification.h>
#include <log/log.h>

namespace android {
namespace hidl {
namespace base {
namespace V1_0 {

const char* IBase::descriptor("android.hidl.base@1.0::IBase");

// A local object cannot die apart from its own process, so links succeed and
// never fire.
::android::hardware::Return<bool> IBase::linkToDeath(
        const ::android::sp<::android::hardware::hidl_death_recipient>& recipient, uint64_t /*cookie*/) {
    return recipient != nullptr;
}

::android::hardware::Return<bool> IBase::unlinkToDeath(
        const ::android::sp<::android::hardware::hidl_death_recipient>& recipient) {
    return recipient != nullptr;
}

::android::hardware::Return<void> IBase::ping() { return ::android::hardware::Void(); }

::android::hardware::Return<::android::sp<IBase>> IBase::castFrom(const ::android::sp<IBase>& parent,
                                                                 bool /*emitError*/) {
    return parent;
}

}  // namespace V1_0
}  // namespace base

namespace manager {
namespace V1_0 {
const char* IServiceNotification::descriptor("android.hidl.manager@1.0::IServiceNotification");
}  // namespace V1_0
}  // namespace manager
}  // namespace hidl

namespace hardware {

namespace details {

void logAlwaysFatal(const char* message) {
    // stderr too, so death tests and crash reports show the reason.
    ALOGE("%s", message);
    fprintf(stderr, "%s\n", message);
    fflush(stderr);
    abort();
}

}  // namespace details
}  // namespace hardware
}  // namespace android
