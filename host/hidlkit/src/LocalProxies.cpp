#define LOG_TAG "HidlServiceManagement"

#include <map>
#include <mutex>
#include <string>
#include <utility>

#include <hidl/HidlInternal.h>
#include <hidlkit/HidlGlue.h>
#include <utils/RefBase.h>

namespace hostkit {
namespace hidl {
namespace detail {

namespace {

// The proxy makers of every loaded interface, and the live proxy of each
// local object sent through a call. Entries hold proxies weakly: a proxy
// lives as long as its receivers keep it, and holds its object.
class LocalProxies {
  public:
    static LocalProxies& get() {
        // Leaked on purpose: proxies may still go away during static destruction.
        static LocalProxies* proxies = new LocalProxies();
        return *proxies;
    }

    void addMaker(const char* descriptor, ProxyMaker maker) {
        std::lock_guard<std::mutex> lock(mLock);
        mMakers[descriptor] = maker;
    }

    sp<IBase> proxyOf(const char* descriptor, const sp<IBase>& local) {
        const Key key(local.get(), descriptor);
        ProxyMaker maker = nullptr;
        {
            std::lock_guard<std::mutex> lock(mLock);
            auto cached = mProxies.find(key);
            if (cached != mProxies.end()) {
                sp<IBase> proxy = cached->second.promote();
                if (proxy != nullptr) return proxy;
            }
            auto found = mMakers.find(descriptor);
            if (found != mMakers.end()) maker = found->second;
        }
        if (maker == nullptr) {
            ::android::hardware::details::logAlwaysFatal(
                    ("hostkit: no proxy class for " + std::string(descriptor)).c_str());
        }
        // Built unlocked: a proxy that loses the race below goes away unlocked too.
        sp<IBase> fresh = maker(local);
        sp<IBase> winner;
        {
            std::lock_guard<std::mutex> lock(mLock);
            ::android::wp<IBase>& slot = mProxies[key];
            winner = slot.promote();
            if (winner == nullptr) {
                slot = fresh;
                winner = fresh;
            }
        }
        return winner;
    }

    void forget(const IBase* proxy) {
        std::lock_guard<std::mutex> lock(mLock);
        for (auto it = mProxies.begin(); it != mProxies.end(); ++it) {
            // A newer proxy may already have replaced this dying one.
            if (it->second.unsafe_get() == proxy) {
                mProxies.erase(it);
                return;
            }
        }
    }

  private:
    using Key = std::pair<const IBase*, std::string>;

    std::mutex mLock;
    std::map<std::string, ProxyMaker> mMakers;
    std::map<Key, ::android::wp<IBase>> mProxies;
};

}  // namespace

bool registerProxyMaker(const char* descriptor, ProxyMaker maker) {
    LocalProxies::get().addMaker(descriptor, maker);
    return true;
}

sp<IBase> proxyOfLocal(const char* descriptor, const sp<IBase>& local) {
    return LocalProxies::get().proxyOf(descriptor, local);
}

void forgetProxy(const IBase* proxy) { LocalProxies::get().forget(proxy); }

}  // namespace detail
}  // namespace hidl
}  // namespace hostkit
