#include "FrameWriters.h"

#include <png.h>

#include <algorithm>
#include <memory>

namespace vircamdemo {

Y4mWriter::Y4mWriter(const std::string& path, uint32_t width, uint32_t height, uint32_t fps)
    : mFile(fopen(path.c_str(), "wb")), mWidth(width), mHeight(height), mPlanes(size_t{width} * height * 3 / 2) {
    if (mFile != nullptr) {
        fprintf(mFile, "YUV4MPEG2 W%u H%u F%u:1 Ip A1:1 C420jpeg\n", width, height, fps);
    }
}

Y4mWriter::~Y4mWriter() {
    if (mFile != nullptr) {
        fclose(mFile);
    }
}

bool Y4mWriter::Append(const std::vector<uint8_t>& nv21) {
    const size_t lumaSize = size_t{mWidth} * mHeight;
    if (mFile == nullptr || nv21.size() < lumaSize * 3 / 2) {
        return false;
    }
    std::copy(nv21.begin(), nv21.begin() + lumaSize, mPlanes.begin());
    // NV21 interleaves V then U; Y4M wants the U plane, then the V plane.
    const size_t chromaSize = lumaSize / 4;
    for (size_t i = 0; i < chromaSize; ++i) {
        mPlanes[lumaSize + i] = nv21[lumaSize + 2 * i + 1];
        mPlanes[lumaSize + chromaSize + i] = nv21[lumaSize + 2 * i];
    }
    fputs("FRAME\n", mFile);
    return fwrite(mPlanes.data(), 1, mPlanes.size(), mFile) == mPlanes.size();
}

namespace {

uint8_t Clamp(int value) {
    return static_cast<uint8_t>(std::clamp(value, 0, 255));
}

struct PngWrite {
    png_structp png = nullptr;
    png_infop info = nullptr;
    ~PngWrite() { png_destroy_write_struct(&png, &info); }
};

}  // namespace

bool WritePng(const std::string& path, const std::vector<uint8_t>& nv21, uint32_t width, uint32_t height) {
    const size_t lumaSize = size_t{width} * height;
    if (nv21.size() < lumaSize * 3 / 2) {
        return false;
    }
    std::unique_ptr<FILE, int (*)(FILE*)> file(fopen(path.c_str(), "wb"), fclose);
    if (file == nullptr) {
        return false;
    }
    std::vector<uint8_t> row(size_t{width} * 3);  // before setjmp: a libpng error jumps past this scope
    PngWrite writer;
    writer.png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    writer.info = writer.png ? png_create_info_struct(writer.png) : nullptr;
    if (writer.info == nullptr || setjmp(png_jmpbuf(writer.png))) {
        return false;
    }
    png_init_io(writer.png, file.get());
    png_set_IHDR(writer.png, writer.info, width, height, 8, PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_write_info(writer.png, writer.info);
    for (uint32_t y = 0; y < height; ++y) {
        for (uint32_t x = 0; x < width; ++x) {
            const size_t vu = lumaSize + (y / 2) * width + (x & ~1u);
            const int c = nv21[y * width + x] - 16;
            const int d = nv21[vu + 1] - 128;
            const int e = nv21[vu] - 128;
            row[x * 3] = Clamp((298 * c + 409 * e + 128) >> 8);
            row[x * 3 + 1] = Clamp((298 * c - 100 * d - 208 * e + 128) >> 8);
            row[x * 3 + 2] = Clamp((298 * c + 516 * d + 128) >> 8);
        }
        png_write_row(writer.png, row.data());
    }
    png_write_end(writer.png, nullptr);
    return true;
}

}  // namespace vircamdemo
