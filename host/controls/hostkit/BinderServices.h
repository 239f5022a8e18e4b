#pragma once

// Test controls for the host's NDK binder service manager. Test code only: the library never
// includes this. All functions are thread-safe.

#include <cstddef>
#include <cstdint>
#include <string>

#include <android/binder_status.h>

namespace hostkit::binder {

// The device manifest: a declared name is isDeclared() and listed, whether running or not.
void Declare(const std::string& name);
void Undeclare(const std::string& name);

// The service leaves the manager; every proxy of it answers STATUS_DEAD_OBJECT from then on.
// Calls still queued for a thread of the service's process fail with STATUS_DEAD_OBJECT; one
// already running finishes. Each linked recipient's onBinderDied(cookie) runs once on a
// binder thread of the process that linked (once its pool is started), then onUnlinked(cookie).
// False if the name is not registered.
bool Kill(const std::string& name);
// Registers the killed service object again under its name (new proxies). False if none.
bool Restore(const std::string& name);

// The next n transactions (and pings) on proxies of name fail with status, without reaching
// the service.
void FailNextTransactions(const std::string& name, int n, binder_status_t status);

// Which service manager libbinder's defaultServiceManager() reaches. By default this process is
// a vendor process: vndservicemanager, whose getDeclaredInstances() answers an empty list. With
// true it acts as a process of the framework, whose service manager lists the declared
// instances (as AServiceManager_forEachDeclaredInstance always does). Reset() restores false.
void UseFrameworkServiceManager(bool framework);

// Waits for the death notices under way (those of processes whose pool never started stay
// queued), then removes every service, declaration, injected failure and counter. Services
// still registered stop silently (no death callbacks).
void Reset();

// Transactions and pings attempted on proxies of name since the last Reset.
uint64_t TransactionCount(const std::string& name);
// onBinderDied calls completed since the last Reset.
uint64_t DeathNotificationCount();
// Live death links on the registered service name.
size_t DeathLinkCount(const std::string& name);

}  // namespace hostkit::binder
