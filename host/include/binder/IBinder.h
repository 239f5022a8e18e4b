#pragma once

// libbinder's IBinder, reduced to what the host needs: liveness of a service object.

#include <utils/Errors.h>
#include <utils/RefBase.h>

namespace android {

class IBinder : public virtual RefBase {
  public:
    // NO_ERROR, or DEAD_OBJECT once the service is gone.
    virtual status_t pingBinder() = 0;
    virtual bool isBinderAlive() const = 0;

  protected:
    virtual ~IBinder() {}
};

}  // namespace android
