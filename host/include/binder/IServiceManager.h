#pragma once

// libbinder's service manager (the subset the host provides). It shares its registry with
// AServiceManager_*; names are "<descriptor>/<instance>".

#include <utils/String16.h>
#include <utils/StrongPointer.h>
#include <utils/Vector.h>

#include <binder/IBinder.h>
#include <binder/IInterface.h>

namespace android {

class IServiceManager : public IInterface {
  public:
    // Declared instance names of the interface (e.g. "pkg.IFoo"), without the "pkg.IFoo/" prefix.
    virtual Vector<String16> getDeclaredInstances(const String16& interface) = 0;
    virtual bool isDeclared(const String16& name) = 0;
    // Null unless registered now.
    virtual sp<IBinder> checkService(const String16& name) const = 0;
    // Blocks until registered; the host gives up (null) after its wait cap.
    virtual sp<IBinder> waitForService(const String16& name) = 0;
    [[deprecated("this polls for 5s, prefer waitForService or checkService")]]
    virtual sp<IBinder> getService(const String16& name) const = 0;

  protected:
    virtual ~IServiceManager() {}
};

// Never null on the host.
sp<IServiceManager> defaultServiceManager();

}  // namespace android
