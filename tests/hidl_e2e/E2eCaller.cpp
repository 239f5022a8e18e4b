#include "E2eCaller.h"

#include <unistd.h>

#include <cstring>

using android::VirCameraBufferCache;
using android::VirCameraImageBuffer;
using android::VirCameraMetaInfo;
using android::VirCameraStream;

E2eCaller::E2eCaller(android::IVirCameraWrapper* wrapper, int uniqueId, int workers)
    : mWrapper(wrapper), mUniqueId(uniqueId) {
    for (int i = 0; i < workers; ++i) {
        mWorkers.emplace_back([this] { WorkerLoop(); });
    }
}

E2eCaller::~E2eCaller() { StopWorkers(); }

void E2eCaller::StopWorkers() {
    {
        std::lock_guard<std::mutex> lock(mLock);
        mStop = true;
    }
    mChanged.notify_all();
    for (std::thread& worker : mWorkers) {
        worker.join();
    }
    mWorkers.clear();
}

std::vector<uint8_t> E2eCaller::Pattern(uint32_t frameNumber, int32_t streamId, size_t size) {
    std::vector<uint8_t> bytes(size);
    const uint32_t seed = frameNumber * 2654435761u + static_cast<uint32_t>(streamId) * 40503u;
    for (size_t i = 0; i < size; ++i) {
        bytes[i] = static_cast<uint8_t>((seed >> (i % 24)) + i * 7 + (i >> 11));
    }
    return bytes;
}

size_t E2eCaller::BytesOf(int32_t streamId) const {
    std::lock_guard<std::mutex> lock(mLock);
    auto found = mStreamBytes.find(streamId);
    return found == mStreamBytes.end() ? 0 : found->second;
}

void E2eCaller::Fill(const VirCameraImageBuffer& buffer) {
    bool ok = false;
    void* handleData = nullptr;
    void* address = mWrapper->LockVideoBuffer(mUniqueId, buffer.streamId, buffer.bufferId, &handleData);
    if (address != nullptr) {
        const std::vector<uint8_t> bytes = Pattern(buffer.frameNumber, buffer.streamId, BytesOf(buffer.streamId));
        std::memcpy(address, bytes.data(), bytes.size());
        int fence = -1;
        ok = mWrapper->UnLockVideoBuffer(mUniqueId, buffer.streamId, buffer.bufferId, fence) == 0;
        if (fence >= 0) {
            close(fence);
        }
        android::VirCameraImageResult result;
        result.frameNumber = buffer.frameNumber;
        result.bufferId = buffer.bufferId;
        result.streamId = buffer.streamId;
        result.index = 1;
        result.timestamp = 1000 + buffer.frameNumber;
        result.status = 1;
        ok = ok && mWrapper->OnVirImageBufferDone(mUniqueId, result) == 0;
    }
    std::lock_guard<std::mutex> lock(mLock);
    ++mHandled;
    mFailures += ok ? 0 : 1;
    mChanged.notify_all();
}

void E2eCaller::WorkerLoop() {
    std::unique_lock<std::mutex> lock(mLock);
    while (true) {
        mChanged.wait(lock, [this] { return mStop || !mQueue.empty(); });
        if (mQueue.empty()) {
            return;
        }
        VirCameraImageBuffer buffer = mQueue.front();
        mQueue.pop_front();
        lock.unlock();
        Fill(buffer);
        lock.lock();
    }
}

bool E2eCaller::WaitForHandled(size_t count, std::chrono::milliseconds timeout) {
    std::unique_lock<std::mutex> lock(mLock);
    return mChanged.wait_for(lock, timeout, [&] { return mHandled >= count; });
}

bool E2eCaller::WaitForServiceDied(std::chrono::milliseconds timeout) {
    std::unique_lock<std::mutex> lock(mLock);
    return mChanged.wait_for(lock, timeout, [&] { return mServiceDied > 0; });
}

size_t E2eCaller::Handled() const {
    std::lock_guard<std::mutex> lock(mLock);
    return mHandled;
}

size_t E2eCaller::Failures() const {
    std::lock_guard<std::mutex> lock(mLock);
    return mFailures;
}

size_t E2eCaller::ServiceDiedCalls() const {
    std::lock_guard<std::mutex> lock(mLock);
    return mServiceDied;
}

std::thread::id E2eCaller::ServiceDiedThread() const {
    std::lock_guard<std::mutex> lock(mLock);
    return mServiceDiedThread;
}

std::vector<VirCameraStream> E2eCaller::Streams() const {
    std::lock_guard<std::mutex> lock(mLock);
    return mStreams;
}

std::vector<VirCameraBufferCache> E2eCaller::UnregisteredBuffers() const {
    std::lock_guard<std::mutex> lock(mLock);
    return mUnregistered;
}

std::vector<VirCameraMetaInfo> E2eCaller::Metas() const {
    std::lock_guard<std::mutex> lock(mLock);
    return mMetas;
}

size_t E2eCaller::Flushes() const {
    std::lock_guard<std::mutex> lock(mLock);
    return mFlushes;
}

int32_t E2eCaller::OnOpenControlSession(const std::string&, const std::string&, uint32_t& sessionId) {
    sessionId = CONTROL_SESSION_ID;
    return 0;
}

int32_t E2eCaller::OnCloseControlSession(uint32_t) { return 0; }

int32_t E2eCaller::OnConfigStream(uint32_t, std::vector<VirCameraStream>& streams) {
    std::lock_guard<std::mutex> lock(mLock);
    mStreams = streams;
    mStreamBytes.clear();
    for (const VirCameraStream& stream : streams) {
        mStreamBytes[static_cast<int32_t>(stream.streamId)] = size_t{stream.width} * stream.height * 3 / 2;
    }
    return 0;
}

int32_t E2eCaller::OnOpenDataSession(const std::string&, const std::string&, uint32_t& sessionId) {
    sessionId = DATA_SESSION_ID;
    return 0;
}

int32_t E2eCaller::OnCloseDataSession(uint32_t) { return 0; }

int32_t E2eCaller::OnProcessImageRequest(uint32_t, std::vector<VirCameraImageBuffer>& buffers,
                                         uint32_t& numberProcessed) {
    numberProcessed = static_cast<uint32_t>(buffers.size());
    bool queued = false;
    {
        std::lock_guard<std::mutex> lock(mLock);
        if (!mWorkers.empty()) {
            mQueue.insert(mQueue.end(), buffers.begin(), buffers.end());
            queued = true;
        }
    }
    if (queued) {
        mChanged.notify_all();
        return 0;
    }
    for (const VirCameraImageBuffer& buffer : buffers) {
        Fill(buffer);
    }
    return 0;
}

int32_t E2eCaller::OnUnregisterBuffer(uint32_t, std::vector<VirCameraBufferCache>& buffers) {
    std::lock_guard<std::mutex> lock(mLock);
    mUnregistered.insert(mUnregistered.end(), buffers.begin(), buffers.end());
    return 0;
}

int32_t E2eCaller::OnFlush(uint32_t) {
    std::lock_guard<std::mutex> lock(mLock);
    ++mFlushes;
    return 0;
}

int32_t E2eCaller::OnServiceDied() {
    std::lock_guard<std::mutex> lock(mLock);
    ++mServiceDied;
    mServiceDiedThread = std::this_thread::get_id();
    mChanged.notify_all();
    return 0;
}

int32_t E2eCaller::OnProcessMetaRequest(uint32_t, uint32_t, std::vector<VirCameraMetaInfo>& metas) {
    std::lock_guard<std::mutex> lock(mLock);
    mMetas.insert(mMetas.end(), metas.begin(), metas.end());
    return 0;
}
