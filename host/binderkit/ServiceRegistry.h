#pragma once

#include <condition_variable>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include <android/binder_auto_utils.h>

#include "BinderNode.h"

namespace hostkit::processkit {
class Process;
}

namespace hostkit::binder {

// The host's service manager and device manifest, plus the test controls' state.
// Process-wide; one lock; never calls binder objects or callbacks while holding it.
class ServiceRegistry {
  public:
    static ServiceRegistry& instance();

    binder_exception_t add(const std::string& name, AIBinder* binder);
    ndk::SpAIBinder check(const std::string& name);
    // Blocks until name is registered, without limit, as servicemanager does.
    ndk::SpAIBinder wait(const std::string& name);
    bool isDeclared(const std::string& name);
    // Declared instance names of interface, without the "interface/" prefix.
    std::vector<std::string> declaredInstances(const std::string& interface);
    // The proxy a local object becomes when it crosses a transaction.
    ndk::SpAIBinder proxyFor(AIBinder* local);

    // Transport hook: STATUS_OK, or the injected failure for this service's next call.
    binder_status_t beginTransaction(const std::string& name);

    void declare(const std::string& name);
    void undeclare(const std::string& name);
    bool kill(const std::string& name);
    bool restore(const std::string& name);
    void failNext(const std::string& name, int count, binder_status_t status);
    // Whether libbinder's defaultServiceManager() is the framework's (true) or, as for a
    // vendor process, vndservicemanager (false, the default).
    void setFrameworkServiceManager(bool framework);
    bool frameworkServiceManager();
    uint64_t transactionCount(const std::string& name);
    uint64_t deathNotificationCount();
    size_t deathLinkCount(const std::string& name);
    void reset();

  private:
    struct Failure {
        int remaining = 0;
        binder_status_t status = STATUS_OK;
    };
    // Each notice is queued on the binder pool of the process that linked.
    void deliverDeaths(std::vector<std::shared_ptr<DeathLink>> links);
    // No notice under way that a started pool will run, besides the calling thread's own.
    bool deathsSettledLocked() const;

    std::mutex mMutex;  // guards the members below
    std::condition_variable mAdded;
    std::map<std::string, std::shared_ptr<BinderNode>> mServices;
    std::map<std::string, ndk::SpAIBinder> mKilled;
    std::map<AIBinder*, std::weak_ptr<BinderNode>> mAnonymous;
    std::set<std::string> mDeclared;
    std::map<std::string, Failure> mFailures;
    std::map<std::string, uint64_t> mTransactions;
    uint64_t mDeathNotifications = 0;
    bool mFrameworkServiceManager = false;
    // The process of every death notice queued or running.
    std::multiset<processkit::Process*> mDeathsPending;
};

}  // namespace hostkit::binder
