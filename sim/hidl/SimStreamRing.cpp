#include "hidl/SimStreamRing.h"

#include <hostkit/Mapper.h>

namespace vircamsim {

SimStreamRing::SimStreamRing(const StreamSpec& spec, size_t size) : mSpec(spec), mSlots(size) {
    for (Slot& slot : mSlots) {
        slot.handle = hostkit::mapper::Allocate(spec.width, spec.height, spec.format, USAGE_CPU_RW_OFTEN);
        mValid = mValid && slot.handle != nullptr;
    }
}

SimStreamRing::~SimStreamRing() {
    for (Slot& slot : mSlots) {
        if (slot.handle != nullptr) {
            hostkit::mapper::FreeAllocated(slot.handle);
        }
    }
}

uint64_t SimStreamRing::BufferId(size_t slot) const { return uint64_t{mSpec.id} * 1000u + slot + 1u; }

size_t SimStreamRing::SlotOf(uint32_t frameNumber) const {
    return mSlots.empty() ? 0 : frameNumber % mSlots.size();
}

size_t SimStreamRing::SlotOfBufferId(uint64_t bufferId) const {
    for (size_t slot = 0; slot < mSlots.size(); ++slot) {
        if (BufferId(slot) == bufferId) {
            return slot;
        }
    }
    return mSlots.size();
}

const native_handle_t* SimStreamRing::Handle(uint64_t bufferId) const {
    const size_t slot = SlotOfBufferId(bufferId);
    return slot < mSlots.size() ? mSlots[slot].handle : nullptr;
}

void SimStreamRing::MarkInFlight(size_t slot, bool inFlight) {
    if (slot < mSlots.size()) {
        mSlots[slot].inFlight = inFlight;
    }
}

bool SimStreamRing::InFlight(size_t slot) const { return slot < mSlots.size() && mSlots[slot].inFlight; }

const native_handle_t* SimStreamRing::TakeHandleToSend(size_t slot) {
    if (slot >= mSlots.size() || mSlots[slot].held) {
        return nullptr;
    }
    mSlots[slot].held = true;
    return mSlots[slot].handle;
}

void SimStreamRing::ForgetHeld() {
    for (Slot& slot : mSlots) {
        slot.held = false;
        slot.inFlight = false;
    }
}

size_t SimStreamRing::BufferBytes() const {
    return static_cast<size_t>(mSpec.width) * mSpec.height * 3 / 2;
}

}  // namespace vircamsim
