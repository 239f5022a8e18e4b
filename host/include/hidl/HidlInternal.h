#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <iomanip>
#include <sstream>
#include <string>
#include <type_traits>

namespace android {
namespace hardware {
namespace details {

// Tag that marks the pure interface classes generated from .hal files.
struct i_tag {};

// Abort with a fatal log line; used where the platform runtime aborts.
[[noreturn]] void logAlwaysFatal(const char* message);

// Lists every value of a generated enum; the generated headers specialise it.
template <typename T>
inline constexpr std::array<T, 0> hidl_enum_values = {};

template <typename T, typename = std::enable_if_t<std::is_integral<T>::value>>
std::string toHexString(T value) {
    std::ostringstream os;
    using Printed = std::conditional_t<sizeof(T) == 1, unsigned int, std::make_unsigned_t<T>>;
    os << std::showbase << std::hex << static_cast<Printed>(static_cast<std::make_unsigned_t<T>>(value));
    return os.str();
}

// Raw pointer wrapper the generated code may name.
template <typename T>
struct hidl_pointer {
    hidl_pointer() : mPointer(nullptr) {}
    hidl_pointer(T* p) : mPointer(p) {}  // NOLINT: implicit like the platform
    operator T*() const { return mPointer; }
    T* operator->() const { return mPointer; }
    T& operator*() const { return *mPointer; }
    T* get() const { return mPointer; }

  private:
    T* mPointer;
};

}  // namespace details
}  // namespace hardware
}  // namespace android
