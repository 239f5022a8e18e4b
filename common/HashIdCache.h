#pragma once

#include <map>
#include <string>

#include <android-base/thread_annotations.h>
#include <utils/Mutex.h>

namespace android {

// Turns a device or service string into the number a registration's uniqueID is summed
// from, remembering results. Each source that needs ConvertToHashID owns one instance,
// so each keeps its own cache. Thread-safe.
class HashIdCache {
  public:
    // 10001 for "", else A * 10000 + B (0..99999999); equal texts give equal values.
    int ConvertToHashID(const std::string& text) EXCLUDES(mLock);

    // The value without touching any cache.
    static int Compute(const std::string& text);

    // Cached entries; the cache is emptied on the call that finds MAX_ENTRIES or more.
    size_t Size() const EXCLUDES(mLock);

    static constexpr size_t MAX_ENTRIES = 1001;

  private:
    mutable Mutex mLock;  // guards the cache
    std::map<std::string, int> mCache GUARDED_BY(mLock);
};

}  // namespace android
