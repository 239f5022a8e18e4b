#include "callback/MapperWatcherBase.h"

#include <android/log.h>

namespace android {

std::shared_ptr<VirMapperBase> MapperWatcherBase::GetMapperService() const {
    Mutex::Autolock lock(mMutex);
    return mMapper;
}

std::string MapperWatcherBase::MissingMapper() const {
    Mutex::Autolock lock(mMutex);
    return mMissing;
}

void MapperWatcherBase::SetMapperService(std::shared_ptr<VirMapperBase> mapper, std::string missing) {
    Mutex::Autolock lock(mMutex);
    mMapper = std::move(mapper);
    mMissing = std::move(missing);
}

std::shared_ptr<VirMapperBase> MapperWatcherBase::TakeMapperService() {
    Mutex::Autolock lock(mMutex);
    return std::move(mMapper);
}

void MapperWatcherBase::UnregServiceLinkDeath() {
    __android_log_print(ANDROID_LOG_DEBUG, mLogTag, "Mapper UnregServiceLinkDeath");
    if (auto mapper = TakeMapperService()) {
        mapper->Release(this);
    }
}

void MapperWatcherBase::serviceDied(uint64_t cookie, const wp<hidl::base::V1_0::IBase>& /*who*/) {
    __android_log_print(ANDROID_LOG_DEBUG, mLogTag, "Mapper serviceDied type=%lld",
                        static_cast<long long>(cookie));
    if (auto mapper = TakeMapperService()) {
        mapper->Release(this);
    }
    // The owner normally holds the last strong reference to this watcher; the death
    // notification keeps its own reference until this call returns.
    DetachFromOwner();
}

}  // namespace android
