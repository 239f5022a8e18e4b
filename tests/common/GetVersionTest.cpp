#include "IVirCameraWrapper.h"

#include <android/log.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "hostkit/BinderServices.h"
#include "hostkit/LogCapture.h"

namespace {

constexpr const char* TAG = "GETVERSION";
const std::string DESCRIPTOR = "vendor.zuvek.hardware.camera.vircamera.IVirCameraChannel";
const std::string REGISTER = DESCRIPTOR + "/virtualcamera.register";
const std::string STREAM_CHANGE = DESCRIPTOR + "/virtualcamera.streamchange";

std::string NotDeclared(const std::string& name) {
    return "IsServiceConfValid check " + name + " is not Declared\n";
}

struct Declaration {
    std::string name;
    bool declareRegister;
    bool declareStreamChange;
    int version;
    std::vector<std::string> undeclaredLines;  // INFO lines, in order
};

void PrintTo(const Declaration& d, std::ostream* out) { *out << d.name; }

class GetVersionTest : public ::testing::TestWithParam<Declaration> {
  protected:
    void SetUp() override {
        hostkit::binder::Reset();
        hostkit::logs::Clear();
    }
    void TearDown() override { hostkit::binder::Reset(); }
};

TEST_P(GetVersionTest, AnswersFromDeclarationsWithExactLines) {
    const Declaration& d = GetParam();
    if (d.declareRegister) hostkit::binder::Declare(REGISTER);
    if (d.declareStreamChange) hostkit::binder::Declare(STREAM_CHANGE);

    EXPECT_EQ(d.version, android::GetVersion());

    std::vector<hostkit::logs::LogLine> ours;
    for (const hostkit::logs::LogLine& line : hostkit::logs::Lines()) {
        if (line.tag && *line.tag == TAG) ours.push_back(line);
    }
    ASSERT_EQ(d.undeclaredLines.size() + 1, ours.size())
            << hostkit::logs::Describe(ANDROID_LOG_DEBUG, TAG, "");
    for (size_t i = 0; i < d.undeclaredLines.size(); ++i) {
        EXPECT_EQ(ANDROID_LOG_INFO, ours[i].priority);
        EXPECT_EQ(d.undeclaredLines[i], ours[i].text);
    }
    // The verdict always names the register instance, also when stream-change decided.
    EXPECT_EQ(ANDROID_LOG_DEBUG, ours.back().priority);
    EXPECT_EQ(std::string("GetVersion: check service config is ") +
                      (d.version == 2 ? "aidl " : "hidl ") + REGISTER,
              ours.back().text);
}

INSTANTIATE_TEST_SUITE_P(
        Declarations, GetVersionTest,
        ::testing::Values(Declaration{"Neither", false, false, 1, {NotDeclared(REGISTER)}},
                          Declaration{"RegisterOnly", true, false, 1, {NotDeclared(STREAM_CHANGE)}},
                          // The stream-change instance is not even asked.
                          Declaration{"StreamChangeOnly", false, true, 1, {NotDeclared(REGISTER)}},
                          Declaration{"Both", true, true, 2, {}}),
        [](const ::testing::TestParamInfo<Declaration>& info) { return info.param.name; });

TEST(GetVersionUndeclareTest, UndeclaringFallsBackToHidl) {
    hostkit::binder::Reset();
    hostkit::binder::Declare(REGISTER);
    hostkit::binder::Declare(STREAM_CHANGE);
    EXPECT_EQ(2, android::GetVersion());
    hostkit::binder::Undeclare(STREAM_CHANGE);
    EXPECT_EQ(1, android::GetVersion());
    hostkit::binder::Reset();
    EXPECT_EQ(1, android::GetVersion());
}

}  // namespace
