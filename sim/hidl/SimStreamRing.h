#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include <cutils/native_handle.h>

// The buffers of one configured stream: a ring of gralloc buffers allocated like the
// camera framework does (hostkit::mapper::Allocate, CPU read|write often), each sent with
// its handle until the library holds it and without it afterwards. Not thread-safe: owned
// by SimHidlFramework under its lock.
namespace vircamsim {

struct StreamSpec {
    uint32_t id = 0;
    uint32_t width = 0;
    uint32_t height = 0;
    int32_t format = 17;  // NV21
};

class SimStreamRing {
  public:
    static constexpr uint64_t USAGE_CPU_RW_OFTEN = 0x33;

    // Allocates `size` buffers; Valid() is false when any allocation failed.
    SimStreamRing(const StreamSpec& spec, size_t size);
    ~SimStreamRing();
    SimStreamRing(const SimStreamRing&) = delete;
    SimStreamRing& operator=(const SimStreamRing&) = delete;

    bool Valid() const { return mValid; }
    const StreamSpec& Spec() const { return mSpec; }
    size_t Size() const { return mSlots.size(); }
    // Buffer id of slot i: stream id * 1000 + i + 1.
    uint64_t BufferId(size_t slot) const;
    // The slot frame `frameNumber` uses.
    size_t SlotOf(uint32_t frameNumber) const;
    // The raw handle of a buffer id of this ring, null if unknown. Stays owned by the ring.
    const native_handle_t* Handle(uint64_t bufferId) const;
    // The handle to send with a request for `slot`: the buffer when the library does not
    // hold it yet (then marks it held), null otherwise.
    const native_handle_t* TakeHandleToSend(size_t slot);
    // The library dropped its buffers (configure, flush, unregister): send handles again;
    // nothing is in flight any more.
    void ForgetHeld();
    // A request for `slot` was sent / its buffer came back done. A framework reuses a
    // buffer only once it came back.
    void MarkInFlight(size_t slot, bool inFlight);
    bool InFlight(size_t slot) const;
    // Slot of a buffer id of this ring, Size() if unknown.
    size_t SlotOfBufferId(uint64_t bufferId) const;
    // Bytes of one buffer (NV21: width * height * 3 / 2).
    size_t BufferBytes() const;

  private:
    struct Slot {
        native_handle_t* handle = nullptr;
        bool held = false;
        bool inFlight = false;
    };
    StreamSpec mSpec;
    std::vector<Slot> mSlots;
    bool mValid = true;
};

}  // namespace vircamsim
