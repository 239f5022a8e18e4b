#pragma once

#include <cstdint>
#include <iterator>
#include <string>
#include <type_traits>

#include <hidl/HidlArray.h>
#include <hidl/HidlHandle.h>
#include <hidl/HidlInternal.h>
#include <hidl/HidlString.h>
#include <hidl/HidlToString.h>
#include <hidl/HidlVec.h>
#include <utils/RefBase.h>
#include <utils/StrongPointer.h>

namespace android {
namespace hidl {
namespace base {
namespace V1_0 {
struct IBase;
}  // namespace V1_0
}  // namespace base
}  // namespace hidl

namespace hardware {

// Flags of a HIDL enum, carried as its underlying integer.
template <typename Enum>
using hidl_bitfield = typename std::underlying_type<Enum>::type;

// Iterates over every value of a generated enum.
template <typename T, typename = std::enable_if_t<std::is_enum<T>::value>>
struct hidl_enum_range {
    constexpr auto begin() const { return std::begin(details::hidl_enum_values<T>); }
    constexpr auto end() const { return std::end(details::hidl_enum_values<T>); }
    constexpr auto rbegin() const { return std::rbegin(details::hidl_enum_values<T>); }
    constexpr auto rend() const { return std::rend(details::hidl_enum_values<T>); }
};

// Told once per link when a remote service dies, on a thread of the runtime.
// Links hold the recipient weakly: keep your own sp to it.
struct hidl_death_recipient : public virtual RefBase {
    virtual void serviceDied(uint64_t cookie,
                             const ::android::wp<::android::hidl::base::V1_0::IBase>& who) = 0;
};

}  // namespace hardware
}  // namespace android
