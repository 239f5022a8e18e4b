#pragma once

#include <memory>

#include <android-base/thread_annotations.h>
#include <utils/Mutex.h>

#include "callback/MapperWatcherBase.h"

namespace android {

// A channel callback's current mapper watcher. Buffer threads read it, the mapper's
// death thread clears it; the next reader then builds and registers a new one.
template <class Watcher>
class MapperWatcherSlot {
public:
    struct Lookup {
        std::shared_ptr<VirMapperBase> mapper;
        bool created = false;     // a new watcher was built by this lookup
        int registerResult = 0;   // its RegServiceLinkDeath() result when created
    };

    // The current adapter; `make` builds a watcher when there is none. A watcher whose
    // registration fails is unlinked and dropped, and the lookup yields no mapper.
    template <class Make>
    Lookup Get(Make&& make) EXCLUDES(mMutex) {
        Lookup lookup;
        sp<Watcher> watcher;
        {
            Mutex::Autolock lock(mMutex);
            if (mWatcher == nullptr) {
                sp<Watcher> created = make();
                lookup.created = true;
                lookup.registerResult = created->RegServiceLinkDeath();
                if (lookup.registerResult != 0) {
                    created->UnregServiceLinkDeath();
                    return lookup;
                }
                mWatcher = created;
            }
            watcher = mWatcher;
        }
        lookup.mapper = watcher->GetMapperService();
        return lookup;
    }

    // Unlinks and drops the current watcher, if any.
    void Clear() EXCLUDES(mMutex) {
        sp<Watcher> watcher;
        {
            Mutex::Autolock lock(mMutex);
            watcher = std::move(mWatcher);
        }
        if (watcher != nullptr) {
            watcher->UnregServiceLinkDeath();
        }
    }

    bool Empty() const EXCLUDES(mMutex) {
        Mutex::Autolock lock(mMutex);
        return mWatcher == nullptr;
    }

private:
    mutable Mutex mMutex;  // guards the current watcher
    sp<Watcher> mWatcher GUARDED_BY(mMutex);
};

}  // namespace android
