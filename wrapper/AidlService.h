#pragma once

#include <memory>
#include <string>
#include <vector>

#include <aidl/vendor/zuvek/hardware/camera/vircamera/IVirCameraChannel.h>
#include <android-base/thread_annotations.h>
#include <android/binder_auto_utils.h>
#include <utils/Mutex.h>

#include "IVirCameraWrapper.h"
#include "callback/AidlVirCameraCallback.h"

namespace android {

// Keeps one strong reference on a connection's AIDL channel callback.
class AidlVirCameraCallbackReflector {
public:
    explicit AidlVirCameraCallbackReflector(const std::weak_ptr<IVirCameraWrapperCallbackV2>& callback);
    virtual ~AidlVirCameraCallbackReflector();

    const std::shared_ptr<AidlVirCameraCallback>& GetCallback() const { return mCallback; }

private:
    std::shared_ptr<AidlVirCameraCallback> mCallback;
};

// One service mode's connection to the HAL channel service (AIDL): registers the channel
// callback, watches the binder for death (telling the caller with command 15016) and
// passes the caller's requests and buffer commands on. Must be owned by a shared_ptr.
class AidlService : public std::enable_shared_from_this<AidlService> {
public:
    AidlService();
    virtual ~AidlService();

    // 0, -200004 expired callback, -200014 no service, -200018/-200019 no death link,
    // or the HAL's answer.
    int RegisterCallback(const std::string& device, const std::string& service, IVirCameraWrapper::VirCameraMode mode,
                         const std::weak_ptr<IVirCameraWrapperCallbackV2>& callback) EXCLUDES(mMutex);
    int UnRegisterCallback(const std::string& device, const std::string& service) EXCLUDES(mMutex);
    // Commands 20001-20003 go to the HAL; others succeed untouched. -200014 no service.
    OptResult SendRequest(int cmd, const std::string& data) EXCLUDES(mMutex);
    // 9108 lock (address in `value`), 9109 unlock, 9101 HAL command; -200014 no service.
    OptResult SendData(int cmd, const std::string& data, const std::vector<CommonData>& items) EXCLUDES(mMutex);
    // The CPU address, or 0. items[0].pointer carries the address of a void* that
    // receives the handle data.
    uint64_t LockVideoBuffer(const std::string& json, const std::vector<CommonData>& items) EXCLUDES(mMutex);
    int UnLockVideoBuffer(const std::string& json) EXCLUDES(mMutex);

    std::shared_ptr<AidlVirCameraCallback> GetAidlCallback() const EXCLUDES(mMutex);
    AIBinder* GetBinder() EXCLUDES(mMutex);
    int LinkToDeath() EXCLUDES(mMutex);
    int UnLinkToDeath() EXCLUDES(mMutex);
    static void BinderDied(void* cookie);

private:
    using IVirCameraChannel = aidl::vendor::zuvek::hardware::camera::vircamera::IVirCameraChannel;
    struct DeathCookie;

    std::shared_ptr<IVirCameraChannel> FindService() EXCLUDES(mMutex);
    void OnBinderDied() EXCLUDES(mMutex);

    // Guards everything below: registration writes it while requests and the death
    // thread read it. Never held across a call to the HAL, the binder or the caller.
    mutable Mutex mMutex;
    IVirCameraWrapper::VirCameraMode mMode GUARDED_BY(mMutex) = IVirCameraWrapper::MODE_STREAM_CHANGE;
    bool mRegistered GUARDED_BY(mMutex) = false;
    std::shared_ptr<AidlVirCameraCallbackReflector> mReflector GUARDED_BY(mMutex);
    std::string mDeviceId GUARDED_BY(mMutex);
    std::string mServiceId GUARDED_BY(mMutex);
    ndk::ScopedAIBinder_DeathRecipient mDeathRecipient GUARDED_BY(mMutex);
    // Owned by its link, freed when the link goes.
    DeathCookie* mDeathCookie GUARDED_BY(mMutex) = nullptr;
    std::shared_ptr<IVirCameraChannel> mChannel GUARDED_BY(mMutex);
};

}  // namespace android
