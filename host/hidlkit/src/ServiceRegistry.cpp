#define LOG_TAG "HidlServiceManagement"

#include "ServiceRegistry.h"

#include <chrono>

#include <log/log.h>

#include "processkit/Dispatcher.h"

namespace hostkit {
namespace hidl {
namespace detail {

using ::android::sp;
using ::android::hardware::hidl_death_recipient;
using processkit::Dispatcher;
using processkit::PoolKind;

namespace {
constexpr std::chrono::seconds LOG_STEP{1};
}  // namespace

ServiceRegistry& ServiceRegistry::get() {
    // Leaked on purpose: death notices may still run during static destruction.
    static ServiceRegistry* registry = new ServiceRegistry();
    return *registry;
}

void ServiceRegistry::declare(const std::string& descriptor, const std::string& instance, Transport transport) {
    std::lock_guard<std::mutex> lock(mLock);
    mManifest[Key(descriptor, instance)] = transport;
}

void ServiceRegistry::undeclare(const std::string& descriptor, const std::string& instance) {
    std::lock_guard<std::mutex> lock(mLock);
    mManifest.erase(Key(descriptor, instance));
}

bool ServiceRegistry::isDeclared(const std::string& descriptor, const std::string& instance) {
    std::lock_guard<std::mutex> lock(mLock);
    return mManifest.count(Key(descriptor, instance)) != 0;
}

std::optional<Transport> ServiceRegistry::transportOf(const std::string& descriptor, const std::string& instance) {
    std::lock_guard<std::mutex> lock(mLock);
    auto declared = mManifest.find(Key(descriptor, instance));
    if (declared == mManifest.end()) return std::nullopt;
    return declared->second;
}

void ServiceRegistry::failManagerCalls(int count, ::android::status_t status) {
    std::lock_guard<std::mutex> lock(mLock);
    mManagerFailures = count;
    mManagerFailure = status;
}

::android::status_t ServiceRegistry::takeManagerFailure() {
    std::lock_guard<std::mutex> lock(mLock);
    if (mManagerFailures == 0) return ::android::OK;
    --mManagerFailures;
    return mManagerFailure;
}

::android::status_t ServiceRegistry::add(const std::string& descriptor, const std::string& instance,
                                         const sp<IBase>& service) {
    if (service == nullptr || descriptor.empty()) return ::android::BAD_VALUE;
    Entry entry{service, std::make_shared<RemoteService>(descriptor + "/" + instance), false, true};
    Entry previous;
    {
        std::lock_guard<std::mutex> lock(mLock);
        auto declared = mManifest.find(Key(descriptor, instance));
        if (declared == mManifest.end() || declared->second != Transport::HWBINDER) {
            // hwservicemanager's VINTF check refuses the registration.
            ALOGE("Service %s/%s must be in VINTF manifest in order to register/get.", descriptor.c_str(),
                  instance.c_str());
            return ::android::UNKNOWN_ERROR;
        }
        Entry& slot = mServices[Key(descriptor, instance)];
        previous = std::move(slot);
        slot = std::move(entry);
    }
    mChanged.notify_all();
    return ::android::OK;
}

::android::status_t ServiceRegistry::addPassthrough(const std::string& descriptor, const std::string& instance,
                                                    const sp<IBase>& service) {
    if (service == nullptr || descriptor.empty()) return ::android::BAD_VALUE;
    Entry previous;
    {
        std::lock_guard<std::mutex> lock(mLock);
        mManifest[Key(descriptor, instance)] = Transport::PASSTHROUGH;
        Entry& slot = mServices[Key(descriptor, instance)];
        previous = std::move(slot);
        slot = Entry{service, nullptr, true, true};
    }
    mChanged.notify_all();
    return ::android::OK;
}

Lookup ServiceRegistry::find(const std::string& descriptor, const std::string& instance, bool wait) {
    using Clock = std::chrono::steady_clock;
    const Key key(descriptor, instance);
    std::unique_lock<std::mutex> lock(mLock);
    auto nextLog = Clock::now() + LOG_STEP;
    for (;;) {
        auto declared = mManifest.find(key);
        // An undeclared name is never waited for; a passthrough one is loaded or missing.
        if (declared == mManifest.end()) return Lookup{};
        auto it = mServices.find(key);
        const bool live = it != mServices.end() && it->second.alive;
        if (declared->second == Transport::PASSTHROUGH) {
            return live && it->second.passthrough ? Lookup{it->second.service, nullptr} : Lookup{};
        }
        if (live && !it->second.passthrough) return Lookup{it->second.service, it->second.remote};
        if (!wait) return Lookup{};
        if (Clock::now() >= nextLog) {
            nextLog += LOG_STEP;
            lock.unlock();
            ALOGW("Waited one second for %s/%s", descriptor.c_str(), instance.c_str());
            lock.lock();
            continue;
        }
        mChanged.wait_until(lock, nextLog);
    }
}

bool ServiceRegistry::kill(const std::string& descriptor, const std::string& instance) {
    std::shared_ptr<RemoteService> remote;
    {
        std::lock_guard<std::mutex> lock(mLock);
        auto it = mServices.find(Key(descriptor, instance));
        if (it == mServices.end() || !it->second.alive) return false;
        it->second.alive = false;
        remote = it->second.remote;
    }
    if (remote == nullptr) return true;  // in-process: nobody is told
    std::vector<RemoteService::Death> deaths = remote->kill();
    {
        std::lock_guard<std::mutex> lock(mLock);
        mDeathsPending += deaths.size();
    }
    for (const RemoteService::Death& death : deaths) {
        Dispatcher::post(*death.linker, PoolKind::HWBINDER, [this, remote, death] { deliver(remote, death); });
    }
    return true;
}

bool ServiceRegistry::restore(const std::string& descriptor, const std::string& instance) {
    {
        std::lock_guard<std::mutex> lock(mLock);
        auto it = mServices.find(Key(descriptor, instance));
        if (it == mServices.end() || it->second.alive) return false;
        Entry& entry = it->second;
        // Back in the process it ran in, with new proxies.
        if (!entry.passthrough) {
            entry.remote = std::make_shared<RemoteService>(descriptor + "/" + instance, entry.remote->owner());
        }
        entry.alive = true;
    }
    mChanged.notify_all();
    return true;
}

std::shared_ptr<RemoteService> ServiceRegistry::remoteOf(const std::string& descriptor,
                                                         const std::string& instance) {
    std::lock_guard<std::mutex> lock(mLock);
    auto it = mServices.find(Key(descriptor, instance));
    if (it == mServices.end() || !it->second.alive) return nullptr;
    return it->second.remote;
}

void ServiceRegistry::waitForDeaths() {
    std::unique_lock<std::mutex> lock(mLock);
    mChanged.wait(lock, [this] { return mDeathsPending == 0; });
}

void ServiceRegistry::reset() {
    std::map<Key, Entry> services;
    {
        // Every notice under way runs on a started pool: linking started it.
        std::unique_lock<std::mutex> lock(mLock);
        mChanged.wait(lock, [this] { return mDeathsPending == 0; });
        services.swap(mServices);
        mManifest.clear();
        mManagerFailures = 0;
        mDelivered = 0;
    }
    // services (and the objects they hold) are released here, unlocked.
}

uint64_t ServiceRegistry::delivered() {
    std::lock_guard<std::mutex> lock(mLock);
    return mDelivered;
}

void ServiceRegistry::deliver(const std::shared_ptr<RemoteService>& remote, const RemoteService::Death& death) {
    bool told = false;
    if (remote->takePending(death.id)) {
        sp<hidl_death_recipient> recipient = death.recipient.promote();
        if (recipient != nullptr) {
            recipient->serviceDied(death.cookie, death.who);
            told = true;
        }
    }
    {
        std::lock_guard<std::mutex> lock(mLock);
        if (told) ++mDelivered;
        --mDeathsPending;
    }
    mChanged.notify_all();
}

}  // namespace detail
}  // namespace hidl
}  // namespace hostkit
