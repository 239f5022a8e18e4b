#include <hostkit/BinderServices.h>

#include "ServiceRegistry.h"

namespace hostkit::binder {

void Declare(const std::string& name) { ServiceRegistry::instance().declare(name); }
void Undeclare(const std::string& name) { ServiceRegistry::instance().undeclare(name); }
bool Kill(const std::string& name) { return ServiceRegistry::instance().kill(name); }
bool Restore(const std::string& name) { return ServiceRegistry::instance().restore(name); }
void FailNextTransactions(const std::string& name, int n, binder_status_t status) {
    ServiceRegistry::instance().failNext(name, n, status);
}
void UseFrameworkServiceManager(bool framework) {
    ServiceRegistry::instance().setFrameworkServiceManager(framework);
}
void Reset() { ServiceRegistry::instance().reset(); }
uint64_t TransactionCount(const std::string& name) {
    return ServiceRegistry::instance().transactionCount(name);
}
uint64_t DeathNotificationCount() { return ServiceRegistry::instance().deathNotificationCount(); }
size_t DeathLinkCount(const std::string& name) {
    return ServiceRegistry::instance().deathLinkCount(name);
}

}  // namespace hostkit::binder
