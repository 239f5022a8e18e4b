#include "common/Turn.h"

namespace android {

// The analysis cannot see that a flag stands for the capability: these two only
// delegate to the checked helpers below.
void Turn::Take() NO_THREAD_SAFETY_ANALYSIS {
    WaitUntilFreeAndMarkBusy();
}

void Turn::Pass() NO_THREAD_SAFETY_ANALYSIS {
    MarkFree();
}

void Turn::WaitUntilFreeAndMarkBusy() {
    Mutex::Autolock lock(mMutex);
    while (mBusy) {
        // Releases mMutex while asleep and holds it again on return.
        mFreed.wait(mMutex);
    }
    mBusy = true;
}

void Turn::MarkFree() {
    {
        Mutex::Autolock lock(mMutex);
        mBusy = false;
    }
    mFreed.notify_one();
}

}  // namespace android
