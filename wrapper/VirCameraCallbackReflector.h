#pragma once

#include <utils/RefBase.h>

#include "callback/VirCameraCallback.h"

namespace android {

// Keeps one strong reference on a connection's channel callback for as long as the
// connection owns the reflector.
class VirCameraCallbackReflector {
public:
    explicit VirCameraCallbackReflector(const sp<VirCameraCallback>& callback) : mCallback(callback) {}
    virtual ~VirCameraCallbackReflector();

    const sp<VirCameraCallback>& GetCallback() const { return mCallback; }

private:
    sp<VirCameraCallback> mCallback;
};

}  // namespace android
