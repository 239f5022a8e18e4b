#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include <android/binder_auto_utils.h>

#include "BinderNode.h"

namespace hostkit::binder {

// The host's service manager and device manifest, plus the test controls' state.
// Process-wide; one lock; never calls binder objects or callbacks while holding it.
class ServiceRegistry {
  public:
    static ServiceRegistry& instance();

    binder_exception_t add(const std::string& name, AIBinder* binder);
    ndk::SpAIBinder check(const std::string& name);
    // Null after the wait cap.
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
    void setWaitCap(std::chrono::milliseconds cap);
    // Whether libbinder's defaultServiceManager() is the framework's (true) or, as for a
    // vendor process, vndservicemanager (false, the default).
    void setFrameworkServiceManager(bool framework);
    bool frameworkServiceManager();
    uint64_t transactionCount(const std::string& name);
    uint64_t deathNotificationCount();
    size_t deathLinkCount(const std::string& name);
    void reset();

    // Runs a death delivery on a thread of its own; reset() joins them.
    void startDeathThread(std::function<void()> delivery);

  private:
    struct Failure {
        int remaining = 0;
        binder_status_t status = STATUS_OK;
    };
    void deliverDeaths(std::vector<std::shared_ptr<DeathLink>> links);

    std::mutex mMutex;  // guards the members below
    std::condition_variable mAdded;
    std::map<std::string, std::shared_ptr<BinderNode>> mServices;
    std::map<std::string, ndk::SpAIBinder> mKilled;
    std::map<AIBinder*, std::weak_ptr<BinderNode>> mAnonymous;
    std::set<std::string> mDeclared;
    std::map<std::string, Failure> mFailures;
    std::map<std::string, uint64_t> mTransactions;
    uint64_t mDeathNotifications = 0;
    std::chrono::milliseconds mWaitCap;
    bool mFrameworkServiceManager = false;
    std::vector<std::thread> mDeathThreads;
};

}  // namespace hostkit::binder
