#pragma once

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <optional>
#include <set>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include <cutils/native_handle.h>

// Test controls of the kit's graphics mapper services (android.hardware.graphics.mapper@2.0,
// @3.0 and @4.0, instance "default") and of its buffer allocator. Test code only.
// All functions are thread-safe and never throw.
namespace hostkit::mapper {

enum class Operation { IMPORT, LOCK, UNLOCK, FREE };

// What unlock() hands back as release fence. ONE_FD is a signalled fence (a pipe with data);
// TWO_FDS is a malformed fence a client must reject. The mapper closes the fds as soon as the
// unlock callback returns.
enum class FenceMode { NONE, ONE_FD, TWO_FDS };

// PASSTHROUGH (the default, as devices declare the HIDL mappers): lookups from every process
// get the object itself, calls run on the caller's thread, links succeed and never fire, and
// Kill() only hides the service from new lookups.
// BINDERIZED (mapper death tests): the mapper runs in a process of its own with its own
// hwbinder pool; lookups get proxies, so Kill() makes calls fail and death links fire.
enum class Transport { BINDERIZED, PASSTHROUGH };

// Registers exactly the given mapper major versions (2, 3, 4, 5; any subset, also none) as
// "default"; versions live before and not listed are removed (killed, so their death links
// fire). Versions already live stay as they are. Returns false for unknown numbers or when a
// registration failed. The transport applies to the HIDL versions; 5 is the stable-C mapper,
// offered as a device does (see ALLOCATOR_INSTANCE).
bool Offer(std::initializer_list<int> versions, Transport transport = Transport::PASSTHROUGH);
bool Offer(const std::vector<int>& versions, Transport transport = Transport::PASSTHROUGH);

// Mapper 5: offering it declares and registers the AIDL allocator ALLOCATOR_INSTANCE, whose
// getIMapperLibrarySuffix() answers the suffix set here (SUFFIX unless changed; Reset() restores
// it). The library it names, /vendor/lib64/hw/mapper.<suffix>.so, is looked up in the kit's
// stand-in folder by its libvndksupport. Besides the working library the folder holds broken
// ones, and no file for SUFFIX_NO_FILE. Mapper 5 never dies: Kill/Restore refuse 5 (to take the
// allocator away, hostkit::binder::Kill(ALLOCATOR_INSTANCE)).
constexpr const char* ALLOCATOR_INSTANCE = "android.hardware.graphics.allocator.IAllocator/default";
constexpr const char* SUFFIX = "hostkit";
constexpr const char* SUFFIX_NO_FILE = "hostkit_absent";
constexpr const char* SUFFIX_NO_LOAD_SYMBOL = "hostkit_noload";    // no AIMapper_loadIMapper
constexpr const char* SUFFIX_NO_VERSION = "hostkit_noversion";     // no ANDROID_HAL_STABLEC_VERSION
constexpr const char* SUFFIX_VERSION_4 = "hostkit_v4";             // ANDROID_HAL_STABLEC_VERSION 4
constexpr const char* SUFFIX_LOAD_FAILS = "hostkit_loadfails";     // loadIMapper: NO_RESOURCES
void SetMapper5Suffix(const std::string& suffix);

// Kill: the version's service dies (calls on existing proxies fail with DEAD_OBJECT, lookups
// return null). Restore: it is back for new lookups. False for versions not offered.
bool Kill(int version);
bool Restore(int version);

// Framework-side allocation. The caller owns the handle: FreeAllocated(), or
// native_handle_close() + native_handle_delete(). Null for unsupported input.
// CPU locks later require CPU read/write bits in usage matching what they ask for.
native_handle_t* Allocate(uint32_t width, uint32_t height, int32_t format, uint64_t usage);
void FreeAllocated(native_handle_t* handle);

// The mapper version (2 to 5) that made the last successful import, 0 if none since Reset().
int LastImportVersion();

// Imports made by any mapper version and not freed yet.
size_t LiveImports();

// The CPU mappings the mappers currently hold (address, length), for leak checks.
std::set<std::pair<uintptr_t, size_t>> MappedRegions();

void SetReleaseFenceMode(FenceMode mode);

// (st_dev, st_ino) of the last release fence unlock() handed out, to check a client's dup.
std::optional<std::pair<dev_t, ino_t>> LastReleaseFence();

// The next call of `operation` (through any version) fails with `error` (a mapper Error value,
// equal across versions) and does nothing else. Calls queue up.
void FailNextCode(Operation operation, int32_t error);
template <typename Error, typename = std::enable_if_t<std::is_enum_v<Error>>>
void FailNext(Operation operation, Error error) {
    FailNextCode(operation, static_cast<int32_t>(error));
}

// Reads a buffer back as the framework would: import, lock for CPU read, copy, unlock, free,
// through the newest HIDL mapper version a lookup finds, else through the kit's buffer registry
// when mapper 5 is offered (nullopt if none, or if any step fails).
// The raw handle stays the caller's.
std::optional<std::vector<uint8_t>> ReadBack(const native_handle_t* rawHandle);

// Back to a device without mappers: removes all versions, pending failures, the fence mode and
// the mapper 5 suffix,
// and releases imports left over. Returns the number of imports it had to release.
size_t Reset();

}  // namespace hostkit::mapper
