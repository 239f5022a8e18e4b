// The HIDL channel callback as a misbehaving HAL drives it: sessions, stream
// configurations with attributes and rotations, image requests whose buffers come with
// and without handles (real gralloc handles, or real descriptors with arbitrary ints),
// meta requests, unregister lists and flushes, answered by a video service that reads
// its answers from the input. Nothing is ever locked, so every release completes. After
// each input the callback is gone and no import, mapping or descriptor is left behind.
//
// Input (see support/FuzzInput.h): a flags byte (bit 0: the video service has gone
// away), then operations until the input ends: byte op (mod 9), uint32 session id, then
//   0/3 open control/data session: string device, string service
//   2 configStream: byte stream count (mod 4), per stream uint32 id, type, width,
//     height, int32 colour space, uint32 padding, rotation, byte attribute count
//     (mod 4) and that many string pairs
//   5 processImageRequest: byte count (mod 5), per buffer uint32 frame, byte stream,
//     byte buffer id (bit 7 sets bit 32), byte handle kind (0 none, 1 a pool buffer,
//     2 its fds with input ints, 3 fds and ints from the input: byte buffer selector,
//     byte fd count, byte int count, int32 ints)
//   6 processMetaRequest: uint32 meta id, byte count (mod 5), per item uint32 key, string
//   7 unregisterBuffer: byte count (mod 5), per entry byte stream, byte buffer id
//   1, 4, 8 close control/data session, flush: nothing more
// The video service answers each call with int32 result and, where it has one, uint32.
#include <cstddef>
#include <cstdint>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include <hostkit/LogCapture.h>
#include <hostkit/Mapper.h>
#include <unistd.h>

#include "callback/VirCameraCallback.h"
#include "support/BufferPool.h"
#include "support/FuzzInput.h"
#include "OpenFds.h"

using android::VirCameraCallback;
using android::hardware::hidl_handle;
using android::hardware::hidl_string;
using android::hardware::hidl_vec;
namespace hal = vendor::zuvek::hardware::camera::vircamera::V1_0;

namespace {

constexpr size_t MAX_OPERATIONS = 16;

void Check(bool condition) {
    if (!condition) __builtin_trap();
}

// The video service; checks what the library converted against what the HAL sent.
class FuzzVideoService final : public android::IVirCameraWrapperCallback {
  public:
    explicit FuzzVideoService(FuzzInput& input) : mInput(input) {}

    const hal::VirStreamConfiguration* expectedConfig = nullptr;
    size_t expectedBuffers = 0;
    size_t expectedMetas = 0;
    size_t expectedCaches = 0;

    int32_t OnOpenControlSession(const std::string&, const std::string&, uint32_t& sessionId) override {
        return AnswerWithId(sessionId);
    }
    int32_t OnCloseControlSession(uint32_t) override { return Answer(); }
    int32_t OnConfigStream(uint32_t, std::vector<android::VirCameraStream>& streams) override {
        Check(expectedConfig != nullptr && streams.size() == expectedConfig->streams.size());
        for (size_t i = 0; i < streams.size(); ++i) {
            const hal::VirStream& sent = expectedConfig->streams[i];
            Check(streams[i].streamId == sent.id && streams[i].width == sent.width && streams[i].height == sent.height);
            Check(streams[i].direction == (static_cast<uint32_t>(sent.streamType) == 0
                                               ? android::VIR_CAMERA_STREAM_OUTPUT
                                               : android::VIR_CAMERA_STREAM_INPUT));
            const int32_t degrees = streams[i].rotation;
            Check(degrees == 0 || degrees == 90 || degrees == 180 || degrees == 270);
            Check(streams[i].params.size() <= sent.kvattribute.size());
        }
        return Answer();
    }
    int32_t OnOpenDataSession(const std::string&, const std::string&, uint32_t& sessionId) override {
        return AnswerWithId(sessionId);
    }
    int32_t OnCloseDataSession(uint32_t) override { return Answer(); }
    int32_t OnProcessImageRequest(uint32_t, std::vector<android::VirCameraImageBuffer>& buffers,
                                  uint32_t& processed) override {
        Check(buffers.size() == expectedBuffers);  // every buffer is listed, imported or not
        return AnswerWithId(processed);
    }
    int32_t OnUnregisterBuffer(uint32_t, std::vector<android::VirCameraBufferCache>& buffers) override {
        Check(buffers.size() == expectedCaches);
        return Answer();
    }
    int32_t OnFlush(uint32_t) override { return Answer(); }
    int32_t OnServiceDied() override { return 0; }
    int32_t OnProcessMetaRequest(uint32_t, uint32_t, std::vector<android::VirCameraMetaInfo>& metas) override {
        Check(metas.size() == expectedMetas);
        for (const auto& meta : metas) Check(meta.type == 1 || (meta.type == 2 && meta.value == "180"));
        return Answer();
    }

  private:
    int32_t Answer() { return mInput.Int<int32_t>(); }
    int32_t AnswerWithId(uint32_t& id) {
        const int32_t result = Answer();
        id = mInput.Int<uint32_t>();
        return result;
    }
    FuzzInput& mInput;
};

// Handles this fuzzer created for one call; closed and deleted after it.
class OwnedHandles {
  public:
    ~OwnedHandles() {
        for (native_handle_t* handle : mHandles) {
            native_handle_close(handle);
            native_handle_delete(handle);
        }
    }
    const native_handle_t* Make(FuzzInput& input) {
        const uint8_t kind = input.Byte() % 4;
        if (kind == 0) return nullptr;
        const native_handle_t* buffer = BufferPool::Get().at(input.Byte());
        if (kind == 1) return buffer;
        const int fds = kind == 2 ? buffer->numFds : input.Byte() % 3;
        const int ints = input.Byte() % 8;
        native_handle_t* handle = native_handle_create(fds, ints);
        if (handle == nullptr) return nullptr;
        for (int i = 0; i < fds; ++i) handle->data[i] = dup(buffer->data[i % buffer->numFds]);
        for (int i = 0; i < ints; ++i) handle->data[fds + i] = input.Int<int32_t>();
        mHandles.push_back(handle);
        return handle;
    }

  private:
    std::vector<native_handle_t*> mHandles;
};

uint64_t BufferId(FuzzInput& input) {
    const uint8_t byte = input.Byte();
    return (byte & 0x07u) | ((byte & 0x80u) != 0 ? 0x100000000ull : 0);
}

int32_t StreamId(FuzzInput& input) { return static_cast<int8_t>(input.Byte()) % 4; }

hal::VirStreamConfiguration MakeConfig(FuzzInput& input) {
    hal::VirStreamConfiguration config;
    config.streams.resize(input.Byte() % 4);
    for (hal::VirStream& stream : config.streams) {
        stream.id = input.Int<uint32_t>();
        stream.streamType = static_cast<hal::VirStreamType>(input.Int<uint32_t>());
        stream.width = input.Int<uint32_t>();
        stream.height = input.Int<uint32_t>();
        stream.colorSpace = input.Int<int32_t>();
        stream.padding = input.Int<uint32_t>();
        stream.rotation = static_cast<hal::VirStreamRotation>(input.Int<uint32_t>());
        stream.kvattribute.resize(input.Byte() % 4);
        for (hal::VirKeyValue& pair : stream.kvattribute) {
            pair.key = input.String();
            pair.value = input.String();
        }
    }
    return config;
}

void RunOperation(VirCameraCallback& callback, FuzzVideoService* service, FuzzInput& input) {
    const uint8_t op = input.Byte() % 9;
    const uint32_t session = input.Int<uint32_t>();
    int answers = 0;
    auto countAnswer = [&answers](hal::VirOptResult, uint32_t) { ++answers; };
    switch (op) {
        case 0:
        case 3: {
            const hidl_string device(input.String());
            const hidl_string service(input.String());
            auto ret = op == 0 ? callback.openControlSession(device, service, countAnswer)
                               : callback.openDataSession(device, service, countAnswer);
            Check(ret.isOk() && answers <= 1);
            break;
        }
        case 2: {
            const hal::VirStreamConfiguration config = MakeConfig(input);
            if (service != nullptr) service->expectedConfig = &config;
            Check(callback.configStream(session, config).isOk());
            if (service != nullptr) service->expectedConfig = nullptr;
            break;
        }
        case 5: {
            OwnedHandles handles;
            hidl_vec<hal::VirImageBuffer> buffers;
            buffers.resize(input.Byte() % 5);
            for (hal::VirImageBuffer& buffer : buffers) {
                buffer.frameNumber = input.Int<uint32_t>();
                buffer.streamId = StreamId(input);
                buffer.bufferId = BufferId(input);
                buffer.buffer = hidl_handle(handles.Make(input));
            }
            if (service != nullptr) service->expectedBuffers = buffers.size();
            Check(callback.processImageRequest(session, buffers, countAnswer).isOk() && answers <= 1);
            break;
        }
        case 6: {
            hal::VirMetaRequest request;
            request.metaId = input.Int<uint32_t>();
            request.items.resize(input.Byte() % 5);
            size_t kept = 0;
            for (hal::MetaItem& item : request.items) {
                item.key = input.Int<uint32_t>();
                item.value = input.String();
                if (item.key == 1 || item.key == 2) ++kept;
            }
            if (service != nullptr) service->expectedMetas = kept;
            Check(callback.processMetaRequest(session, request).isOk());
            break;
        }
        case 7: {
            hidl_vec<hal::VirBufferCache> caches;
            caches.resize(input.Byte() % 5);
            for (hal::VirBufferCache& cache : caches) {
                cache.streamId = StreamId(input);
                cache.bufferId = BufferId(input);
            }
            if (service != nullptr) service->expectedCaches = caches.size();
            Check(callback.unregisterBuffer(session, caches).isOk());
            break;
        }
        case 1:
            Check(callback.closeControlSession(session).isOk());
            break;
        case 4:
            Check(callback.closeDataSession(session).isOk());
            break;
        default:
            Check(callback.flush(session).isOk());
            break;
    }
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
    if (!hostkit::mapper::Offer({4})) abort();
    (void)BufferPool::Get();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const auto fdsBefore = OpenFds();
    {
        FuzzInput input(data, size);
        const bool serviceGone = input.Bool();
        auto service = std::make_shared<FuzzVideoService>(input);
        android::sp<VirCameraCallback> callback = new VirCameraCallback(service);
        FuzzVideoService* live = service.get();
        if (serviceGone) {
            service.reset();
            live = nullptr;
        }
        for (size_t i = 0; i < MAX_OPERATIONS && !input.Empty(); ++i) RunOperation(*callback, live, input);
    }
    if (hostkit::mapper::LiveImports() != 0) __builtin_trap();  // a buffer outlived its callback
    if (!hostkit::mapper::MappedRegions().empty()) __builtin_trap();
    if (OpenFds() != fdsBefore) __builtin_trap();                // a descriptor leaked
    hostkit::logs::Clear();
    return 0;
}
