#pragma once

#include <chrono>
#include <thread>

#include <android/hardware/camera/provider/2.4/ICameraProvider.h>

// A minimal camera provider "virtual/0": the virtual camera client only waits for it to be
// registered. It can be registered at once or later from another thread.
namespace vircamsim {

class SimCameraProvider : public ::android::hardware::camera::provider::V2_4::ICameraProvider {
  public:
    static constexpr const char* INSTANCE = "virtual/0";

    // Registers a provider now; null on failure.
    static ::android::sp<SimCameraProvider> Start();
    // Registers a provider from another thread after `delay`; the returned object owns the
    // thread until JoinLateStart() (or its destructor) joins it.
    static ::android::sp<SimCameraProvider> StartLate(std::chrono::milliseconds delay);
    ~SimCameraProvider() override;

    // Joins the thread of StartLate; true when that registration succeeded.
    bool JoinLateStart();

    // Answers (OK, ["device@3.4/virtual/0"]).
    ::android::hardware::Return<void> getCameraIdList(getCameraIdList_cb hidlCb) override;

  private:
    SimCameraProvider() = default;

    std::thread mLateStart;
    bool mLateStartOk = false;
};

}  // namespace vircamsim
