#pragma once

#include <cstdint>
#include <memory>
#include <tuple>

#include <cutils/native_handle.h>

namespace android {

// Cache key: stream id and the low 32 bits of the buffer id, ordered as signed integers.
struct StreamBufferID {
    int32_t streamId;
    int32_t bufferId;

    static StreamBufferID From(int32_t streamId, uint64_t bufferId) {
        return {streamId, static_cast<int32_t>(static_cast<uint32_t>(bufferId))};
    }
    bool operator<(const StreamBufferID& other) const {
        return std::tie(streamId, bufferId) < std::tie(other.streamId, other.bufferId);
    }
};

// One imported buffer. The cache gives the handle back to the mapper before it drops
// the entry; destroying a StreamBuffer never frees the handle.
class StreamBuffer {
public:
    StreamBuffer(int32_t stream, int32_t buffer, const native_handle_t* imported)
        : streamId(stream), bufferId(buffer), handle(imported) {}
    virtual ~StreamBuffer() = default;

    const int32_t streamId;
    const int32_t bufferId;
    const native_handle_t* const handle;
    bool locked = false;  // between a successful lookup for CPU access and the next unlock
};

}  // namespace android
