#pragma once

#include <condition_variable>

#include <android-base/thread_annotations.h>
#include <utils/Mutex.h>

namespace android {

// Lets operations run one at a time without holding a lock while they run. An operation
// of the library may call the HAL, wait for a service or call into the caller, and the
// other side may call back into the library meanwhile, from a thread of its own or nested
// on the waiting thread; a mutex held across such a call turns that into a deadlock or a
// stall of unrelated calls. Holding a turn is a flag instead: only the next taker of the
// same turn waits for it, and the turn's mutex is held just long enough to test and set
// the flag. Taking a turn that the calling thread already holds waits for ever, as a
// mutex would; nothing of the library takes one from a path that can nest that way.
//
// The analysis treats a turn as a capability, so what only its holder may touch can be
// marked GUARDED_BY it: taking the turn orders its holders as a mutex would.
class CAPABILITY("turn") Turn {
public:
    Turn() = default;
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;

    // Waits until nobody holds the turn, then holds it.
    void Take() ACQUIRE();
    // Hands the turn to the next waiting taker, if any.
    void Pass() RELEASE();

    // Holds the turn for the lifetime of the object.
    class SCOPED_CAPABILITY Scoped {
    public:
        explicit Scoped(Turn& turn) ACQUIRE(turn) : mTurn(turn) { mTurn.Take(); }
        ~Scoped() RELEASE() { mTurn.Pass(); }
        Scoped(const Scoped&) = delete;
        Scoped& operator=(const Scoped&) = delete;

    private:
        Turn& mTurn;
    };

private:
    void WaitUntilFreeAndMarkBusy() EXCLUDES(mMutex);
    void MarkFree() EXCLUDES(mMutex);

    Mutex mMutex;  // guards mBusy; never held while the turn's holder runs
    std::condition_variable_any mFreed;  // waits on mMutex itself
    bool mBusy GUARDED_BY(mMutex) = false;
};

}  // namespace android
