#pragma once

#include <mutex>

#include <android-base/thread_annotations.h>
// Not used here, but it must follow the annotations header: it turns the annotations
// off for compilers other than clang, which would warn about unknown attributes.
#include <utils/Mutex.h>

namespace android {

// A recursive lock that clang's thread-safety analysis can check, with the interface of
// libutils' Mutex (which is not recursive). Only the AIDL user and service maps need it:
// the AIDL facade holds their lock across HAL calls, and a HAL call can come back into
// the library on the same thread (a nested binder call, or the caller answering from
// inside its callback) and take the lock again. The analysis treats it like a plain
// mutex: it sees a second acquisition only when one function takes it twice.
class CAPABILITY("mutex") RecursiveMutex {
  public:
    RecursiveMutex() = default;
    RecursiveMutex(const RecursiveMutex&) = delete;
    RecursiveMutex& operator=(const RecursiveMutex&) = delete;

    void lock() ACQUIRE() { mMutex.lock(); }
    void unlock() RELEASE() { mMutex.unlock(); }

    // Holds the lock for the lifetime of the object.
    class SCOPED_CAPABILITY Autolock {
      public:
        explicit Autolock(RecursiveMutex& mutex) ACQUIRE(mutex) : mLock(mutex) { mLock.lock(); }
        ~Autolock() RELEASE() { mLock.unlock(); }
        Autolock(const Autolock&) = delete;
        Autolock& operator=(const Autolock&) = delete;

      private:
        RecursiveMutex& mLock;
    };

  private:
    std::recursive_mutex mMutex;
};

}  // namespace android
