#include <hostkit/HidlServices.h>

#include "ServiceRegistry.h"

namespace hostkit {
namespace hidl {

using detail::ServiceRegistry;

void Declare(const std::string& descriptor, const std::string& instance, Transport transport) {
    ServiceRegistry::get().declare(descriptor, instance, transport);
}

void Undeclare(const std::string& descriptor, const std::string& instance) {
    ServiceRegistry::get().undeclare(descriptor, instance);
}

bool IsDeclared(const std::string& descriptor, const std::string& instance) {
    return ServiceRegistry::get().isDeclared(descriptor, instance);
}

::android::status_t RegisterPassthrough(const std::string& descriptor, const std::string& instance,
                                        const ::android::sp<::android::hidl::base::V1_0::IBase>& service) {
    return ServiceRegistry::get().addPassthrough(descriptor, instance, service);
}

bool Kill(const std::string& descriptor, const std::string& instance) {
    return ServiceRegistry::get().kill(descriptor, instance);
}

bool Restore(const std::string& descriptor, const std::string& instance) {
    return ServiceRegistry::get().restore(descriptor, instance);
}

bool FailNextCalls(const std::string& descriptor, const std::string& instance, int count,
                   ::android::status_t status) {
    auto remote = ServiceRegistry::get().remoteOf(descriptor, instance);
    if (remote == nullptr) return false;
    remote->failNextCalls(count, status);
    return true;
}

bool FailNextCallOf(const std::string& descriptor, const std::string& instance, const std::string& method,
                    ::android::status_t status) {
    auto remote = ServiceRegistry::get().remoteOf(descriptor, instance);
    if (remote == nullptr) return false;
    remote->failNextCallOf(method, status);
    return true;
}

void FailNextManagerCalls(int count, ::android::status_t status) {
    ServiceRegistry::get().failManagerCalls(count, status);
}

void Reset() { ServiceRegistry::get().reset(); }

void WaitForDeathNotifications() { ServiceRegistry::get().waitForDeaths(); }

bool IsRegistered(const std::string& descriptor, const std::string& instance) {
    return ServiceRegistry::get().find(descriptor, instance, false).service != nullptr;
}

size_t LinkCount(const std::string& descriptor, const std::string& instance) {
    auto remote = ServiceRegistry::get().remoteOf(descriptor, instance);
    return remote == nullptr ? 0 : remote->linkCount();
}

uint64_t DeathNotificationsDelivered() { return ServiceRegistry::get().delivered(); }

}  // namespace hidl
}  // namespace hostkit
