#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include <android/hidl/base/1.0/IBase.h>
#include <hidl/HidlSupport.h>
#include <utils/Errors.h>
#include <utils/RefBase.h>

namespace hostkit {
namespace processkit {
class Process;
}  // namespace processkit

namespace hidl {
namespace detail {

// One registration of a service as its proxies see it: the process it runs in,
// alive until killed, with the death links of every proxy and the injected
// transport failures. Thread-safe; never calls out while holding its lock.
class RemoteService {
  public:
    struct Death {
        uint64_t id;
        ::android::wp<::android::hardware::hidl_death_recipient> recipient;
        uint64_t cookie;
        ::android::wp<::android::hidl::base::V1_0::IBase> who;
        // The process that linked: the notice runs on its hwbinder pool.
        processkit::Process* linker;
    };

    // A service of the calling thread's process / of `owner`.
    explicit RemoteService(std::string name);
    RemoteService(std::string name, processkit::Process& owner);

    const std::string& name() const { return mName; }
    processkit::Process& owner() const { return mOwner; }
    // OK, DEAD_OBJECT once killed, or the status of an injected failure, for
    // a call of `method` (its name in the .hal).
    ::android::status_t beginCall(const char* method);
    // Runs `work` as the service's process serves a call from the calling
    // thread (see processkit::Dispatcher::call); OK, or DEAD_OBJECT without
    // running it when the service died while the call waited for a thread.
    ::android::status_t serve(const std::function<void()>& work);
    // False if the service is already dead. The calling thread's process is
    // the one told of the death.
    bool link(const ::android::sp<::android::hardware::hidl_death_recipient>& recipient, uint64_t cookie,
              ::android::hidl::base::V1_0::IBase* proxy);
    // Removes the most recent link of recipient made through proxy. Returns
    // false if there is none or the service is dead (a pending notification
    // for it is still cancelled).
    bool unlink(const ::android::sp<::android::hardware::hidl_death_recipient>& recipient,
                const ::android::hidl::base::V1_0::IBase* proxy);
    // Forgets the links of a proxy that goes away.
    void dropLinks(const ::android::hidl::base::V1_0::IBase* proxy);
    void failNextCalls(int count, ::android::status_t status);
    // Queues a failure for the next call of one method.
    void failNextCallOf(const std::string& method, ::android::status_t status);
    // Marks the service dead; returns the notifications to deliver.
    std::vector<Death> kill();
    // True exactly once per link still present: the caller then delivers it.
    bool takePending(uint64_t id);
    size_t linkCount() const;

  private:
    struct Link {
        Death death;
        const ::android::hidl::base::V1_0::IBase* proxy;
    };

    bool dead() const;

    const std::string mName;
    processkit::Process& mOwner;
    mutable std::mutex mLock;
    bool mDead = false;
    int mFailLeft = 0;
    ::android::status_t mFailStatus = ::android::OK;
    std::map<std::string, std::deque<::android::status_t>, std::less<>> mMethodFailures;
    uint64_t mNextId = 1;
    std::vector<Link> mLinks;
};

}  // namespace detail
}  // namespace hidl
}  // namespace hostkit
