#include "Nv21Pattern.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>

#include "FrameSource.h"

namespace vircamfeed {

namespace {

struct Yuv {
    uint8_t y, u, v;
};

// BT.601 studio-swing colours of the classic bars.
constexpr std::array<Yuv, 7> BARS = {{
    {180, 128, 128}, {162, 44, 142}, {131, 156, 44}, {112, 72, 58}, {84, 184, 198}, {65, 100, 212}, {35, 212, 114},
}};

// 3x5 bitmaps of the digits, one row per 3 low bits.
constexpr std::array<std::array<uint8_t, 5>, 10> DIGITS = {{
    {7, 5, 5, 5, 7}, {2, 6, 2, 2, 7}, {7, 1, 7, 4, 7}, {7, 1, 7, 1, 7}, {5, 5, 7, 1, 1},
    {7, 4, 7, 1, 7}, {7, 4, 7, 5, 7}, {7, 1, 1, 1, 1}, {7, 5, 7, 5, 7}, {7, 5, 7, 1, 7},
}};

void FillLuma(uint8_t* nv21, uint32_t stride, uint32_t x0, uint32_t y0, uint32_t w, uint32_t h, uint8_t y) {
    for (uint32_t row = y0; row < y0 + h; ++row) {
        std::memset(nv21 + row * stride + x0, y, w);
    }
}

void FillChroma(uint8_t* nv21, uint32_t stride, uint32_t height, uint32_t x0, uint32_t y0, uint32_t w, uint32_t h,
                Yuv colour) {
    uint8_t* vu = nv21 + static_cast<size_t>(stride) * height;
    for (uint32_t row = y0 / 2; row < (y0 + h) / 2; ++row) {
        for (uint32_t col = x0 / 2; col < (x0 + w) / 2; ++col) {
            vu[row * stride + col * 2] = colour.v;
            vu[row * stride + col * 2 + 1] = colour.u;
        }
    }
}

void DrawNumber(uint8_t* nv21, uint32_t width, uint32_t height, uint32_t stride, uint32_t number) {
    const uint32_t cell = std::max<uint32_t>(2, height / 60);
    char text[12];
    int length = snprintf(text, sizeof(text), "%u", number);
    const uint32_t boxWidth = cell * (4 * length + 1);
    const uint32_t boxHeight = cell * 7;
    if (boxWidth > width || boxHeight > height) {
        return;
    }
    FillLuma(nv21, stride, 0, 0, boxWidth, boxHeight, 16);
    FillChroma(nv21, stride, height, 0, 0, boxWidth, boxHeight, {16, 128, 128});
    for (int i = 0; i < length; ++i) {
        const auto& glyph = DIGITS[text[i] - '0'];
        for (uint32_t row = 0; row < 5; ++row) {
            for (uint32_t col = 0; col < 3; ++col) {
                if (glyph[row] & (4 >> col)) {
                    FillLuma(nv21, stride, cell * (1 + 4 * i + col), cell * (1 + row), cell, cell, 235);
                }
            }
        }
    }
}

}  // namespace

size_t Nv21Size(uint32_t stride, uint32_t height) {
    return static_cast<size_t>(stride) * height * 3 / 2;
}

void DrawNv21Pattern(uint8_t* nv21, uint32_t width, uint32_t height, uint32_t stride, uint32_t frame) {
    // The bars are the same on every row: draw the first luma and chroma rows, copy them down.
    const uint32_t barWidth = std::max<uint32_t>(2, (width / BARS.size()) & ~1u);
    const uint32_t shift = (frame * 8) % width;
    uint8_t* vu = nv21 + static_cast<size_t>(stride) * height;
    for (uint32_t x = 0; x < width; x += 2) {
        const Yuv& colour = BARS[((x + shift) % width) / barWidth % BARS.size()];
        nv21[x] = nv21[x + 1] = colour.y;
        vu[x] = colour.v;
        vu[x + 1] = colour.u;
    }
    for (uint32_t row = 1; row < height; ++row) {
        std::memcpy(nv21 + static_cast<size_t>(row) * stride, nv21, width);
    }
    for (uint32_t row = 1; row < height / 2; ++row) {
        std::memcpy(vu + static_cast<size_t>(row) * stride, vu, width);
    }
    // A white box bouncing across the lower half.
    const uint32_t box = std::max<uint32_t>(2, (height / 8) & ~1u);
    const uint32_t travel = width > box ? width - box : 1;
    const uint32_t pos = (frame * 12) % (2 * travel);
    const uint32_t x0 = (pos < travel ? pos : 2 * travel - pos) & ~1u;
    const uint32_t y0 = (height / 2) & ~1u;
    if (x0 + box <= width && y0 + box <= height) {
        FillLuma(nv21, stride, x0, y0, box, box, 235);
        FillChroma(nv21, stride, height, x0, y0, box, box, {235, 128, 128});
    }
    DrawNumber(nv21, width, height, stride, frame);
}

}  // namespace vircamfeed

namespace vircamfeed {

namespace {

class PatternSource final : public FrameSource {
public:
    bool Fill(uint8_t* nv21, uint32_t width, uint32_t height, uint32_t stride, uint32_t number) override {
        DrawNv21Pattern(nv21, width, height, stride, number);
        return true;
    }
};

}  // namespace

std::unique_ptr<FrameSource> MakePatternSource() {
    return std::make_unique<PatternSource>();
}

}  // namespace vircamfeed
