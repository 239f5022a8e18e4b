#define LOG_TAG "HidlServiceManagement"

#include "ServiceRegistry.h"

#include <log/log.h>

namespace hostkit {
namespace hidl {
namespace detail {

using ::android::sp;
using ::android::hardware::hidl_death_recipient;

namespace {
constexpr std::chrono::milliseconds kDefaultWait{1000};
constexpr std::chrono::seconds kLogStep{1};
}  // namespace

ServiceRegistry& ServiceRegistry::get() {
    // Leaked on purpose: death threads may still run during static destruction.
    static ServiceRegistry* registry = new ServiceRegistry();
    return *registry;
}

::android::status_t ServiceRegistry::add(const std::string& descriptor, const std::string& instance,
                                         const sp<IBase>& service, bool passthrough) {
    if (service == nullptr || descriptor.empty()) return ::android::BAD_VALUE;
    Entry entry{service, passthrough ? nullptr : std::make_shared<RemoteService>(descriptor + "/" + instance),
                passthrough, true};
    Entry previous;
    {
        std::lock_guard<std::mutex> lock(mLock);
        Entry& slot = mServices[Key(descriptor, instance)];
        previous = std::move(slot);
        slot = std::move(entry);
    }
    mChanged.notify_all();
    return ::android::OK;
}

Lookup ServiceRegistry::find(const std::string& descriptor, const std::string& instance, bool wait) {
    using Clock = std::chrono::steady_clock;
    std::unique_lock<std::mutex> lock(mLock);
    const auto start = Clock::now();
    const auto deadline = start + mWait;
    auto nextLog = start + kLogStep;
    for (;;) {
        auto it = mServices.find(Key(descriptor, instance));
        if (it != mServices.end() && it->second.alive) return Lookup{it->second.service, it->second.remote};
        const auto now = Clock::now();
        if (!wait || now >= deadline) return Lookup{};
        if (now >= nextLog) {
            nextLog += kLogStep;
            lock.unlock();
            ALOGI("Waited one second for %s/%s", descriptor.c_str(), instance.c_str());
            lock.lock();
            continue;
        }
        mChanged.wait_until(lock, std::min(deadline, nextLog));
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
    std::lock_guard<std::mutex> lock(mLock);
    for (const RemoteService::Death& death : deaths) {
        ++mDeathsRunning;
        mDeathThreads.emplace_back([this, remote, death] { deliver(remote, death); });
    }
    return true;
}

bool ServiceRegistry::restore(const std::string& descriptor, const std::string& instance) {
    {
        std::lock_guard<std::mutex> lock(mLock);
        auto it = mServices.find(Key(descriptor, instance));
        if (it == mServices.end() || it->second.alive) return false;
        Entry& entry = it->second;
        if (!entry.passthrough) entry.remote = std::make_shared<RemoteService>(descriptor + "/" + instance);
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

void ServiceRegistry::setWait(std::chrono::milliseconds wait) {
    std::lock_guard<std::mutex> lock(mLock);
    mWait = wait.count() > 0 ? wait : std::chrono::milliseconds(0);
}

void ServiceRegistry::waitForDeaths() {
    std::unique_lock<std::mutex> lock(mLock);
    mChanged.wait(lock, [this] { return mDeathsRunning == 0; });
}

void ServiceRegistry::reset() {
    std::map<Key, Entry> services;
    std::vector<std::thread> threads;
    {
        std::unique_lock<std::mutex> lock(mLock);
        mChanged.wait(lock, [this] { return mDeathsRunning == 0; });
        services.swap(mServices);
        threads.swap(mDeathThreads);
        mWait = kDefaultWait;
        mDelivered = 0;
    }
    for (std::thread& thread : threads) thread.join();
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
        --mDeathsRunning;
    }
    mChanged.notify_all();
}

}  // namespace detail
}  // namespace hidl
}  // namespace hostkit
