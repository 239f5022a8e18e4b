#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <android/hidl/base/1.0/IBase.h>
#include <hidlkit/HidlGlue.h>
#include <hidlkit/RemoteService.h>
#include <utils/Errors.h>

namespace hostkit {
namespace hidl {
namespace detail {

// The process's service registry keyed by (descriptor, instance), plus the
// threads that deliver death notifications. Never destroyed.
class ServiceRegistry {
  public:
    static ServiceRegistry& get();

    // Replaces any earlier registration under the same key.
    ::android::status_t add(const std::string& descriptor, const std::string& instance,
                            const sp<IBase>& service, bool passthrough);
    // Empty Lookup if not registered (after waiting up to the cap with wait).
    Lookup find(const std::string& descriptor, const std::string& instance, bool wait);
    bool kill(const std::string& descriptor, const std::string& instance);
    bool restore(const std::string& descriptor, const std::string& instance);
    // Remote state of the live registration; null if none or passthrough.
    std::shared_ptr<RemoteService> remoteOf(const std::string& descriptor, const std::string& instance);
    void setWait(std::chrono::milliseconds wait);
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
    std::map<Key, Entry> mServices;
    std::chrono::milliseconds mWait{1000};
    std::vector<std::thread> mDeathThreads;
    size_t mDeathsRunning = 0;
    uint64_t mDelivered = 0;
};

}  // namespace detail
}  // namespace hidl
}  // namespace hostkit
