#include "common/DevStrInfo.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using android::DevStrInfo;

TEST(DevStrInfoTest, EqualOnlyWhenBothFieldsMatchExactly) {
    const DevStrInfo info{"dev", "svc"};
    EXPECT_TRUE(info == (DevStrInfo{"dev", "svc"}));
    EXPECT_FALSE(info == (DevStrInfo{"DEV", "svc"}));  // case matters
    EXPECT_FALSE(info == (DevStrInfo{"dev", "SVC"}));
    EXPECT_FALSE(info == (DevStrInfo{"svc", "dev"}));
    EXPECT_FALSE(info == (DevStrInfo{"devs", "vc"}));  // no concatenated comparison
    EXPECT_FALSE(info == (DevStrInfo{std::string("dev\0", 4), "svc"}));
}

}  // namespace
