#include "AidlBenchRig.h"

#include <chrono>
#include <cstdio>
#include <thread>
#include <cstring>

#include <aidlcommonsupport/NativeHandle.h>
#include <hostkit/BinderServices.h>
#include <hostkit/Mapper.h>

#include "common/HashIdCache.h"

namespace vircambench {

extern "C" int CreateVirCameraWrapperV2(android::IVirCameraWrapperV2** wrapper);

namespace {

constexpr int32_t CMD_CONFIG_STREAM = 9105;
constexpr int32_t CMD_IMAGE_REQUEST = 9107;
constexpr int CMD_LOCK = 9108;
constexpr int CMD_UNLOCK = 9109;
constexpr int CMD_IMAGE_DONE = 20003;
constexpr const char* DEVICE = "bench-device";
constexpr const char* SERVICE = "bench-service";

std::string ItemJson(uint32_t frameNumber, int32_t bufferId) {
    char text[96];
    snprintf(text, sizeof(text), R"({"frameNumber":%u,"streamId":0,"bufferId":%d})", frameNumber, bufferId);
    return text;
}

}  // namespace

// The video service on the AIDL wrapper: locks, fills and unlocks each requested buffer
// through SendData and reports it with SendRequest, on the HAL's thread.
class AidlBenchRig::Caller : public android::IVirCameraWrapperCallbackV2 {
public:
    explicit Caller(bool copyFrames) : mCopy(copyFrames), mFrame(FRAME_BYTES, 0x5a) {}
    void Attach(android::IVirCameraWrapperV2* wrapper, int uniqueID) {
        mWrapper = wrapper;
        mUniqueId = uniqueID;
    }

    android::CallbackResult OnCommand(int32_t, const std::string&) override { return {}; }

    android::CallbackResult OnCommandWithData(int32_t cmd, const std::string&,
                                              std::vector<android::CommonData>& items) override {
        android::CallbackResult result;
        if (cmd != CMD_IMAGE_REQUEST) {
            return result;
        }
        for (const android::CommonData& item : items) {
            // The item's JSON names the buffer: {"frameNumber":n,"streamId":0,"bufferId":b}.
            int bufferId = -1;
            unsigned frame = 0;
            if (sscanf(item.data.c_str(), R"({"frameNumber":%u,"streamId":0,"bufferId":%d})", &frame, &bufferId) != 2) {
                result.result = -1;
                continue;
            }
            char ids[96];
            snprintf(ids, sizeof(ids), R"({"sessionId":0,"streamId":0,"bufferId":%d,"index":0})", bufferId);
            void* handleData = nullptr;
            android::CommonData out;
            out.pointer = reinterpret_cast<uint64_t>(&handleData);
            const int64_t address = mWrapper->SendData(CMD_LOCK, mUniqueId, ids, {out}).value;
            if (address == 0) {
                result.result = -1;
                continue;
            }
            if (mCopy) {
                std::memcpy(reinterpret_cast<void*>(address), mFrame.data(), mFrame.size());
            }
            mWrapper->SendData(CMD_UNLOCK, mUniqueId, ids, {});
            mWrapper->SendRequest(CMD_IMAGE_DONE, mUniqueId, item.data);
        }
        return result;
    }

private:
    const bool mCopy;
    std::vector<uint8_t> mFrame;
    android::IVirCameraWrapperV2* mWrapper = nullptr;
    int mUniqueId = 0;
};

AidlBenchRig::AidlBenchRig(uint32_t buffers, bool copyFrames) {
    hostkit::mapper::Offer({4});
    mChannel = vircamsim::SimAidlChannel::Start(vircamsim::SimAidlChannel::REGISTER);
    android::IVirCameraWrapperV2* raw = nullptr;
    if (mChannel == nullptr || CreateVirCameraWrapperV2(&raw) != 0) {
        return;
    }
    // The HAL answers the buffer-done reports without parsing and keeping them: what is timed
    // is the library, and a record growing by one entry per frame would skew it.
    mChannel->SetRecordCallerRequests(false);
    mWrapper.reset(raw);
    mCaller = std::make_shared<Caller>(copyFrames);
    mCaller->Attach(mWrapper.get(), android::HashIdCache::Compute(DEVICE) + android::HashIdCache::Compute(SERVICE));
    if (mWrapper->RegisterCallback(DEVICE, SERVICE, android::IVirCameraWrapper::MODE_REGISTER, mCaller) != 0 ||
        (mCallback = mChannel->Callback()) == nullptr) {
        return;
    }
    vircamsim::StatusResult reply;
    mCallback->processCmdRequest(CMD_CONFIG_STREAM, R"({"streams":[{"streamId":0,"width":1920,"height":1080}]})",
                                 &reply);
    // The first command for every buffer carries its handle; the library imports it once.
    std::vector<vircamsim::InfoData> items(buffers);
    for (uint32_t b = 0; b < buffers; ++b) {
        native_handle_t* handle = hostkit::mapper::Allocate(WIDTH, HEIGHT, 17, 0x33);
        if (handle == nullptr) {
            return;
        }
        mAllocations.push_back(handle);
        items[b].data = ItemJson(0, static_cast<int32_t>(b));
        items[b].buffer = android::dupToAidl(handle);
    }
    mOk = mCallback->processInfoData(CMD_IMAGE_REQUEST, "{}", items, &reply).isOk() && reply.status == 0;
}

AidlBenchRig::~AidlBenchRig() {
    // The AIDL connections live in the library's process-wide maps until their HAL dies:
    // kill it and wait for the death handling, so the next rig starts from nothing.
    if (mChannel != nullptr) {
        const uint64_t delivered = hostkit::binder::DeathNotificationCount();
        const size_t links = hostkit::binder::DeathLinkCount(mChannel->Name());
        mChannel->Kill();
        while (hostkit::binder::DeathNotificationCount() < delivered + links) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    }
    mCallback.reset();
    mWrapper.reset();
    mChannel.reset();
    for (native_handle_t* handle : mAllocations) {
        hostkit::mapper::FreeAllocated(handle);
    }
    hostkit::binder::Reset();
    hostkit::mapper::Reset();
}

bool AidlBenchRig::Frame(uint32_t frameNumber, int32_t bufferId) {
    std::vector<vircamsim::InfoData> items(1);
    items[0].data = ItemJson(frameNumber, bufferId);
    vircamsim::StatusResult reply;
    return mCallback->processInfoData(CMD_IMAGE_REQUEST, "{}", items, &reply).isOk() && reply.status == 0;
}

}  // namespace vircambench
