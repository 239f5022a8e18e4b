// libbinder's defaultServiceManager(), answering from the same registry as the NDK API.
#include <binder/IServiceManager.h>

#include <utils/String8.h>

#include "Binder.h"
#include "BinderNode.h"
#include "ServiceRegistry.h"

namespace android {
namespace {

using hostkit::binder::ServiceRegistry;

std::string toStd(const String16& s) { return std::string(String8(s).string()); }

// An IBinder holding one NDK binder reference.
class NdkBinderHolder : public IBinder {
  public:
    explicit NdkBinderHolder(ndk::SpAIBinder binder) : mBinder(std::move(binder)) {}
    status_t pingBinder() override {
        return AIBinder_ping(mBinder.get()) == STATUS_OK ? NO_ERROR : DEAD_OBJECT;
    }
    bool isBinderAlive() const override { return AIBinder_isAlive(mBinder.get()); }

  private:
    const ndk::SpAIBinder mBinder;
};

sp<IBinder> wrap(ndk::SpAIBinder binder) {
    if (binder.get() == nullptr) return nullptr;
    return new NdkBinderHolder(std::move(binder));
}

class HostServiceManager : public IServiceManager {
  public:
    // A vendor process reaches vndservicemanager, which has no VINTF manifest to list.
    Vector<String16> getDeclaredInstances(const String16& interface) override {
        Vector<String16> out;
        if (!ServiceRegistry::instance().frameworkServiceManager()) return out;
        for (const std::string& name : ServiceRegistry::instance().declaredInstances(toStd(interface))) {
            out.add(String16(name.c_str()));
        }
        return out;
    }
    bool isDeclared(const String16& name) override {
        return ServiceRegistry::instance().isDeclared(toStd(name));
    }
    sp<IBinder> checkService(const String16& name) const override {
        return wrap(ServiceRegistry::instance().check(toStd(name)));
    }
    sp<IBinder> waitForService(const String16& name) override {
        return wrap(ServiceRegistry::instance().wait(toStd(name)));
    }
    sp<IBinder> getService(const String16& name) const override {
        return wrap(ServiceRegistry::instance().wait(toStd(name)));
    }
};

}  // namespace

sp<IServiceManager> defaultServiceManager() {
    static sp<IServiceManager>* manager = new sp<IServiceManager>(new HostServiceManager());
    return *manager;
}

}  // namespace android
