#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include <cutils/native_handle.h>

namespace hostkit::mapperkit {

// The framework's way of looking at a buffer a client filled: import, CPU read lock, copy,
// unlock, free, through a mapper service found by lookup (newest version first).
class MapperReadBack {
  public:
    // The buffer's bytes; nullopt when no mapper is found or any step fails. Every import it
    // made is freed again, whatever happens.
    static std::optional<std::vector<uint8_t>> Read(const native_handle_t* rawHandle);
};

}  // namespace hostkit::mapperkit
