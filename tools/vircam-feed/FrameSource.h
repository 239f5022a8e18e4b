#pragma once

#include <cstdint>
#include <memory>
#include <string>

namespace vircamfeed {

// Where the feed's frames come from. Fill may be called from several HAL threads at once.
class FrameSource {
public:
    virtual ~FrameSource() = default;
    // Writes frame `number` into an NV21 image of width x height: luma rows `stride` bytes
    // apart, then the interleaved V/U rows from stride * height on. False when it cannot.
    virtual bool Fill(uint8_t* nv21, uint32_t width, uint32_t height, uint32_t stride, uint32_t number) = 0;
};

// The moving test pattern of Nv21Pattern.h.
std::unique_ptr<FrameSource> MakePatternSource();

// The source --source names: "pattern" or a Y4M file; nothing, with `error` set, when the
// file cannot be used.
std::unique_ptr<FrameSource> OpenFrameSource(const std::string& source, std::string& error);

}  // namespace vircamfeed
