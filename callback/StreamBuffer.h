#pragma once

#include <cstdint>
#include <memory>
#include <tuple>

#include <cutils/native_handle.h>

#include "callback/VirMapperBase.h"

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

// One imported buffer, owned through std::shared_ptr: the last owner gives the handle
// back to the mapper. The cache holds one reference per entry and a lock in progress
// holds another, so a buffer the HAL drops meanwhile is freed only once that call is done.
class StreamBuffer final {
public:
    StreamBuffer(int32_t stream, int32_t buffer, const native_handle_t* imported,
                 std::shared_ptr<VirMapperBase> mapper)
        : streamId(stream), bufferId(buffer), handle(imported), mFreeThrough(std::move(mapper)) {}
    ~StreamBuffer() {
        if (mFreeThrough != nullptr) {
            const native_handle* imported = handle;
            mFreeThrough->FreeBuffer(imported);
        }
    }
    StreamBuffer(const StreamBuffer&) = delete;
    StreamBuffer& operator=(const StreamBuffer&) = delete;

    // The mapper that frees the handle when the last owner lets go. The cache sets the one
    // it fetched as it forgets the entry (after a mapper death that is a new adapter);
    // empty leaves the handle to the dead mapper. Set under the cache lock, read only by
    // the destructor, which the owners' reference counting orders after it.
    void FreeThrough(std::shared_ptr<VirMapperBase> mapper) { mFreeThrough = std::move(mapper); }

    const int32_t streamId;
    const int32_t bufferId;
    const native_handle_t* const handle;
    // Between a successful lookup for CPU access and the next unlock; guarded by the cache lock.
    bool locked = false;

private:
    std::shared_ptr<VirMapperBase> mFreeThrough;
};

}  // namespace android
