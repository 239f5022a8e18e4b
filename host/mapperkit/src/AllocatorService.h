#pragma once

#include <string>

#include <aidl/android/hardware/graphics/allocator/BnAllocator.h>

namespace hostkit::mapperkit {

// The device's AIDL graphics allocator, as far as a process that maps buffers uses it: it names
// the stable-C mapper library. The suffix is read at each call, so a test can change it.
class AllocatorService final : public ::aidl::android::hardware::graphics::allocator::BnAllocator {
  public:
    ::ndk::ScopedAStatus getIMapperLibrarySuffix(std::string* suffix) override;
};

}  // namespace hostkit::mapperkit
