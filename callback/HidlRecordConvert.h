#pragma once

#include <vector>

#include <vendor/zuvek/hardware/camera/vircamera/1.0/types.h>

#include "IVirCameraWrapper.h"

namespace android {

// Conversions from the HAL's HIDL records to the caller's records.
namespace HidlRecordConvert {

void StreamConfigConvert(VirCameraStream& out, const vendor::zuvek::hardware::camera::vircamera::V1_0::VirStream& in);
VirCameraStreamDirection StreamTypeConvert(vendor::zuvek::hardware::camera::vircamera::V1_0::VirStreamType type);
VirCameraColorFormatType ColorSpaceConvert(int32_t colorSpace);
// Quarter turns to degrees; any code other than 1 to 3 is no rotation.
VirCameraRotationDegree RotationConvert(vendor::zuvek::hardware::camera::vircamera::V1_0::VirStreamRotation rotation);
// Keeps text items (type 1) and rotation items (type 2, always reported as "180").
void MetaItemsConvert(std::vector<VirCameraMetaInfo>& out,
                      const hardware::hidl_vec<vendor::zuvek::hardware::camera::vircamera::V1_0::MetaItem>& in);

}  // namespace HidlRecordConvert
}  // namespace android
