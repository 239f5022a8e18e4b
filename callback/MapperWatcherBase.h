#pragma once

#include <memory>
#include <string>

#include <android-base/thread_annotations.h>
#include <android/hidl/base/1.0/IBase.h>
#include <hidl/HidlSupport.h>
#include <utils/Mutex.h>

#include "callback/VirMapperBase.h"

namespace android {

// Holds the mapper adapter of one channel callback and drops it when the mapper
// service dies. The adapter member is read on buffer threads and cleared on the
// death thread, so it has a small lock of its own; nothing is called under it.
class MapperWatcherBase : public hardware::hidl_death_recipient {
public:
    // Creates the adapter (and links to the mapper's death where the watcher does);
    // 0 on success.
    virtual int RegServiceLinkDeath() = 0;
    // The adapter for buffer work; empty means there is no mapper.
    std::shared_ptr<VirMapperBase> GetMapperService() const EXCLUDES(mMutex);
    // Why the last registration found no mapper (empty when it found one).
    std::string MissingMapper() const EXCLUDES(mMutex);
    // Unlinks from the mapper's death and drops the adapter; a second call does nothing.
    void UnregServiceLinkDeath() EXCLUDES(mMutex);
    void serviceDied(uint64_t cookie, const wp<hidl::base::V1_0::IBase>& who) override EXCLUDES(mMutex);

protected:
    explicit MapperWatcherBase(const char* logTag) : mLogTag(logTag) {}
    void SetMapperService(std::shared_ptr<VirMapperBase> mapper, std::string missing = {}) EXCLUDES(mMutex);
    // Tells the owning callback to forget this watcher after the mapper died.
    virtual void DetachFromOwner() = 0;

    const char* const mLogTag;

private:
    std::shared_ptr<VirMapperBase> TakeMapperService() EXCLUDES(mMutex);

    mutable Mutex mMutex;  // guards the adapter and why there is none
    std::shared_ptr<VirMapperBase> mMapper GUARDED_BY(mMutex);
    std::string mMissing GUARDED_BY(mMutex);
};

}  // namespace android
