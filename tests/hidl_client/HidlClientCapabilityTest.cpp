// Capability strings -> the HAL's CameraFormat records, good and hostile input.
#include <android/log.h>
#include <gtest/gtest.h>
#include <hostkit/LogCapture.h>

#include "client/VirtualCameraClient.h"

namespace {

using Size = std::pair<uint32_t, uint32_t>;
using VIRTUAL_CAMERA_CLIENT::VirtualCameraClient;

const std::vector<Size> DEFAULTS = {{320, 240}, {480, 360}, {640, 360}, {640, 480}, {720, 540},
                                    {960, 540}, {960, 720}, {1280, 720}, {1440, 1080}, {1920, 1080}};

std::vector<Size> WithDefaults(std::vector<Size> sizes) {
    sizes.insert(sizes.end(), DEFAULTS.begin(), DEFAULTS.end());
    return sizes;
}

struct CapabilityCase {
    const char* name;
    std::vector<std::string> info;
    bool emptyResult;
    std::string format;
    bool valid;
    std::vector<Size> sizes;
    std::vector<uint8_t> rates;
    std::string errorLine;  // an ERROR line expected exactly once; empty: none at all
};

class HidlClientCapability : public ::testing::TestWithParam<CapabilityCase> {
  protected:
    void SetUp() override { hostkit::logs::Clear(); }
};

TEST_P(HidlClientCapability, FormatsMatchTable) {
    const CapabilityCase& c = GetParam();
    auto formats = VirtualCameraClient::Get()->GetCameraFmt(c.info);
    if (c.emptyResult) {
        EXPECT_EQ(0u, formats.size());
    } else {
        ASSERT_EQ(1u, formats.size());
        EXPECT_EQ(c.format, std::string(formats[0].format));
        EXPECT_EQ(c.valid, formats[0].isValid);
        ASSERT_EQ(c.sizes.size(), formats[0].frameSizeRates.size());
        for (size_t i = 0; i < c.sizes.size(); ++i) {
            EXPECT_EQ(c.sizes[i].first, formats[0].frameSizeRates[i].width) << i;
            EXPECT_EQ(c.sizes[i].second, formats[0].frameSizeRates[i].height) << i;
            EXPECT_EQ(c.rates, std::vector<uint8_t>(formats[0].frameSizeRates[i].frameRates)) << i;
        }
    }
    size_t errors = 0;
    for (const hostkit::logs::LogLine& line : hostkit::logs::Lines()) {
        errors += line.priority == ANDROID_LOG_ERROR ? 1 : 0;
    }
    if (c.errorLine.empty()) {
        EXPECT_EQ(0u, errors);
    } else {
        EXPECT_EQ(1u, errors);
        HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_ERROR, "VIRCAMERA_HIDL_CLIENT", c.errorLine);
    }
}

const std::string BAD_SIZE = "GetCameraFmt: the resolution cfg invalid, sizes: ";
const std::string BAD_RATE = "ParseFrameRate: the frame rate cfg invalid, range: ";

INSTANTIATE_TEST_SUITE_P(
        Table, HidlClientCapability,
        ::testing::Values(
                CapabilityCase{"Nv21WithoutSizes", {"17", "", "", ""}, false, "YUV420", true, {}, {}, ""},
                CapabilityCase{"SizeThenDefaults", {"16;17", "1080,1920", "30000,30000", "front"}, false, "YUV420",
                               true, WithDefaults({{1920, 1080}}), {30}, ""},
                CapabilityCase{"EntryWithOnePart", {"17", "1080,1920;720", "", ""}, true, "", false, {}, {},
                               BAD_SIZE + "720"},
                CapabilityCase{"EntryWithThreeParts", {"17", "1080,1920,3", "", ""}, true, "", false, {}, {},
                               BAD_SIZE + "1080,1920,3"},
                CapabilityCase{"RatesSortedUnique", {"17", "480,640", "60000,15000;30000,30000", ""}, false,
                               "YUV420", true, WithDefaults({{640, 480}}), {15, 30, 60}, ""},
                // Thousandths are cut off, not rounded: 15999 is 15 frames per second.
                CapabilityCase{"RatesTruncated", {"17", "480,640", "15999,29500", ""}, false, "YUV420", true,
                               WithDefaults({{640, 480}}), {15, 29}, ""},
                CapabilityCase{"SemicolonOnlyRates", {"17", "480,640", ";", ""}, false, "YUV420", true,
                               WithDefaults({{640, 480}}), {30}, ""},
                CapabilityCase{"OtherFormatOnly", {"21", "1080,1920", "", ""}, false, "", false, {}, {}, ""},
                CapabilityCase{"ThreeElements", {"17", "1080,1920", ""}, true, "", false, {}, {},
                               "GetCameraFmt: Invalid virtual camera info, vector size is: 3"},
                CapabilityCase{"EmptyFormats", {"", "1080,1920", "", ""}, true, "", false, {}, {}, ""},
                CapabilityCase{"EmptyEntriesSkipped", {"17;;", ";;1080,1920;;", "", ""}, false, "YUV420", true,
                               WithDefaults({{1920, 1080}}), {30}, ""},
                CapabilityCase{"NonNumbersReadAsZero", {"17", "abc,def", "x,y", ""}, false, "YUV420", true,
                               WithDefaults({{0, 0}}), {0}, ""},
                CapabilityCase{"SizeOutOfRange", {"17", "99999999999,1920", "", ""}, true, "", false, {}, {},
                               BAD_SIZE + "99999999999,1920"},
                CapabilityCase{"NegativeSize", {"17", "-1080,1920", "", ""}, true, "", false, {}, {},
                               BAD_SIZE + "-1080,1920"},
                CapabilityCase{"RateRangeWithOnePart", {"17", "480,640", "30000", ""}, false, "YUV420", true,
                               WithDefaults({{640, 480}}), {30}, BAD_RATE + "30000"},
                CapabilityCase{"RateOutOfRange", {"17", "480,640", "99999999999,30000;15000,15000", ""}, false,
                               "YUV420", true, WithDefaults({{640, 480}}), {15}, BAD_RATE + "99999999999,30000"},
                CapabilityCase{"ExtraSeparators", {"17", "1080,,1920", ",,15000,,30000;;", ""}, false, "YUV420",
                               true, WithDefaults({{1920, 1080}}), {15, 30}, ""},
                CapabilityCase{"DuplicateNextToDefaultCollapses", {"17", "240,320", "", ""}, false, "YUV420", true,
                               DEFAULTS, {30}, ""}),
        [](const ::testing::TestParamInfo<CapabilityCase>& info) { return std::string(info.param.name); });

TEST(HidlClientCapabilityParts, LocationAndSplit) {
    auto client = VirtualCameraClient::Get();
    auto extend = client->GetExtendInfo({"17", "", "", "back"});
    ASSERT_EQ(1u, extend.size());
    EXPECT_EQ(2u, extend[0].key);
    EXPECT_EQ("back", std::string(extend[0].value));
    EXPECT_EQ(0u, client->GetExtendInfo({"17"}).size());
    std::vector<std::string> out = {"keep"};
    client->Split(";a;;bb;", out, ";");
    EXPECT_EQ((std::vector<std::string>{"keep", "a", "bb"}), out);
    EXPECT_EQ(std::vector<uint8_t>{30}, client->ParseFrameRate(""));
}

}  // namespace
