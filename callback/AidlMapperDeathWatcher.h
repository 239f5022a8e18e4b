#pragma once

#include <memory>

#include "callback/MapperWatcherBase.h"

namespace android {

class AidlVirCameraCallback;

// The AIDL channel callback's mapper watcher. It only holds the adapter: it does not
// link to the mapper's death, so it is never notified (the HIDL watcher is).
class AidlMapperDeathWatcher : public MapperWatcherBase {
public:
    explicit AidlMapperDeathWatcher(const std::weak_ptr<AidlVirCameraCallback>& owner);
    ~AidlMapperDeathWatcher() override;

    // 0 when a mapper was found, -200009 otherwise.
    int RegServiceLinkDeath() override;

private:
    void DetachFromOwner() override;

    const std::weak_ptr<AidlVirCameraCallback> mOwner;
};

}  // namespace android
