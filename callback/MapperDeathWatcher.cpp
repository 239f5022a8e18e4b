#define LOG_TAG "VIRCAMERA_HIDL_WRAPPERCB"

#include "callback/MapperDeathWatcher.h"

#include <log/log.h>

#include "callback/VirCameraCallback.h"
#include "callback/VirMapperMgr.h"

namespace android {

MapperDeathWatcher::MapperDeathWatcher(const wp<VirCameraCallback>& owner)
    : MapperWatcherBase(LOG_TAG), mOwner(owner) {}

MapperDeathWatcher::~MapperDeathWatcher() {
    ALOGD("~~MapperDeathWatcher");
}

int MapperDeathWatcher::RegServiceLinkDeath() {
    ALOGD("Mapper RegServiceLinkDeath");
    std::string missing;
    std::shared_ptr<VirMapperBase> mapper = VirMapperMgr::GetInstance().Create(&missing);
    SetMapperService(mapper, std::move(missing));
    if (mapper == nullptr) {
        ALOGW("Can't find Mapper service");
        return -1;
    }
    return mapper->LinkToDeath(this);
}

void MapperDeathWatcher::DetachFromOwner() {
    if (sp<VirCameraCallback> owner = mOwner.promote()) {
        owner->ClearMapper();
    }
}

}  // namespace android
