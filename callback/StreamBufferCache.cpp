#include "callback/StreamBufferCache.h"

#include <unistd.h>

#include <thread>

namespace android {

namespace {

constexpr int RELEASE_RETRY_COUNT = 40;
constexpr useconds_t RELEASE_RETRY_SLEEP_US = 5000;

}  // namespace

CacheResult StreamBufferCache::Import(StreamBufferID key, const native_handle_t* raw) {
    if (raw == nullptr) {
        // Requests for buffers the library already holds come without a handle.
        Mutex::Autolock lock(mMutex);
        return {mStreamBuffers.empty() ? CacheStatus::EMPTY : CacheStatus::OK};
    }
    // Before the lock: the first use builds the mapper watcher, which looks the mapper
    // service up and links to its death.
    std::shared_ptr<VirMapperBase> mapper = mOwner.GetMapper();
    if (mapper == nullptr) {
        return {CacheStatus::NO_MAPPER};
    }
    Mutex::Autolock lock(mMutex);
    mOwner.BeforeImport(key, raw);
    if (auto old = mStreamBuffers.find(key); old != mStreamBuffers.end()) {
        Forget(old, mapper);
    }
    const native_handle* imported = nullptr;
    if (int ret = mapper->ImportBuffer(hardware::hidl_handle(raw), imported); ret != 0) {
        return {CacheStatus::IMPORT_FAILED, ret};
    }
    mStreamBuffers.emplace(key, std::make_shared<StreamBuffer>(key.streamId, key.bufferId, imported, mapper));
    return {};
}

CacheResult StreamBufferCache::Lock(StreamBufferID key, void** handleData, void*& address) {
    if (mInRelease.load()) {
        return {CacheStatus::IN_RELEASE};
    }
    std::shared_ptr<VirMapperBase> mapper = mOwner.GetMapper();
    if (mapper == nullptr) {
        return {CacheStatus::NO_MAPPER};
    }
    // Released on return, outside the cache lock: if the HAL dropped the buffer meanwhile,
    // this thread frees it (the mapper runs in the process, any thread may call it).
    const std::shared_ptr<StreamBuffer> pinned = PinForLock(key);
    if (pinned == nullptr) {
        return {CacheStatus::NO_ENTRY};
    }
    const native_handle* handle = pinned->handle;
    if (handleData != nullptr) {
        *handleData = const_cast<int*>(handle->data);
    }
    if (int ret = mapper->Lock(handle, address); ret != 0) {
        return {CacheStatus::LOCK_FAILED, ret};
    }
    return {};
}

std::shared_ptr<StreamBuffer> StreamBufferCache::PinForLock(StreamBufferID key) {
    Mutex::Autolock lock(mMutex);
    auto entry = mStreamBuffers.find(key);
    if (entry == mStreamBuffers.end()) {
        return nullptr;
    }
    entry->second->locked = true;
    return entry->second;
}

template <class Use>
CacheResult StreamBufferCache::WithEntry(StreamBufferID key, Use&& use) {
    std::shared_ptr<VirMapperBase> mapper = mOwner.GetMapper();
    if (mapper == nullptr) {
        return {CacheStatus::NO_MAPPER};
    }
    Mutex::Autolock lock(mMutex);
    auto entry = mStreamBuffers.find(key);
    if (entry == mStreamBuffers.end()) {
        return {CacheStatus::NO_ENTRY};
    }
    use(entry, std::move(mapper));
    return {};
}

// The unlock runs entirely under the cache lock, where the entry cannot go away, so it
// needs no reference of its own; it also keeps a flush or re-import from freeing the
// buffer between the lock mark being cleared and the mapper's unlock.
CacheResult StreamBufferCache::Unlock(StreamBufferID key, int& releaseFence) {
    auto unlock = [this, &releaseFence](Map::iterator entry, std::shared_ptr<VirMapperBase> mapper)
                      REQUIRES(mMutex) {
        entry->second->locked = false;
        const native_handle* handle = entry->second->handle;
        mOwner.BeforeUnlock(handle);
        int fence = -1;
        mapper->UnLock(handle, fence);
        releaseFence = fence;
    };
    return WithEntry(key, unlock);
}

CacheResult StreamBufferCache::Remove(StreamBufferID key) {
    if (!Contains(key)) {
        return {CacheStatus::NO_ENTRY};
    }
    auto forget = [this](Map::iterator entry, std::shared_ptr<VirMapperBase> mapper) REQUIRES(mMutex) {
        Forget(entry, std::move(mapper));
    };
    return WithEntry(key, forget);
}

bool StreamBufferCache::ReleaseOnce() {
    // The mapper is fetched before the walk takes the lock, and only when there is
    // something to free.
    std::shared_ptr<VirMapperBase> mapper;
    bool fetched = false;
    while (true) {
        if (!fetched && Size() != 0) {
            mapper = mOwner.GetMapper();
            fetched = true;
        }
        Mutex::Autolock lock(mMutex);
        if (fetched || mStreamBuffers.empty()) {
            return Walk(mapper);
        }
        // An image request filled the cache meanwhile: fetch the mapper after all.
    }
}

bool StreamBufferCache::Walk(const std::shared_ptr<VirMapperBase>& mapper) {
    bool released = true;
    auto entry = mStreamBuffers.begin();
    while (entry != mStreamBuffers.end()) {
        if (entry->second->locked) {
            // Deliberately stays on this entry: only an unlock lets the walk go on,
            // and the unlock needs this same lock.
            released = false;
            std::this_thread::yield();
            continue;
        }
        entry = Forget(entry, mapper);
    }
    return released;
}

StreamBufferCache::Map::iterator StreamBufferCache::Forget(Map::iterator entry,
                                                           std::shared_ptr<VirMapperBase> mapper) {
    std::shared_ptr<StreamBuffer> buffer = std::move(entry->second);
    const StreamBufferID key = entry->first;
    entry = mStreamBuffers.erase(entry);
    buffer->FreeThrough(std::move(mapper));
    buffer.reset();  // frees now, unless a lock in progress still holds the buffer
    mOwner.Forgotten(key);
    return entry;
}

void StreamBufferCache::ReleaseAll() {
    mInRelease.store(true);
    for (int retry = 0; !ReleaseOnce() && retry < RELEASE_RETRY_COUNT; ++retry) {
        usleep(RELEASE_RETRY_SLEEP_US);
    }
    ReleaseOnce();
    mInRelease.store(false);
}

bool StreamBufferCache::Contains(StreamBufferID key) const {
    Mutex::Autolock lock(mMutex);
    return mStreamBuffers.count(key) != 0;
}

size_t StreamBufferCache::Size() const {
    Mutex::Autolock lock(mMutex);
    return mStreamBuffers.size();
}

}  // namespace android
