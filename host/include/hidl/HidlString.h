#pragma once

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <string>

namespace android {
namespace hardware {

// Text carried by HIDL calls. Constructors and assignments copy the text and
// own the copy; setToExternal() only references the caller's buffer.
struct hidl_string {
    hidl_string();
    ~hidl_string();
    hidl_string(const hidl_string& other);
    hidl_string(const char* s);  // nullptr gives an empty string
    hidl_string(const char* s, size_t length);
    hidl_string(const std::string& s);
    hidl_string(hidl_string&& other) noexcept;

    hidl_string& operator=(const hidl_string& other);
    hidl_string& operator=(const char* s);
    hidl_string& operator=(const std::string& s);
    hidl_string& operator=(hidl_string&& other) noexcept;

    const char* c_str() const;
    size_t size() const;
    bool empty() const;
    operator std::string() const;
    void clear();
    // References s[0..size) without owning it; s must outlive this string.
    void setToExternal(const char* s, size_t size);

  private:
    void copyFrom(const char* data, size_t size);
    void moveFrom(hidl_string&& other);
    void release();

    const char* mBuffer;
    uint32_t mSize;
    bool mOwnsBuffer;
};

bool operator==(const hidl_string& a, const hidl_string& b);
bool operator!=(const hidl_string& a, const hidl_string& b);
// Ordering compares the bytes like std::string.
bool operator<(const hidl_string& a, const hidl_string& b);
bool operator>(const hidl_string& a, const hidl_string& b);
bool operator<=(const hidl_string& a, const hidl_string& b);
bool operator>=(const hidl_string& a, const hidl_string& b);
bool operator==(const hidl_string& a, const char* b);
bool operator==(const char* a, const hidl_string& b);
bool operator!=(const hidl_string& a, const char* b);
bool operator!=(const char* a, const hidl_string& b);
bool operator==(const hidl_string& a, const std::string& b);
bool operator==(const std::string& a, const hidl_string& b);
bool operator!=(const hidl_string& a, const std::string& b);
bool operator!=(const std::string& a, const hidl_string& b);

// Writes c_str().
std::ostream& operator<<(std::ostream& os, const hidl_string& str);

}  // namespace hardware
}  // namespace android
