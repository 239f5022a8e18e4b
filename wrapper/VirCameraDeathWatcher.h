#pragma once

#include <memory>

#include <android-base/thread_annotations.h>
#include <utils/Mutex.h>
#include <vendor/zuvek/hardware/camera/vircamera/1.0/IVirCameraChannel.h>

#include "IVirCameraWrapper.h"

namespace android {

// Watches the HAL channel service of one connection and tells the caller when it dies.
// The linked service is also the connection's way to report finished image buffers.
class VirCameraDeathWatcher : public hardware::hidl_death_recipient {
public:
    using IVirCameraChannel = vendor::zuvek::hardware::camera::vircamera::V1_0::IVirCameraChannel;

    explicit VirCameraDeathWatcher(const std::weak_ptr<IVirCameraWrapperCallback>& callback);
    ~VirCameraDeathWatcher() override;

    void serviceDied(uint64_t cookie, const wp<hidl::base::V1_0::IBase>& who) override EXCLUDES(mMutex);

    // Looks the service of `mode` up and links to its death (cookie 1 for the register
    // instance, 0 for the stream-change one; other modes are not linked). 0 or -1.
    int RegServiceLinkDeath(IVirCameraWrapper::VirCameraMode mode) EXCLUDES(mMutex);
    // Unlinks and forgets the service; harmless when nothing is linked.
    void UnregServiceLinkDeath() EXCLUDES(mMutex);
    // The linked service, or null (never linked, unlinked, or dead).
    sp<IVirCameraChannel> GetCameraService() const EXCLUDES(mMutex);

private:
    sp<IVirCameraChannel> TakeService() EXCLUDES(mMutex);

    const std::weak_ptr<IVirCameraWrapperCallback> mCallback;
    mutable Mutex mMutex;  // guards mService against the death thread
    sp<IVirCameraChannel> mService GUARDED_BY(mMutex);
};

}  // namespace android
