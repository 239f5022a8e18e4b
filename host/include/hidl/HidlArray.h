#pragma once

#include <array>
#include <cstddef>
#include <tuple>

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

// Fixed-size multi-dimensional array of a HIDL struct field. As on the platform, size() is the
// tuple of dimensions, a source is a flat pointer to elementCount() elements, and there is no
// std::array conversion in the kit (only the one-dimensional form below has one).
template <typename T, size_t SIZE1, size_t... SIZES>
struct hidl_array {
    using type = typename details::nested_array<T, SIZE1, SIZES...>::type;
    using size_tuple_type = std::tuple<decltype(SIZE1), decltype(SIZES)...>;

    hidl_array() = default;
    // Copies elementCount() elements from source.
    hidl_array(const T* source) {
        for (size_t i = 0; i < elementCount(); ++i) data()[i] = source[i];
    }

    T* data() { return reinterpret_cast<T*>(&mBuffer); }
    const T* data() const { return reinterpret_cast<const T*>(&mBuffer); }
    auto& operator[](size_t index) { return mBuffer[index]; }
    const auto& operator[](size_t index) const { return mBuffer[index]; }
    static constexpr size_tuple_type size() { return std::make_tuple(SIZE1, SIZES...); }
    static constexpr size_t elementCount() { return (SIZE1 * ... * SIZES); }

    bool operator==(const hidl_array& other) const {
        for (size_t i = 0; i < elementCount(); ++i) {
            if (!(data()[i] == other.data()[i])) return false;
        }
        return true;
    }
    bool operator!=(const hidl_array& other) const { return !(*this == other); }

  private:
    type mBuffer;
};

// One-dimensional array: converts from and to std::array<T, SIZE1> element by element.
template <typename T, size_t SIZE1>
struct hidl_array<T, SIZE1> {
    using value_type = T;
    using std_array_type = std::array<T, SIZE1>;

    hidl_array() = default;
    // Copies SIZE1 elements from source.
    hidl_array(const T* source) {
        for (size_t i = 0; i < SIZE1; ++i) mBuffer[i] = source[i];
    }
    hidl_array(const std_array_type& array) : hidl_array(array.data()) {}

    T* data() { return mBuffer; }
    const T* data() const { return mBuffer; }
    T& operator[](size_t index) { return mBuffer[index]; }
    const T& operator[](size_t index) const { return mBuffer[index]; }
    static constexpr size_t size() { return SIZE1; }
    static constexpr size_t elementCount() { return SIZE1; }

    bool operator==(const hidl_array& other) const {
        for (size_t i = 0; i < SIZE1; ++i) {
            if (!(mBuffer[i] == other.mBuffer[i])) return false;
        }
        return true;
    }
    bool operator!=(const hidl_array& other) const { return !(*this == other); }

    operator std_array_type() const {
        std_array_type array;
        for (size_t i = 0; i < SIZE1; ++i) array[i] = mBuffer[i];
        return array;
    }

  private:
    T mBuffer[SIZE1];
};

}  // namespace hardware
}  // namespace android
