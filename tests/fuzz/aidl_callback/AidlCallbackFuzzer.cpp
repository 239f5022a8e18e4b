// The AIDL channel callback as a misbehaving HAL drives it: any command number, any JSON,
// image items whose handles mix real gralloc descriptors with arbitrary integers, and a
// video service whose answers also come from the input. Nothing is ever locked, so every
// release completes. After each input the callback is gone and no import, mapping or
// descriptor may be left behind.
//
// Input (see support/FuzzInput.h): a flags byte (bit 0: the video service has gone
// away), then operations until the input ends, each:
//   byte op       bit 0: info data (else a plain command); bit 7: null reply
//   byte cmd      below 240 picks a known command, else an int32 follows
//   string json
//   info data only: byte item count (mod 5), per item:
//     byte kind   bit 0: JSON from the three ints below, else a string follows
//                 int16 frame, byte stream (mod 4), byte buffer (mod 8)
//     byte handle 0 none; 1 a pool buffer; 2 its fds with input ints; 3 fds and ints
//                 from the input (then byte buffer selector, byte fd count, byte int
//                 count, int32 ints)
// The video service answers each call with int32 result and string data.
#include <cstddef>
#include <cstdint>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include <aidlcommonsupport/NativeHandle.h>
#include <hostkit/LogCapture.h>
#include <hostkit/Mapper.h>
#include <unistd.h>

#include "callback/AidlVirCameraCallback.h"
#include "support/BufferPool.h"
#include "support/FuzzInput.h"
#include "OpenFds.h"

using android::AidlVirCameraCallback;
using android::CallbackResult;
using android::CommonData;
using NativeHandle = aidl::android::hardware::common::NativeHandle;

namespace {

const int32_t KNOWN_CMDS[] = {9104, 9105, 9106, 9107, 10005, 10006, 10007, 10008, 10009, 15014, 20004, 20005, 20006};
constexpr size_t MAX_OPERATIONS = 16;

class FuzzVideoService : public android::IVirCameraWrapperCallbackV2 {
  public:
    explicit FuzzVideoService(FuzzInput& input) : mInput(input) {}
    CallbackResult OnCommand(int32_t /*cmd*/, const std::string& /*data*/) override { return Answer(); }
    CallbackResult OnCommandWithData(int32_t /*cmd*/, const std::string& /*data*/,
                                     std::vector<CommonData>& items) override {
        for (const CommonData& item : items) (void)item.data.size();
        return Answer();
    }

  private:
    CallbackResult Answer() {
        CallbackResult result;
        result.result = mInput.Int<int32_t>();
        result.data = mInput.String();
        return result;
    }
    FuzzInput& mInput;
};

int32_t PickCommand(FuzzInput& input) {
    const uint8_t selector = input.Byte();
    if (selector < 240) return KNOWN_CMDS[selector % (sizeof(KNOWN_CMDS) / sizeof(KNOWN_CMDS[0]))];
    return input.Int<int32_t>();
}

void AddFds(NativeHandle& handle, const native_handle_t* from, size_t count) {
    for (size_t i = 0; i < count && i < static_cast<size_t>(from->numFds); ++i) {
        handle.fds.emplace_back(dup(from->data[i]));
    }
}

void AddInts(NativeHandle& handle, FuzzInput& input, size_t count) {
    for (size_t i = 0; i < count; ++i) handle.ints.push_back(input.Int<int32_t>());
}

NativeHandle MakeHandle(FuzzInput& input) {
    const uint8_t mode = input.Byte() % 4;
    NativeHandle handle;
    if (mode == 0) return handle;
    const native_handle_t* buffer = BufferPool::Get().at(input.Byte());
    if (mode == 1) return android::dupToAidl(buffer);
    const size_t fdCount = mode == 2 ? static_cast<size_t>(buffer->numFds) : input.Byte() % 3;
    AddFds(handle, buffer, fdCount);
    AddInts(handle, input, input.Byte() % 8);
    return handle;
}

AidlVirCameraCallback::InfoData MakeItem(FuzzInput& input) {
    AidlVirCameraCallback::InfoData item;
    if (input.Bool()) {
        const int frame = input.Int<int16_t>();
        const int stream = input.Byte() % 4;
        const int buffer = input.Byte() % 8;
        item.data = "{\"frameNumber\":" + std::to_string(frame) + ",\"streamId\":" + std::to_string(stream) +
                    ",\"bufferId\":" + std::to_string(buffer) + "}";
    } else {
        item.data = input.String();
    }
    item.buffer = MakeHandle(input);
    return item;
}

void RunOperation(AidlVirCameraCallback& callback, FuzzInput& input) {
    const uint8_t op = input.Byte();
    const bool nullReply = (op & 0x80) != 0;
    const int32_t cmd = PickCommand(input);
    const std::string json = input.String();
    AidlVirCameraCallback::StatusResult reply;
    AidlVirCameraCallback::StatusResult* replyPointer = nullReply ? nullptr : &reply;
    ndk::ScopedAStatus status;
    if ((op & 1) != 0) {
        std::vector<AidlVirCameraCallback::InfoData> items;
        const size_t count = input.Byte() % 5;
        for (size_t i = 0; i < count; ++i) items.push_back(MakeItem(input));
        status = callback.processInfoData(cmd, json, items, replyPointer);
    } else {
        status = callback.processCmdRequest(cmd, json, replyPointer);
    }
    // A binder error only for the null reply, and then always.
    if (status.isOk() == nullReply) __builtin_trap();
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
        auto callback = ndk::SharedRefBase::make<AidlVirCameraCallback>(service);
        if (serviceGone) service.reset();
        for (size_t i = 0; i < MAX_OPERATIONS && !input.Empty(); ++i) RunOperation(*callback, input);
    }
    if (hostkit::mapper::LiveImports() != 0) __builtin_trap();    // a buffer outlived its callback
    if (!hostkit::mapper::MappedRegions().empty()) __builtin_trap();
    if (OpenFds() != fdsBefore) __builtin_trap();                  // a descriptor leaked
    hostkit::logs::Clear();
    return 0;
}
