#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include <android/hidl/base/1.0/IBase.h>
#include <utils/Errors.h>
#include <utils/StrongPointer.h>

// Test controls of the host HIDL runtime (hostkit_hidl). Library code never
// includes this. Services are keyed by (descriptor, instance), e.g.
// ("vendor.zuvek.hardware.camera.vircamera@1.0::IVirCameraChannel", "virtualcamera.register").
namespace hostkit {
namespace hidl {

// How the device manifest declares an instance.
enum class Transport { HWBINDER, PASSTHROUGH };

// The device manifest. getService() returns null at once for an undeclared name and waits
// (without limit) for a declared hwbinder one; tryGetService() never waits; registerAsService()
// of a name not declared hwbinder fails with UNKNOWN_ERROR, as hwservicemanager's VINTF check.
void Declare(const std::string& descriptor, const std::string& instance, Transport transport = Transport::HWBINDER);
void Undeclare(const std::string& descriptor, const std::string& instance);
bool IsDeclared(const std::string& descriptor, const std::string& instance);

// Installs an in-process (passthrough) implementation and declares the name passthrough:
// lookups from every process hand out the object itself, so calls run on the caller's
// thread and links succeed and never fire. Returns BAD_VALUE for null.
::android::status_t RegisterPassthrough(const std::string& descriptor, const std::string& instance,
                                        const ::android::sp<::android::hidl::base::V1_0::IBase>& service);

// Takes the service out of the registry like a crashed process: its proxies
// answer DEAD_OBJECT (also calls still waiting for a thread of it; one already
// running finishes) and every death link is told once, on a hwbinder thread of
// the process that linked. The name stays declared. False if it is not registered.
bool Kill(const std::string& descriptor, const std::string& instance);

// Registers the killed object again. Old proxies stay dead; new lookups get
// new proxies. False if nothing was killed under that key or it is live.
bool Restore(const std::string& descriptor, const std::string& instance);

// The next count proxy calls to the service fail in transport with status
// (e.g. DEAD_OBJECT, FAILED_TRANSACTION). False if it is not registered.
bool FailNextCalls(const std::string& descriptor, const std::string& instance, int count,
                   ::android::status_t status);

// The next call of `method` (its name in the .hal, e.g. "switchOnVirCamera") through a
// proxy of the service fails in transport with status; other methods pass. Failures queue
// up per method and go with the registration (Kill). False if it is not registered.
bool FailNextCallOf(const std::string& descriptor, const std::string& instance, const std::string& method,
                    ::android::status_t status);

// The next count calls to hwservicemanager's own interface (defaultServiceManager())
// fail in transport with status.
void FailNextManagerCalls(int count, ::android::status_t status);

// Removes every service and declaration, waits for every death notice under way and
// zeroes the counters. Do not call from serviceDied().
void Reset();

// Blocks until every death notification started so far has returned.
void WaitForDeathNotifications();

bool IsRegistered(const std::string& descriptor, const std::string& instance);
// Live death links on proxies of the current registration.
size_t LinkCount(const std::string& descriptor, const std::string& instance);
// serviceDied() calls made since the last Reset().
uint64_t DeathNotificationsDelivered();

}  // namespace hidl
}  // namespace hostkit
