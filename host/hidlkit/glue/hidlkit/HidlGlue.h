#pragma once

// Helpers for the glue generated per HIDL package: service lookup, casting
// and the proxy base. Kit-private: only generated sources include this.

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>

#include <android/hidl/base/1.0/IBase.h>
#include <hidl/HidlSupport.h>
#include <hidl/Status.h>
#include <hidlkit/RemoteService.h>
#include <utils/Errors.h>
#include <utils/StrongPointer.h>

namespace hostkit {
namespace hidl {
namespace detail {

using ::android::sp;
using ::android::hidl::base::V1_0::IBase;

struct Lookup {
    sp<IBase> service;
    std::shared_ptr<RemoteService> remote;  // null: hand out the object itself
};

// Finds descriptor/instance as declared in the device manifest: nothing for an undeclared
// name; with wait, blocks until a declared hwbinder service registers.
Lookup findService(const char* descriptor, const std::string& instance, bool wait);
::android::status_t registerService(const char* descriptor, const std::string& instance,
                                    const sp<IBase>& service);
void logBadCast(const char* descriptor, const std::string& instance);

template <typename I>
::android::hardware::Return<sp<I>> castFrom(const sp<IBase>& parent) {
    return sp<I>(dynamic_cast<I*>(parent.get()));
}

template <typename I, typename Proxy>
sp<I> getService(const std::string& instance, bool getStub, bool wait) {
    Lookup found = findService(I::descriptor, instance, wait);
    if (found.service == nullptr) return nullptr;
    sp<I> typed(dynamic_cast<I*>(found.service.get()));
    if (typed == nullptr) {
        logBadCast(I::descriptor, instance);
        return nullptr;
    }
    if (getStub || found.remote == nullptr) return typed;
    return new Proxy(typed, std::move(found.remote));
}

// Builds the generated proxy of one interface around a local object.
using ProxyMaker = sp<IBase> (*)(const sp<IBase>& local);
// Called once per interface by the generated glue while it loads.
bool registerProxyMaker(const char* descriptor, ProxyMaker maker);
// The proxy the receiver of `local` (typed as `descriptor`) gets: the same one
// while it lives, like binder's one proxy per object per process.
sp<IBase> proxyOfLocal(const char* descriptor, const sp<IBase>& local);
// Called by every proxy as it goes away.
void forgetProxy(const IBase* proxy);

// What the other side of a call receives: a copy as read from a parcel, so
// handles arrive as fresh clones that close with the copy.
template <typename T>
T transported(const T& value) {
    return value;
}
// Local objects arrive as the proxy of their interface; proxies as they are.
template <typename I, typename = std::enable_if_t<std::is_base_of<IBase, I>::value>>
sp<I> transported(const sp<I>& object) {
    if (object == nullptr || object->isRemote()) return object;
    sp<IBase> proxy = proxyOfLocal(I::descriptor, object);
    return sp<I>(static_cast<I*>(proxy.get()));
}

// Starts the hwbinder thread pool of the calling thread's process (once).
void startThreadPool();

// An argument as a proxy sends it, on the caller's thread: what the service receives.
template <typename T>
T sent(const T& value) {
    return transported(value);
}
// hidl-gen's proxies start the caller's pool before they send a local object, so the calls
// coming back to it have a thread; the object belongs to the caller's process from then on.
template <typename I, typename = std::enable_if_t<std::is_base_of<IBase, I>::value>>
sp<I> sent(const sp<I>& object) {
    if (object != nullptr && !object->isRemote()) startThreadPool();
    return transported(object);
}

::android::hardware::Status nullCallbackStatus();
// The generated stubs' fatal checks of a result callback.
[[noreturn]] void callbackCalledTwice(const char* method);
[[noreturn]] void callbackNotCalled(const char* method);

// Base of every generated proxy: forwards to the service object while the
// service is alive and fails in transport afterwards. The implementation runs on
// a thread of the service's process, under the rules of hidl-gen's stubs (BnHw*):
// a failed Return from it ends the process, and a result callback must be called
// exactly once. The client's callback runs on the calling thread afterwards.
template <typename I>
class HidlProxy : public I {
  public:
    HidlProxy(sp<I> impl, std::shared_ptr<RemoteService> remote)
        : mImpl(std::move(impl)), mRemote(std::move(remote)) {}
    ~HidlProxy() override {
        forgetProxy(this);
        mRemote->dropLinks(this);
    }

    bool isRemote() const override { return true; }
    ::android::hardware::Return<bool> linkToDeath(
            const sp<::android::hardware::hidl_death_recipient>& recipient, uint64_t cookie) override {
        if (recipient == nullptr) return false;
        // The notice needs a thread of the linking process to arrive on.
        startThreadPool();
        return mRemote->link(recipient, cookie, this);
    }
    ::android::hardware::Return<bool> unlinkToDeath(
            const sp<::android::hardware::hidl_death_recipient>& recipient) override {
        return recipient != nullptr && mRemote->unlink(recipient, this);
    }
    ::android::hardware::Return<void> ping() override {
        return callVoid("ping", [&] { return mImpl->ping(); });
    }

  protected:
    // A method without results: the stub checks the Return (assertOk).
    template <typename Call>
    ::android::hardware::Return<void> callVoid(const char* method, Call&& call) {
        std::optional<bool> served;
        const ::android::status_t transport = serve(method, served, [&] {
            ::android::hardware::Return<void> ret = call();
            ret.assertOk();
            return true;
        });
        if (transport != ::android::OK) return ::android::hardware::Status::fromStatusT(transport);
        return ::android::hardware::Void();
    }

    // A method with one result returned directly: the stub reads the value,
    // which aborts on a failed Return.
    template <typename T, typename Call>
    ::android::hardware::Return<T> callValue(const char* method, Call&& call) {
        std::optional<T> value;
        const ::android::status_t transport = serve(method, value, [&] {
            ::android::hardware::Return<T> ret = call();
            return transported(static_cast<T>(ret));
        });
        if (transport != ::android::OK) return ::android::hardware::Status::fromStatusT(transport);
        return std::move(*value);
    }

    // A method with a result callback. `call` runs the implementation with the
    // stub's callback; the client's callback then gets copies of the results,
    // which live until it returns.
    template <typename... A, typename Call>
    ::android::hardware::Return<void> callWithResults(const char* method,
                                                      const std::function<void(A...)>& clientCallback,
                                                      Call&& call) {
        if (!clientCallback) return nullCallbackStatus();
        using Results = std::tuple<std::decay_t<A>...>;
        std::optional<Results> results;
        const ::android::status_t transport = serve(method, results, [&] {
            std::optional<Results> reply;
            const std::function<void(A...)> stubCallback = [&reply, method](A... values) {
                if (reply.has_value()) callbackCalledTwice(method);
                reply.emplace(transported(values)...);
            };
            ::android::hardware::Return<void> ret = call(stubCallback);
            ret.assertOk();
            if (!reply.has_value()) callbackNotCalled(method);
            return std::move(*reply);
        });
        if (transport != ::android::OK) return ::android::hardware::Status::fromStatusT(transport);
        std::apply(clientCallback, *results);
        return ::android::hardware::Void();
    }

    const sp<I> mImpl;
    const std::shared_ptr<RemoteService> mRemote;

  private:
    // The one place where a call reaches the implementation: on the thread the
    // service's process serves it on (RemoteService::serve), while this one
    // waits. `implementation` consumes the implementation's Return and gives back
    // plain values, which move to the caller in `reply`. OK, or the transport
    // failure (injected, or the service died) and then `reply` stays empty.
    template <typename Reply, typename Implementation>
    ::android::status_t serve(const char* method, std::optional<Reply>& reply, Implementation&& implementation) {
        const ::android::status_t transport = mRemote->beginCall(method);
        if (transport != ::android::OK) return transport;
        return mRemote->serve([&] { reply.emplace(implementation()); });
    }
};

// The maker the generated glue registers for proxy class Proxy of I. The object
// belongs to the process of the calling thread, the one that sends it.
template <typename I, typename Proxy>
sp<IBase> makeLocalProxy(const sp<IBase>& local) {
    // A local object's process never dies on the host: its link is its own.
    return new Proxy(sp<I>(static_cast<I*>(local.get())),
                     std::make_shared<RemoteService>(std::string(I::descriptor) + "/local"));
}

}  // namespace detail
}  // namespace hidl
}  // namespace hostkit
