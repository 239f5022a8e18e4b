#pragma once

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

namespace vircamdemo {

// Appends NV21 frames to a YUV4MPEG2 file (converted to the planar 4:2:0 it stores).
class Y4mWriter {
public:
    Y4mWriter(const std::string& path, uint32_t width, uint32_t height, uint32_t fps);
    ~Y4mWriter();
    Y4mWriter(const Y4mWriter&) = delete;
    Y4mWriter& operator=(const Y4mWriter&) = delete;

    bool Ok() const { return mFile != nullptr; }
    bool Append(const std::vector<uint8_t>& nv21);

private:
    FILE* mFile = nullptr;
    uint32_t mWidth;
    uint32_t mHeight;
    std::vector<uint8_t> mPlanes;
};

// Writes one NV21 frame as an RGB PNG (BT.601). False when the file cannot be written.
bool WritePng(const std::string& path, const std::vector<uint8_t>& nv21, uint32_t width, uint32_t height);

}  // namespace vircamdemo
