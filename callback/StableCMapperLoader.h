#pragma once

#include <string>

#include <android/hardware/graphics/mapper/IMapper.h>

namespace android {

// Finds the stable-C graphics mapper (version 5) the way platform code does: the AIDL
// allocator names the library's suffix, the library is /vendor/lib64/hw/mapper.<suffix>.so.
// A library's table, once loaded, stays loaded for the life of the process and is shared by
// every adapter; the allocator is asked again on every call, so a device without it is
// noticed each time.
class StableCMapperLoader {
public:
    // The mapper table, or null; then `missing` says what was looked for and not found.
    static const AIMapper* Load(std::string& missing);
};

}  // namespace android
