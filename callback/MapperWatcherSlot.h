#pragma once

#include <atomic>
#include <memory>
#include <string>

#include <android-base/thread_annotations.h>
#include <utils/Mutex.h>

#include "callback/MapperWatcherBase.h"

namespace android {

// A channel callback's current mapper watcher. Buffer threads read it, the mapper's
// death thread clears it; the next reader then builds and registers a new one. Building
// one looks the mapper service up and links to its death, so it happens outside the lock;
// when two readers build one at once, the first to finish installs its watcher and the
// other unregisters its own and uses the installed one.
template <class Watcher>
class MapperWatcherSlot {
public:
    struct Lookup {
        std::shared_ptr<VirMapperBase> mapper;
        bool created = false;     // this lookup built a watcher and installed it, or failed to register it
        int registerResult = 0;   // its RegServiceLinkDeath() result when created
        // Why no mapper was found, on the first such lookup of this slot only: the owner
        // reports it once, not on every frame.
        std::string missingOnce;
    };

    // The current adapter; `make` builds a watcher when there is none. A watcher whose
    // registration fails is unlinked and dropped, and the lookup yields no mapper.
    template <class Make>
    Lookup Get(Make&& make) EXCLUDES(mMutex) {
        Lookup lookup;
        sp<Watcher> watcher = Current();
        if (watcher == nullptr) {
            sp<Watcher> created = make();
            lookup.registerResult = created->RegServiceLinkDeath();
            if (lookup.registerResult != 0) {
                lookup.created = true;
                std::string missing = created->MissingMapper();
                if (!missing.empty() && !mMissingReported.exchange(true)) {
                    lookup.missingOnce = std::move(missing);
                }
                created->UnregServiceLinkDeath();
                return lookup;
            }
            {
                Mutex::Autolock lock(mMutex);
                if (mWatcher == nullptr) {
                    mWatcher = created;
                    lookup.created = true;
                }
                watcher = mWatcher;
            }
            if (!lookup.created) {
                lookup.registerResult = 0;
                created->UnregServiceLinkDeath();
            }
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

    bool Empty() const EXCLUDES(mMutex) { return Current() == nullptr; }

private:
    sp<Watcher> Current() const EXCLUDES(mMutex) {
        Mutex::Autolock lock(mMutex);
        return mWatcher;
    }

    mutable Mutex mMutex;  // guards the current watcher; nothing is called under it
    sp<Watcher> mWatcher GUARDED_BY(mMutex);
    std::atomic<bool> mMissingReported{false};
};

}  // namespace android
