#define LOG_TAG "VIRCAMERA_HIDL_WRAPPERCB"

#include "wrapper/VirCameraCallbackReflector.h"

#include <log/log.h>

namespace android {

VirCameraCallbackReflector::~VirCameraCallbackReflector() {
    ALOGD("~VirCameraCallbackReflector");
}

}  // namespace android
