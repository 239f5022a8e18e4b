#include "common/HashIdCache.h"

namespace android {

namespace {

constexpr int EMPTY_TEXT_ID = 10001;
constexpr int MODULUS = 10000;

}  // namespace

int HashIdCache::ConvertToHashID(const std::string& text) {
    Mutex::Autolock guard(mLock);
    // Clearing all at once bounds the memory without any eviction bookkeeping.
    if (mCache.size() >= MAX_ENTRIES) mCache.clear();
    auto found = mCache.find(text);
    if (found != mCache.end()) return found->second;
    const int value = Compute(text);
    mCache.emplace(text, value);
    return value;
}

int HashIdCache::Compute(const std::string& text) {
    if (text.empty()) return EMPTY_TEXT_ID;
    int a = 1;
    int b = 1;
    for (char c : text) {
        // Bytes count as 0..255 whatever the signedness of char.
        const int byte = static_cast<unsigned char>(c);
        a = (a + byte) % MODULUS;
        b = (b + 2 * byte) % MODULUS;
    }
    return a * MODULUS + b;
}

size_t HashIdCache::Size() const {
    Mutex::Autolock guard(mLock);
    return mCache.size();
}

}  // namespace android
