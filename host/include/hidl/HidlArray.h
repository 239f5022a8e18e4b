#pragma once

#include <cstddef>

namespace android {
namespace hardware {
namespace details {

template <typename T, size_t SIZE1, size_t... SIZES>
struct nested_array {
    using type = typename nested_array<T, SIZES...>::type[SIZE1];
};
template <typename T, size_t SIZE1>
struct nested_array<T, SIZE1> {
    using type = T[SIZE1];
};

}  // namespace details

// Fixed-size (possibly multi-dimensional) array of a HIDL struct field.
template <typename T, size_t SIZE1, size_t... SIZES>
struct hidl_array {
    using type = typename details::nested_array<T, SIZE1, SIZES...>::type;

    hidl_array() = default;
    hidl_array(const type& source) { copy(source); }

    T* data() { return &flat()[0]; }
    const T* data() const { return &flat()[0]; }
    auto& operator[](size_t index) { return mBuffer[index]; }
    const auto& operator[](size_t index) const { return mBuffer[index]; }
    static constexpr size_t elementCount() { return (SIZE1 * ... * SIZES); }
    static constexpr size_t size() { return SIZE1; }

    bool operator==(const hidl_array& other) const {
        for (size_t i = 0; i < elementCount(); ++i) {
            if (!(data()[i] == other.data()[i])) return false;
        }
        return true;
    }
    bool operator!=(const hidl_array& other) const { return !(*this == other); }

  private:
    T* flat() { return reinterpret_cast<T*>(&mBuffer); }
    const T* flat() const { return reinterpret_cast<const T*>(&mBuffer); }
    void copy(const type& source) {
        const T* from = reinterpret_cast<const T*>(&source);
        for (size_t i = 0; i < elementCount(); ++i) flat()[i] = from[i];
    }

    type mBuffer;
};

}  // namespace hardware
}  // namespace android
