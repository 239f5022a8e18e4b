#pragma once

#include <string>

namespace hostkit::mapperkit {

// Mapper 5 on the simulated device: the AIDL allocator service that names the mapper library,
// declared in the manifest and registered with the NDK service manager. The library itself is
// a module in the kit's stand-in for /vendor/lib64/hw, loaded by whoever asks for it.
class StableCOffer {
  public:
    static constexpr int VERSION = 5;

    // Declares and registers the allocator unless it is already registered.
    static bool Offer();
    // Kills and undeclares the allocator.
    static void Withdraw();
    static bool IsOffered();

    static std::string Suffix();
    static void SetSuffix(const std::string& suffix);
};

}  // namespace hostkit::mapperkit
