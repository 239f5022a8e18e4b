#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include <cutils/native_handle.h>
#include <hostkit/Mapper.h>

// Gralloc buffers allocated once per fuzz process: fuzz inputs pick handles and
// descriptors from here, so no input ever names a descriptor the process does not own.
class BufferPool {
  public:
    static constexpr uint64_t CPU_READ_WRITE = 0x33;
    static constexpr int32_t NV21 = 17;

    static BufferPool& Get() {
        static BufferPool* pool = new BufferPool();  // never destroyed: its handles stay valid
        return *pool;
    }

    size_t size() const { return mHandles.size(); }
    const native_handle_t* at(size_t i) const { return mHandles[i % mHandles.size()]; }
    // A descriptor of some buffer, picked by `selector`.
    int Fd(uint32_t selector) const {
        const native_handle_t* handle = at(selector);
        return handle->data[(selector / mHandles.size()) % handle->numFds];
    }

  private:
    BufferPool() {
        const uint32_t sizes[][2] = {{64, 48}, {32, 32}, {16, 8}};
        for (const auto& size : sizes) {
            native_handle_t* handle = hostkit::mapper::Allocate(size[0], size[1], NV21, CPU_READ_WRITE);
            if (handle == nullptr || handle->numFds < 1) __builtin_trap();
            mHandles.push_back(handle);
        }
    }

    std::vector<native_handle_t*> mHandles;  // kept until the process exits
};
