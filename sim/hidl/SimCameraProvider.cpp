#include "hidl/SimCameraProvider.h"

#include <hostkit/HidlServices.h>

#include "process/SimProcess.h"

namespace vircamsim {

using ::android::sp;
using ::android::hardware::hidl_string;
using ::android::hardware::hidl_vec;
using ::android::hardware::Return;
using ::android::hardware::Void;
using ::android::hardware::camera::common::V1_0::Status;

sp<SimCameraProvider> SimCameraProvider::Start() {
    hostkit::hidl::Declare(descriptor, INSTANCE);
    StartHalThreadPools();
    const AsHal hal;
    sp<SimCameraProvider> provider = new SimCameraProvider();
    if (provider->registerAsService(INSTANCE) != ::android::OK) {
        return nullptr;
    }
    return provider;
}

sp<SimCameraProvider> SimCameraProvider::StartLate(std::chrono::milliseconds delay) {
    // Declared at once: lookups wait for the registration.
    hostkit::hidl::Declare(descriptor, INSTANCE);
    StartHalThreadPools();
    sp<SimCameraProvider> provider = new SimCameraProvider();
    // The thread uses the raw pointer: the returned sp keeps the object alive until the
    // destructor (or JoinLateStart) has joined it.
    SimCameraProvider* self = provider.get();
    provider->mLateStart = HalThread([self, delay] {
        std::this_thread::sleep_for(delay);
        self->mLateStartOk = self->registerAsService(INSTANCE) == ::android::OK;
    });
    return provider;
}

SimCameraProvider::~SimCameraProvider() {
    if (mLateStart.joinable()) {
        mLateStart.join();
    }
}

bool SimCameraProvider::JoinLateStart() {
    if (mLateStart.joinable()) {
        mLateStart.join();
    }
    return mLateStartOk;
}

Return<void> SimCameraProvider::getCameraIdList(getCameraIdList_cb hidlCb) {
    hidl_vec<hidl_string> names;
    names.resize(1);
    names[0] = "device@3.4/virtual/0";
    hidlCb(Status::OK, names);
    return Void();
}

}  // namespace vircamsim
