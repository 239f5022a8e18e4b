#pragma once

#include <utils/RefBase.h>

#include "callback/MapperWatcherBase.h"

namespace android {

class VirCameraCallback;

// The HIDL channel callback's mapper watcher: links itself to the mapper service's
// death and, when it dies, makes the callback build a new watcher on next use.
class MapperDeathWatcher : public MapperWatcherBase {
public:
    explicit MapperDeathWatcher(const wp<VirCameraCallback>& owner);
    ~MapperDeathWatcher() override;

    // Creates a new adapter (replacing any earlier one) and links to its death.
    // 0, or -1 when there is no mapper or the link failed (the adapter is kept then).
    int RegServiceLinkDeath() override;

private:
    void DetachFromOwner() override;

    const wp<VirCameraCallback> mOwner;
};

}  // namespace android
