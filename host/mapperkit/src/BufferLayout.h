#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include <cutils/native_handle.h>

namespace hostkit::mapperkit {

// What a kit buffer handle says about its buffer. A handle carries one fd (the memory) and
// BufferLayout::NUM_INTS integers encoding these fields, so a mapper can check the two agree.
struct BufferInfo {
    uint32_t width = 0;
    uint32_t height = 0;
    int32_t format = 0;
    uint32_t stride = 0;  // in pixels
    uint64_t usage = 0;
    uint64_t size = 0;    // in bytes
    uint64_t inode = 0;   // identifies the memory the fd must refer to
};

// Geometry of the pixel formats the kit allocates, and the integer layout of its handles.
class BufferLayout {
  public:
    static constexpr int NUM_INTS = 10;

    // Fills stride and size for width/height/format; nullopt for unsupported formats or sizes.
    // IMPLEMENTATION_DEFINED resolves to NV21, as camera gralloc implementations commonly do.
    static std::optional<BufferInfo> Describe(uint32_t width, uint32_t height, int32_t format,
                                              uint64_t usage);

    // Bytes per pixel of the first plane as mapper 3.0 reports it, -1 when unknown.
    static int32_t BytesPerPixel(int32_t format);

    static void Encode(const BufferInfo& info, native_handle_t* handle);

    // Decodes a handle of the kit's shape (one fd, NUM_INTS ints, right magic and version) whose
    // geometry is self-consistent; nullopt otherwise. Never touches the fd.
    static std::optional<BufferInfo> Decode(const native_handle_t* handle);
};

}  // namespace hostkit::mapperkit
