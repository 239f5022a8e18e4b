#pragma once

#include <cstdint>

namespace hostkit::mapperkit {

// The mapper error values, shared by the three versions' own Error enums.
enum class GrallocError : int32_t {
    NONE = 0,
    BAD_DESCRIPTOR = 1,
    BAD_BUFFER = 2,
    BAD_VALUE = 3,
    NO_RESOURCES = 5,
    UNSUPPORTED = 7,
};

}  // namespace hostkit::mapperkit
