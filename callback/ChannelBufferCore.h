#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>

#include <utils/StrongPointer.h>

#include "callback/MapperWatcherBase.h"
#include "callback/MapperWatcherSlot.h"
#include "callback/StreamBufferCache.h"

namespace android {

// The buffer operations whose outcome a channel reports.
enum class BufferOp { IMPORT, REMOVE, LOCK, UNLOCK };

// The values a status line's format takes, in this order.
enum class LineArgs {
    IDS,             // stream id %d, buffer id %d (the cache key)
    IDS_WIDE,        // stream id %d, buffer id %lld (as the caller gave it)
    ERROR,           // the mapper's result %d
    IDS_WIDE_ERROR,  // stream id %d, buffer id %lld, the mapper's result %d
};

// What one operation logs and answers when it ends with one status.
struct StatusLine {
    BufferOp op;
    CacheStatus status;
    int priority;        // 0: nothing is logged
    const char* format;  // taking `args`
    LineArgs args;
    int32_t result;
};

// What one transport says where the two differ. Every text is logged under `tag`; an
// empty (null) text is not logged.
struct ChannelTexts {
    const char* tag;
    const StatusLine* statusLines;  // one per (operation, failing status) the transport reports
    size_t statusLineCount;
    int32_t unexpectedImportResult;  // an import status no line covers
    const char* bufferForgotten;     // DEBUG: stream id %d, buffer id %d
    const char* mapperLinkFailed;    // WARN: the watcher's registration result %d, if wanted
    const char* cacheSyncFailed;     // ERROR: the sync result %d, then the errno text %s, if wanted
    const char* importedHandle;      // INFO before an import: version %d, fds %d, ints %d
    const char* importedCount;       // INFO after an import: cache size %zu
    bool syncBeforeUnlock;           // write the CPU caches back before every unlock
    const char* lockTrace;           // trace sections of the caller's lock and unlock
    const char* unlockTrace;
};

// What both channel callbacks share: the stream buffer cache, the mapper watcher slot
// and how cache outcomes become log lines and results. A channel callback derives from it.
class ChannelBufferCore : private StreamBufferOwner {
public:
    // Locks a cached buffer for CPU writing; null when it is not cached, no mapper
    // exists, the mapper refused, or a release is running. `outHandleData`, when not
    // null, receives the handle's data array (fds, then ints). Any thread.
    void* LockVideoBuffer(int32_t uniqueID, int32_t streamId, unsigned long bufferId, void** outHandleData);
    // 0 with the mapper's release fence (or -1) in outReleaseFence, the caller owning
    // it; -1 when the buffer or the mapper is missing. Any thread.
    int32_t UnLockVideoBuffer(int32_t uniqueID, int32_t streamId, unsigned long bufferId,
                              int32_t& outReleaseFence);
    // Drops the mapper watcher; the next buffer operation builds a new one.
    void ClearMapper() { mMapperWatcher.Clear(); }
    // Writes the CPU caches of a dma-buf back (DMA_BUF_IOCTL_SYNC, write end).
    void FlushCache(const native_handle_t* handle);

protected:
    using MakeWatcher = std::function<sp<MapperWatcherBase>()>;

    // `texts` must outlive the core; `makeWatcher` builds the transport's mapper watcher.
    ChannelBufferCore(const ChannelTexts& texts, MakeWatcher makeWatcher);
    ~ChannelBufferCore() = default;

    // Imports `raw` (kept by the caller) under `key`, or checks a handle-less request.
    // 0, or the transport's result for the failure.
    int32_t ImportStreamBuffer(StreamBufferID key, const native_handle_t* raw);
    // Frees and forgets one buffer, locked or not. 0 or -1.
    int32_t RemoveStreamBuffer(int32_t streamId, unsigned long bufferId);
    // Releases every buffer (waiting for locked ones to be unlocked).
    void ReleaseStreamBuffers() { mStreamBuffers.ReleaseAll(); }

private:
    std::shared_ptr<VirMapperBase> GetMapper() override;
    void BeforeImport(StreamBufferID key, const native_handle_t* raw) override;
    void BeforeUnlock(const native_handle_t* handle) override;
    void Forgotten(StreamBufferID key) override;

    // Logs the line of a failed operation; its result.
    int32_t Report(BufferOp op, const CacheResult& result, int32_t streamId, long long bufferId) const;

    const ChannelTexts& mTexts;
    const MakeWatcher mMakeWatcher;
    MapperWatcherSlot<MapperWatcherBase> mMapperWatcher;
    StreamBufferCache mStreamBuffers;
};

}  // namespace android
