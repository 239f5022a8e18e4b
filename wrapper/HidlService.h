#pragma once

#include <memory>
#include <string>

#include <android-base/thread_annotations.h>
#include <utils/Mutex.h>

#include "IVirCameraWrapper.h"
#include "wrapper/VirCameraCallbackReflector.h"
#include "wrapper/VirCameraDeathWatcher.h"

namespace android {

// One registration's connection to the HAL channel service (HIDL): finds the service of
// the registration's mode, registers the channel callback with it, watches it for death,
// and forwards the caller's answers. Registration and unregistration are serialised by
// the facade; the forwards may run on any thread at any time.
class HidlService {
public:
    HidlService();
    virtual ~HidlService();

    // 0 when the HAL accepted the channel callback and the death link was made; -1 for
    // an expired callback, no service after 25 lookups, a refused or failed call, or a
    // failed death link (the HAL registration then stays in place).
    int RegisterCallback(const std::string& device, const std::string& service, IVirCameraWrapper::VirCameraMode mode,
                         const std::weak_ptr<IVirCameraWrapperCallback>& callback) EXCLUDES(mMutex);
    // 0 when the HAL no longer holds the callback (also when the service is gone);
    // -1 when the HAL refused.
    int UnRegisterCallback(const std::string& device, const std::string& service) EXCLUDES(mMutex);

    // Forward the caller's answers to the HAL; 0, or -1 when the service is missing or
    // the call failed in transport.
    int NotifyOpenControlSessionResult(int sessionId, int result) EXCLUDES(mMutex);
    int NotifyConfigStreamResult(int sessionId, int result) EXCLUDES(mMutex);
    int NotifyOpenDataSessionResult(int sessionId, int result) EXCLUDES(mMutex);
    int Notify(int msgId, const std::string& data) EXCLUDES(mMutex);
    // Reports a filled buffer through the service the death watcher is linked to.
    int OnVirImageBufferDone(int sessionId, const VirCameraImageResult& result) EXCLUDES(mMutex);

    // Buffer locking of the channel callback; null / -1 before any registration.
    void* LockVideoBuffer(int uniqueID, int streamId, unsigned long bufferId, void** address) EXCLUDES(mMutex);
    // 0 whatever the channel callback answered, once a registration exists.
    int UnLockVideoBuffer(int uniqueID, int streamId, unsigned long bufferId, int& releaseFence) EXCLUDES(mMutex);

private:
    using IVirCameraChannel = VirCameraDeathWatcher::IVirCameraChannel;

    sp<IVirCameraChannel> FindService(const char* name) const;
    std::string ServiceName() const EXCLUDES(mMutex);
    sp<VirCameraCallback> ChannelCallback() const EXCLUDES(mMutex);
    sp<VirCameraDeathWatcher> DeathWatcher() const EXCLUDES(mMutex);
    template <class Code>
    int ForwardSessionResult(const char* what, int sessionId, int result, Code halCode,
                             hardware::Return<void> (IVirCameraChannel::*method)(int32_t, Code)) EXCLUDES(mMutex);

    // Guards everything below: registration writes it while forwards read it on other
    // threads. Never held across a call to the HAL or the channel callback.
    mutable Mutex mMutex;
    std::shared_ptr<VirCameraCallbackReflector> mReflector GUARDED_BY(mMutex);
    std::string mServiceName GUARDED_BY(mMutex);
    IVirCameraWrapper::VirCameraMode mMode GUARDED_BY(mMutex) = IVirCameraWrapper::MODE_STREAM_CHANGE;
    sp<VirCameraDeathWatcher> mDeathWatcher GUARDED_BY(mMutex);
    bool mRegistered GUARDED_BY(mMutex) = false;
};

}  // namespace android
