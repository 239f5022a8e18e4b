#define LOG_TAG "VIRCAMERA_AIDL_WRAPPERCB"

#include "callback/AidlMapperDeathWatcher.h"

#include <log/log.h>

#include "callback/AidlVirCameraCallback.h"
#include "callback/VirMapperMgr.h"
#include "common/AidlCodes.h"

namespace android {

AidlMapperDeathWatcher::AidlMapperDeathWatcher(const std::weak_ptr<AidlVirCameraCallback>& owner)
    : MapperWatcherBase(LOG_TAG), mOwner(owner) {}

AidlMapperDeathWatcher::~AidlMapperDeathWatcher() {
    ALOGD("~~AidlMapperDeathWatcher");
}

int AidlMapperDeathWatcher::RegServiceLinkDeath() {
    std::string missing;
    std::shared_ptr<VirMapperBase> mapper = VirMapperMgr::GetInstance().Create(&missing);
    SetMapperService(mapper, std::move(missing));
    return mapper != nullptr ? 0 : ERR_MAPPER_WATCH_FAILED;
}

void AidlMapperDeathWatcher::DetachFromOwner() {
    if (std::shared_ptr<AidlVirCameraCallback> owner = mOwner.lock()) {
        owner->ClearMapper();
    }
}

}  // namespace android
