#define LOG_TAG "VIRCAMERA_HIDL_WRAPPERCB"

#include "wrapper/VirCameraDeathWatcher.h"

#include <log/log.h>

#include "common/HidlDeathLink.h"
#include "common/InstanceNames.h"

namespace android {

namespace {

constexpr uint64_t COOKIE_STREAM_CHANGE = 0;
constexpr uint64_t COOKIE_REGISTER = 1;

}  // namespace

VirCameraDeathWatcher::VirCameraDeathWatcher(const std::weak_ptr<IVirCameraWrapperCallback>& callback)
    : mCallback(callback) {}

VirCameraDeathWatcher::~VirCameraDeathWatcher() {
    ALOGD("~~VirCameraDeathWatcher");
}

sp<VirCameraDeathWatcher::IVirCameraChannel> VirCameraDeathWatcher::GetCameraService() const {
    Mutex::Autolock lock(mMutex);
    return mService;
}

sp<VirCameraDeathWatcher::IVirCameraChannel> VirCameraDeathWatcher::TakeService() {
    Mutex::Autolock lock(mMutex);
    sp<IVirCameraChannel> service = mService;
    mService.clear();
    return service;
}

int VirCameraDeathWatcher::RegServiceLinkDeath(IVirCameraWrapper::VirCameraMode mode) {
    ALOGD("Vircamera RegServiceLinkDeath mode=%d", mode);
    // One link at a time: a second registration must not make a death report twice.
    if (sp<IVirCameraChannel> previous = TakeService()) {
        (void)previous->unlinkToDeath(this).isOk();
    }
    sp<IVirCameraChannel> service = IVirCameraChannel::tryGetService(ChannelInstance(mode), false);
    {
        Mutex::Autolock lock(mMutex);
        mService = service;
    }
    if (service == nullptr) {
        ALOGW("Can't find IVirCameraChannel");
        return -1;
    }
    uint64_t cookie;
    if (mode == IVirCameraWrapper::MODE_REGISTER) {
        cookie = COOKIE_REGISTER;
    } else if (mode == IVirCameraWrapper::MODE_STREAM_CHANGE) {
        cookie = COOKIE_STREAM_CHANGE;
    } else {
        return 0;
    }
    return LinkServiceToDeath(service, sp<hardware::hidl_death_recipient>(this), cookie, LOG_TAG);
}

void VirCameraDeathWatcher::UnregServiceLinkDeath() {
    ALOGD("Vircamera UnregServiceLinkDeath");
    if (sp<IVirCameraChannel> service = TakeService()) {
        (void)service->unlinkToDeath(this).isOk();
    }
}

void VirCameraDeathWatcher::serviceDied(uint64_t cookie, const wp<hidl::base::V1_0::IBase>& /*who*/) {
    ALOGD("Vircamera serviceDied type=%lld", static_cast<long long>(cookie));
    sp<IVirCameraChannel> service = TakeService();
    if (cookie == COOKIE_REGISTER || cookie == COOKIE_STREAM_CHANGE) {
        ALOGD(cookie == COOKIE_REGISTER ? "Vircamera serviceDied vitual" : "Vircamera serviceDied replace");
        if (service != nullptr) {
            // The service is gone, so this fails; the status is checked and dropped.
            (void)service->unlinkToDeath(this).isOk();
        }
    }
    if (std::shared_ptr<IVirCameraWrapperCallback> callback = mCallback.lock()) {
        callback->OnServiceDied();
    } else {
        ALOGW("wrapper callback has expired.");
    }
}

}  // namespace android
