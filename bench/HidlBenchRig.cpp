#include "HidlBenchRig.h"

#include <unistd.h>

#include <cstring>

#include <hostkit/HidlServices.h>
#include <hostkit/Mapper.h>

#include "common/HashIdCache.h"

namespace vircambench {

using android::hardware::hidl_handle;
using android::hardware::hidl_vec;
using vircamsim::vircam::VirImageBuffer;
using vircamsim::vircam::VirOptResult;
using vircamsim::vircam::VirStream;
using vircamsim::vircam::VirStreamConfiguration;

extern "C" int CreateVirCameraWrapper(android::IVirCameraWrapper** wrapper);

namespace {

constexpr int32_t NV21 = 17;
constexpr uint64_t USAGE_CPU_RW_OFTEN = 0x33;
constexpr const char* DEVICE = "bench-device";
constexpr const char* SERVICE = "bench-service";

}  // namespace

// The video service: fills each requested buffer (a copy of one prepared frame) and
// reports it, on the HAL's thread.
class HidlBenchRig::Caller : public android::IVirCameraWrapperCallback {
public:
    Caller(bool copyFrames) : mCopy(copyFrames), mFrame(FRAME_BYTES, 0x5a) {}
    void Attach(android::IVirCameraWrapper* wrapper, int uniqueID) {
        mWrapper = wrapper;
        mUniqueId = uniqueID;
    }

    int32_t OnOpenControlSession(const std::string&, const std::string&, uint32_t& id) override { return id = 1, 0; }
    int32_t OnCloseControlSession(uint32_t) override { return 0; }
    int32_t OnConfigStream(uint32_t, std::vector<android::VirCameraStream>&) override { return 0; }
    int32_t OnOpenDataSession(const std::string&, const std::string&, uint32_t& id) override { return id = 2, 0; }
    int32_t OnCloseDataSession(uint32_t) override { return 0; }
    int32_t OnUnregisterBuffer(uint32_t, std::vector<android::VirCameraBufferCache>&) override { return 0; }
    int32_t OnFlush(uint32_t) override { return 0; }
    int32_t OnServiceDied() override { return 0; }
    int32_t OnProcessMetaRequest(uint32_t, uint32_t, std::vector<android::VirCameraMetaInfo>&) override { return 0; }

    int32_t OnProcessImageRequest(uint32_t, std::vector<android::VirCameraImageBuffer>& buffers,
                                  uint32_t& processed) override {
        for (const auto& buffer : buffers) {
            void* handleData = nullptr;
            void* pixels = mWrapper->LockVideoBuffer(mUniqueId, buffer.streamId, buffer.bufferId, &handleData);
            if (pixels == nullptr) {
                continue;
            }
            if (mCopy) {
                std::memcpy(pixels, mFrame.data(), mFrame.size());
            }
            int fence = -1;
            mWrapper->UnLockVideoBuffer(mUniqueId, buffer.streamId, buffer.bufferId, fence);
            if (fence >= 0) {
                close(fence);
            }
            android::VirCameraImageResult result;
            result.frameNumber = buffer.frameNumber;
            result.bufferId = buffer.bufferId;
            result.streamId = buffer.streamId;
            if (mWrapper->OnVirImageBufferDone(mUniqueId, result) == 0) {
                ++processed;
            }
        }
        return 0;
    }

private:
    const bool mCopy;
    std::vector<uint8_t> mFrame;
    android::IVirCameraWrapper* mWrapper = nullptr;
    int mUniqueId = 0;
};

HidlBenchRig::HidlBenchRig(uint32_t streams, uint32_t buffers, bool copyFrames) {
    hostkit::mapper::Offer({4});
    mChannel = vircamsim::SimHidlChannel::Start(vircamsim::REGISTER_INSTANCE);
    android::IVirCameraWrapper* raw = nullptr;
    if (mChannel == nullptr || CreateVirCameraWrapper(&raw) != 0) {
        return;
    }
    mWrapper.reset(raw);
    mCaller = std::make_shared<Caller>(copyFrames);
    mUniqueId = android::HashIdCache::Compute(DEVICE) + android::HashIdCache::Compute(SERVICE);
    mCaller->Attach(mWrapper.get(), mUniqueId);
    if (mWrapper->RegisterCallback(DEVICE, SERVICE, android::IVirCameraWrapper::MODE_REGISTER, mCaller) != 0) {
        return;
    }
    mCallback = mChannel->ChannelCallback();
    if (mCallback == nullptr) {
        return;
    }
    VirStreamConfiguration config;
    config.streams.resize(streams);
    for (uint32_t s = 0; s < streams; ++s) {
        config.streams[s] = VirStream{};  // the sized hidl_vec leaves plain fields unset
        config.streams[s].id = s;
        config.streams[s].width = WIDTH;
        config.streams[s].height = HEIGHT;
    }
    if (!mCallback->configStream(1, config).isOk()) {
        return;
    }
    // The first request of every buffer carries its handle; the library imports it once.
    hidl_vec<VirImageBuffer> first(size_t{streams} * buffers);
    for (uint32_t s = 0; s < streams; ++s) {
        for (uint32_t b = 0; b < buffers; ++b) {
            native_handle_t* handle = hostkit::mapper::Allocate(WIDTH, HEIGHT, NV21, USAGE_CPU_RW_OFTEN);
            if (handle == nullptr) {
                return;
            }
            mAllocations.push_back(handle);
            VirImageBuffer& request = first[s * buffers + b];
            request.frameNumber = 0;
            request.streamId = static_cast<int32_t>(s);
            request.bufferId = b;
            request.buffer = hidl_handle(handle);
        }
    }
    mOk = mCallback->processImageRequest(2, first, [](VirOptResult, uint32_t) {}).isOk();
}

HidlBenchRig::~HidlBenchRig() {
    if (mWrapper) {
        mWrapper->UnRegisterCallback(DEVICE, SERVICE);
    }
    mCallback.clear();
    mWrapper.reset();
    mChannel.clear();
    for (native_handle_t* handle : mAllocations) {
        hostkit::mapper::FreeAllocated(handle);
    }
    hostkit::hidl::Reset();
    hostkit::mapper::Reset();
}

bool HidlBenchRig::Frame(uint32_t frameNumber, int32_t streamId, uint64_t bufferId) {
    if (mRequest.size() != 1) {
        mRequest.resize(1);
    }
    mRequest[0].frameNumber = frameNumber;
    mRequest[0].streamId = streamId;
    mRequest[0].bufferId = bufferId;
    uint32_t processed = 0;
    mCallback->processImageRequest(2, mRequest, [&processed](VirOptResult, uint32_t count) { processed = count; });
    return processed == 1;
}

}  // namespace vircambench
