#include "BufferLayout.h"

#include <android/hardware/graphics/common/1.0/types.h>

namespace hostkit::mapperkit {

using ::android::hardware::graphics::common::V1_0::PixelFormat;

namespace {

constexpr int32_t MAGIC = 0x484b4742;  // "HKGB"
constexpr uint32_t MAX_DIMENSION = 16384;

enum Slot { MAGIC_SLOT, WIDTH, HEIGHT, FORMAT, STRIDE, USAGE_LO, USAGE_HI, SIZE, INODE_LO, INODE_HI };
static_assert(INODE_HI + 1 == BufferLayout::NUM_INTS);

int32_t Lo(uint64_t v) { return static_cast<int32_t>(static_cast<uint32_t>(v)); }
int32_t Hi(uint64_t v) { return static_cast<int32_t>(static_cast<uint32_t>(v >> 32)); }
uint64_t Join(int32_t lo, int32_t hi) {
    return (static_cast<uint64_t>(static_cast<uint32_t>(hi)) << 32) | static_cast<uint32_t>(lo);
}

// Size in bytes of a buffer with stride == width; 0 when the format is not supported.
uint64_t SizeOf(uint32_t w, uint32_t h, PixelFormat format) {
    const uint64_t pixels = static_cast<uint64_t>(w) * h;
    switch (format) {
        case PixelFormat::RGBA_8888:
        case PixelFormat::RGBX_8888:
        case PixelFormat::BGRA_8888:
            return pixels * 4;
        case PixelFormat::RGB_888:
            return pixels * 3;
        case PixelFormat::RGB_565:
        case PixelFormat::YCBCR_422_I:
        case PixelFormat::YCBCR_422_SP:
            return (w % 2 == 0) ? pixels * 2 : 0;
        case PixelFormat::YCRCB_420_SP:
        case PixelFormat::YCBCR_420_888:
            // Full luma plane plus one interleaved chroma plane at half height.
            return (w % 2 == 0 && h % 2 == 0) ? pixels * 3 / 2 : 0;
        case PixelFormat::Y8:
            return pixels;
        case PixelFormat::BLOB:
            return h == 1 ? w : 0;
        default:
            return 0;
    }
}

}  // namespace

std::optional<BufferInfo> BufferLayout::Describe(uint32_t width, uint32_t height, int32_t format,
                                                 uint64_t usage) {
    if (width == 0 || height == 0 || width > MAX_DIMENSION || height > MAX_DIMENSION) {
        return std::nullopt;
    }
    if (format == static_cast<int32_t>(PixelFormat::IMPLEMENTATION_DEFINED)) {
        format = static_cast<int32_t>(PixelFormat::YCRCB_420_SP);
    }
    const uint64_t size = SizeOf(width, height, static_cast<PixelFormat>(format));
    if (size == 0 || size > INT32_MAX) {
        return std::nullopt;
    }
    BufferInfo info;
    info.width = width;
    info.height = height;
    info.format = format;
    info.stride = width;
    info.usage = usage;
    info.size = size;
    return info;
}

int32_t BufferLayout::BytesPerPixel(int32_t format) {
    switch (static_cast<PixelFormat>(format)) {
        case PixelFormat::RGBA_8888:
        case PixelFormat::RGBX_8888:
        case PixelFormat::BGRA_8888:
            return 4;
        case PixelFormat::RGB_888:
            return 3;
        case PixelFormat::RGB_565:
        case PixelFormat::YCBCR_422_I:
            return 2;
        case PixelFormat::YCRCB_420_SP:
        case PixelFormat::YCBCR_420_888:
        case PixelFormat::YCBCR_422_SP:
        case PixelFormat::Y8:
        case PixelFormat::BLOB:
            return 1;
        default:
            return -1;
    }
}

void BufferLayout::Encode(const BufferInfo& info, native_handle_t* handle) {
    int* ints = handle->data + handle->numFds;
    ints[MAGIC_SLOT] = MAGIC;
    ints[WIDTH] = static_cast<int32_t>(info.width);
    ints[HEIGHT] = static_cast<int32_t>(info.height);
    ints[FORMAT] = info.format;
    ints[STRIDE] = static_cast<int32_t>(info.stride);
    ints[USAGE_LO] = Lo(info.usage);
    ints[USAGE_HI] = Hi(info.usage);
    ints[SIZE] = static_cast<int32_t>(info.size);
    ints[INODE_LO] = Lo(info.inode);
    ints[INODE_HI] = Hi(info.inode);
}

std::optional<BufferInfo> BufferLayout::Decode(const native_handle_t* handle) {
    if (handle == nullptr || handle->version != static_cast<int>(sizeof(native_handle_t)) ||
        handle->numFds != 1 || handle->numInts != NUM_INTS) {
        return std::nullopt;
    }
    const int* ints = handle->data + handle->numFds;
    if (ints[MAGIC_SLOT] != MAGIC || ints[WIDTH] <= 0 || ints[HEIGHT] <= 0) {
        return std::nullopt;
    }
    auto info = Describe(static_cast<uint32_t>(ints[WIDTH]), static_cast<uint32_t>(ints[HEIGHT]),
                         ints[FORMAT], Join(ints[USAGE_LO], ints[USAGE_HI]));
    if (!info || info->format != ints[FORMAT] || static_cast<int32_t>(info->stride) != ints[STRIDE] ||
        static_cast<int64_t>(info->size) != ints[SIZE]) {
        return std::nullopt;
    }
    info->inode = Join(ints[INODE_LO], ints[INODE_HI]);
    return info;
}

}  // namespace hostkit::mapperkit
