#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include <hidl/HidlSupport.h>
#include <hidl/Status.h>
#include <utils/RefBase.h>
#include <utils/StrongPointer.h>

namespace android {
namespace hidl {
namespace base {
namespace V1_0 {

// Root of every HIDL interface. Local objects answer here; proxies returned
// by getService()/tryGetService() override these to reach the service.
struct IBase : virtual public ::android::RefBase {
    typedef ::android::hardware::details::i_tag _hidl_tag;

    static const char* descriptor;

    virtual ~IBase() {}

    // False for local objects, true for proxies.
    virtual bool isRemote() const { return false; }

    // Local object: true iff recipient is not null; nothing is ever delivered.
    // Proxy: links recipient (held weakly) with cookie; false if already dead.
    virtual ::android::hardware::Return<bool> linkToDeath(
            const ::android::sp<::android::hardware::hidl_death_recipient>& recipient, uint64_t cookie);
    // Local object: true iff recipient is not null. Proxy: removes the most
    // recent link of recipient; false if none or the service is dead.
    virtual ::android::hardware::Return<bool> unlinkToDeath(
            const ::android::sp<::android::hardware::hidl_death_recipient>& recipient);
    // Local object: Void(). Proxy: a failed Return once the service is dead.
    virtual ::android::hardware::Return<void> ping();

    static ::android::hardware::Return<::android::sp<IBase>> castFrom(
            const ::android::sp<IBase>& parent, bool emitError = false);
};

static inline std::string toString(const ::android::sp<IBase>& o) {
    std::string os = "[class or subclass of ";
    os += IBase::descriptor;
    os += "]";
    os += o->isRemote() ? "@remote" : "@local";
    return os;
}

}  // namespace V1_0
}  // namespace base
}  // namespace hidl
}  // namespace android
