#include <hidl/ServiceManagement.h>

#include "ServiceRegistry.h"

namespace android {
namespace hidl {
namespace manager {
namespace V1_0 {
const char* IServiceManager::descriptor("android.hidl.manager@1.0::IServiceManager");
}  // namespace V1_0
}  // namespace manager
}  // namespace hidl

namespace hardware {

namespace {

using ::android::hidl::manager::V1_0::IServiceManager;
using hostkit::hidl::detail::ServiceRegistry;

// Answers from the kit's device manifest, as hwservicemanager answers from VINTF.
class ManifestServiceManager final : public IServiceManager {
  public:
    Return<Transport> getTransport(const hidl_string& fqName, const hidl_string& name) override {
        if (::android::status_t failure = ServiceRegistry::get().takeManagerFailure(); failure != ::android::OK) {
            return Status::fromStatusT(failure);
        }
        auto transport = ServiceRegistry::get().transportOf(fqName, name);
        if (!transport) return Transport::EMPTY;
        return *transport == hostkit::hidl::Transport::HWBINDER ? Transport::HWBINDER : Transport::PASSTHROUGH;
    }
};

}  // namespace

sp<IServiceManager> defaultServiceManager() {
    // Lives as long as the process: binder threads may still ask it at exit.
    static IServiceManager* manager = [] {
        auto* created = new ManifestServiceManager();
        created->incStrong(nullptr);
        return created;
    }();
    return manager;
}

}  // namespace hardware
}  // namespace android
