// AServiceManager_* over the kit's registry. Null names are refused, never dereferenced.
#include <android/binder_manager.h>

#include "ServiceRegistry.h"

using hostkit::binder::ServiceRegistry;

namespace {
AIBinder* handOut(ndk::SpAIBinder binder) {
    AIBinder* raw = binder.get();
    if (raw != nullptr) AIBinder_incStrong(raw);  // the caller's reference
    return raw;
}
}  // namespace

binder_exception_t AServiceManager_addService(AIBinder* binder, const char* instance) {
    if (instance == nullptr) return EX_ILLEGAL_ARGUMENT;
    return ServiceRegistry::instance().add(instance, binder);
}

AIBinder* AServiceManager_checkService(const char* instance) {
    if (instance == nullptr) return nullptr;
    return handOut(ServiceRegistry::instance().check(instance));
}

AIBinder* AServiceManager_getService(const char* instance) {
    if (instance == nullptr) return nullptr;
    return handOut(ServiceRegistry::instance().wait(instance));
}

AIBinder* AServiceManager_waitForService(const char* instance) {
    if (instance == nullptr) return nullptr;
    return handOut(ServiceRegistry::instance().wait(instance));
}

bool AServiceManager_isDeclared(const char* instance) {
    return instance != nullptr && ServiceRegistry::instance().isDeclared(instance);
}

void AServiceManager_forEachDeclaredInstance(const char* interface, void* context,
                                             void (*callback)(const char*, void*)) {
    if (interface == nullptr || callback == nullptr) return;
    for (const std::string& instance : ServiceRegistry::instance().declaredInstances(interface)) {
        callback(instance.c_str(), context);
    }
}
