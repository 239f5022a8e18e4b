#include <hidlkit/RemoteService.h>

#include <algorithm>
#include <utility>

#include "processkit/Dispatcher.h"

namespace hostkit {
namespace hidl {
namespace detail {

using ::android::sp;
using ::android::wp;
using ::android::hardware::hidl_death_recipient;
using ::android::hidl::base::V1_0::IBase;

using processkit::Dispatcher;
using processkit::PoolKind;

RemoteService::RemoteService(std::string name) : RemoteService(std::move(name), Dispatcher::currentProcess()) {}

RemoteService::RemoteService(std::string name, processkit::Process& owner) : mName(std::move(name)), mOwner(owner) {}

::android::status_t RemoteService::beginCall(const char* method) {
    std::lock_guard<std::mutex> lock(mLock);
    if (mDead) return ::android::DEAD_OBJECT;
    if (mFailLeft > 0) {
        --mFailLeft;
        return mFailStatus;
    }
    auto failures = mMethodFailures.find(method);
    if (failures != mMethodFailures.end()) {
        const ::android::status_t status = failures->second.front();
        failures->second.pop_front();
        if (failures->second.empty()) mMethodFailures.erase(failures);
        return status;
    }
    return ::android::OK;
}

::android::status_t RemoteService::serve(const std::function<void()>& work) {
    ::android::status_t status = ::android::OK;
    Dispatcher::call(mOwner, PoolKind::HWBINDER, [&] {
        // A call already running finishes; one still queued finds the process gone.
        if (dead()) {
            status = ::android::DEAD_OBJECT;
            return;
        }
        work();
    });
    return status;
}

bool RemoteService::dead() const {
    std::lock_guard<std::mutex> lock(mLock);
    return mDead;
}

bool RemoteService::link(const sp<hidl_death_recipient>& recipient, uint64_t cookie, IBase* proxy) {
    Link entry{{0, recipient, cookie, wp<IBase>(proxy), &Dispatcher::currentProcess()}, proxy};
    std::lock_guard<std::mutex> lock(mLock);
    if (mDead) return false;
    entry.death.id = mNextId++;
    mLinks.push_back(std::move(entry));
    return true;
}

bool RemoteService::unlink(const sp<hidl_death_recipient>& recipient, const IBase* proxy) {
    Link removed{};
    bool dead = false;
    {
        std::lock_guard<std::mutex> lock(mLock);
        auto last = std::find_if(mLinks.rbegin(), mLinks.rend(), [&](const Link& l) {
            return l.proxy == proxy && l.death.recipient.unsafe_get() == recipient.get();
        });
        if (last == mLinks.rend()) return false;
        removed = std::move(*last);
        mLinks.erase(std::next(last).base());
        dead = mDead;
    }
    // Weak references are released outside the lock.
    return !dead;
}

void RemoteService::dropLinks(const IBase* proxy) {
    std::vector<Link> dropped;
    {
        std::lock_guard<std::mutex> lock(mLock);
        auto keep = std::stable_partition(mLinks.begin(), mLinks.end(),
                                          [proxy](const Link& l) { return l.proxy != proxy; });
        std::move(keep, mLinks.end(), std::back_inserter(dropped));
        mLinks.erase(keep, mLinks.end());
    }
}

void RemoteService::failNextCalls(int count, ::android::status_t status) {
    std::lock_guard<std::mutex> lock(mLock);
    mFailLeft = count > 0 ? count : 0;
    mFailStatus = status;
}

void RemoteService::failNextCallOf(const std::string& method, ::android::status_t status) {
    std::lock_guard<std::mutex> lock(mLock);
    mMethodFailures[method].push_back(status);
}

std::vector<RemoteService::Death> RemoteService::kill() {
    std::lock_guard<std::mutex> lock(mLock);
    if (mDead) return {};
    mDead = true;
    std::vector<Death> deaths;
    for (const Link& l : mLinks) deaths.push_back(l.death);
    return deaths;
}

bool RemoteService::takePending(uint64_t id) {
    Link taken{};
    {
        std::lock_guard<std::mutex> lock(mLock);
        auto it = std::find_if(mLinks.begin(), mLinks.end(), [id](const Link& l) { return l.death.id == id; });
        if (it == mLinks.end()) return false;
        taken = std::move(*it);
        mLinks.erase(it);
    }
    return true;
}

size_t RemoteService::linkCount() const {
    std::lock_guard<std::mutex> lock(mLock);
    return mLinks.size();
}

}  // namespace detail
}  // namespace hidl
}  // namespace hostkit
