#define LOG_TAG "VIRCAMERA_HIDL_CLIENT"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>

#include <log/log.h>

#include "client/VirtualCameraClient.h"

// Capability strings come from outside the process: every number is read with atoi's
// rules (leading blanks, sign, digits; no digits reads as 0), but a number that does not
// fit is rejected with a log line instead of being undefined.
namespace VIRTUAL_CAMERA_CLIENT {

using android::hardware::hidl_vec;

namespace {

constexpr uint32_t LOCATION_KEY = 2;
constexpr double RATE_UNIT = 0.001;  // frame rates are given in thousandths of a frame per second

const std::vector<std::pair<uint32_t, uint32_t>> DEFAULT_RESOLUTIONS = {
    {320, 240}, {480, 360}, {640, 360}, {640, 480}, {720, 540},
    {960, 540}, {960, 720}, {1280, 720}, {1440, 1080}, {1920, 1080},
};

bool ParseNumber(const std::string& text, long& value) {
    errno = 0;
    value = std::strtol(text.c_str(), nullptr, 10);
    return errno != ERANGE && value >= INT_MIN && value <= INT_MAX;
}

}  // namespace

const std::string VirtualCameraClient::IMAGE_FORMAT_NV21 = "17";
const std::string VirtualCameraClient::PIXEL_FORMAT_YUV420 = "YUV420";
const std::string VirtualCameraClient::COMMA_SEPARATOR = ",";
const std::string VirtualCameraClient::SEMICOLON_SEPARATOR = ";";

void VirtualCameraClient::Split(const std::string& text, std::vector<std::string>& out, const std::string& separators) {
    size_t start = text.find_first_not_of(separators);
    while (start != std::string::npos) {
        size_t end = text.find_first_of(separators, start);
        out.push_back(text.substr(start, end == std::string::npos ? std::string::npos : end - start));
        start = end == std::string::npos ? end : text.find_first_not_of(separators, end);
    }
}

std::vector<uint8_t> VirtualCameraClient::ParseFrameRate(const std::string& fps) {
    std::vector<uint8_t> rates;
    std::vector<std::string> ranges;
    Split(fps, ranges, SEMICOLON_SEPARATOR);
    for (const std::string& range : ranges) {
        std::vector<std::string> bounds;
        Split(range, bounds, COMMA_SEPARATOR);
        long low = 0;
        long high = 0;
        if (bounds.size() < 2 || !ParseNumber(bounds[0], low) || !ParseNumber(bounds[1], high)) {
            ALOGE("%s: the frame rate cfg invalid, range: %s", __func__, range.c_str());
            continue;
        }
        rates.push_back(static_cast<uint8_t>(static_cast<int>(low * RATE_UNIT)));
        rates.push_back(static_cast<uint8_t>(static_cast<int>(high * RATE_UNIT)));
    }
    if (rates.empty()) {
        return {DEFAULT_FPS};
    }
    std::sort(rates.begin(), rates.end());
    rates.erase(std::unique(rates.begin(), rates.end()), rates.end());
    return rates;
}

bool VirtualCameraClient::ParseResolutions(const std::string& text, std::vector<std::pair<uint32_t, uint32_t>>& sizes) {
    std::vector<std::string> entries;
    Split(text, entries, SEMICOLON_SEPARATOR);
    for (const std::string& entry : entries) {
        std::vector<std::string> parts;
        Split(entry, parts, COMMA_SEPARATOR);
        long height = 0;
        long width = 0;
        // An entry is written height first: "1080,1920" is 1920 wide.
        if (parts.size() != static_cast<size_t>(SIZE_FMT_LEN) || !ParseNumber(parts[0], height) ||
            !ParseNumber(parts[1], width) || height < 0 || width < 0) {
            ALOGE("%s: the resolution cfg invalid, sizes: %s", "GetCameraFmt", entry.c_str());
            return false;
        }
        sizes.emplace_back(static_cast<uint32_t>(width), static_cast<uint32_t>(height));
    }
    return true;
}

hidl_vec<VirtualCameraClient::CameraFormat> VirtualCameraClient::GetCameraFmt(const std::vector<std::string>& camInfo) {
    if (camInfo.size() < CAMINFO_ARRAY_LEN) {
        ALOGE("%s: Invalid virtual camera info, vector size is: %zu", __func__, camInfo.size());
        return {};
    }
    const std::string& formats = camInfo[0];
    const std::string& resolutions = camInfo[1];
    ALOGI("%s: virtual camera supported formats(%s), resolutions(%s), fps(%s).", __func__, formats.c_str(),
          resolutions.c_str(), camInfo[2].c_str());
    const std::vector<uint8_t> rates = ParseFrameRate(camInfo[2]);
    if (formats.empty()) {
        return {};
    }
    // Exactly one entry, default-built unless an NV21 token fills it.
    hidl_vec<CameraFormat> result(1);
    // hidl_vec's sized constructor leaves plain fields such as isValid indeterminate.
    result[0] = CameraFormat{};
    std::vector<std::string> tokens;
    Split(formats, tokens, SEMICOLON_SEPARATOR);
    for (const std::string& token : tokens) {
        if (token != IMAGE_FORMAT_NV21) {
            continue;
        }
        CameraFormat& format = result[0];
        format.format = PIXEL_FORMAT_YUV420;
        format.isValid = true;
        format.frameSizeRates = hidl_vec<FrameSizeRate>();
        if (resolutions.empty()) {
            continue;
        }
        std::vector<std::pair<uint32_t, uint32_t>> sizes;
        if (!ParseResolutions(resolutions, sizes)) {
            return {};
        }
        format.frameSizeRates = AddDefaultFormat(sizes, rates);
    }
    return result;
}

std::vector<VirtualCameraClient::FrameSizeRate> VirtualCameraClient::AddDefaultFormat(
    std::vector<std::pair<uint32_t, uint32_t>>& sizes, const std::vector<uint8_t>& frameRates) {
    if (sizes.empty()) {
        ALOGE("%s: The device has no available resolution!", __func__);
        return {};
    }
    sizes.insert(sizes.end(), DEFAULT_RESOLUTIONS.begin(), DEFAULT_RESOLUTIONS.end());
    sizes.erase(std::unique(sizes.begin(), sizes.end()), sizes.end());
    std::vector<FrameSizeRate> result;
    result.reserve(sizes.size());
    for (const auto& size : sizes) {
        FrameSizeRate entry;
        entry.width = size.first;
        entry.height = size.second;
        entry.frameRates = frameRates;
        result.push_back(std::move(entry));
    }
    return result;
}

hidl_vec<VirtualCameraClient::MetaItem> VirtualCameraClient::GetExtendInfo(const std::vector<std::string>& camInfo) {
    if (camInfo.size() < CAMINFO_ARRAY_LEN) {
        ALOGE("%s: Invalid virtual camera info, vector size is: %zu", __func__, camInfo.size());
        return {};
    }
    ALOGI("%s: virtual camera location(%s).", __func__, camInfo[3].c_str());
    MetaItem location;
    location.key = LOCATION_KEY;
    location.value = camInfo[3];
    return {location};
}

}  // namespace VIRTUAL_CAMERA_CLIENT
