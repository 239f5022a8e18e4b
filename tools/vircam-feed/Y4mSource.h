#pragma once

#include <cstdio>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "FrameSource.h"

namespace vircamfeed {

// The frames of a YUV4MPEG2 file with planar 4:2:0 chroma (C420jpeg, C420, C420paldv,
// C420mpeg2, or no C tag). Frame n of the feed is frame n modulo the file's frame count,
// so a short file loops; a stream of another size gets the frame scaled nearest-neighbour.
class Y4mSource final : public FrameSource {
public:
    // Reads the header and finds every frame; nothing, with `error` set, when the file is
    // missing, not Y4M, not 4:2:0, empty or cut short.
    static std::unique_ptr<Y4mSource> Open(const std::string& path, std::string& error);
    ~Y4mSource() override;
    Y4mSource(const Y4mSource&) = delete;
    Y4mSource& operator=(const Y4mSource&) = delete;

    uint32_t Width() const { return mWidth; }
    uint32_t Height() const { return mHeight; }
    uint32_t FrameCount() const { return static_cast<uint32_t>(mFrameOffsets.size()); }

    bool Fill(uint8_t* nv21, uint32_t width, uint32_t height, uint32_t stride, uint32_t number) override;

private:
    Y4mSource(FILE* file, uint32_t width, uint32_t height) : mFile(file), mWidth(width), mHeight(height) {}
    bool ReadFrame(uint32_t index);  // into mPlanes; mMutex held

    FILE* const mFile;
    const uint32_t mWidth;
    const uint32_t mHeight;
    std::vector<long> mFrameOffsets;  // where each frame's planes start
    std::mutex mMutex;                // one frame is read and converted at a time
    std::vector<uint8_t> mPlanes;     // Y, U, V of mPlanesFrame
    int64_t mPlanesFrame = -1;
};

}  // namespace vircamfeed
