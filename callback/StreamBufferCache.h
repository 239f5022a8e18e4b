#pragma once

#include <atomic>
#include <map>
#include <memory>

#include <android-base/thread_annotations.h>
#include <hidl/HidlSupport.h>
#include <utils/Mutex.h>

#include "callback/StreamBuffer.h"
#include "callback/VirMapperBase.h"

namespace android {

// What a channel provides to the buffer cache it owns.
class StreamBufferOwner {
public:
    // The current mapper adapter, creating the mapper watcher on first use; empty if none.
    virtual std::shared_ptr<VirMapperBase> GetMapper() = 0;
    // Runs under the cache lock once a mapper was found, before `raw` is imported.
    virtual void BeforeImport(StreamBufferID /*key*/, const native_handle_t* /*raw*/) {}
    // Runs under the cache lock right before a buffer is unlocked.
    virtual void BeforeUnlock(const native_handle_t* /*handle*/) {}
    // Runs under the cache lock once the cache dropped an entry.
    virtual void Forgotten(StreamBufferID /*key*/) {}

protected:
    ~StreamBufferOwner() = default;
};

enum class CacheStatus { OK, EMPTY, NO_MAPPER, NO_ENTRY, IMPORT_FAILED, LOCK_FAILED, IN_RELEASE };

struct CacheResult {
    CacheStatus status = CacheStatus::OK;
    int error = 0;  // the mapper's result for IMPORT_FAILED and LOCK_FAILED
};

// The imported stream buffers of one channel callback, keyed by (stream id, buffer id).
// One lock guards the map and every entry; it is never held while the caller of the
// library runs, nor while the mapper is fetched (that may look the mapper service up).
// The mapper's import, free and unlock run under it (the mapper runs in the process);
// its lock calls happen outside it so a slow CPU mapping does not stall image requests.
// A lock pins its buffer for the length of the call: an unregister, re-import or release
// meanwhile drops only the cache's reference, and the locking thread frees the buffer
// when it lets go, outside the cache lock.
// Release walks never step past a locked buffer: a caller must unlock what it locked
// before a release can finish.
class StreamBufferCache {
public:
    explicit StreamBufferCache(StreamBufferOwner& owner) : mOwner(owner) {}

    // Caches an import of `raw` under `key`, replacing (and freeing) an entry with the
    // same key. A null `raw` succeeds when the cache holds any entry at all, whatever
    // its key, and answers EMPTY otherwise.
    CacheResult Import(StreamBufferID key, const native_handle_t* raw) EXCLUDES(mMutex);
    // Marks the buffer locked and maps it; `handleData`, when not null, receives the
    // handle's data array. On OK `address` is the CPU mapping.
    CacheResult Lock(StreamBufferID key, void** handleData, void*& address) EXCLUDES(mMutex);
    // Clears the lock mark and unlocks; `releaseFence` gets the mapper's fence or -1.
    CacheResult Unlock(StreamBufferID key, int& releaseFence) EXCLUDES(mMutex);
    // Frees and forgets one buffer, locked or not.
    CacheResult Remove(StreamBufferID key) EXCLUDES(mMutex);
    // One release pass; false when it met a locked buffer (see the class comment).
    bool ReleaseOnce() EXCLUDES(mMutex);
    // Releases everything, retrying for about 200 ms; refuses new locks meanwhile.
    void ReleaseAll() EXCLUDES(mMutex);

    bool InRelease() const { return mInRelease.load(); }
    size_t Size() const EXCLUDES(mMutex);

private:
    using Map = std::map<StreamBufferID, std::shared_ptr<StreamBuffer>>;

    bool Contains(StreamBufferID key) const EXCLUDES(mMutex);
    // Fetches the mapper, then runs `use(entry, mapper)` on the entry of `key` under the
    // cache lock; NO_MAPPER or NO_ENTRY when either is missing.
    template <class Use>
    CacheResult WithEntry(StreamBufferID key, Use&& use) EXCLUDES(mMutex);
    // The entry under `key` marked locked, with a reference of the caller's; null if none.
    std::shared_ptr<StreamBuffer> PinForLock(StreamBufferID key) EXCLUDES(mMutex);
    // Drops the cache's reference to one entry; the buffer is freed through `mapper` (not
    // at all when empty) by whoever holds the last reference. The next entry.
    Map::iterator Forget(Map::iterator entry, std::shared_ptr<VirMapperBase> mapper) REQUIRES(mMutex);
    // Frees (when `mapper` is set) and forgets every entry, stopping at a locked one.
    bool Walk(const std::shared_ptr<VirMapperBase>& mapper) REQUIRES(mMutex);

    StreamBufferOwner& mOwner;
    std::atomic<bool> mInRelease{false};
    mutable Mutex mMutex;  // guards the map and every StreamBuffer in it
    Map mStreamBuffers GUARDED_BY(mMutex);
};

}  // namespace android
