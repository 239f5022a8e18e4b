#pragma once

#include <cstdint>

#include <android/log.h>
#include <hidl/HidlSupport.h>
#include <utils/StrongPointer.h>

namespace android {

// Links `recipient` to the death of a HIDL service; 0, or -1 with the reason logged at WARN
// under `logTag` (a failed transport, or a link the service refused).
template <class Service>
int LinkServiceToDeath(const sp<Service>& service, const sp<hardware::hidl_death_recipient>& recipient,
                       uint64_t cookie, const char* logTag) {
    auto linked = service->linkToDeath(recipient, cookie);
    if (!linked.isOk()) {
        __android_log_print(ANDROID_LOG_WARN, logTag, "Cannot link to death: %s", linked.description().c_str());
        return -1;
    }
    if (!linked) {
        __android_log_print(ANDROID_LOG_WARN, logTag, "Cannot link to death: %s", "linkToDeath returns false");
        return -1;
    }
    return 0;
}

}  // namespace android
