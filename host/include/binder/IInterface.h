#pragma once

// libbinder's IInterface: the base of binder interfaces held through sp<>.

#include <utils/RefBase.h>

namespace android {

class IInterface : public virtual RefBase {
  protected:
    virtual ~IInterface() {}
};

}  // namespace android
