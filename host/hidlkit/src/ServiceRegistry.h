#pragma once

#include <condition_variable>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

#include <android/hidl/base/1.0/IBase.h>
#include <hidlkit/HidlGlue.h>
#include <hidlkit/RemoteService.h>
#include <hostkit/HidlServices.h>
#include <utils/Errors.h>

namespace hostkit {
namespace hidl {
namespace detail {

// hwservicemanager and the device manifest of the kit, keyed by (descriptor, instance):
// which names are declared with which transport, the registered services and the
// passthrough implementations, and the death notices under way. Never destroyed.
class ServiceRegistry {
  public:
    static ServiceRegistry& get();

    void declare(const std::string& descriptor, const std::string& instance, Transport transport);
    void undeclare(const std::string& descriptor, const std::string& instance);
    bool isDeclared(const std::string& descriptor, const std::string& instance);
    // The manifest's transport for a name; nothing when it is not declared.
    std::optional<Transport> transportOf(const std::string& descriptor, const std::string& instance);
    // Failures queued for hwservicemanager's own calls.
    void failManagerCalls(int count, ::android::status_t status);
    // OK, or the status the next manager call fails with (consuming one failure).
    ::android::status_t takeManagerFailure();
    // A service of the calling thread's process, replacing any earlier one. UNKNOWN_ERROR
    // unless the manifest declares the name with hwbinder transport.
    ::android::status_t add(const std::string& descriptor, const std::string& instance, const sp<IBase>& service);
    // The in-process implementation of a name, which this declares passthrough.
    ::android::status_t addPassthrough(const std::string& descriptor, const std::string& instance,
                                       const sp<IBase>& service);
    // Nothing for an undeclared name, the implementation for a passthrough one; for a
    // hwbinder one the live registration, waiting for it with `wait`.
    Lookup find(const std::string& descriptor, const std::string& instance, bool wait);
    bool kill(const std::string& descriptor, const std::string& instance);
    bool restore(const std::string& descriptor, const std::string& instance);
    // Remote state of the live registration; null if none or passthrough.
    std::shared_ptr<RemoteService> remoteOf(const std::string& descriptor, const std::string& instance);
    void waitForDeaths();
    void reset();
    uint64_t delivered();

  private:
    using Key = std::pair<std::string, std::string>;
    struct Entry {
        sp<IBase> service;
        std::shared_ptr<RemoteService> remote;
        bool passthrough = false;
        bool alive = false;
    };

    ServiceRegistry() = default;
    void deliver(const std::shared_ptr<RemoteService>& remote, const RemoteService::Death& death);

    std::mutex mLock;
    std::condition_variable mChanged;
    std::map<Key, Transport> mManifest;
    std::map<Key, Entry> mServices;
    int mManagerFailures = 0;
    ::android::status_t mManagerFailure = ::android::OK;
    size_t mDeathsPending = 0;
    uint64_t mDelivered = 0;
};

}  // namespace detail
}  // namespace hidl
}  // namespace hostkit
