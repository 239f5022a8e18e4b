#pragma once

#include <fcntl.h>
#include <unistd.h>

#include <cstdint>
#include <ostream>
#include <utility>

#include <android/hardware/graphics/mapper/2.0/IMapper.h>
#include <android/hardware/graphics/mapper/3.0/IMapper.h>
#include <android/hardware/graphics/mapper/4.0/IMapper.h>
#include <gtest/gtest.h>

// One mapper version as the typed tests see it.
template <typename IMapperT, typename ErrorT, int V>
struct MapperVersion {
    using IMapper = IMapperT;
    using Error = ErrorT;
    static constexpr int VERSION = V;
};
using MapperV2 = MapperVersion<android::hardware::graphics::mapper::V2_0::IMapper,
                               android::hardware::graphics::mapper::V2_0::Error, 2>;
using MapperV3 = MapperVersion<android::hardware::graphics::mapper::V3_0::IMapper,
                               android::hardware::graphics::mapper::V3_0::Error, 3>;
using MapperV4 = MapperVersion<android::hardware::graphics::mapper::V4_0::IMapper,
                               android::hardware::graphics::mapper::V4_0::Error, 4>;

constexpr uint64_t CPU_READ_WRITE = 0x33;
constexpr int32_t NV21 = 17;

// Calls one mapper version the way a careful client does: every Return checked (a failed one is
// reported as ok == false), callbacks recorded, the release fence dup'ed inside the callback.
template <typename V>
class MapperClient {
  public:
    using Error = typename V::Error;
    using Rect = typename V::IMapper::Rect;

    struct Imported { bool ok = false; Error error = Error::NONE; void* buffer = nullptr; };
    struct Locked {
        bool ok = false;
        Error error = Error::NONE;
        void* data = nullptr;
        int32_t bytesPerPixel = 0;
        int32_t bytesPerStride = 0;
        int calls = 0;
    };
    struct Unlocked {
        bool ok = false;
        Error error = Error::NONE;
        int fenceFds = -1;  // -1: null fence handle
        int fenceDup = -1;  // dup of the first fence fd, the caller closes it
    };

    explicit MapperClient(android::sp<typename V::IMapper> mapper) : mMapper(std::move(mapper)) {}

    static android::sp<typename V::IMapper> Lookup() { return V::IMapper::tryGetService("default", false); }

    Imported Import(const native_handle_t* raw) {
        Imported out;
        int calls = 0;
        auto ret = mMapper->importBuffer(android::hardware::hidl_handle(raw), [&](Error e, void* b) {
            ++calls;
            out.error = e;
            out.buffer = b;
        });
        out.ok = ret.isOk() && calls == 1;
        return out;
    }

    Locked Lock(void* buffer, uint64_t usage = CPU_READ_WRITE, Rect region = {0, 0, 0, 0},
                const native_handle_t* fence = nullptr) {
        Locked out;
        auto ret = mMapper->lock(buffer, usage, region, android::hardware::hidl_handle(fence),
                                 [&](Error e, void* data, auto... sizes) {
                                     ++out.calls;
                                     out.error = e;
                                     out.data = data;
                                     if constexpr (sizeof...(sizes) == 2) {
                                         const int32_t values[] = {sizes...};
                                         out.bytesPerPixel = values[0];
                                         out.bytesPerStride = values[1];
                                     }
                                 });
        out.ok = ret.isOk() && out.calls == 1;
        return out;
    }

    Unlocked Unlock(void* buffer) {
        Unlocked out;
        int calls = 0;
        auto ret = mMapper->unlock(buffer, [&](Error e, const android::hardware::hidl_handle& fence) {
            ++calls;
            out.error = e;
            const native_handle_t* h = fence.getNativeHandle();
            if (h != nullptr) {
                out.fenceFds = h->numFds;
                if (h->numFds > 0) out.fenceDup = fcntl(h->data[0], F_DUPFD_CLOEXEC, 0);
            }
        });
        out.ok = ret.isOk() && calls == 1;
        return out;
    }

    // {transport ok, error}; the error is only meaningful when ok.
    std::pair<bool, Error> Free(void* buffer) {
        auto ret = mMapper->freeBuffer(buffer);
        if (!ret.isOk()) return {false, Error::NONE};
        return {true, static_cast<Error>(ret)};
    }

    const android::sp<typename V::IMapper>& Service() const { return mMapper; }

  private:
    android::sp<typename V::IMapper> mMapper;
};

// Readable gtest messages for the three Error types.
namespace android::hardware::graphics::mapper::V2_0 {
inline void PrintTo(Error e, std::ostream* os) { *os << toString(e); }
}  // namespace android::hardware::graphics::mapper::V2_0
namespace android::hardware::graphics::mapper::V3_0 {
inline void PrintTo(Error e, std::ostream* os) { *os << toString(e); }
}  // namespace android::hardware::graphics::mapper::V3_0
namespace android::hardware::graphics::mapper::V4_0 {
inline void PrintTo(Error e, std::ostream* os) { *os << toString(e); }
}  // namespace android::hardware::graphics::mapper::V4_0

using AllMapperVersions = ::testing::Types<MapperV2, MapperV3, MapperV4>;
