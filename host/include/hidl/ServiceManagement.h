#pragma once

#include <android/hidl/manager/1.0/IServiceManager.h>
#include <utils/StrongPointer.h>

namespace android {
namespace hardware {

// The process's handle on hwservicemanager.
sp<::android::hidl::manager::V1_0::IServiceManager> defaultServiceManager();

}  // namespace hardware
}  // namespace android
