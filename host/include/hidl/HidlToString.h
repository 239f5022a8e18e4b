#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <type_traits>

#include <hidl/HidlArray.h>
#include <hidl/HidlHandle.h>
#include <hidl/HidlInternal.h>
#include <hidl/HidlString.h>
#include <hidl/HidlVec.h>

namespace android {
namespace hardware {

// Text forms used by the generated toString() of structs and unions.
inline std::string toString(bool b) { return b ? "true" : "false"; }
inline std::string toString(const void* p) {
    return p == nullptr ? std::string("0x0") : details::toHexString(reinterpret_cast<uintptr_t>(p));
}
template <typename T, typename = std::enable_if_t<std::is_arithmetic<T>::value>>
inline std::string toString(T value) {
    return std::to_string(value);
}
std::string toString(const hidl_string& s);
std::string toString(const hidl_handle& h);

template <typename T>
std::string toString(const hidl_vec<T>& v) {
    std::string os = "[";
    for (size_t i = 0; i < v.size(); ++i) {
        if (i > 0) os += ", ";
        os += toString(v[i]);
    }
    return os + "]";
}

template <typename T, size_t SIZE1, size_t... SIZES>
std::string toString(const hidl_array<T, SIZE1, SIZES...>& a) {
    std::string os = "[";
    for (size_t i = 0; i < a.elementCount(); ++i) {
        if (i > 0) os += ", ";
        os += toString(a.data()[i]);
    }
    return os + "]";
}

}  // namespace hardware
}  // namespace android
