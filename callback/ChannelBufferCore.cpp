// Trace sections of this file go to the camera category of a capture.
#define ATRACE_TAG ATRACE_TAG_CAMERA

#include "callback/ChannelBufferCore.h"

#include <linux/dma-buf.h>
#include <sys/ioctl.h>

#include <cerrno>
#include <cstring>

#include <android/log.h>
#include <utils/Trace.h>

namespace android {

namespace {

// The function a transport names in its lines about an operation.
const char* OperationName(BufferOp op) {
    switch (op) {
        case BufferOp::IMPORT: return "ProcessOneImageRequest";
        case BufferOp::REMOVE: return "UnregistOneBuffer";
        case BufferOp::LOCK: return "LockVideoBuffer";
        case BufferOp::UNLOCK: return "UnLockVideoBuffer";
    }
    return "";
}

// Failures an operation answers with when the transport has no line for them.
constexpr int32_t FAILED = -1;

}  // namespace

ChannelBufferCore::ChannelBufferCore(const ChannelTexts& texts, MakeWatcher makeWatcher)
    : mTexts(texts), mMakeWatcher(std::move(makeWatcher)), mStreamBuffers(*this) {}

int32_t ChannelBufferCore::ImportStreamBuffer(StreamBufferID key, const native_handle_t* raw) {
    CacheResult result = mStreamBuffers.Import(key, raw);
    if (result.status != CacheStatus::OK) {
        return Report(BufferOp::IMPORT, result, key.streamId, key.bufferId);
    }
    if (raw != nullptr && mTexts.importedCount != nullptr) {
        __android_log_print(ANDROID_LOG_INFO, mTexts.tag, mTexts.importedCount, mStreamBuffers.Size());
    }
    return 0;
}

int32_t ChannelBufferCore::RemoveStreamBuffer(int32_t streamId, unsigned long bufferId) {
    CacheResult result = mStreamBuffers.Remove(StreamBufferID::From(streamId, bufferId));
    if (result.status != CacheStatus::OK) {
        return Report(BufferOp::REMOVE, result, streamId, static_cast<long long>(bufferId));
    }
    return 0;
}

void* ChannelBufferCore::LockVideoBuffer(int32_t /*uniqueID*/, int32_t streamId, unsigned long bufferId,
                                         void** handleData) {
    ATRACE_NAME(mTexts.lockTrace);
    void* address = nullptr;
    CacheResult result = mStreamBuffers.Lock(StreamBufferID::From(streamId, bufferId), handleData, address);
    if (result.status != CacheStatus::OK) {
        (void)Report(BufferOp::LOCK, result, streamId, static_cast<long long>(bufferId));
        return nullptr;
    }
    return address;
}

int32_t ChannelBufferCore::UnLockVideoBuffer(int32_t /*uniqueID*/, int32_t streamId, unsigned long bufferId,
                                             int32_t& releaseFence) {
    ATRACE_NAME(mTexts.unlockTrace);
    CacheResult result = mStreamBuffers.Unlock(StreamBufferID::From(streamId, bufferId), releaseFence);
    if (result.status != CacheStatus::OK) {
        return Report(BufferOp::UNLOCK, result, streamId, static_cast<long long>(bufferId));
    }
    return 0;
}

int32_t ChannelBufferCore::Report(BufferOp op, const CacheResult& result, int32_t streamId,
                                  long long bufferId) const {
    for (size_t i = 0; i < mTexts.statusLineCount; ++i) {
        const StatusLine& line = mTexts.statusLines[i];
        if (line.op != op || line.status != result.status) {
            continue;
        }
        if (line.priority == 0 || line.format == nullptr) {
            return line.result;
        }
        switch (line.args) {
            case LineArgs::IDS:
                __android_log_print(line.priority, mTexts.tag, line.format, streamId, static_cast<int32_t>(bufferId));
                break;
            case LineArgs::IDS_WIDE:
                __android_log_print(line.priority, mTexts.tag, line.format, streamId, bufferId);
                break;
            case LineArgs::ERROR:
                __android_log_print(line.priority, mTexts.tag, line.format, result.error);
                break;
            case LineArgs::IDS_WIDE_ERROR:
                __android_log_print(line.priority, mTexts.tag, line.format, streamId, bufferId, result.error);
                break;
        }
        return line.result;
    }
    __android_log_print(ANDROID_LOG_ERROR, mTexts.tag, "%s: unexpected cache status %d", OperationName(op),
                        static_cast<int>(result.status));
    return op == BufferOp::IMPORT ? mTexts.unexpectedImportResult : FAILED;
}

std::shared_ptr<VirMapperBase> ChannelBufferCore::GetMapper() {
    auto lookup = mMapperWatcher.Get(mMakeWatcher);
    if (!lookup.missingOnce.empty()) {
        __android_log_print(ANDROID_LOG_ERROR, mTexts.tag, "%s", lookup.missingOnce.c_str());
    }
    if (lookup.created) {
        if (lookup.registerResult != 0) {
            __android_log_print(ANDROID_LOG_WARN, mTexts.tag, mTexts.mapperLinkFailed, lookup.registerResult);
        } else {
            __android_log_print(ANDROID_LOG_DEBUG, mTexts.tag, "RegServiceLinkDeath mapper OK");
        }
    }
    return lookup.mapper;
}

void ChannelBufferCore::BeforeImport(StreamBufferID key, const native_handle_t* raw) {
    __android_log_print(ANDROID_LOG_DEBUG, mTexts.tag,
                        "stream buffer is empty, insert a new buffer, streamId %d bufferId %d", key.streamId,
                        key.bufferId);
    if (mTexts.importedHandle != nullptr) {
        __android_log_print(ANDROID_LOG_INFO, mTexts.tag, mTexts.importedHandle, raw->version, raw->numFds,
                            raw->numInts);
    }
}

void ChannelBufferCore::BeforeUnlock(const native_handle_t* handle) {
    if (mTexts.syncBeforeUnlock) {
        FlushCache(handle);
    }
}

void ChannelBufferCore::Forgotten(StreamBufferID key) {
    __android_log_print(ANDROID_LOG_DEBUG, mTexts.tag, mTexts.bufferForgotten, key.streamId, key.bufferId);
}

void ChannelBufferCore::FlushCache(const native_handle_t* handle) {
    int ret = -1;
    int error = EBADF;
    if (handle != nullptr && handle->numFds >= 1) {
        dma_buf_sync sync = {DMA_BUF_SYNC_WRITE | DMA_BUF_SYNC_END};
        ret = ioctl(handle->data[0], DMA_BUF_IOCTL_SYNC, &sync);
        error = errno;
    }
    if (ret < 0) {
        __android_log_print(ANDROID_LOG_ERROR, mTexts.tag, mTexts.cacheSyncFailed, ret, strerror(error));
    }
}

}  // namespace android
