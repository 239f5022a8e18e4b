#pragma once

#include <hostkit/Mapper.h>

namespace hostkit::mapperkit {

// The mapper versions the kit serves (2, 3 and 4), by major number.
class MapperVersions {
  public:
    static constexpr int ALL[] = {2, 3, 4};

    // The version's IMapper descriptor; null for an unknown version.
    static const char* Descriptor(int version);

    // Registers a new service object of that version as "default", replacing any earlier one.
    static bool Register(int version, mapper::Transport transport);
};

}  // namespace hostkit::mapperkit
