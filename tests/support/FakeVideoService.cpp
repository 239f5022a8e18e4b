#include "FakeVideoService.h"

#include <unistd.h>

#include <cstring>
#include <memory>

#include <json/reader.h>
#include <json/value.h>

using android::CallbackResult;
using android::CommonData;
using android::VirCameraBufferCache;
using android::VirCameraImageBuffer;
using android::VirCameraMetaInfo;
using android::VirCameraStream;

namespace vircamtest {

namespace {

// The library's identifier hash of one string (10001 for "").
int HashId(const std::string& text) {
    if (text.empty()) return 10001;
    int a = 1;
    int b = 1;
    for (unsigned char c : text) {
        a = (a + c) % 10000;
        b = (b + 2 * c) % 10000;
    }
    return a * 10000 + b;
}

Json::Value Parse(const std::string& text) {
    Json::Value root;
    Json::CharReaderBuilder builder;
    std::string errors;
    std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
    if (!reader->parse(text.data(), text.data() + text.size(), &root, &errors)) return Json::Value();
    return root;
}

std::string BufferJson(int32_t streamId, int32_t bufferId) {
    return "{\"sessionId\":1,\"streamId\":" + std::to_string(streamId) + ",\"bufferId\":" + std::to_string(bufferId) +
           ",\"index\":-1}";
}

}  // namespace

int UniqueId(const std::string& device, const std::string& service) { return HashId(device) + HashId(service); }

FakeVideoService::FakeVideoService(android::IVirCameraWrapper* wrapper, int uniqueId, int workers)
    : mWrapper(wrapper), mUniqueId(uniqueId) {
    for (int i = 0; i < workers; ++i) mWorkers.emplace_back([this] { WorkerLoop(); });
}

FakeVideoService::FakeVideoService(android::IVirCameraWrapperV2* wrapper, int uniqueId, size_t frameBytes)
    : mWrapperV2(wrapper), mUniqueId(uniqueId), mFrameBytes(frameBytes) {}

FakeVideoService::~FakeVideoService() { StopWorkers(); }

void FakeVideoService::StopWorkers() {
    {
        std::lock_guard<std::mutex> lock(mLock);
        mStop = true;
    }
    mChanged.notify_all();
    for (std::thread& worker : mWorkers) worker.join();
    mWorkers.clear();
}

std::vector<uint8_t> FakeVideoService::Pattern(uint32_t frameNumber, int32_t streamId, uint64_t bufferId,
                                               size_t size) {
    std::vector<uint8_t> bytes(size);
    const uint32_t seed = frameNumber * 2654435761u + static_cast<uint32_t>(streamId) * 40503u +
                          static_cast<uint32_t>(bufferId) * 97u;
    for (size_t i = 0; i < size; ++i) bytes[i] = static_cast<uint8_t>((seed >> (i % 24)) + i * 7 + (i >> 11));
    return bytes;
}

void FakeVideoService::Tally(bool locked, bool ok) {
    std::lock_guard<std::mutex> lock(mLock);
    ++mHandled;
    mLockFailures += locked ? 0 : 1;
    mFailures += ok ? 0 : 1;
    mChanged.notify_all();
}

void FakeVideoService::Fill(const VirCameraImageBuffer& buffer) {
    size_t size = 0;
    {
        std::lock_guard<std::mutex> lock(mLock);
        size = mStreamBytes[buffer.streamId];
    }
    void* handleData = nullptr;
    void* address = mWrapper->LockVideoBuffer(mUniqueId, buffer.streamId, buffer.bufferId, &handleData);
    if (address != nullptr) {
        const std::vector<uint8_t> bytes = Pattern(buffer.frameNumber, buffer.streamId, buffer.bufferId, size);
        std::memcpy(address, bytes.data(), bytes.size());
    }
    int fence = -1;
    const bool unlocked = mWrapper->UnLockVideoBuffer(mUniqueId, buffer.streamId, buffer.bufferId, fence) == 0;
    if (fence >= 0) close(fence);
    android::VirCameraImageResult result;
    result.frameNumber = buffer.frameNumber;
    result.bufferId = buffer.bufferId;
    result.streamId = buffer.streamId;
    result.index = 1;
    result.timestamp = 1000 + buffer.frameNumber;
    result.status = 1;
    const int done = mWrapper->OnVirImageBufferDone(mUniqueId, result);
    {
        std::lock_guard<std::mutex> lock(mLock);
        mDoneResults.push_back(done);
    }
    Tally(address != nullptr, address != nullptr && unlocked && done == 0);
}

void FakeVideoService::FillOverAidl(const CommonData& item) {
    const Json::Value info = Parse(item.data);
    const int32_t frame = info["frameNumber"].asInt();
    const int32_t stream = info["streamId"].asInt();
    const int32_t buffer = info["bufferId"].asInt();
    void* handleData = nullptr;
    std::vector<CommonData> lockItems(1);
    lockItems[0].pointer = reinterpret_cast<uintptr_t>(&handleData);
    const android::OptResult locked = mWrapperV2->SendData(9108, mUniqueId, BufferJson(stream, buffer), lockItems);
    if (locked.value != 0) {
        const std::vector<uint8_t> bytes =
                Pattern(static_cast<uint32_t>(frame), stream, static_cast<uint64_t>(buffer), mFrameBytes);
        memcpy(reinterpret_cast<void*>(static_cast<uintptr_t>(locked.value)), bytes.data(), bytes.size());
    }
    const bool unlocked = mWrapperV2->SendData(9109, mUniqueId, BufferJson(stream, buffer), {}).result == 0;
    {
        std::lock_guard<std::mutex> lock(mLock);
        mSawHandleData = mSawHandleData || handleData != nullptr;
    }
    Tally(locked.value != 0, locked.value != 0 && unlocked);
}

android::OptResult FakeVideoService::ReportDone(int32_t frameNumber, int32_t streamId, int32_t bufferId) {
    const std::string json = "{\"frameNumber\":" + std::to_string(frameNumber) +
                             ",\"streamId\":" + std::to_string(streamId) + ",\"bufferId\":" + std::to_string(bufferId) +
                             "}";
    return mWrapperV2->SendRequest(20003, mUniqueId, json);
}

void FakeVideoService::WorkerLoop() {
    std::unique_lock<std::mutex> lock(mLock);
    while (true) {
        mChanged.wait(lock, [this] { return mStop || !mQueue.empty(); });
        if (mQueue.empty()) return;
        VirCameraImageBuffer buffer = mQueue.front();
        mQueue.pop_front();
        lock.unlock();
        Fill(buffer);
        lock.lock();
    }
}

size_t FakeVideoService::Failures() const {
    std::lock_guard<std::mutex> lock(mLock);
    return mFailures;
}

size_t FakeVideoService::LockFailures() const {
    std::lock_guard<std::mutex> lock(mLock);
    return mLockFailures;
}

size_t FakeVideoService::Filled() const {
    std::lock_guard<std::mutex> lock(mLock);
    return mHandled - mLockFailures;
}

std::vector<int> FakeVideoService::DoneResults() const {
    std::lock_guard<std::mutex> lock(mLock);
    return mDoneResults;
}

bool FakeVideoService::WaitForHandled(size_t count, std::chrono::milliseconds timeout) const {
    std::unique_lock<std::mutex> lock(mLock);
    return mChanged.wait_for(lock, timeout, [&] { return mHandled >= count; });
}

bool FakeVideoService::SawHandleData() const {
    std::lock_guard<std::mutex> lock(mLock);
    return mSawHandleData;
}

size_t FakeVideoService::ServiceDied() const {
    std::lock_guard<std::mutex> lock(mLock);
    return mServiceDied;
}

std::thread::id FakeVideoService::ServiceDiedThread() const {
    std::lock_guard<std::mutex> lock(mLock);
    return mServiceDiedThread;
}

bool FakeVideoService::WaitForServiceDied(std::chrono::milliseconds timeout, size_t count) const {
    std::unique_lock<std::mutex> lock(mLock);
    return mChanged.wait_for(lock, timeout, [&] { return mServiceDied >= count; });
}

std::vector<VirCameraStream> FakeVideoService::Streams() const {
    std::lock_guard<std::mutex> lock(mLock);
    return mStreams;
}

std::vector<VirCameraBufferCache> FakeVideoService::UnregisteredBuffers() const {
    std::lock_guard<std::mutex> lock(mLock);
    return mUnregistered;
}

std::vector<VirCameraMetaInfo> FakeVideoService::Metas() const {
    std::lock_guard<std::mutex> lock(mLock);
    return mMetas;
}

size_t FakeVideoService::Flushes() const {
    std::lock_guard<std::mutex> lock(mLock);
    return mFlushes;
}

void FakeVideoService::SetHandler(Handler handler) {
    std::lock_guard<std::mutex> lock(mLock);
    mHandler = std::move(handler);
}

std::vector<FakeVideoService::Call> FakeVideoService::Calls() const {
    std::lock_guard<std::mutex> lock(mLock);
    return mCalls;
}

size_t FakeVideoService::Count(int32_t cmd) const {
    std::lock_guard<std::mutex> lock(mLock);
    size_t n = 0;
    for (const Call& call : mCalls) n += call.cmd == cmd ? 1 : 0;
    return n;
}

bool FakeVideoService::WaitFor(int32_t cmd, size_t n, std::chrono::milliseconds timeout) const {
    std::unique_lock<std::mutex> lock(mLock);
    return mChanged.wait_for(lock, timeout, [&] {
        size_t seen = 0;
        for (const Call& call : mCalls) seen += call.cmd == cmd ? 1 : 0;
        return seen >= n;
    });
}

int32_t FakeVideoService::OnOpenControlSession(const std::string&, const std::string&, uint32_t& sessionId) {
    sessionId = CONTROL_SESSION_ID;
    return 0;
}

int32_t FakeVideoService::OnCloseControlSession(uint32_t) { return 0; }

int32_t FakeVideoService::OnConfigStream(uint32_t, std::vector<VirCameraStream>& streams) {
    std::lock_guard<std::mutex> lock(mLock);
    mStreams = streams;
    mStreamBytes.clear();
    for (const VirCameraStream& stream : streams) {
        mStreamBytes[static_cast<int32_t>(stream.streamId)] = size_t{stream.width} * stream.height * 3 / 2;
    }
    return 0;
}

int32_t FakeVideoService::OnOpenDataSession(const std::string&, const std::string&, uint32_t& sessionId) {
    sessionId = DATA_SESSION_ID;
    return 0;
}

int32_t FakeVideoService::OnCloseDataSession(uint32_t) { return 0; }

int32_t FakeVideoService::OnProcessImageRequest(uint32_t, std::vector<VirCameraImageBuffer>& buffers,
                                                uint32_t& numberProcessed) {
    numberProcessed = static_cast<uint32_t>(buffers.size());
    {
        std::lock_guard<std::mutex> lock(mLock);
        if (!mWorkers.empty()) {
            mQueue.insert(mQueue.end(), buffers.begin(), buffers.end());
            mChanged.notify_all();
            return 0;
        }
    }
    for (const VirCameraImageBuffer& buffer : buffers) Fill(buffer);
    return 0;
}

int32_t FakeVideoService::OnUnregisterBuffer(uint32_t, std::vector<VirCameraBufferCache>& buffers) {
    std::lock_guard<std::mutex> lock(mLock);
    mUnregistered.insert(mUnregistered.end(), buffers.begin(), buffers.end());
    return 0;
}

int32_t FakeVideoService::OnFlush(uint32_t) {
    std::lock_guard<std::mutex> lock(mLock);
    ++mFlushes;
    return 0;
}

int32_t FakeVideoService::OnServiceDied() {
    std::lock_guard<std::mutex> lock(mLock);
    ++mServiceDied;
    mServiceDiedThread = std::this_thread::get_id();
    mChanged.notify_all();
    return 0;
}

int32_t FakeVideoService::OnProcessMetaRequest(uint32_t, uint32_t, std::vector<VirCameraMetaInfo>& metas) {
    std::lock_guard<std::mutex> lock(mLock);
    mMetas.insert(mMetas.end(), metas.begin(), metas.end());
    return 0;
}

CallbackResult FakeVideoService::OnCommand(int32_t cmd, const std::string& data) {
    std::vector<CommonData> none;
    return Answer(Call{cmd, data, {}, false}, none);
}

CallbackResult FakeVideoService::OnCommandWithData(int32_t cmd, const std::string& data,
                                                   std::vector<CommonData>& items) {
    return Answer(Call{cmd, data, items, true}, items);
}

CallbackResult FakeVideoService::Answer(Call call, std::vector<CommonData>& items) {
    Handler handler;
    {
        std::lock_guard<std::mutex> lock(mLock);
        handler = mHandler;
    }
    // The answer comes first: filling buffers calls back into the library.
    CallbackResult result{0, "ok:" + std::to_string(call.cmd)};
    if (handler) {
        result = handler(call.cmd, call.data, items);
    } else if (call.cmd == CMD_IMAGE_REQUEST && mWrapperV2 != nullptr) {
        for (const CommonData& item : items) FillOverAidl(item);
        result = CallbackResult{0, "processed"};
    }
    std::lock_guard<std::mutex> lock(mLock);
    mCalls.push_back(std::move(call));
    mChanged.notify_all();
    return result;
}

}  // namespace vircamtest
