#pragma once

// Helpers for the glue generated per HIDL package: service lookup, casting
// and the proxy base. Kit-private: only generated sources include this.

#include <memory>
#include <string>
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

// Finds descriptor/instance; with wait, blocks up to the host cap.
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

// What the callee of a remote call sees: handles arrive as fresh clones that
// close when the call returns, like fds received over binder.
template <typename T>
const T& transported(const T& value) {
    return value;
}
inline ::android::hardware::hidl_handle transported(const ::android::hardware::hidl_handle& handle) {
    return ::android::hardware::hidl_handle(handle);
}

// Wraps a result callback so its handle arguments are transported too.
template <typename Callback>
auto transportedCallback(const Callback& callback) {
    return [&callback](const auto&... args) { callback(transported(args)...); };
}

::android::hardware::Status nullCallbackStatus();

// Base of every generated proxy: forwards to the service object while the
// service is alive and fails in transport afterwards.
template <typename I>
class HidlProxy : public I {
  public:
    HidlProxy(sp<I> impl, std::shared_ptr<RemoteService> remote)
        : mImpl(std::move(impl)), mRemote(std::move(remote)) {}
    ~HidlProxy() override { mRemote->dropLinks(this); }

    bool isRemote() const override { return true; }
    ::android::hardware::Return<bool> linkToDeath(
            const sp<::android::hardware::hidl_death_recipient>& recipient, uint64_t cookie) override {
        return recipient != nullptr && mRemote->link(recipient, cookie, this);
    }
    ::android::hardware::Return<bool> unlinkToDeath(
            const sp<::android::hardware::hidl_death_recipient>& recipient) override {
        return recipient != nullptr && mRemote->unlink(recipient, this);
    }
    ::android::hardware::Return<void> ping() override {
        const ::android::status_t transport = mRemote->beginCall();
        if (transport != ::android::OK) return ::android::hardware::Status::fromStatusT(transport);
        return mImpl->ping();
    }

  protected:
    const sp<I> mImpl;
    const std::shared_ptr<RemoteService> mRemote;
};

}  // namespace detail
}  // namespace hidl
}  // namespace hostkit
