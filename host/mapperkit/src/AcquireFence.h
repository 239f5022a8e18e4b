#pragma once

#include <cutils/native_handle.h>

#include "GrallocError.h"

namespace hostkit::mapperkit {

// Waits for the acquire fence a client passes to lock(). The fence stays the caller's: the wait
// uses a dup of its fd.
class AcquireFence {
  public:
    // NONE when the fence has signalled or there is none (null handle or no fd); BAD_VALUE for
    // more than one fd or an fd that is not open; NO_RESOURCES when it does not signal in time.
    static GrallocError Wait(const native_handle_t* fence);

  private:
    // A device waits forever; the kit gives up so a test hangs no longer than this.
    static constexpr int TIMEOUT_MS = 10000;
};

}  // namespace hostkit::mapperkit
