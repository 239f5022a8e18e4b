#pragma once

// Service manager lookups (libbinder_ndk, platform API). Names are "<descriptor>/<instance>".
// Every returned binder carries one reference owned by the caller.

#include <sys/cdefs.h>

#include <android/binder_ibinder.h>
#include <android/binder_status.h>

__BEGIN_DECLS

// EX_NONE, or EX_ILLEGAL_ARGUMENT for a null binder or name.
binder_exception_t AServiceManager_addService(AIBinder* binder, const char* instance)
        __INTRODUCED_IN(29);
// No wait: null unless the service is registered now.
__attribute__((warn_unused_result)) AIBinder* AServiceManager_checkService(const char* instance)
        __INTRODUCED_IN(29);
[[deprecated("this polls 5s, use AServiceManager_waitForService or AServiceManager_checkService")]]
__attribute__((warn_unused_result)) AIBinder* AServiceManager_getService(const char* instance)
        __INTRODUCED_IN(29);
// Blocks until the service is registered. Host: gives up (logs, returns null) after a cap.
__attribute__((warn_unused_result)) AIBinder* AServiceManager_waitForService(const char* instance)
        __INTRODUCED_IN(31);
// True iff the name is declared in the device manifest, running or not; false for null.
bool AServiceManager_isDeclared(const char* instance) __INTRODUCED_IN(31);
// Calls back with each declared instance name of the interface, without the "interface/" prefix.
void AServiceManager_forEachDeclaredInstance(const char* interface, void* context,
                                             void (*callback)(const char*, void*))
        __INTRODUCED_IN(31);

__END_DECLS
