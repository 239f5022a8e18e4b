#include "MapperReadBack.h"

#include <cstring>

#include <android/hardware/graphics/common/1.0/types.h>
#include <android/hardware/graphics/mapper/2.0/IMapper.h>
#include <android/hardware/graphics/mapper/3.0/IMapper.h>
#include <android/hardware/graphics/mapper/4.0/IMapper.h>

#include "BufferLayout.h"
#include "ImportRegistry.h"
#include "StableCOffer.h"

namespace hostkit::mapperkit {

using ::android::sp;
using ::android::hardware::hidl_handle;
using ::android::hardware::graphics::common::V1_0::BufferUsage;
namespace mapper2 = ::android::hardware::graphics::mapper::V2_0;
namespace mapper3 = ::android::hardware::graphics::mapper::V3_0;
namespace mapper4 = ::android::hardware::graphics::mapper::V4_0;

namespace {

// Every Return is checked before anything else happens to it: a failed one must not go unread.
template <typename IMapperT, typename Error>
std::optional<std::vector<uint8_t>> ReadWith(const sp<IMapperT>& mapper, const native_handle_t* raw,
                                             size_t size) {
    void* buffer = nullptr;
    bool imported = false;
    auto importResult = mapper->importBuffer(hidl_handle(raw), [&](Error error, void* imported_) {
        imported = error == Error::NONE;
        buffer = imported_;
    });
    if (!importResult.isOk() || !imported) {
        return std::nullopt;
    }
    std::optional<std::vector<uint8_t>> bytes;
    const typename IMapperT::Rect whole{0, 0, 0, 0};
    auto lockResult = mapper->lock(buffer, static_cast<uint64_t>(BufferUsage::CPU_READ_OFTEN), whole,
                                   hidl_handle(), [&](Error error, void* data, auto...) {
                                       if (error == Error::NONE && data != nullptr) {
                                           const auto* begin = static_cast<const uint8_t*>(data);
                                           bytes.emplace(begin, begin + size);
                                       }
                                   });
    if (lockResult.isOk() && bytes) {
        bool unlocked = false;
        auto unlockResult = mapper->unlock(buffer, [&](Error error, const hidl_handle&) {
            unlocked = error == Error::NONE;
        });
        if (!unlockResult.isOk() || !unlocked) {
            bytes.reset();
        }
    }
    auto freeResult = mapper->freeBuffer(buffer);
    if (!freeResult.isOk() || freeResult.withDefault(Error::BAD_BUFFER) != Error::NONE) {
        bytes.reset();
    }
    return bytes;
}

// Mapper 5 lives in a module of the kit that works on this same registry: reading through the
// registry is reading through mapper 5.
std::optional<std::vector<uint8_t>> ReadWithRegistry(const native_handle_t* raw, size_t size) {
    ImportRegistry& registry = ImportRegistry::Get();
    const native_handle_t* buffer = nullptr;
    if (registry.Import(raw, &buffer) != GrallocError::NONE) {
        return std::nullopt;
    }
    void* imported = const_cast<native_handle_t*>(buffer);
    std::optional<std::vector<uint8_t>> bytes;
    LockResult result;
    const uint64_t read = static_cast<uint64_t>(BufferUsage::CPU_READ_OFTEN);
    if (registry.Lock(imported, read, AccessRegion{}, nullptr, &result) == GrallocError::NONE) {
        const auto* begin = static_cast<const uint8_t*>(result.address);
        bytes.emplace(begin, begin + size);
        if (registry.Unlock(imported) != GrallocError::NONE) bytes.reset();
    }
    if (registry.Free(imported) != GrallocError::NONE) bytes.reset();
    return bytes;
}

}  // namespace

std::optional<std::vector<uint8_t>> MapperReadBack::Read(const native_handle_t* rawHandle) {
    const auto info = BufferLayout::Decode(rawHandle);
    if (!info) {
        return std::nullopt;
    }
    if (auto mapper = mapper4::IMapper::tryGetService("default", false)) {
        return ReadWith<mapper4::IMapper, mapper4::Error>(mapper, rawHandle, info->size);
    }
    if (auto mapper = mapper3::IMapper::tryGetService("default", false)) {
        return ReadWith<mapper3::IMapper, mapper3::Error>(mapper, rawHandle, info->size);
    }
    if (auto mapper = mapper2::IMapper::tryGetService("default", false)) {
        return ReadWith<mapper2::IMapper, mapper2::Error>(mapper, rawHandle, info->size);
    }
    if (StableCOffer::IsOffered()) {
        return ReadWithRegistry(rawHandle, info->size);
    }
    return std::nullopt;
}

}  // namespace hostkit::mapperkit
