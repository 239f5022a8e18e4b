#include "callback/HidlRecordConvert.h"

#include <cstdio>

namespace android {
namespace HidlRecordConvert {

using vendor::zuvek::hardware::camera::vircamera::V1_0::MetaItem;
using vendor::zuvek::hardware::camera::vircamera::V1_0::VirStream;
using vendor::zuvek::hardware::camera::vircamera::V1_0::VirStreamRotation;
using vendor::zuvek::hardware::camera::vircamera::V1_0::VirStreamType;

namespace {

constexpr uint32_t META_TYPE_TEXT = 1;
constexpr uint32_t META_TYPE_ROTATION = 2;
// The HAL's rotation value is not used: rotation items always report this angle.
constexpr int META_ROTATION_DEGREES = 180;

}  // namespace

void StreamConfigConvert(VirCameraStream& out, const VirStream& in) {
    out.streamId = in.id;
    out.direction = StreamTypeConvert(in.streamType);
    out.width = in.width;
    out.height = in.height;
    out.colorFormat = ColorSpaceConvert(in.colorSpace);
    out.padding = in.padding;
    out.rotation = RotationConvert(in.rotation);
    for (const auto& attribute : in.kvattribute) {
        out.params[attribute.key] = attribute.value;
    }
}

VirCameraStreamDirection StreamTypeConvert(VirStreamType type) {
    return static_cast<VirCameraStreamDirection>(static_cast<uint32_t>(type) == 0 ? 0 : 1);
}

VirCameraColorFormatType ColorSpaceConvert(int32_t colorSpace) {
    return static_cast<VirCameraColorFormatType>(colorSpace);
}

VirCameraRotationDegree RotationConvert(VirStreamRotation rotation) {
    const uint32_t quarterTurns = static_cast<uint32_t>(rotation);
    return static_cast<VirCameraRotationDegree>(quarterTurns >= 1 && quarterTurns <= 3 ? 90 * quarterTurns : 0);
}

void MetaItemsConvert(std::vector<VirCameraMetaInfo>& out, const hardware::hidl_vec<MetaItem>& in) {
    for (const MetaItem& item : in) {
        if (item.key == META_TYPE_TEXT) {
            out.push_back({static_cast<int32_t>(item.key), item.value});
        } else if (item.key == META_TYPE_ROTATION) {
            char text[16];
            snprintf(text, sizeof(text), "%d", META_ROTATION_DEGREES);
            out.push_back({static_cast<int32_t>(item.key), text});
        }
    }
}

}  // namespace HidlRecordConvert
}  // namespace android
