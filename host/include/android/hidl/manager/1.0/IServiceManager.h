#pragma once

#include <cstdint>

#include <android/hidl/base/1.0/IBase.h>
#include <hidl/HidlSupport.h>
#include <hidl/Status.h>

namespace android {
namespace hidl {
namespace manager {
namespace V1_0 {

// hwservicemanager, as far as the host runtime offers it: the device manifest's answer
// for one instance.
struct IServiceManager : public ::android::hidl::base::V1_0::IBase {
    static const char* descriptor;

    // How the manifest declares an instance; EMPTY when it does not.
    enum class Transport : uint8_t { EMPTY = 0, HWBINDER = 1, PASSTHROUGH = 2 };

    // `fqName` is "package@major.minor::IName", `name` the instance.
    virtual ::android::hardware::Return<Transport> getTransport(const ::android::hardware::hidl_string& fqName,
                                                                const ::android::hardware::hidl_string& name) = 0;
};

}  // namespace V1_0
}  // namespace manager
}  // namespace hidl
}  // namespace android
