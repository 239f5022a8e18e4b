#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include <cutils/native_handle.h>
#include <hostkit/Mapper.h>

// Raw gralloc buffers as the HAL would own them; freed when the ring goes away.
class BufferRing {
  public:
    BufferRing(size_t count, uint32_t width = 64, uint32_t height = 48) {
        for (size_t i = 0; i < count; ++i) {
            mHandles.push_back(hostkit::mapper::Allocate(width, height, 17, 0x33));
        }
    }
    ~BufferRing() {
        for (native_handle_t* handle : mHandles) {
            if (handle != nullptr) hostkit::mapper::FreeAllocated(handle);
        }
    }
    BufferRing(const BufferRing&) = delete;
    BufferRing& operator=(const BufferRing&) = delete;

    const native_handle_t* operator[](size_t i) const { return mHandles[i]; }
    size_t size() const { return mHandles.size(); }
    bool allValid() const {
        for (native_handle_t* handle : mHandles) {
            if (handle == nullptr) return false;
        }
        return true;
    }

  private:
    std::vector<native_handle_t*> mHandles;
};
