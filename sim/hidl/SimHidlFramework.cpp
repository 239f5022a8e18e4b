#include "hidl/SimHidlFramework.h"

#include <hostkit/Mapper.h>

#include "process/SimProcess.h"

namespace vircamsim {

using ::android::sp;
using ::android::hardware::hidl_handle;
using ::android::hardware::hidl_vec;
using ::android::hardware::Return;

namespace {

// How long streaming waits for the caller to give a ring buffer back before it gives up.
constexpr std::chrono::milliseconds SLOT_WAIT{5000};

template <typename T>
std::optional<T> Checked(const Return<T>& ret) {
    if (!ret.isOk()) {
        return std::nullopt;
    }
    return static_cast<T>(ret);
}

std::optional<uint32_t> SessionId(const std::optional<std::pair<vircam::VirOptResult, uint32_t>>& answer) {
    if (!answer.has_value() || answer->first != vircam::VirOptResult::SUCCESS) {
        return std::nullopt;
    }
    return answer->second;
}

}  // namespace

SimHidlFramework::SimHidlFramework(sp<SimHidlChannel> channel, size_t ringSize)
    : mChannel(std::move(channel)), mRingSize(ringSize) {
    mChannel->SetImageDoneListener(
            [this](int32_t sessionId, const vircam::VirImageResult& result) { OnImageDone(sessionId, result); });
}

SimHidlFramework::~SimHidlFramework() {
    StopStreaming();
    mChannel->SetImageDoneListener(nullptr);
    FreeBuffers();
}

sp<vircam::IVirCameraChannelCallback> SimHidlFramework::Callback() const {
    // A dead HAL drives nothing.
    return mChannel->Alive() ? mChannel->ChannelCallback() : nullptr;
}

std::optional<uint32_t> SimHidlFramework::OpenControlSession(const std::string& device, const std::string& service) {
    return SessionId(OpenControlSessionAnswer(device, service));
}

std::optional<uint32_t> SimHidlFramework::OpenDataSession(const std::string& device, const std::string& service) {
    return SessionId(OpenDataSessionAnswer(device, service));
}

std::optional<SimHidlFramework::SessionAnswer> SimHidlFramework::OpenControlSessionAnswer(const std::string& device,
                                                                                       const std::string& service) {
    const AsHal hal;
    sp<vircam::IVirCameraChannelCallback> callback = Callback();
    if (callback == nullptr) {
        return std::nullopt;
    }
    std::optional<SessionAnswer> answer;
    auto ret = callback->openControlSession(device, service, [&](OptResult status, uint32_t sessionId) {
        answer = SessionAnswer(status, sessionId);
    });
    return ret.isOk() ? answer : std::nullopt;
}

std::optional<SimHidlFramework::SessionAnswer> SimHidlFramework::OpenDataSessionAnswer(const std::string& device,
                                                                                    const std::string& service) {
    const AsHal hal;
    sp<vircam::IVirCameraChannelCallback> callback = Callback();
    if (callback == nullptr) {
        return std::nullopt;
    }
    std::optional<SessionAnswer> answer;
    auto ret = callback->openDataSession(device, service, [&](OptResult status, uint32_t sessionId) {
        answer = SessionAnswer(status, sessionId);
    });
    return ret.isOk() ? answer : std::nullopt;
}

std::optional<SimHidlFramework::OptResult> SimHidlFramework::CloseControlSession(uint32_t sessionId) {
    const AsHal hal;
    sp<vircam::IVirCameraChannelCallback> callback = Callback();
    return callback == nullptr ? std::nullopt : Checked(callback->closeControlSession(sessionId));
}

std::optional<SimHidlFramework::OptResult> SimHidlFramework::CloseDataSession(uint32_t sessionId) {
    const AsHal hal;
    sp<vircam::IVirCameraChannelCallback> callback = Callback();
    return callback == nullptr ? std::nullopt : Checked(callback->closeDataSession(sessionId));
}

std::optional<SimHidlFramework::OptResult> SimHidlFramework::ConfigureStreams(uint32_t sessionId,
                                                                            const std::vector<StreamSpec>& streams) {
    const AsHal hal;
    sp<vircam::IVirCameraChannelCallback> callback = Callback();
    if (callback == nullptr) {
        return std::nullopt;
    }
    std::map<uint32_t, std::unique_ptr<SimStreamRing>> rings;
    vircam::VirStreamConfiguration config;
    config.streams.resize(streams.size());
    for (size_t i = 0; i < streams.size(); ++i) {
        const StreamSpec& spec = streams[i];
        auto ring = std::make_unique<SimStreamRing>(spec, mRingSize);
        if (!ring->Valid()) {
            return std::nullopt;
        }
        rings[spec.id] = std::move(ring);
        vircam::VirStream& stream = config.streams[i];
        stream.id = spec.id;
        stream.streamType = vircam::VirStreamType::OUTPUT;
        stream.width = spec.width;
        stream.height = spec.height;
        stream.colorSpace = spec.format;
        stream.padding = 0;
        stream.rotation = vircam::VirStreamRotation::ROTATION_0;
        stream.kvattribute.resize(1);
        stream.kvattribute[0].key = "format";
        stream.kvattribute[0].value = std::to_string(spec.format);
    }
    auto ret = Checked(callback->configStream(sessionId, config));
    // The library released every buffer it held: the old rings can go now.
    std::map<uint32_t, std::unique_ptr<SimStreamRing>> old;
    {
        std::lock_guard<std::mutex> lock(mLock);
        old.swap(mRings);
        mRings.swap(rings);
    }
    return ret;
}

std::optional<std::pair<SimHidlFramework::OptResult, uint32_t>> SimHidlFramework::SendImageRequest(
        uint32_t sessionId, uint32_t frameNumber) {
    const AsHal hal;
    sp<vircam::IVirCameraChannelCallback> callback = Callback();
    if (callback == nullptr) {
        return std::nullopt;
    }
    hidl_vec<vircam::VirImageBuffer> buffers;
    {
        std::lock_guard<std::mutex> lock(mLock);
        buffers.resize(mRings.size());
        size_t i = 0;
        for (auto& [streamId, ring] : mRings) {
            const size_t slot = ring->SlotOf(frameNumber);
            buffers[i].frameNumber = frameNumber;
            buffers[i].streamId = static_cast<int32_t>(streamId);
            buffers[i].bufferId = ring->BufferId(slot);
            buffers[i].buffer = hidl_handle(ring->TakeHandleToSend(slot));
            ring->MarkInFlight(slot, true);
            ++i;
        }
    }
    std::optional<std::pair<OptResult, uint32_t>> answer;
    auto ret = callback->processImageRequest(sessionId, buffers, [&](OptResult status, uint32_t processed) {
        answer = std::make_pair(status, processed);
    });
    return ret.isOk() ? answer : std::nullopt;
}

std::optional<SimHidlFramework::OptResult> SimHidlFramework::SendMetaRequest(
        uint32_t sessionId, uint32_t metaId, const std::vector<vircam::MetaItem>& items) {
    const AsHal hal;
    sp<vircam::IVirCameraChannelCallback> callback = Callback();
    if (callback == nullptr) {
        return std::nullopt;
    }
    vircam::VirMetaRequest request;
    request.metaId = metaId;
    request.items = items;
    return Checked(callback->processMetaRequest(sessionId, request));
}

std::optional<SimHidlFramework::OptResult> SimHidlFramework::Flush(uint32_t sessionId) {
    const AsHal hal;
    sp<vircam::IVirCameraChannelCallback> callback = Callback();
    if (callback == nullptr) {
        return std::nullopt;
    }
    auto ret = Checked(callback->flush(sessionId));
    ForgetHeldBuffers();
    return ret;
}

std::optional<SimHidlFramework::OptResult> SimHidlFramework::UnregisterAllBuffers(uint32_t sessionId) {
    const AsHal hal;
    sp<vircam::IVirCameraChannelCallback> callback = Callback();
    if (callback == nullptr) {
        return std::nullopt;
    }
    hidl_vec<vircam::VirBufferCache> caches;
    {
        std::lock_guard<std::mutex> lock(mLock);
        std::vector<vircam::VirBufferCache> list;
        for (auto& [streamId, ring] : mRings) {
            for (size_t slot = 0; slot < ring->Size(); ++slot) {
                list.push_back({static_cast<int32_t>(streamId), ring->BufferId(slot)});
            }
        }
        caches = list;
    }
    auto ret = Checked(callback->unregisterBuffer(sessionId, caches));
    ForgetHeldBuffers();
    return ret;
}

void SimHidlFramework::ForgetHeldBuffers() {
    std::lock_guard<std::mutex> lock(mLock);
    for (auto& entry : mRings) {
        entry.second->ForgetHeld();
    }
}

void SimHidlFramework::StartStreaming(uint32_t sessionId, uint32_t firstFrame, uint32_t count,
                                      std::chrono::milliseconds period) {
    StopStreaming();
    mStopStreaming = false;
    mStreamedOk = 0;
    mStreamer = HalThread([this, sessionId, firstFrame, count, period] {
        auto next = std::chrono::steady_clock::now();
        for (uint32_t i = 0; i < count && !mStopStreaming; ++i) {
            if (!WaitForSlotsFree(firstFrame + i, SLOT_WAIT) || !SendImageRequest(sessionId, firstFrame + i).has_value()) {
                break;
            }
            ++mStreamedOk;
            next += period;
            std::this_thread::sleep_until(next);  // the frame rate of the stream
        }
    });
}

uint32_t SimHidlFramework::StopStreaming() {
    if (mStreamer.joinable()) {
        mStreamer.join();
    }
    return mStreamedOk;
}

bool SimHidlFramework::WaitForSlotsFree(uint32_t frameNumber, std::chrono::milliseconds timeout) {
    std::unique_lock<std::mutex> lock(mLock);
    return mFramesChanged.wait_for(lock, timeout, [&] {
        for (auto& entry : mRings) {
            if (entry.second->InFlight(entry.second->SlotOf(frameNumber))) {
                return false;
            }
        }
        return true;
    });
}

void SimHidlFramework::OnImageDone(int32_t sessionId, const vircam::VirImageResult& result) {
    ReturnedFrame frame;
    frame.sessionId = sessionId;
    frame.frameNumber = result.frameNumber;
    frame.streamId = result.streamId;
    frame.bufferId = result.bufferId;
    frame.status = result.status;
    std::unique_lock<std::mutex> lock(mLock);
    auto ring = mRings.find(static_cast<uint32_t>(result.streamId));
    const native_handle_t* handle = ring == mRings.end() ? nullptr : ring->second->Handle(result.bufferId);
    if (ring != mRings.end()) {
        ring->second->MarkInFlight(ring->second->SlotOfBufferId(result.bufferId), false);
    }
    if (handle != nullptr) {
        // Read under the lock so the ring cannot be freed meanwhile; the mapper never calls back.
        std::optional<std::vector<uint8_t>> bytes = hostkit::mapper::ReadBack(handle);
        frame.readBackOk = bytes.has_value();
        if (bytes) {
            frame.bytes = std::move(*bytes);
        }
    }
    mReturned.push_back(std::move(frame));
    mFramesChanged.notify_all();
}

std::vector<ReturnedFrame> SimHidlFramework::ReturnedFrames() const {
    std::lock_guard<std::mutex> lock(mLock);
    return mReturned;
}

bool SimHidlFramework::WaitForReturnedFrames(size_t count, std::chrono::milliseconds timeout) {
    std::unique_lock<std::mutex> lock(mLock);
    return mFramesChanged.wait_for(lock, timeout, [&] { return mReturned.size() >= count; });
}

std::vector<StreamSpec> SimHidlFramework::Streams() const {
    std::lock_guard<std::mutex> lock(mLock);
    std::vector<StreamSpec> specs;
    for (auto& entry : mRings) {
        specs.push_back(entry.second->Spec());
    }
    return specs;
}

size_t SimHidlFramework::BufferBytes(uint32_t streamId) const {
    std::lock_guard<std::mutex> lock(mLock);
    auto ring = mRings.find(streamId);
    return ring == mRings.end() ? 0 : ring->second->BufferBytes();
}

void SimHidlFramework::FreeBuffers() {
    std::map<uint32_t, std::unique_ptr<SimStreamRing>> rings;
    std::lock_guard<std::mutex> lock(mLock);
    rings.swap(mRings);
}

}  // namespace vircamsim
