#pragma once

// AIDL android.hardware.common.NativeHandle for the NDK backend: file descriptors and ints.
// Move-only: it owns its descriptors. On the wire: non-null marker, size, fds, ints.

#include <cstdint>
#include <string>
#include <tuple>
#include <type_traits>
#include <vector>

#include <android/binder_interface_utils.h>
#include <android/binder_parcel_utils.h>

namespace aidl {
namespace android {
namespace hardware {
namespace common {

class NativeHandle {
  public:
    typedef std::false_type fixed_size;
    static const char* descriptor;

    std::vector<::ndk::ScopedFileDescriptor> fds;
    std::vector<int32_t> ints;

    binder_status_t readFromParcel(const AParcel* parcel);
    binder_status_t writeToParcel(AParcel* parcel) const;

    // Descriptors compare by number.
    inline bool operator!=(const NativeHandle& rhs) const { return tie() != rhs.tie(); }
    inline bool operator<(const NativeHandle& rhs) const { return tie() < rhs.tie(); }
    inline bool operator<=(const NativeHandle& rhs) const { return tie() <= rhs.tie(); }
    inline bool operator==(const NativeHandle& rhs) const { return tie() == rhs.tie(); }
    inline bool operator>(const NativeHandle& rhs) const { return tie() > rhs.tie(); }
    inline bool operator>=(const NativeHandle& rhs) const { return tie() >= rhs.tie(); }

    static const ::ndk::parcelable_stability_t _aidl_stability = ::ndk::STABILITY_VINTF;

    std::string toString() const;

  private:
    std::tuple<const std::vector<::ndk::ScopedFileDescriptor>&, const std::vector<int32_t>&> tie()
            const {
        return std::tie(fds, ints);
    }
};

}  // namespace common
}  // namespace hardware
}  // namespace android
}  // namespace aidl
