#include <hidl/HidlString.h>

#include <algorithm>
#include <cstring>
#include <ostream>

#include <hidl/HidlInternal.h>

namespace android {
namespace hardware {

namespace {
const char kEmpty[] = "";
}  // namespace

hidl_string::hidl_string() : mBuffer(kEmpty), mSize(0), mOwnsBuffer(false) {}
hidl_string::~hidl_string() { release(); }
hidl_string::hidl_string(const hidl_string& other) : hidl_string() { copyFrom(other.c_str(), other.size()); }
hidl_string::hidl_string(const char* s) : hidl_string() {
    if (s != nullptr) copyFrom(s, strlen(s));
}
hidl_string::hidl_string(const char* s, size_t length) : hidl_string() {
    if (s != nullptr) copyFrom(s, length);
}
hidl_string::hidl_string(const std::string& s) : hidl_string() { copyFrom(s.c_str(), s.size()); }
hidl_string::hidl_string(hidl_string&& other) noexcept : hidl_string() { moveFrom(std::move(other)); }

hidl_string& hidl_string::operator=(const hidl_string& other) {
    if (this != &other) copyFrom(other.c_str(), other.size());
    return *this;
}
hidl_string& hidl_string::operator=(const char* s) {
    if (s == nullptr) {
        clear();
    } else {
        copyFrom(s, strlen(s));
    }
    return *this;
}
hidl_string& hidl_string::operator=(const std::string& s) {
    copyFrom(s.c_str(), s.size());
    return *this;
}
hidl_string& hidl_string::operator=(hidl_string&& other) noexcept {
    if (this != &other) moveFrom(std::move(other));
    return *this;
}

const char* hidl_string::c_str() const { return mBuffer; }
size_t hidl_string::size() const { return mSize; }
bool hidl_string::empty() const { return mSize == 0; }
hidl_string::operator std::string() const { return std::string(mBuffer, mSize); }
void hidl_string::clear() { release(); }

void hidl_string::setToExternal(const char* s, size_t size) {
    if (size > UINT32_MAX) details::logAlwaysFatal("string size can't exceed 2^32 bytes.");
    release();
    mBuffer = s != nullptr ? s : kEmpty;
    mSize = s != nullptr ? static_cast<uint32_t>(size) : 0;
    mOwnsBuffer = false;
}

void hidl_string::copyFrom(const char* data, size_t size) {
    if (size > UINT32_MAX) details::logAlwaysFatal("string size can't exceed 2^32 bytes.");
    // Copy first: data may point into our own buffer.
    char* copy = new char[size + 1];
    memcpy(copy, data, size);
    copy[size] = '\0';
    release();
    mBuffer = copy;
    mSize = static_cast<uint32_t>(size);
    mOwnsBuffer = true;
}

void hidl_string::moveFrom(hidl_string&& other) {
    release();
    mBuffer = other.mBuffer;
    mSize = other.mSize;
    mOwnsBuffer = other.mOwnsBuffer;
    other.mBuffer = kEmpty;
    other.mSize = 0;
    other.mOwnsBuffer = false;
}

void hidl_string::release() {
    if (mOwnsBuffer) delete[] mBuffer;
    mBuffer = kEmpty;
    mSize = 0;
    mOwnsBuffer = false;
}

bool operator==(const hidl_string& a, const hidl_string& b) {
    return a.size() == b.size() && memcmp(a.c_str(), b.c_str(), a.size()) == 0;
}
bool operator!=(const hidl_string& a, const hidl_string& b) { return !(a == b); }
namespace {
int compare(const hidl_string& a, const hidl_string& b) {
    const size_t common = std::min(a.size(), b.size());
    const int bytes = common == 0 ? 0 : memcmp(a.c_str(), b.c_str(), common);
    if (bytes != 0) return bytes;
    return a.size() < b.size() ? -1 : (a.size() > b.size() ? 1 : 0);
}
}  // namespace

bool operator<(const hidl_string& a, const hidl_string& b) { return compare(a, b) < 0; }
bool operator>(const hidl_string& a, const hidl_string& b) { return compare(a, b) > 0; }
bool operator<=(const hidl_string& a, const hidl_string& b) { return compare(a, b) <= 0; }
bool operator>=(const hidl_string& a, const hidl_string& b) { return compare(a, b) >= 0; }
bool operator==(const hidl_string& a, const char* b) { return b != nullptr && strcmp(a.c_str(), b) == 0; }
bool operator==(const char* a, const hidl_string& b) { return b == a; }
bool operator!=(const hidl_string& a, const char* b) { return !(a == b); }
bool operator!=(const char* a, const hidl_string& b) { return !(b == a); }
bool operator==(const hidl_string& a, const std::string& b) { return a == hidl_string(b); }
bool operator==(const std::string& a, const hidl_string& b) { return b == a; }
bool operator!=(const hidl_string& a, const std::string& b) { return !(a == b); }
bool operator!=(const std::string& a, const hidl_string& b) { return !(b == a); }

std::ostream& operator<<(std::ostream& os, const hidl_string& str) { return os << str.c_str(); }

std::string toString(const hidl_string& s) { return "\"" + std::string(s) + "\""; }

}  // namespace hardware
}  // namespace android
