#define LOG_TAG "binderkit"
#include "ServiceRegistry.h"

#include <android/log.h>

#include "Binder.h"
#include "processkit/Dispatcher.h"

namespace hostkit::binder {

namespace {
constexpr std::chrono::seconds LOG_STEP{1};
// The death notices the calling thread is delivering right now (reset() may run inside one).
thread_local size_t tDeliveringDeaths = 0;
}  // namespace

ServiceRegistry& ServiceRegistry::instance() {
    // Never destroyed: binders and pool threads may outlive static teardown.
    static ServiceRegistry* registry = new ServiceRegistry();
    return *registry;
}

binder_exception_t ServiceRegistry::add(const std::string& name, AIBinder* binder) {
    if (binder == nullptr || name.empty()) return EX_ILLEGAL_ARGUMENT;
    std::shared_ptr<BinderNode> node = binder->mNode;
    if (node == nullptr) {
        AIBinder_incStrong(binder);
        node = std::make_shared<BinderNode>(ndk::SpAIBinder(binder), name);
    }
    std::shared_ptr<BinderNode> replaced;
    ndk::SpAIBinder killed;
    {
        std::lock_guard<std::mutex> lock(mMutex);
        replaced = std::move(mServices[name]);
        mServices[name] = node;
        auto it = mKilled.find(name);
        if (it != mKilled.end()) {
            killed = std::move(it->second);
            mKilled.erase(it);
        }
    }
    mAdded.notify_all();
    return EX_NONE;
}

ndk::SpAIBinder ServiceRegistry::check(const std::string& name) {
    std::shared_ptr<BinderNode> node;
    {
        std::lock_guard<std::mutex> lock(mMutex);
        auto it = mServices.find(name);
        if (it != mServices.end()) node = it->second;
    }
    return node != nullptr ? node->proxy() : ndk::SpAIBinder();
}

ndk::SpAIBinder ServiceRegistry::wait(const std::string& name) {
    std::unique_lock<std::mutex> lock(mMutex);
    auto nextLog = std::chrono::steady_clock::now() + LOG_STEP;
    while (mServices.count(name) == 0) {
        if (std::chrono::steady_clock::now() >= nextLog) {
            lock.unlock();
            __android_log_print(ANDROID_LOG_INFO, LOG_TAG, "Waited one second for %s", name.c_str());
            lock.lock();
            nextLog += LOG_STEP;
            continue;
        }
        mAdded.wait_until(lock, nextLog);
    }
    lock.unlock();
    return check(name);
}

bool ServiceRegistry::isDeclared(const std::string& name) {
    std::lock_guard<std::mutex> lock(mMutex);
    return mDeclared.count(name) != 0;
}

std::vector<std::string> ServiceRegistry::declaredInstances(const std::string& interface) {
    const std::string prefix = interface + "/";
    std::vector<std::string> instances;
    std::lock_guard<std::mutex> lock(mMutex);
    for (const std::string& name : mDeclared) {
        if (name.size() > prefix.size() && name.compare(0, prefix.size(), prefix) == 0) {
            instances.push_back(name.substr(prefix.size()));
        }
    }
    return instances;
}

ndk::SpAIBinder ServiceRegistry::proxyFor(AIBinder* local) {
    std::shared_ptr<BinderNode> node;
    {
        std::lock_guard<std::mutex> lock(mMutex);
        node = mAnonymous[local].lock();
        if (node == nullptr) {
            for (auto it = mAnonymous.begin(); it != mAnonymous.end();) {
                it = it->second.expired() ? mAnonymous.erase(it) : std::next(it);
            }
            AIBinder_incStrong(local);
            node = std::make_shared<BinderNode>(ndk::SpAIBinder(local), "");
            mAnonymous[local] = node;
        }
    }
    return node->proxy();
}

binder_status_t ServiceRegistry::beginTransaction(const std::string& name) {
    std::lock_guard<std::mutex> lock(mMutex);
    mTransactions[name]++;
    auto it = mFailures.find(name);
    if (it == mFailures.end() || it->second.remaining <= 0) return STATUS_OK;
    it->second.remaining--;
    return it->second.status;
}

void ServiceRegistry::declare(const std::string& name) {
    std::lock_guard<std::mutex> lock(mMutex);
    mDeclared.insert(name);
}

void ServiceRegistry::undeclare(const std::string& name) {
    std::lock_guard<std::mutex> lock(mMutex);
    mDeclared.erase(name);
}

bool ServiceRegistry::kill(const std::string& name) {
    std::shared_ptr<BinderNode> node;
    {
        std::lock_guard<std::mutex> lock(mMutex);
        auto it = mServices.find(name);
        if (it == mServices.end()) return false;
        node = std::move(it->second);
        mServices.erase(it);
    }
    ndk::SpAIBinder target;
    std::vector<std::shared_ptr<DeathLink>> links = node->die(&target);
    {
        std::lock_guard<std::mutex> lock(mMutex);
        if (target.get() != nullptr) mKilled[name] = std::move(target);
    }
    deliverDeaths(std::move(links));
    return true;
}

bool ServiceRegistry::restore(const std::string& name) {
    ndk::SpAIBinder target;
    {
        std::lock_guard<std::mutex> lock(mMutex);
        auto it = mKilled.find(name);
        if (it == mKilled.end()) return false;
        target = std::move(it->second);
        mKilled.erase(it);
    }
    return add(name, target.get()) == EX_NONE;
}

void ServiceRegistry::failNext(const std::string& name, int count, binder_status_t status) {
    std::lock_guard<std::mutex> lock(mMutex);
    mFailures[name] = Failure{count, status};
}

void ServiceRegistry::setFrameworkServiceManager(bool framework) {
    std::lock_guard<std::mutex> lock(mMutex);
    mFrameworkServiceManager = framework;
}

bool ServiceRegistry::frameworkServiceManager() {
    std::lock_guard<std::mutex> lock(mMutex);
    return mFrameworkServiceManager;
}

uint64_t ServiceRegistry::transactionCount(const std::string& name) {
    std::lock_guard<std::mutex> lock(mMutex);
    auto it = mTransactions.find(name);
    return it == mTransactions.end() ? 0 : it->second;
}

uint64_t ServiceRegistry::deathNotificationCount() {
    std::lock_guard<std::mutex> lock(mMutex);
    return mDeathNotifications;
}

size_t ServiceRegistry::deathLinkCount(const std::string& name) {
    std::shared_ptr<BinderNode> node;
    {
        std::lock_guard<std::mutex> lock(mMutex);
        auto it = mServices.find(name);
        if (it != mServices.end()) node = it->second;
    }
    return node != nullptr ? node->linkCount() : 0;
}

void ServiceRegistry::deliverDeaths(std::vector<std::shared_ptr<DeathLink>> links) {
    for (auto& link : links) {
        if (!link->claim()) continue;  // unlinked or deleted meanwhile
        processkit::Process* linker = &link->linker();
        {
            std::lock_guard<std::mutex> lock(mMutex);
            mDeathsPending.insert(linker);
        }
        processkit::Dispatcher::post(*linker, processkit::PoolKind::BINDER, [this, link, linker] {
            ++tDeliveringDeaths;
            link->deliverDeath();
            --tDeliveringDeaths;
            {
                std::lock_guard<std::mutex> lock(mMutex);
                mDeathNotifications++;
                mDeathsPending.erase(mDeathsPending.find(linker));
            }
            mAdded.notify_all();
        });
    }
}

bool ServiceRegistry::deathsSettledLocked() const {
    // Notices queued in a process without a started pool wait for it; reset() does not.
    size_t running = 0;
    for (processkit::Process* process : mDeathsPending) {
        if (process->pool(processkit::PoolKind::BINDER).started()) ++running;
    }
    return running <= tDeliveringDeaths;
}

void ServiceRegistry::reset() {
    std::map<std::string, std::shared_ptr<BinderNode>> services;
    std::map<std::string, ndk::SpAIBinder> killed;
    std::map<AIBinder*, std::weak_ptr<BinderNode>> anonymous;
    {
        std::unique_lock<std::mutex> lock(mMutex);
        mAdded.wait(lock, [this] { return deathsSettledLocked(); });
        services.swap(mServices);
        killed.swap(mKilled);
        anonymous.swap(mAnonymous);
        mDeclared.clear();
        mFailures.clear();
        mTransactions.clear();
        mDeathNotifications = 0;
        mFrameworkServiceManager = false;
    }
    // Services stop silently: their links are dropped without callbacks into old test objects.
    for (auto& [name, node] : services) {
        ndk::SpAIBinder target;
        (void)node->die(&target);
    }
}

}  // namespace hostkit::binder
