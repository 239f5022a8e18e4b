#pragma once

#include <cstddef>
#include <cstdint>

namespace vircamfeed {

// Draws a moving NV21 test pattern: colour bars sliding by frame, a bouncing box, and the
// frame number in large digits at the top left, so motion and frame order can be seen.
void DrawNv21Pattern(uint8_t* nv21, uint32_t width, uint32_t height, uint32_t stride, uint32_t frame);

// Bytes of an NV21 image with the given luma stride.
size_t Nv21Size(uint32_t stride, uint32_t height);

}  // namespace vircamfeed
