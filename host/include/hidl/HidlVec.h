#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <iterator>
#include <type_traits>
#include <utility>
#include <vector>

#include <hidl/HidlInternal.h>

namespace android {
namespace hardware {

// Vector carried by HIDL calls: constructors copy the elements and own them;
// setToExternal() may reference a caller's array. At most 2^32-1 elements.
template <typename T>
struct hidl_vec {
  private:
    // Random-access iterator over the elements. A class, as on the platform, so code that
    // takes begin() for a raw pointer does not compile here either.
    template <bool IS_CONST>
    class iter {
        using ptr_type = std::conditional_t<IS_CONST, const T*, T*>;

      public:
        using iterator_category = std::random_access_iterator_tag;
        using value_type = T;
        using difference_type = ptrdiff_t;
        using pointer = ptr_type;
        using reference = std::conditional_t<IS_CONST, const T&, T&>;

        iter(ptr_type ptr) : mPtr(ptr) {}
        iter& operator++() {
            ++mPtr;
            return *this;
        }
        iter operator++(int) { return iter(mPtr++); }
        iter& operator--() {
            --mPtr;
            return *this;
        }
        iter operator--(int) { return iter(mPtr--); }
        iter& operator+=(difference_type n) {
            mPtr += n;
            return *this;
        }
        iter& operator-=(difference_type n) {
            mPtr -= n;
            return *this;
        }
        iter operator+(difference_type n) const { return iter(mPtr + n); }
        friend iter operator+(difference_type n, const iter& it) { return iter(it.mPtr + n); }
        iter operator-(difference_type n) const { return iter(mPtr - n); }
        difference_type operator-(const iter& other) const { return mPtr - other.mPtr; }
        reference operator*() const { return *mPtr; }
        pointer operator->() const { return mPtr; }
        reference operator[](size_t n) const { return mPtr[n]; }
        bool operator==(const iter& rhs) const { return mPtr == rhs.mPtr; }
        bool operator!=(const iter& rhs) const { return mPtr != rhs.mPtr; }
        bool operator<(const iter& rhs) const { return mPtr < rhs.mPtr; }
        bool operator>(const iter& rhs) const { return mPtr > rhs.mPtr; }
        bool operator<=(const iter& rhs) const { return mPtr <= rhs.mPtr; }
        bool operator>=(const iter& rhs) const { return mPtr >= rhs.mPtr; }

      private:
        ptr_type mPtr;
    };

  public:
    using value_type = T;
    using iterator = iter<false>;
    using const_iterator = iter<true>;

    hidl_vec() : mBuffer(nullptr), mSize(0), mOwnsBuffer(true) {}
    hidl_vec(size_t size) : hidl_vec() { resize(size); }
    hidl_vec(const hidl_vec& other) : hidl_vec() { *this = other; }
    hidl_vec(hidl_vec&& other) noexcept : hidl_vec() { *this = std::move(other); }
    hidl_vec(const std::initializer_list<T> list) : hidl_vec() { assign(list.begin(), list.size()); }
    hidl_vec(const std::vector<T>& other) : hidl_vec() { assign(other.data(), other.size()); }
    // Copies [first, last), converting each element with static_cast<T>. Fatal for more than
    // 2^32-1 elements or a negative distance.
    template <typename InputIterator,
              typename = std::enable_if_t<std::is_convertible<
                      typename std::iterator_traits<InputIterator>::iterator_category,
                      std::input_iterator_tag>::value>>
    hidl_vec(InputIterator first, InputIterator last) : hidl_vec() {
        const auto distance = std::distance(first, last);
        if (distance > static_cast<int64_t>(UINT32_MAX)) {
            details::logAlwaysFatal("hidl_vec can't hold more than 2^32 elements.");
        }
        if (distance < 0) details::logAlwaysFatal("size can't be negative.");
        allocate(static_cast<size_t>(distance));
        for (size_t i = 0; first != last; ++first, ++i) mBuffer[i] = static_cast<T>(*first);
    }
    ~hidl_vec() { release(); }

    hidl_vec& operator=(const hidl_vec& other) {
        if (this != &other) assign(other.mBuffer, other.mSize);
        return *this;
    }
    hidl_vec& operator=(hidl_vec&& other) noexcept {
        if (this == &other) return *this;
        release();
        mBuffer = other.mBuffer;
        mSize = other.mSize;
        mOwnsBuffer = other.mOwnsBuffer;
        other.mBuffer = nullptr;
        other.mSize = 0;
        other.mOwnsBuffer = true;
        return *this;
    }
    hidl_vec& operator=(const std::vector<T>& other) {
        assign(other.data(), other.size());
        return *this;
    }
    operator std::vector<T>() const { return std::vector<T>(mBuffer, mBuffer + mSize); }

    // References data[0..size) without copying; owned only if shouldOwn
    // (then it must come from new[]).
    void setToExternal(T* data, size_t size, bool shouldOwn = false) {
        checkSize(size);
        release();
        mBuffer = data;
        mSize = static_cast<uint32_t>(size);
        mOwnsBuffer = shouldOwn;
    }
    // Hands the buffer (from new[]) to the caller; null if not owned.
    T* releaseData() {
        if (!mOwnsBuffer && mSize > 0) return nullptr;
        T* data = mBuffer;
        mBuffer = nullptr;
        mSize = 0;
        mOwnsBuffer = true;
        return data;
    }

    T* data() { return mBuffer; }
    const T* data() const { return mBuffer; }
    size_t size() const { return mSize; }
    T& operator[](size_t index) { return mBuffer[index]; }
    const T& operator[](size_t index) const { return mBuffer[index]; }
    iterator begin() { return iterator(mBuffer); }
    iterator end() { return iterator(mBuffer + mSize); }
    const_iterator begin() const { return const_iterator(mBuffer); }
    const_iterator end() const { return const_iterator(mBuffer + mSize); }

    void resize(size_t size) {
        checkSize(size);
        T* grown = size > 0 ? new T[size] : nullptr;
        for (size_t i = 0; i < size && i < mSize; ++i) grown[i] = std::move(mBuffer[i]);
        release();
        mBuffer = grown;
        mSize = static_cast<uint32_t>(size);
        mOwnsBuffer = true;
    }

    bool operator==(const hidl_vec& other) const {
        if (mSize != other.mSize) return false;
        for (size_t i = 0; i < mSize; ++i) {
            if (!(mBuffer[i] == other.mBuffer[i])) return false;
        }
        return true;
    }
    bool operator!=(const hidl_vec& other) const { return !(*this == other); }

  private:
    static void checkSize(size_t size) {
        if (size > UINT32_MAX) details::logAlwaysFatal("hidl_vec can't hold more than 2^32 elements.");
    }
    void allocate(size_t size) {
        checkSize(size);
        release();
        mBuffer = size > 0 ? new T[size] : nullptr;
        mSize = static_cast<uint32_t>(size);
        mOwnsBuffer = true;
    }
    void assign(const T* data, size_t size) {
        if (data == mBuffer && size == mSize) return;
        allocate(size);
        for (size_t i = 0; i < size; ++i) mBuffer[i] = data[i];
    }
    void release() {
        if (mOwnsBuffer) delete[] mBuffer;
        mBuffer = nullptr;
        mSize = 0;
        mOwnsBuffer = true;
    }

    T* mBuffer;
    uint32_t mSize;
    bool mOwnsBuffer;
};

}  // namespace hardware
}  // namespace android
