// The caller and the library are built separately (and for more than one CPU), so the
// records they exchange must have one size. A mismatch fails the build, on every target.
#include "IVirCameraWrapper.h"

#include <cstddef>
#include <string>
#include <type_traits>
#include <vector>

namespace {

using namespace android;

constexpr size_t STRING_SIZE = sizeof(std::string);
constexpr size_t VECTOR_SIZE = sizeof(std::vector<int32_t>);

// Buffer ids travel as `unsigned long` through the lock calls and as 64 bits elsewhere.
static_assert(sizeof(unsigned long) == sizeof(uint64_t), "bufferId must stay 64-bit");
// CommonData::pointer carries an address.
static_assert(sizeof(void*) <= sizeof(CommonData::pointer), "an address must fit in pointer");

template <typename E>
constexpr bool IS_INT32_ENUM = sizeof(E) == 4 && std::is_same_v<std::underlying_type_t<E>, int32_t>;
static_assert(IS_INT32_ENUM<VirCameraStreamDirection>);
static_assert(IS_INT32_ENUM<VirCameraRotationDegree>);
static_assert(IS_INT32_ENUM<VirCameraColorFormatType>);
static_assert(IS_INT32_ENUM<IVirCameraWrapper::VirCameraMode>);

// Enumerator values are numbers on the wire and in the caller's comparisons.
static_assert(VIR_CAMERA_STREAM_OUTPUT == 0 && VIR_CAMERA_STREAM_INPUT == 1);
static_assert(VIR_CAMERA_ROTATION_0 == 0 && VIR_CAMERA_ROTATION_90 == 90 && VIR_CAMERA_ROTATION_180 == 180 &&
              VIR_CAMERA_ROTATION_270 == 270);
static_assert(VIR_CAMERA_COLOR_FORMAT_DEFAULT == 0);
static_assert(IVirCameraWrapper::MODE_STREAM_CHANGE == 0 && IVirCameraWrapper::MODE_REGISTER == 1);

static_assert(sizeof(VirCameraImageResult) == 40 && alignof(VirCameraImageResult) == 8);
static_assert(sizeof(VirCameraImageBuffer) == 16);
static_assert(sizeof(VirCameraBufferCache) == 16);
// The string-carrying records depend on the C++ library's string and vector sizes.
static_assert(sizeof(OptResult) == 16 + STRING_SIZE);
static_assert(sizeof(CallbackResult) == 8 + STRING_SIZE);
static_assert(sizeof(CommonData) == STRING_SIZE + 16 + VECTOR_SIZE);

}  // namespace
