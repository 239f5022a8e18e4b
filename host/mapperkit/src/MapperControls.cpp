// The test controls of hostkit/Mapper.h over the kit's mapper services and buffers.
#include <hostkit/Mapper.h>

#include <algorithm>

#include <hostkit/HidlServices.h>

#include "BufferAllocator.h"
#include "FaultPlan.h"
#include "ImportRegistry.h"
#include "MapperReadBack.h"
#include "MapperVersions.h"
#include "StableCOffer.h"

namespace hostkit::mapper {

using mapperkit::FaultPlan;
using mapperkit::ImportRegistry;
using mapperkit::MapperVersions;
using mapperkit::StableCOffer;

namespace {

constexpr const char* INSTANCE = "default";

}  // namespace

bool Offer(std::initializer_list<int> versions, Transport transport) {
    return Offer(std::vector<int>(versions), transport);
}

// Keeps no state of its own: the HIDL registry already knows which versions are live.
bool Offer(const std::vector<int>& versions, Transport transport) {
    bool ok = std::all_of(versions.begin(), versions.end(), [](int v) {
        return MapperVersions::Descriptor(v) != nullptr || v == StableCOffer::VERSION;
    });
    for (int version : MapperVersions::ALL) {
        const char* descriptor = MapperVersions::Descriptor(version);
        const bool wanted = std::find(versions.begin(), versions.end(), version) != versions.end();
        const bool live = hidl::IsRegistered(descriptor, INSTANCE);
        if (wanted && !live) {
            ok = MapperVersions::Register(version, transport) && ok;
        } else if (!wanted && live) {
            hidl::Kill(descriptor, INSTANCE);
        }
    }
    if (std::find(versions.begin(), versions.end(), StableCOffer::VERSION) != versions.end()) {
        ok = StableCOffer::Offer() && ok;
    } else {
        StableCOffer::Withdraw();
    }
    return ok;
}

bool Kill(int version) {
    const char* descriptor = MapperVersions::Descriptor(version);
    return descriptor != nullptr && hidl::Kill(descriptor, INSTANCE);
}

bool Restore(int version) {
    const char* descriptor = MapperVersions::Descriptor(version);
    return descriptor != nullptr && hidl::Restore(descriptor, INSTANCE);
}

native_handle_t* Allocate(uint32_t width, uint32_t height, int32_t format, uint64_t usage) {
    return mapperkit::BufferAllocator::Allocate(width, height, format, usage);
}

void FreeAllocated(native_handle_t* handle) {
    native_handle_close(handle);
    native_handle_delete(handle);
}

int LastImportVersion() {
    return FaultPlan::Get().LastImportVersion();
}

size_t LiveImports() {
    return ImportRegistry::Get().LiveImports();
}

std::set<std::pair<uintptr_t, size_t>> MappedRegions() {
    return ImportRegistry::Get().MappedRegions();
}

void SetReleaseFenceMode(FenceMode mode) {
    FaultPlan::Get().SetFenceMode(mode);
}

std::optional<std::pair<dev_t, ino_t>> LastReleaseFence() {
    return FaultPlan::Get().LastFence();
}

void SetMapper5Suffix(const std::string& suffix) {
    StableCOffer::SetSuffix(suffix);
}

void FailNextCode(Operation operation, int32_t error) {
    FaultPlan::Get().FailNext(operation, error);
}

std::optional<std::vector<uint8_t>> ReadBack(const native_handle_t* rawHandle) {
    return mapperkit::MapperReadBack::Read(rawHandle);
}

size_t Reset() {
    Offer({});
    FaultPlan::Get().Clear();
    StableCOffer::SetSuffix(SUFFIX);
    return ImportRegistry::Get().ReleaseAll();
}

}  // namespace hostkit::mapper
